// SPDX-License-Identifier: MIT
// The one place where the HTTP client takes and closes slots of the socket
// layer. It keeps the note of who has taken each.
#include "qn_stack_http_slot.h"

#include "qnstack/qn_stack_porting.h"

namespace {

// Null for a slot that no context has taken. Contexts are only compared.
const QNHttpCtx *holders[QN_SOCKET_SLOTS];

bool IsSlot(int32_t slot) { return slot > 0 && slot < QN_SOCKET_SLOTS; }

}  // namespace

void qn::TakeSlot(QNHttpCtx *ctx) {
  ctx->socket = fnQN_Stack_CreateSocket();
  if (IsSlot(ctx->socket)) holders[ctx->socket] = ctx;
}

void qn::CloseSlot(int32_t slot) {
  fnQN_Stack_CloseSocket(slot);
  if (IsSlot(slot)) holders[slot] = nullptr;
}

bool qn::IsSlotOfAnother(const QNHttpCtx &ctx) {
  if (!IsSlot(ctx.socket)) return false;
  const QNHttpCtx *holder = holders[ctx.socket];
  return holder != nullptr && holder != &ctx;
}
