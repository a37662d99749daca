// SPDX-License-Identifier: MIT
// An HTTP server on a loopback port of the platform's choice, serving from its
// construction to its destruction. Who includes this links cpp-httplib.
#ifndef QNSTACK_SUPPORT_HTTP_SERVER_H
#define QNSTACK_SUPPORT_HTTP_SERVER_H

#include <httplib.h>

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <thread>

namespace qntest {

class HttpServer {
 public:
  /**
   * `add_routes` installs the handlers; they run in threads of the server. Throws
   * std::runtime_error when no port can be had.
   */
  explicit HttpServer(const std::function<void(httplib::Server &)> &add_routes)
      : port_(server_.bind_to_any_port("127.0.0.1")) {
    if (port_ < 0) throw std::runtime_error("a server cannot listen on a loopback port");
    add_routes(server_);
    thread_ = std::thread([this] { server_.listen_after_bind(); });
    // A stop that comes before the accept loop has begun would be lost.
    while (!server_.is_running()) std::this_thread::yield();
  }
  ~HttpServer() {
    server_.stop();
    thread_.join();
  }
  HttpServer(const HttpServer &) = delete;
  HttpServer &operator=(const HttpServer &) = delete;

  uint16_t port() const { return static_cast<uint16_t>(port_); }

 private:
  httplib::Server server_;
  int port_;
  std::thread thread_;
};

}  // namespace qntest

#endif
