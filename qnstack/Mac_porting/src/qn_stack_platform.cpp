// SPDX-License-Identifier: MIT
// BSD sockets that block, for the socket layer: the only place where the library
// touches the network.
#include "qn_stack_platform.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

// POSIX.1-2008 has no flag that makes a socket close-on-exec from the beginning.
// Without it a program that another thread starts at that moment inherits it.
#if defined(SOCK_CLOEXEC) && !defined(QNSTACK_PLAIN_POSIX)
constexpr int kNewSocket = SOCK_STREAM | SOCK_CLOEXEC;
#else
constexpr int kNewSocket = SOCK_STREAM;
#endif

// A socket that got the descriptor of a standard stream moves to another:
// descriptor 0 means a free slot, and what a program prints to its standard
// output or error would go to the peer.
int MoveAboveStandardStreams(int fd) {
  if (fd < 0 || fd > STDERR_FILENO) return fd;
  const int moved = fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  close(fd);
  return moved;
}

// The first address that the resolver knows for a name; false for none.
bool LookUp(const char *name, in_addr *address) {
  const hostent *host = gethostbyname(name);
  if (host == nullptr || host->h_addrtype != AF_INET || host->h_addr_list[0] == nullptr) {
    return false;
  }
  std::memcpy(address, host->h_addr_list[0], sizeof *address);
  return true;
}

}  // namespace

int32_t qn::platform::OpenSocket() {
  const int fd = MoveAboveStandardStreams(socket(AF_INET, kNewSocket, 0));
  if (kNewSocket == SOCK_STREAM && fd >= 0) fcntl(fd, F_SETFD, FD_CLOEXEC);
  return fd;
}

bool qn::platform::ResolveHost(const char *name, uint32_t *address) {
  // A dotted address needs no resolver, which would read configuration files.
  in_addr found = {};
  if (inet_pton(AF_INET, name, &found) != 1 && !LookUp(name, &found)) return false;
  *address = found.s_addr;
  return true;
}

int32_t qn::platform::ConnectSocket(int32_t fd, uint32_t address, uint16_t port) {
  sockaddr_in peer = {};
  peer.sin_family = AF_INET;
  peer.sin_port = htons(port);
  peer.sin_addr.s_addr = address;
  const int result = connect(fd, reinterpret_cast<const sockaddr *>(&peer), sizeof peer);
  return result == 0 ? 1 : kSocketFailed;
}

int32_t qn::platform::SendBytes(int32_t fd, const void *bytes, int32_t count) {
  // The flag keeps SIGPIPE, which a closed peer would raise, away from the
  // application. Where sockets do not know it, SO_NOSIGPIPE does the same.
  const ssize_t sent = send(fd, bytes, static_cast<size_t>(count), MSG_NOSIGNAL);
  return sent < 0 ? kSocketFailed : static_cast<int32_t>(sent);
}

int32_t qn::platform::ReceiveBytes(int32_t fd, void *destination, int32_t capacity) {
  const ssize_t received = recv(fd, destination, static_cast<size_t>(capacity), 0);
  return received < 0 ? kSocketFailed : static_cast<int32_t>(received);
}

void qn::platform::HurrySocket(int32_t fd) {
  const int on = 1;
  setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

void qn::platform::CloseSocket(int32_t fd) { close(fd); }

int32_t qn::platform::LastSocketError() { return errno; }
