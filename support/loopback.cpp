// SPDX-License-Identifier: MIT
#include "support/loopback.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

namespace qntest {
namespace {

constexpr int kCrowd = 4;  // connections that fill a queue of none

[[noreturn]] void Fail(const char *what) {
  throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
}

int StreamSocket(int flags = 0) { return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | flags, 0); }

sockaddr_in Loopback(uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

bool Connect(int fd, uint16_t port) {
  const sockaddr_in address = Loopback(port);
  return connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
}

}  // namespace

void Descriptor::Close() {
  if (fd_ >= 0) close(fd_);
  fd_ = -1;
}

LoopbackPort::LoopbackPort() : socket_(StreamSocket()) {
  sockaddr_in address = Loopback(0);
  socklen_t length = sizeof address;
  auto *generic = reinterpret_cast<sockaddr *>(&address);
  if (bind(fd(), generic, length) != 0 || getsockname(fd(), generic, &length) != 0) {
    Fail("a port of the loopback interface");
  }
  port_ = ntohs(address.sin_port);
}

void LoopbackPort::Listen(int backlog) {
  if (listen(fd(), backlog) != 0) Fail("listening on the loopback interface");
}

FullPort::FullPort() {
  port_.Listen(0);
  for (int i = 0; i < kCrowd; ++i) {
    waiting_.emplace_back(StreamSocket(SOCK_NONBLOCK));
    last_waits_ = !Connect(waiting_.back().get(), port()) && errno == EINPROGRESS;
  }
}

Descriptor ConnectToLoopback(uint16_t port) {
  Descriptor connection(StreamSocket());
  if (!Connect(connection.get(), port)) connection.Close();
  return connection;
}

bool SendAll(int fd, std::string_view bytes, int flags) {
  while (!bytes.empty()) {
    const ssize_t sent = send(fd, bytes.data(), bytes.size(), flags | MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(sent));
  }
  return true;
}

}  // namespace qntest
