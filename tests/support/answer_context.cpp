// SPDX-License-Identifier: MIT
#include "support/answer_context.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ostream>

#include "support/http_stack.h"

namespace qntest {

std::ostream &operator<<(std::ostream &out, const Delivery &delivery) {
  return out << "{result " << delivery.result << ", bytes \"" << delivery.bytes << "\"}";
}

AnswerContext::AnswerContext(int32_t state) : AnswerContext(fnQNStack_Http_Open_Get(kUrl), state) {}

AnswerContext::AnswerContext(QNHttpCtx *opened, int32_t state) : ctx_(opened) {
  if (ctx_ == nullptr) {
    ADD_FAILURE() << "the context could not be opened";
    std::abort();
  }
  ctx_->state = state;
}

AnswerContext::~AnswerContext() { fnQNStack_Http_FreeCtx(ctx_); }

void AnswerContext::Feed(std::string_view bytes) { Append(ctx_->recvBuf, std::string(bytes)); }

std::string AnswerContext::Unread() const { return UnreadOf(ctx_->recvBuf); }

Delivery AnswerContext::Read(int32_t capacity) {
  std::string room(static_cast<size_t>(capacity), '\0');
  const int32_t result = fnQNStack_Http_ReadRecvContext(ctx_, room.data(), capacity);
  EXPECT_LE(result, capacity);
  room.resize(result > 0 ? static_cast<size_t>(result) : 0);
  return {result, room};
}

std::string TextOf(const char *field) { return field == nullptr ? "(null)" : field; }

std::string FoundAt(std::string_view location) {
  return "HTTP/1.0 302 Found\r\nLocation: " + std::string(location) + "\r\n\r\n";
}

}  // namespace qntest
