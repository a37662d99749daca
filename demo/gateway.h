// SPDX-License-Identifier: MIT
// A WAP 2.0 gateway in small: an HTTP proxy that takes requests in absolute form
// and passes them on to the server that they name.
#ifndef DEMO_GATEWAY_H
#define DEMO_GATEWAY_H

#include <cstdint>

#include "support/http_server.h"

namespace demo {

// What the gateway writes into the "Via" line of all that it passes on.
inline constexpr char kGatewayVia[] = "1.0 demo-gateway";

class Gateway {
 public:
  // Throws std::runtime_error when no port can be had.
  Gateway();

  uint16_t port() const { return server_.port(); }

 private:
  qntest::HttpServer server_;
};

}  // namespace demo

#endif
