// SPDX-License-Identifier: MIT
#include "support/http_stack.h"

#include <ostream>

#include "support/captured_output.h"

namespace qntest {

HttpStack::HttpStack() {
  fnQNStack_Http_CloseStack();
  fnQNStack_Http_SetProxy(nullptr, -1);
  fnQNStack_Http_InitStack();
  gCtx = nullptr;
}

HttpStack::~HttpStack() {
  fnQNStack_Http_CloseStack();
  fnQNStack_Http_SetProxy(nullptr, -1);
  gCtx = nullptr;
}

std::ostream &operator<<(std::ostream &out, const Outcome &outcome) {
  return out << "{result " << outcome.result << ", state " << outcome.state << ", tries "
             << outcome.tries << ", socket " << outcome.socket << ", trace \"" << outcome.trace
             << "\"}";
}

Outcome OutcomeOf(QNHttpCtx *ctx, const std::function<int32_t()> &call) {
  Outcome outcome;
  outcome.trace = OutputOf([&] { outcome.result = call(); });
  outcome.state = ctx->state;
  outcome.tries = ctx->tryCount;
  outcome.socket = ctx->socket;
  return outcome;
}

Outcome RunStep(QNHttpCtx *ctx) {
  return OutcomeOf(ctx, [ctx] { return fnQNStack_Http_Run(ctx); });
}

std::string UnreadOf(const QNMemBuffer *buffer) {
  return {buffer->data + buffer->cursor, buffer->data + buffer->length};
}

void Append(QNMemBuffer *buffer, const std::string &bytes) {
  fnQN_MemBuffer_Write(buffer, bytes.data(), static_cast<int32_t>(bytes.size()));
}

}  // namespace qntest
