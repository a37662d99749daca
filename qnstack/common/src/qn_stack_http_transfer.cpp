// SPDX-License-Identifier: MIT
// The transfer engine: it moves one context forward through resolving,
// connecting, composing, sending and receiving, as far as each call gets. It
// keeps one area, shared by all contexts, in which every chunk is received.
#include <algorithm>
#include <cstdint>

#include "qn_stack_http_internal.h"
#include "qn_stack_http_slot.h"
#include "qn_stack_membuffer_internal.h"
#include "qn_stack_porting_internal.h"
#include "qn_stack_trace.h"
#include "qnstack/qn_share_string.h"
#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_porting.h"

namespace {

constexpr int32_t kChunk = 2048;              // most bytes of one send or receive
constexpr uint32_t kUnreadHighWater = 20480;  // receiving pauses above this
constexpr int32_t kMostTries = 3000;          // calls without progress before giving up

// The result of a step after which the next step follows in the same call.
constexpr int32_t kGoOn = 1;

// Results of the socket layer.
constexpr int32_t kWouldBlock = -2;
constexpr int32_t kNullDestination = -3;

// The result of receiving a chunk that the heap has no room for.
constexpr int32_t kNoMemory = -4;

char buffer[kChunk];

// In a tunnel that waits for ever the count passes 2147483647, where it wraps.
void CountTry(QNHttpCtx *ctx) {
  ctx->tryCount = static_cast<int32_t>(static_cast<uint32_t>(ctx->tryCount) + 1);
}

bool IsUnderWay(const QNHttpCtx &ctx) {
  return ctx.state >= QN_HTTP_NEW && ctx.state <= QN_HTTP_RECEIVING;
}

bool IsTunnel(const QNHttpCtx &ctx) { return fnQN_STRCMP(ctx.method, "CONNECT") == 0; }

int32_t Advance(QNHttpCtx *ctx) {
  ++ctx->state;
  return kGoOn;
}

int32_t FailAndCount(QNHttpCtx *ctx, int32_t state) {
  ctx->state = state;
  CountTry(ctx);
  return -1;
}

// Makes a socket unless the context has one; false when all slots are taken.
bool EnsureSocket(QNHttpCtx *ctx) {
  if (ctx->socket > 0) return true;
  qn::TakeSlot(ctx);
  qn::Trace("create socket %d", ctx->socket);
  if (ctx->socket <= 0) return false;
  fnQN_Stack_SetNoBlock();
  return true;
}

int32_t Resolve(QNHttpCtx *ctx) {
  if (!EnsureSocket(ctx)) return FailAndCount(ctx, QN_HTTP_RESOLVE_FAILED);
  const bool proxy = qn::http_proxy != nullptr;
  const int32_t result = fnQN_Stack_GetHostByName(
      ctx->socket, proxy ? qn::http_proxy : ctx->hostname, proxy ? qn::http_proxy_port : ctx->port);
  qn::Trace("host:%s,%d", qn::Traced(ctx->hostname), ctx->port);
  if (result == -1) return FailAndCount(ctx, QN_HTTP_RESOLVE_FAILED);
  ctx->tryCount = 0;
  return Advance(ctx);
}

int32_t Connect(QNHttpCtx *ctx) {
  if (!EnsureSocket(ctx)) return FailAndCount(ctx, QN_HTTP_CONNECT_FAILED);
  const int32_t result = fnQN_Stack_Connect(ctx->socket);
  qn::Trace("connet socket:%d result:%d", ctx->socket, result);
  if (result == 0) {
    qn::CloseSlot(ctx->socket);
    ctx->socket = 0;
    return FailAndCount(ctx, QN_HTTP_CONNECT_FAILED);
  }
  if (result == kWouldBlock) {
    CountTry(ctx);
    return -2;
  }
  // A refused connection is not caught here: the first send fails on it.
  ctx->tryCount = 0;
  return Advance(ctx);
}

int32_t Compose(QNHttpCtx *ctx) {
  const bool tunnel = IsTunnel(*ctx);
  const int32_t result =
      tunnel ? fnQNStack_Http_PrepareQuest_Connect(ctx) : fnQNStack_Http_PrepareQuest(ctx);
  // A tunnel without a proxy has no request and goes on to receiving.
  const bool has_request = !tunnel || qn::http_proxy != nullptr;
  if (result != 0 && has_request) return FailAndCount(ctx, QN_HTTP_SEND_FAILED);
  return Advance(ctx);
}

// Whether a context may send on its slot. If another context has taken the slot
// since, the bytes would reach that one's peer, so sending fails for good.
bool MaySend(QNHttpCtx *ctx) {
  if (!qn::IsSlotOfAnother(*ctx)) return true;
  if (IsUnderWay(*ctx)) ctx->state = QN_HTTP_SEND_FAILED;
  return false;
}

int32_t Send(QNHttpCtx *ctx) {
  const int32_t result = fnQNStack_Http_SendQuest(ctx);
  if (result >= 0) return Advance(ctx);
  if (result == -1) ctx->state = QN_HTTP_SEND_FAILED;
  return result;
}

// Whether nothing of the response has come. The count of all bytes that came is
// 0 again after 4 GB, when the buffer holds some of them, read or unread.
bool IsEmpty(const QNMemBuffer &response) { return response.total == 0 && response.length == 0; }

// Waits or ends after a receive that brought nothing. `result` is what the
// socket layer gave, or kNoMemory.
int32_t EndReceiving(QNHttpCtx *ctx, int32_t result) {
  CountTry(ctx);
  if (result == kWouldBlock || result == kNullDestination) {
    CountTry(ctx);
    return -2;
  }
  if (result == 0) {
    // The context keeps the slot's number, though the slot is free from now on.
    qn::CloseSlot(ctx->socket);
  } else if (IsEmpty(*ctx->recvBuf)) {
    ctx->state = QN_HTTP_RECEIVE_FAILED;
    return -1;
  } else {
    qn::CloseSlot(ctx->socket);
    ctx->socket = -1;
  }
  ctx->state = QN_HTTP_COMPLETE;
  return 0;
}

// Receives one chunk and appends it to the response. A chunk that the heap has
// no room for ends the response as a failed receive does: what followed the
// missing chunk would not be what the peer sent.
int32_t ReceiveChunk(QNHttpCtx *ctx) {
  const int32_t received = fnQN_Stack_RecvData(ctx->socket, buffer, kChunk);
  if (received <= 0) return received;
  if (!qn::WriteBytes(ctx->recvBuf, buffer, received)) return kNoMemory;
  ctx->tryCount = 0;
  return received;
}

int32_t ReceiveResponse(QNHttpCtx *ctx) {
  while (qn::Unread(ctx->recvBuf) <= kUnreadHighWater) {
    const int32_t received = ReceiveChunk(ctx);
    if (received <= 0) return EndReceiving(ctx, received);
    qn::Trace("socket %d recv len:%d", ctx->socket, received);
  }
  CountTry(ctx);
  return -2;
}

int32_t Receive(QNHttpCtx *ctx) {
  if (!IsTunnel(*ctx)) return ReceiveResponse(ctx);
  const int32_t result = fnQNStack_Http_RecvConnectData(ctx);
  CountTry(ctx);
  return result;
}

// One step per state, in the order of the states from QN_HTTP_NEW on.
using Step = int32_t (*)(QNHttpCtx *ctx);
constexpr Step kSteps[] = {Resolve, Connect, Compose, Send, Receive};

}  // namespace

int32_t fnQNStack_Http_Run(QNHttpCtx *ctx) {
  if (ctx == nullptr) return -1;
  if (!IsUnderWay(*ctx)) return 0;
  if (ctx->tryCount > kMostTries) {
    ctx->state = QN_HTTP_GIVEN_UP;
    return -1;
  }
  gCtx = ctx;
  int32_t result = kGoOn;
  while (result == kGoOn) result = kSteps[ctx->state](ctx);
  return result;
}

int32_t fnQNStack_Http_Call_Run(QNHttpCtx *ctx) {
  if (ctx == nullptr) return 0;
  qn::Trace("Socket callback working write or read...... ");
  return fnQNStack_Http_Run(ctx);
}

int32_t fnQNStack_Http_ReadRecvData(QNHttpCtx *ctx, void *destination, int32_t capacity) {
  if (ctx == nullptr || ctx->state < 0) return -1;
  fnQNStack_Http_Run(ctx);
  if (ctx->state < QN_HTTP_RECEIVING) return -2;
  const int32_t taken = fnQN_MemBuffer_Read(ctx->recvBuf, destination, capacity);
  switch (ctx->state) {
    case QN_HTTP_RECEIVING:
      return taken > 0 ? taken : -2;
    case QN_HTTP_COMPLETE:
      return taken;
    default:
      return -1;
  }
}

int32_t fnQNStack_Http_SendQuest(QNHttpCtx *ctx) {
  if (ctx == nullptr) return -1;
  QNMemBuffer *request = ctx->sendBuf;
  const uint32_t unsent = qn::Unread(request);
  if (unsent == 0) return 0;
  if (!MaySend(ctx)) {
    CountTry(ctx);
    return -1;
  }
  // The cursor moves by what was sent, so the rest of the chunk stays unread.
  const auto chunk = static_cast<int32_t>(std::min(unsent, static_cast<uint32_t>(kChunk)));
  if (unsent <= kChunk && request->cursor > 0) qn::HurryLastChunk(ctx->socket);
  const int32_t sent = fnQN_Stack_SendData(ctx->socket, request->data + request->cursor, chunk);
  if (sent < 0) {
    CountTry(ctx);
    return sent == kWouldBlock ? -2 : -1;
  }
  request->cursor += static_cast<uint32_t>(sent);
  ctx->tryCount = 0;
  return -2;
}

int32_t fnQNStack_Http_RecvConnectData(QNHttpCtx *ctx) {
  if (ctx == nullptr) return -1;
  while (qn::Unread(ctx->recvBuf) <= kUnreadHighWater) {
    const int32_t received = ReceiveChunk(ctx);
    // A chunk that was lost for want of memory came all the same, and the next
    // wait might never end.
    if (received > 0 || received == kNoMemory) return -2;
    CountTry(ctx);
  }
  return -2;
}

int32_t fnQNStack_Http_Socket_SendData(QNHttpCtx *ctx, const void *bytes, int32_t count) {
  if (ctx == nullptr || !MaySend(ctx)) return -1;
  return fnQN_Stack_SendData(ctx->socket, bytes, count);
}

int32_t fnQNStack_Http_Socket_Recvata(QNHttpCtx *ctx, void *destination, int32_t capacity) {
  return ctx == nullptr ? -1 : fnQN_Stack_RecvData(ctx->socket, destination, capacity);
}
