// SPDX-License-Identifier: MIT
// How far the body of an answer reaches, as its head says, and its content
// taken out of the bytes that a connection brings.
#ifndef QNGET_BODY_H
#define QNGET_BODY_H

#include <cstdint>
#include <string>
#include <string_view>

#include "answer_head.h"
#include "chunks.h"

namespace qnget {

struct BodyFrame {
  enum class Kind { kNone, kUntilClose, kLength, kChunked };
  Kind kind = Kind::kUntilClose;
  uint64_t length = 0;    // of kLength
  std::string problem{};  // why the body's end cannot be known; empty if it can
  std::string notice{};   // what the user is to be told; empty for nothing
};

/** The frame of the body behind a head. An answer to HEAD has no body. */
BodyFrame FrameOf(const AnswerHead &head, bool asked_for_head);

class BodyDecoder {
 public:
  explicit BodyDecoder(const BodyFrame &frame);

  /**
   * Takes bytes of the body off the front of `bytes` and gives the content in
   * them, which lies in `bytes`. That may be none at all; go on until `bytes` is
   * empty, Done(), or there is a Problem().
   */
  std::string_view Take(std::string_view &bytes);

  /** The body is whole; no byte that follows belongs to it. */
  bool Done() const;

  /** What is wrong with the bytes taken; empty for nothing. */
  const std::string &Problem() const { return chunks_.Problem(); }

  /** How a body that ends here is cut: "after 3 of 5 bytes"; empty if it is whole. */
  std::string Cut() const;

  /** Bytes of content so far. */
  uint64_t count() const { return count_; }

 private:
  BodyFrame::Kind kind_;
  uint64_t length_;
  uint64_t count_ = 0;
  ChunkDecoder chunks_;
};

}  // namespace qnget

#endif
