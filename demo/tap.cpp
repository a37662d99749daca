// SPDX-License-Identifier: MIT
// One thread serves one connection after the other; the demo's client never
// has two.
#include "tap.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <stdexcept>
#include <string_view>
#include <utility>

namespace demo {
namespace {

using qntest::Descriptor;

constexpr int kBacklog = 5;

bool IsReady(const pollfd &entry) { return entry.revents != 0; }

}  // namespace

Tap::Tap(uint16_t target) : target_(target), stop_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  port_.Listen(kBacklog);
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
  pollfd waits[] = {{stop_.get(), POLLIN, 0}, {port_.fd(), POLLIN, 0}};
  while (poll(waits, 2, -1) >= 0 && !IsReady(waits[0])) {
    const Descriptor client(accept4(port_.fd(), nullptr, nullptr, SOCK_CLOEXEC));
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
  const Descriptor server = qntest::ConnectToLoopback(target_);
  if (server.get() < 0) return;

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
  return qntest::SendAll(to, bytes);
}

}  // namespace demo
