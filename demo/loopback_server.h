// SPDX-License-Identifier: MIT
// An HTTP server on a loopback port of the platform's choice, serving from its
// construction to its destruction.
#ifndef DEMO_LOOPBACK_SERVER_H
#define DEMO_LOOPBACK_SERVER_H

#include <httplib.h>

#include <functional>
#include <thread>

namespace demo {

class LoopbackServer {
 public:
  // `add_routes` installs the handlers; they run in threads of the server.
  // Throws std::runtime_error when no port can be had.
  explicit LoopbackServer(const std::function<void(httplib::Server &)> &add_routes);
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer &) = delete;
  LoopbackServer &operator=(const LoopbackServer &) = delete;

  int port() const { return port_; }

 private:
  httplib::Server server_;
  int port_;
  std::thread thread_;
};

}  // namespace demo

#endif
