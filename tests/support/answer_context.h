// SPDX-License-Identifier: MIT
// A request context whose answer is put into its buffer by hand, so that
// parsing and delivery can be tested without any peer.
#ifndef QNSTACK_TESTS_SUPPORT_ANSWER_CONTEXT_H
#define QNSTACK_TESTS_SUPPORT_ANSWER_CONTEXT_H

#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "qnstack/qn_stack_http.h"

namespace qntest {

// More unread bytes than this and a receiving context asks its peer for
// nothing, so that it can be read without one.
inline constexpr size_t kReceivePauseMark = 20480;

// What one read gave: the result and the bytes that came with it.
struct Delivery {
  int32_t result = 0;
  std::string bytes;

  bool operator==(const Delivery &) const = default;
};

std::ostream &operator<<(std::ostream &out, const Delivery &delivery);

// Owns a context. Complete (the peer has closed) unless told otherwise.
//
//   AnswerContext ctx;
//   ctx.Feed("HTTP/1.0 200 OK\r\n\r\nabc");
//   ASSERT_EQ(fnQNStack_Http_ParseAnswer(ctx.get()), 0);
//   EXPECT_EQ(ctx->retValue, 200);
class AnswerContext {
 public:
  static constexpr char kUrl[] = "http://origin.test:8080/start?x=1";
  static constexpr char kHost[] = "origin.test";
  static constexpr char kPath[] = "/start?x=1";
  static constexpr int32_t kPort = 8080;

  // A GET of kUrl in the given state.
  explicit AnswerContext(int32_t state = QN_HTTP_COMPLETE);

  // Takes over a context from an open function and puts it into the state.
  explicit AnswerContext(QNHttpCtx *opened, int32_t state = QN_HTTP_COMPLETE);

  ~AnswerContext();
  AnswerContext(const AnswerContext &) = delete;
  AnswerContext &operator=(const AnswerContext &) = delete;

  QNHttpCtx *get() const { return ctx_; }
  QNHttpCtx *operator->() const { return ctx_; }

  // Appends bytes as if they had just been received.
  void Feed(std::string_view bytes);

  // The answer's bytes that nobody has taken yet.
  std::string Unread() const;

  // One call that drives the context and delivers up to `capacity` bytes.
  Delivery Read(int32_t capacity = 4096);

 private:
  QNHttpCtx *ctx_;
};

// A text field as tests compare it; a null one cannot be mistaken for text.
std::string TextOf(const char *field);

// The header of a 302 answer with that location.
std::string FoundAt(std::string_view location);

}  // namespace qntest

#endif
