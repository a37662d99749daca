// SPDX-License-Identifier: MIT
#include "loopback_server.h"

#include <stdexcept>

namespace demo {

LoopbackServer::LoopbackServer(const std::function<void(httplib::Server &)> &add_routes)
    : port_(server_.bind_to_any_port("127.0.0.1")) {
  if (port_ < 0) throw std::runtime_error("a server cannot listen on a loopback port");
  add_routes(server_);
  thread_ = std::thread([this] { server_.listen_after_bind(); });
  // A stop that comes before the accept loop has begun would be lost.
  while (!server_.is_running()) std::this_thread::yield();
}

LoopbackServer::~LoopbackServer() {
  server_.stop();
  thread_.join();
}

}  // namespace demo
