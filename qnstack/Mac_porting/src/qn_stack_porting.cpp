// SPDX-License-Identifier: MIT
// The socket layer on BSD sockets: the only place where the library touches
// the network. The transfer engine calls it. It keeps the table of socket
// slots.
#include "qnstack/qn_stack_porting.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "qn_stack_porting_internal.h"

namespace {

constexpr int32_t kFirstSlot = 1;
constexpr int32_t kLastSlot = QN_SOCKET_SLOTS - 1;
constexpr int32_t kNullBytes = -3;

// Values of a slot's connState.
constexpr int32_t kNotConnected = 0;
constexpr int32_t kConnected = 1;
constexpr int32_t kConnectFailed = -1;
constexpr int32_t kConnecting = -2;

// POSIX.1-2008 has no flag that makes a socket close-on-exec from the beginning.
// Without it a program that another thread starts at that moment inherits it.
#if defined(SOCK_CLOEXEC) && !defined(QNSTACK_PLAIN_POSIX)
constexpr int kNewSocket = SOCK_STREAM | SOCK_CLOEXEC;
#else
constexpr int kNewSocket = SOCK_STREAM;
#endif

bool IsSlot(int32_t slot) { return slot >= kFirstSlot && slot <= kLastSlot; }

// A socket that got the descriptor of a standard stream moves to another:
// descriptor 0 means a free slot, and what a program prints to its standard
// output or error would go to the peer.
int MoveAboveStandardStreams(int fd) {
  if (fd < 0 || fd > STDERR_FILENO) return fd;
  const int moved = fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  close(fd);
  return moved;
}

// A socket that programs started by the application do not inherit, or -1.
int OpenSocket() {
  const int fd = MoveAboveStandardStreams(socket(AF_INET, kNewSocket, 0));
  if (kNewSocket == SOCK_STREAM && fd >= 0) fcntl(fd, F_SETFD, FD_CLOEXEC);
  return fd;
}

void CloseDescriptor(int fd) {
  if (fd > 0) close(fd);
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

// Checks a slot before a send or receive. Returns 0, or the result to give the
// caller.
int32_t RefuseTransfer(int32_t slot, const void *bytes, int32_t count) {
  if (!IsSlot(slot)) return -1;
  if (bytes == nullptr) return kNullBytes;
  return socket_list[slot].connState == kConnected && count >= 0 ? 0 : -1;
}

}  // namespace

QNSocketSlot socket_list[QN_SOCKET_SLOTS];

int32_t qn::socket_init = 0;

void qn::HurryLastChunk(int32_t slot) {
  // In a free slot the descriptor is 0, which belongs to the application.
  if (!IsSlot(slot) || socket_list[slot].connState != kConnected) return;
  const int on = 1;
  setsockopt(socket_list[slot].fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

int32_t fnQN_Stack_SocketInit(void) {
  qn::socket_init = 1;
  return 1;
}

void fnQN_Stack_SocketUNInit(void) { qn::socket_init = 0; }

int32_t fnQN_Stack_GetHostByName(int32_t slot, const char *name, int32_t port) {
  if (!IsSlot(slot) || name == nullptr) return -1;
  QNSocketSlot &entry = socket_list[slot];
  entry.port = static_cast<uint16_t>(port);
  // A dotted address needs no resolver, which would read configuration files.
  in_addr address = {};
  if (inet_pton(AF_INET, name, &address) != 1 && !LookUp(name, &address)) return -1;
  entry.addr = address.s_addr;
  return entry.addr == INADDR_NONE ? -1 : 1;
}

int32_t fnQN_Stack_CreateSocket(void) {
  const int fd = OpenSocket();
  for (int32_t slot = kFirstSlot; slot <= kLastSlot; ++slot) {
    if (socket_list[slot].fd != 0) continue;
    socket_list[slot] = QNSocketSlot{fd, 0, 0, kNotConnected};
    return slot;
  }
  CloseDescriptor(fd);
  return 0;
}

int32_t fnQN_Stack_Connect(int32_t slot) {
  if (slot < 0 || slot > kLastSlot) return 0;
  QNSocketSlot &entry = socket_list[slot];
  switch (entry.connState) {
    case kConnected:
      return 1;
    case kConnectFailed:
      return 0;
    case kConnecting:
      return -2;
    default:
      break;
  }
  sockaddr_in peer = {};
  peer.sin_family = AF_INET;
  peer.sin_port = htons(entry.port);
  peer.sin_addr.s_addr = entry.addr;
  // In a free slot the descriptor is 0, which belongs to the application.
  const int fd = entry.fd == 0 ? -1 : entry.fd;
  const bool connected = connect(fd, reinterpret_cast<const sockaddr *>(&peer), sizeof peer) == 0;
  entry.connState = connected ? kConnected : kConnectFailed;
  return connected ? 1 : -1;
}

int32_t fnQN_Stack_SendData(int32_t slot, const void *bytes, int32_t count) {
  const int32_t refusal = RefuseTransfer(slot, bytes, count);
  if (refusal != 0) return refusal;
  // The flag keeps SIGPIPE, which a closed peer would raise, away from the
  // application. Where sockets do not know it, SO_NOSIGPIPE does the same.
  const ssize_t sent = send(socket_list[slot].fd, bytes, static_cast<size_t>(count), MSG_NOSIGNAL);
  return sent < 0 ? -1 : static_cast<int32_t>(sent);
}

int32_t fnQN_Stack_RecvData(int32_t slot, void *destination, int32_t capacity) {
  const int32_t refusal = RefuseTransfer(slot, destination, capacity);
  if (refusal != 0) return refusal;
  const ssize_t received =
      recv(socket_list[slot].fd, destination, static_cast<size_t>(capacity), 0);
  return received < 0 ? -1 : static_cast<int32_t>(received);
}

void fnQN_Stack_CloseSocket(int32_t slot) {
  if (!IsSlot(slot)) return;
  CloseDescriptor(socket_list[slot].fd);
  socket_list[slot] = QNSocketSlot{};
}

int32_t fnQN_Stack_SetNoBlock(void) { return 1; }

int32_t fnQN_Stack_SocketError(void) { return errno; }
