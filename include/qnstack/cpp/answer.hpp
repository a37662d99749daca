// SPDX-License-Identifier: MIT
/**
 * @file answer.hpp
 * @brief Answers: read to their end, and whole ones told from cut ones.
 *        Included by qnstack.hpp.
 */
#ifndef QNSTACK_CPP_ANSWER_HPP
#define QNSTACK_CPP_ANSWER_HPP

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "qnstack/cpp/context.hpp"

namespace qnstack {

/**
 * @addtogroup face
 * @{
 */

/** The result of a call that drives or reads a context. */
enum class Result {
  kDone,   /**< all has been delivered */
  kData,   /**< some bytes have been delivered; call again */
  kAgain,  /**< nothing yet, or redirected; call again */
  kFailed, /**< failed; the context's state says how */
  kCut     /**< the answer ended before it was whole; from ReadHead(), ReadBody() and
                ReadAnswer() alone */
};

/**
 * Turns a number that the HTTP client gave into a Result.
 *
 * @param value the result of fnQNStack_Http_Run(), a read function or a similar
 *        one.
 * @return Result::kData for a count; Result::kFailed for any number below 0
 *         but -2.
 */
[[nodiscard]] constexpr Result ResultOf(int32_t value) noexcept {
  if (value > 0) return Result::kData;
  if (value == 0) return Result::kDone;
  return value == -2 ? Result::kAgain : Result::kFailed;
}

/** @cond */
namespace detail {

constexpr int32_t kUnknownLength = -1;
constexpr int32_t kNoContent = 204;
constexpr int32_t kNotModified = 304;

inline bool IsInterim(int32_t status) noexcept { return status >= 100 && status < 200; }

inline bool HasNoBody(const QNHttpCtx &ctx) noexcept {
  if (ctx.method != nullptr && std::strcmp(ctx.method, "HEAD") == 0) return true;
  return ctx.retValue == kNoContent || ctx.retValue == kNotModified;
}

// The library keeps both over a redirect, and a missing length is 0 there.
inline void ForgetEarlierAnswer(QNHttpCtx *ctx) noexcept {
  ctx->retCtxLen = kUnknownLength;
  ctx->retValue = 0;
}

// Prepares for a header, if nothing of it has been consumed yet.
inline void ExpectHead(Context &context) noexcept {
  const QNMemBuffer &answer = *context->recvBuf;
  if (answer.total != answer.length - answer.cursor) return;
  ForgetEarlierAnswer(context.get());
  context.get_deleter().reading = Reading();
}

// An interim answer such as "100 Continue" comes before the final one. The write
// of no bytes drops what has been read of it, so that its empty line is not
// mistaken for that of the next header.
inline void ExpectNextHead(QNHttpCtx *ctx) noexcept {
  ctx->headParsed = 0;
  ForgetEarlierAnswer(ctx);
  fnQN_MemBuffer_Write(ctx->recvBuf, "", 0);
}

// Whether the line that was read last is the empty one at a header's end.
inline bool TookEmptyLine(const QNMemBuffer &answer) noexcept {
  constexpr std::string_view kEmptyLine = "\r\n";
  constexpr std::string_view kHeadEnd = "\r\n\r\n";
  const std::string_view taken(answer.data, answer.cursor);
  if (taken == kEmptyLine) return true;
  return taken.size() >= kHeadEnd.size() &&
         taken.substr(taken.size() - kHeadEnd.size()) == kHeadEnd;
}

// One step of reading. Following a redirect in a complete context would close the
// slot whose old number the context has, so the number is hidden for the call.
inline int32_t ReadStep(QNHttpCtx *ctx, void *piece, int32_t room) noexcept {
  if (ctx->state != QN_HTTP_COMPLETE) return fnQNStack_Http_ReadRecvContext(ctx, piece, room);
  const int32_t slot = std::exchange(ctx->socket, -1);
  const int32_t got = fnQNStack_Http_ReadRecvContext(ctx, piece, room);
  if (ctx->state == QN_HTTP_COMPLETE) ctx->socket = slot;
  return got;
}

// Whether the connection broke, or was stopped, rather than closed by the peer.
// An answer that the program put into the buffer itself has no socket either, but
// then no step was tried.
inline bool BrokeOff(const QNHttpCtx &ctx) noexcept {
  if (ctx.state == QN_HTTP_STOPPED) return true;
  return ctx.state == QN_HTTP_COMPLETE && ctx.socket < 0 && ctx.tryCount > 0;
}

using ReadFunction = int32_t (*)(QNHttpCtx *, void *, int32_t);

// Appends what a read function delivers, and counts it.
inline Result ReadAll(QNHttpCtx *ctx, std::string &text, std::size_t most, uint64_t &count,
                      ReadFunction read) {
  char piece[4096];
  while (most > 0) {
    const auto room = static_cast<int32_t>(most < sizeof piece ? most : sizeof piece);
    const int32_t got = read(ctx, piece, room);
    const Result result = ResultOf(got);
    if (result == Result::kDone || result == Result::kFailed) return result;
    if (result == Result::kAgain) continue;
    text.append(piece, static_cast<std::size_t>(got));
    count += static_cast<uint64_t>(got);
    most -= static_cast<std::size_t>(got);
  }
  return Result::kData;
}

}  // namespace detail
/** @endcond */

/**
 * Reads the header of an answer and no byte of its body, so that a program can
 * look at `retValue`, `retCtxType` and BodyLength() first.
 *
 * Redirects are followed as by fnQNStack_Http_ReadRecvContext(), and interim
 * answers ("100 Continue") are skipped. Status and length of an earlier answer
 * are cleared: until the header has its own, `retValue` is 0 and `retCtxLen` -1.
 *
 * @param context the context; an empty one fails.
 * @return Result::kDone, also when it has been read before; Result::kCut when
 *         the answer ended before its header did; Result::kFailed.
 */
[[nodiscard]] inline Result ReadHead(Context &context) noexcept {
  QNHttpCtx *ctx = context.get();
  if (ctx == nullptr) return Result::kFailed;
  Reading &reading = context.get_deleter().reading;
  while (ctx->headParsed == 0) {
    char nothing = '\0';
    detail::ExpectHead(context);
    if (ResultOf(detail::ReadStep(ctx, &nothing, 0)) == Result::kFailed) return Result::kFailed;
    if (ctx->headParsed == 0) continue;
    if (detail::IsInterim(ctx->retValue)) {
      detail::ExpectNextHead(ctx);
    } else {
      reading.head_is_cut = !detail::TookEmptyLine(*ctx->recvBuf);
    }
  }
  return reading.head_is_cut ? Result::kCut : Result::kDone;
}

/**
 * The length of an answer's body, as its header announced it. Call it after
 * ReadHead() or ReadBody().
 *
 * @param context the context.
 * @return the length; 0 for an answer that has no body whatever its header says
 *         (to a HEAD request, or with status 204 or 304). None if no header has
 *         been read, or if it has no readable length, or one above 2147483646.
 *         Such a body ends with the connection, and nothing tells whether it is
 *         whole.
 */
[[nodiscard]] inline std::optional<int32_t> BodyLength(const Context &context) noexcept {
  if (context == nullptr || context->headParsed == 0) return std::nullopt;
  if (detail::HasNoBody(*context)) return 0;
  const int32_t length = context->retCtxLen;
  if (length < 0 || length == std::numeric_limits<int32_t>::max()) return std::nullopt;
  return length;
}

/**
 * Reads an answer's body to its end by fnQNStack_Http_ReadRecvContext(), after
 * its header as ReadHead() does.
 *
 * The body ends when the connection does. If the header announced a length,
 * Result::kDone means that so many bytes came, or more. If it did not (see
 * BodyLength()), Result::kDone means that the peer closed the connection, which
 * it may do too early. Read header and body by these two functions alone: bytes
 * that were read in another way are not counted, and the body then seems cut.
 *
 * @param context the context; an empty one fails.
 * @param body the bytes are appended to it, also those before a failure.
 * @param most the most bytes to append.
 * @return Result::kDone; Result::kData when @p most bytes have come and there
 *         may be more; Result::kCut when fewer bytes came than were announced,
 *         when none were announced and the connection broke or the context was
 *         stopped, and when the answer ended within its header; Result::kFailed.
 */
[[nodiscard]] inline Result ReadBody(Context &context, std::string &body,
                                     std::size_t most = std::string::npos) {
  if (most == 0) return Result::kData;
  const Result head = ReadHead(context);
  if (head != Result::kDone) return head;
  uint64_t &received = context.get_deleter().reading.received;
  const Result result = detail::ReadAll(context.get(), body, most, received, &detail::ReadStep);
  if (result != Result::kDone) return result;
  const std::optional<int32_t> length = BodyLength(context);
  const bool cut = length ? received < static_cast<uint64_t>(*length) : detail::BrokeOff(*context);
  return cut ? Result::kCut : Result::kDone;
}

/**
 * Reads a raw answer, status line and header included, to its end by
 * fnQNStack_Http_ReadRecvData(). It follows no redirect.
 *
 * @param context as for ReadBody().
 * @param answer as for ReadBody().
 * @param most as for ReadBody().
 * @return as ReadBody(), but Result::kCut only when the connection broke: no
 *         length is looked at.
 */
[[nodiscard]] inline Result ReadAnswer(Context &context, std::string &answer,
                                       std::size_t most = std::string::npos) {
  uint64_t count = 0;
  const Result result =
      detail::ReadAll(context.get(), answer, most, count, &fnQNStack_Http_ReadRecvData);
  return result == Result::kDone && detail::BrokeOff(*context) ? Result::kCut : result;
}

/** @} */

}  // namespace qnstack

#endif
