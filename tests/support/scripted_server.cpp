// SPDX-License-Identifier: MIT
// The scripted server. Every wait polls the connection together with an event
// that the destructor raises, so that no thread outlives a failed test.
#include "support/scripted_server.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace qntest {
namespace {

constexpr int kBacklog = 64;
constexpr std::size_t kReadPiece = 16384;

void CloseOnce(int &fd) {
  if (fd >= 0) close(fd);
  fd = -1;
}

void ResetConnection(int &fd) {
  const linger at_once{1, 0};
  setsockopt(fd, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
  CloseOnce(fd);
}

// How many received bytes a read step needs; npos while that is not known.
std::size_t NeededBytes(const std::string &received, std::size_t consumed, const Step &step) {
  if (step.kind == Step::Kind::kReadBytes) return consumed + step.count;
  if (step.kind == Step::Kind::kReadToEnd) return std::string::npos;
  const std::size_t end = received.find("\r\n\r\n", consumed);
  return end == std::string::npos ? end : end + 4;
}

}  // namespace

Step ReadHeader() { return {Step::Kind::kReadHeader, 0, {}, {}}; }
Step ReadBytes(std::size_t count) { return {Step::Kind::kReadBytes, count, {}, {}}; }
Step ReadToEnd() { return {Step::Kind::kReadToEnd, 0, {}, {}}; }
Step SendBytes(std::string bytes) { return SendTimes(std::move(bytes), 1); }
Step SendTimes(std::string bytes, std::size_t times) {
  return {Step::Kind::kSend, times, std::move(bytes), {}};
}
Step SendUntilGone(std::string bytes, std::chrono::milliseconds pause) {
  return {Step::Kind::kSendUntilGone, 0, std::move(bytes), pause};
}
Step AwaitSignal() { return {Step::Kind::kAwaitSignal, 0, {}, {}}; }
Step HalfClose() { return {Step::Kind::kHalfClose, 0, {}, {}}; }
Step CloseReading() { return {Step::Kind::kCloseReading, 0, {}, {}}; }
Step Close() { return {Step::Kind::kClose, 0, {}, {}}; }
Step Reset() { return {Step::Kind::kReset, 0, {}, {}}; }

ConnectionScript AnswerWith(std::string answer) {
  return {ReadHeader(), SendBytes(std::move(answer)), HalfClose(), ReadToEnd()};
}

ConnectionScript AnswerBodyWith(std::size_t body_bytes, std::string answer) {
  return {ReadHeader(), ReadBytes(body_bytes), SendBytes(std::move(answer)), HalfClose(),
          ReadToEnd()};
}

ScriptedServer::ScriptedServer(std::vector<ConnectionScript> scripts,
                               std::chrono::milliseconds patience)
    : patience_(patience) {
  for (ConnectionScript &script : scripts) {
    connections_.emplace_back();
    connections_.back().script = std::move(script);
  }
  listener_.Listen(kBacklog);
  stop_event_ = eventfd(0, EFD_CLOEXEC);
  if (stop_event_ < 0) std::abort();
  acceptor_ = std::thread([this] { AcceptAll(); });
}

ScriptedServer::~ScriptedServer() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
  const std::uint64_t raised = 1;
  if (write(stop_event_, &raised, sizeof raised) != sizeof raised) std::abort();
  acceptor_.join();
  for (std::thread &server : servers_) server.join();
  close(stop_event_);
}

void ScriptedServer::Signal() {
  {
    const std::lock_guard lock(mutex_);
    ++signals_;
  }
  changed_.notify_all();
}

std::string ScriptedServer::Finish() {
  std::unique_lock lock(mutex_);
  if (!WaitForEnd(lock, connections_.size())) {
    return std::to_string(accepted_) + " of " + std::to_string(connections_.size()) +
           " connections came, or one did not end";
  }
  std::string failures;
  for (std::size_t i = 0; i < connections_.size(); ++i) {
    if (connections_[i].failure.empty()) continue;
    failures += "connection " + std::to_string(i) + ": " + connections_[i].failure + "\n";
  }
  return failures;
}

std::string ScriptedServer::Received(std::size_t connection) {
  std::unique_lock lock(mutex_);
  if (!WaitForEnd(lock, connection + 1)) return "(the connection did not come or did not end)";
  return connections_[connection].received;
}

std::size_t ScriptedServer::accepted() {
  const std::lock_guard lock(mutex_);
  return accepted_;
}

bool ScriptedServer::WaitForEnd(std::unique_lock<std::mutex> &lock, std::size_t connections) {
  return changed_.wait_for(lock, patience_, [&] {
    if (connections > connections_.size()) return false;
    for (std::size_t i = 0; i < connections; ++i) {
      if (!connections_[i].ended) return false;
    }
    return true;
  });
}

void ScriptedServer::AcceptAll() {
  for (std::size_t index = 0; index < connections_.size(); ++index) {
    pollfd ready[] = {{listener_.fd(), POLLIN, 0}, {stop_event_, POLLIN, 0}};
    if (poll(ready, 2, -1) < 0 || ready[1].revents != 0) break;
    const int fd = accept4(listener_.fd(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (fd < 0) break;
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    const std::lock_guard lock(mutex_);
    ++accepted_;
    servers_.emplace_back([this, index, fd] { Serve(index, fd); });
  }
  listener_.Close();
}

void ScriptedServer::Serve(std::size_t index, int fd) {
  Connection &connection = connections_[index];
  for (std::size_t i = 0; i < connection.script.size(); ++i) {
    if (RunStep(connection, connection.script[i], fd)) continue;
    connection.failure = "step " + std::to_string(i) + ": " + connection.failure;
    break;
  }
  CloseOnce(fd);
  {
    const std::lock_guard lock(mutex_);
    connection.ended = true;
  }
  changed_.notify_all();
}

bool ScriptedServer::RunStep(Connection &connection, const Step &step, int &fd) {
  switch (step.kind) {
    case Step::Kind::kReadHeader:
    case Step::Kind::kReadBytes:
    case Step::Kind::kReadToEnd:
      return ReadUntil(connection, step, fd);
    case Step::Kind::kSend:
      for (std::size_t i = 0; i < step.count; ++i) {
        if (!Send(connection, step.bytes, fd)) return false;
      }
      return true;
    case Step::Kind::kSendUntilGone:
      return SendUntilGone(connection, step, fd);
    case Step::Kind::kAwaitSignal:
      return TakeSignal(connection);
    case Step::Kind::kHalfClose:
      shutdown(fd, SHUT_WR);
      return true;
    case Step::Kind::kCloseReading:
      shutdown(fd, SHUT_RD);
      return true;
    case Step::Kind::kClose:
      CloseOnce(fd);
      return true;
    case Step::Kind::kReset:
      ResetConnection(fd);
      return true;
  }
  return false;
}

bool ScriptedServer::ReadUntil(Connection &connection, const Step &step, int fd) {
  std::string &received = connection.received;
  for (;;) {
    const std::size_t needed = NeededBytes(received, connection.consumed, step);
    if (needed <= received.size()) {
      connection.consumed = needed;
      return true;
    }
    if (!WaitFor(fd, POLLIN, connection.failure)) return false;
    char piece[kReadPiece];
    const ssize_t count = recv(fd, piece, sizeof piece, 0);
    if (count > 0) {
      received.append(piece, static_cast<std::size_t>(count));
    } else if (step.kind == Step::Kind::kReadToEnd) {
      return true;
    } else {
      connection.failure = "the peer closed after " + std::to_string(received.size()) + " bytes";
      return false;
    }
  }
}

bool ScriptedServer::Send(Connection &connection, const std::string &bytes, int fd) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    if (!WaitFor(fd, POLLOUT, connection.failure)) return false;
    const ssize_t count = send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count < 0 && errno != EAGAIN) {
      connection.failure = std::string("send: ") + std::strerror(errno);
      return false;
    }
    if (count > 0) sent += static_cast<std::size_t>(count);
  }
  return true;
}

bool ScriptedServer::SendUntilGone(Connection &connection, const Step &step, int fd) {
  for (;;) {
    if (!WaitFor(fd, POLLOUT, connection.failure)) return false;
    const ssize_t count = send(fd, step.bytes.data(), step.bytes.size(), MSG_NOSIGNAL);
    if (count < 0 && errno != EAGAIN) return true;
    if (step.pause.count() > 0 && IsGoneAfter(step.pause, fd)) return true;
  }
}

bool ScriptedServer::TakeSignal(Connection &connection) {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, patience_, [this] { return signals_ > 0 || stopping_; });
  if (signals_ == 0) {
    connection.failure = "no signal came";
    return false;
  }
  --signals_;
  return true;
}

// Waits for one of `events`, an error or a hang-up on `fd`.
bool ScriptedServer::WaitFor(int fd, short events, std::string &failure) {
  pollfd ready[] = {{fd, events, 0}, {stop_event_, POLLIN, 0}};
  const int count = poll(ready, 2, static_cast<int>(patience_.count()));
  if (count > 0 && ready[1].revents == 0) return true;
  failure = count == 0 ? "waited too long for the peer" : "the server was stopped";
  return false;
}

// A pause that the peer's end and the server's cut short.
bool ScriptedServer::IsGoneAfter(std::chrono::milliseconds pause, int fd) {
  pollfd ready[] = {{fd, POLLRDHUP, 0}, {stop_event_, POLLIN, 0}};
  return poll(ready, 2, static_cast<int>(pause.count())) > 0 && ready[0].revents != 0;
}

}  // namespace qntest
