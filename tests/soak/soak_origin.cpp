// SPDX-License-Identifier: MIT
#include "soak_origin.h"

#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "soak_plan.h"
#include "support/loopback.h"

namespace soak {
namespace {

constexpr int kBacklog = 16;
constexpr char kCookieStart[] = "Set-Cookie: c";

// The text behind `name` up to `end`; empty without it.
std::string Between(const std::string &text, const std::string &name, const char *end) {
  const std::size_t found = text.find(name);
  if (found == std::string::npos) return {};
  const std::size_t begin = found + name.size();
  return text.substr(begin, text.find(end, begin) - begin);
}

// One connection at work.
class Connection {
 public:
  explicit Connection(int fd) : connection_(fd) {}

  void Serve() {
    if (!ReadUntil([this] { return request_.find("\r\n\r\n") != std::string::npos; })) return;
    ReadTarget();
    if (plan_.end == End::kResetInRequest) {
      ResetAtClose();
      return;
    }
    const std::size_t length =
        request_.find("\r\n\r\n") + 4 +
        std::strtoul(Between(request_, "Content-Length: ", "\r\n").c_str(), nullptr, 10);
    if (ReadUntil([&] { return request_.size() >= length; })) Answer();
  }

 private:
  template <typename Condition>
  bool ReadUntil(const Condition &holds) {
    char piece[16384];
    while (!holds()) {
      const ssize_t count = recv(connection_.get(), piece, sizeof piece, 0);
      if (count <= 0) return false;
      request_.append(piece, static_cast<std::size_t>(count));
    }
    return true;
  }

  void ReadTarget() {
    std::string target = Between(request_, " ", " ");
    constexpr std::size_t kScheme = 7;
    if (target[0] != '/') target.erase(0, target.find('/', kScheme));
    plan_ = PlanOfPath(target);
    host_ = Between(request_, "Host: ", "\r\n");
  }

  void Answer() {
    if (plan_.end == End::kResetAtOnce) ResetAtClose();
    if (plan_.end == End::kResetAtOnce || plan_.end == End::kNothing) return;
    if (plan_.redirects > 0) {
      --plan_.redirects;
      Send("HTTP/1.0 302 Found\r\n" + Cookies() + "Location: http://" + host_ + PathOf(plan_) +
           "\r\n\r\nelsewhere");
      return;
    }
    const bool head = request_.starts_with("HEAD");
    const std::size_t size = plan_.end == End::kWhole ? plan_.answer_bytes : plan_.kept_bytes;
    Send("HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\n" + Cookies() +
         "Content-Length: " + std::to_string(plan_.answer_bytes) + "\r\n\r\n" +
         (head ? std::string() : BodyOf(plan_.pattern, size)));
    if (plan_.end == End::kReset) ResetWhenReceived();
  }

  std::string Cookies() const {
    std::string lines;
    for (int i = 0; i < plan_.cookies; ++i) {
      lines += kCookieStart + std::to_string(i) + "=" + std::string(plan_.pattern, 'v') +
               "; Path=/" + std::to_string(plan_.pattern) + "\r\n";
    }
    return lines;
  }

  // It is no failure here if the client has had enough.
  void Send(const std::string &bytes) const { qntest::SendAll(connection_.get(), bytes); }

  void ResetAtClose() const {
    const linger at_once = {1, 0};
    setsockopt(connection_.get(), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
  }

  // What is still on its way would be lost by the reset.
  void ResetWhenReceived() const {
    int unsent = 0;
    pollfd gone = {connection_.get(), POLLRDHUP, 0};
    while (ioctl(connection_.get(), SIOCOUTQ, &unsent) == 0 && unsent > 0 &&
           poll(&gone, 1, 1) == 0) {
    }
    ResetAtClose();
  }

  qntest::Descriptor connection_;
  std::string request_;
  std::string host_;
  Plan plan_;
};

[[noreturn]] void ServeAll(int listener) {
  for (;;) {
    const int fd = accept(listener, nullptr, nullptr);
    if (fd < 0) {
      std::perror("soak: accepting");
      std::abort();
    }
    Connection(fd).Serve();
  }
}

qntest::ForkedProcess Started(qntest::LoopbackPort &port) {
  port.Listen(kBacklog);
  return qntest::ForkedProcess([&]() -> int { ServeAll(port.fd()); },
                               qntest::ForkedProcess::kForEver);
}

}  // namespace

Origin::Origin() : process_(Started(port_)) { port_.Close(); }

}  // namespace soak
