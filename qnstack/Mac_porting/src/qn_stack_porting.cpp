// SPDX-License-Identifier: MIT
// The socket layer: the table of socket slots, which it keeps, and what each call
// does with a slot. The transfer engine calls it. The sockets themselves are the
// platform's (qn_stack_platform.h).
#include "qnstack/qn_stack_porting.h"

#include "qn_stack_platform.h"
#include "qn_stack_porting_internal.h"

namespace {

constexpr int32_t kFirstSlot = 1;
constexpr int32_t kLastSlot = QN_SOCKET_SLOTS - 1;
constexpr int32_t kNullBytes = -3;
constexpr uint32_t kNoAddress = 0xFFFFFFFF;  // 255.255.255.255

// Values of a slot's connState.
constexpr int32_t kNotConnected = 0;
constexpr int32_t kConnected = 1;
constexpr int32_t kConnectFailed = -1;
constexpr int32_t kConnecting = -2;

bool IsSlot(int32_t slot) { return slot >= kFirstSlot && slot <= kLastSlot; }

void CloseDescriptor(int32_t fd) {
  if (fd > 0) qn::platform::CloseSocket(fd);
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
  platform::HurrySocket(socket_list[slot].fd);
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
  if (!qn::platform::ResolveHost(name, &entry.addr)) return -1;
  return entry.addr == kNoAddress ? -1 : 1;
}

int32_t fnQN_Stack_CreateSocket(void) {
  const int32_t fd = qn::platform::OpenSocket();
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
  // In a free slot the descriptor is 0, which belongs to the application.
  const int32_t fd = entry.fd == 0 ? -1 : entry.fd;
  const int32_t result = qn::platform::ConnectSocket(fd, entry.addr, entry.port);
  // While it is under way, the state stays and the next call asks again.
  if (result == qn::platform::kWouldWait) return result;
  entry.connState = result == 1 ? kConnected : kConnectFailed;
  return entry.connState;
}

int32_t fnQN_Stack_SendData(int32_t slot, const void *bytes, int32_t count) {
  const int32_t refusal = RefuseTransfer(slot, bytes, count);
  return refusal != 0 ? refusal : qn::platform::SendBytes(socket_list[slot].fd, bytes, count);
}

int32_t fnQN_Stack_RecvData(int32_t slot, void *destination, int32_t capacity) {
  const int32_t refusal = RefuseTransfer(slot, destination, capacity);
  if (refusal != 0) return refusal;
  return qn::platform::ReceiveBytes(socket_list[slot].fd, destination, capacity);
}

void fnQN_Stack_CloseSocket(int32_t slot) {
  if (!IsSlot(slot)) return;
  CloseDescriptor(socket_list[slot].fd);
  socket_list[slot] = QNSocketSlot{};
}

int32_t fnQN_Stack_SetNoBlock(void) { return 1; }

int32_t fnQN_Stack_SocketError(void) { return qn::platform::LastSocketError(); }
