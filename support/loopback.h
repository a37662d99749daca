// SPDX-License-Identifier: MIT
// Sockets on the loopback interface: ports of the platform's choice that listen,
// refuse connections or let them wait, and what both ends of a connection need.
#ifndef QNSTACK_SUPPORT_LOOPBACK_H
#define QNSTACK_SUPPORT_LOOPBACK_H

#include <cstdint>
#include <string_view>
#include <vector>

namespace qntest {

/** A descriptor that closes itself. */
class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() { Close(); }
  Descriptor(Descriptor &&other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;

  int get() const { return fd_; }

  /** Closes it now; nothing the second time. */
  void Close();

 private:
  int fd_;
};

/** A port that is this program's for as long as it lives. It refuses connections until Listen(). */
class LoopbackPort {
 public:
  /** Throws std::runtime_error when the platform has none. */
  LoopbackPort();

  uint16_t port() const { return port_; }

  /** The socket that is bound to the port. */
  int fd() const { return socket_.get(); }

  /** Lets connections come; throws std::runtime_error when that fails. */
  void Listen(int backlog);

  /** Ends the port before its end. */
  void Close() { socket_.Close(); }

 private:
  Descriptor socket_;
  uint16_t port_ = 0;
};

/** Nothing listens there. */
using RefusingPort = LoopbackPort;

/** A port whose queue of connections is full, so that connecting to it waits. */
class FullPort {
 public:
  FullPort();

  uint16_t port() const { return port_.port(); }

  /** False where the platform let all connections in that were to fill the queue. */
  bool IsFull() const { return last_waits_; }

 private:
  LoopbackPort port_;
  std::vector<Descriptor> waiting_;
  bool last_waits_ = false;
};

/** A connection with a port of the loopback interface; its get() is -1 if there is none. */
Descriptor ConnectToLoopback(uint16_t port);

/** Sends all bytes, with these flags and without SIGPIPE; false if the peer takes no more. */
bool SendAll(int fd, std::string_view bytes, int flags = 0);

}  // namespace qntest

#endif
