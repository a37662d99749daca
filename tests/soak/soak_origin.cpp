// SPDX-License-Identifier: MIT
#include "soak_origin.h"

#include <arpa/inet.h>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "soak_plan.h"

namespace soak {
namespace {

constexpr int kBacklog = 16;
constexpr char kCookieStart[] = "Set-Cookie: c";

[[noreturn]] void Fail(const char *what) {
  std::perror(what);
  std::abort();
}

int Listen(std::uint16_t &port) {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto *where = reinterpret_cast<sockaddr *>(&address);
  if (bind(fd, where, length) != 0 || listen(fd, kBacklog) != 0 ||
      getsockname(fd, where, &length) != 0) {
    Fail("soak: listening");
  }
  port = ntohs(address.sin_port);
  return fd;
}

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
  explicit Connection(int fd) : fd_(fd) {}
  ~Connection() { close(fd_); }
  Connection(const Connection &) = delete;
  Connection &operator=(const Connection &) = delete;

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
      const ssize_t count = recv(fd_, piece, sizeof piece, 0);
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

  void Send(const std::string &bytes) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
      const ssize_t count = send(fd_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
      if (count < 0) return;  // the client has had enough
      sent += static_cast<std::size_t>(count);
    }
  }

  void ResetAtClose() const {
    const linger at_once = {1, 0};
    setsockopt(fd_, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
  }

  // What is still on its way would be lost by the reset.
  void ResetWhenReceived() const {
    int unsent = 0;
    pollfd gone = {fd_, POLLRDHUP, 0};
    while (ioctl(fd_, SIOCOUTQ, &unsent) == 0 && unsent > 0 && poll(&gone, 1, 1) == 0) {
    }
    ResetAtClose();
  }

  int fd_;
  std::string request_;
  std::string host_;
  Plan plan_;
};

[[noreturn]] void ServeAll(int listener) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  for (;;) {
    const int fd = accept(listener, nullptr, nullptr);
    if (fd < 0) Fail("soak: accepting");
    Connection(fd).Serve();
  }
}

}  // namespace

Origin::Origin() {
  const int listener = Listen(port_);
  process_ = fork();
  if (process_ < 0) Fail("soak: a process for the origin");
  if (process_ == 0) ServeAll(listener);
  close(listener);
}

Origin::~Origin() {
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
}

}  // namespace soak
