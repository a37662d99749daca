// SPDX-License-Identifier: MIT
// One thread serves one connection after the other; the demo's client never
// has two.
#include "tap.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace demo {
namespace {

sockaddr_in Loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

int StreamSocket() { return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0); }

// Listens on a port of the platform's choice and returns it.
int ListenAnywhere(int fd) {
  sockaddr_in address = Loopback(0);
  socklen_t size = sizeof(address);
  auto *generic = reinterpret_cast<sockaddr *>(&address);
  if (bind(fd, generic, size) != 0 || listen(fd, 5) != 0 || getsockname(fd, generic, &size) != 0) {
    throw std::runtime_error("the tap cannot listen on a loopback port");
  }
  return ntohs(address.sin_port);
}

bool ConnectTo(int fd, int port) {
  const sockaddr_in address = Loopback(port);
  return connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0;
}

bool SendAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(sent));
  }
  return true;
}

bool IsReady(const pollfd &entry) { return entry.revents != 0; }

}  // namespace

Descriptor::~Descriptor() {
  if (fd_ >= 0) close(fd_);
}

Tap::Tap(int target)
    : target_(target), listener_(StreamSocket()), stop_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  port_ = ListenAnywhere(listener_.get());
  if (stop_.get() < 0) throw std::runtime_error("the tap cannot make its stop event");
  thread_ = std::thread([this] { Serve(); });
}

Tap::~Tap() {
  eventfd_write(stop_.get(), 1);
  thread_.join();
}

std::vector<Exchange> Tap::Take() {
  std::unique_lock lock(mutex_);
  ended_.wait(lock, [this] { return !under_way_; });
  return std::exchange(exchanges_, {});
}

void Tap::Serve() {
  pollfd waits[] = {{stop_.get(), POLLIN, 0}, {listener_.get(), POLLIN, 0}};
  while (poll(waits, 2, -1) >= 0 && !IsReady(waits[0])) {
    const Descriptor client(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (client.get() < 0) continue;
    SetUnderWay(true);
    Relay(client.get());
    SetUnderWay(false);
  }
}

void Tap::SetUnderWay(bool under_way) {
  const std::lock_guard lock(mutex_);
  under_way_ = under_way;
  ended_.notify_all();
}

// Passes bytes on until the server's end has come, so until the answer is
// complete.
void Tap::Relay(int client) {
  const Descriptor server(StreamSocket());
  if (!ConnectTo(server.get(), target_)) return;

  Exchange exchange;
  pollfd waits[] = {{stop_.get(), POLLIN, 0}, {server.get(), POLLIN, 0}, {client, POLLIN, 0}};
  while (poll(waits, 3, -1) >= 0 && !IsReady(waits[0])) {
    if (IsReady(waits[2]) && !Pass(client, server.get(), exchange.request)) {
      shutdown(server.get(), SHUT_WR);
      waits[2].fd = -1;
    }
    if (IsReady(waits[1]) && !Pass(server.get(), client, exchange.answer)) break;
  }
  const std::lock_guard lock(mutex_);
  exchanges_.push_back(std::move(exchange));
}

// Passes on what has come; false at the end of one side.
bool Tap::Pass(int from, int to, std::string &record) const {
  char piece[4096];
  const ssize_t received = recv(from, piece, sizeof(piece), 0);
  if (received <= 0) return false;
  const std::string_view bytes(piece, static_cast<size_t>(received));
  record += bytes;
  return SendAll(to, bytes);
}

}  // namespace demo
