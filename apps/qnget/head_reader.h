// SPDX-License-Identifier: MIT
// The text of an answer's head, collected from the bytes that a connection
// brings up to the empty line that ends it.
#ifndef QNGET_HEAD_READER_H
#define QNGET_HEAD_READER_H

#include <cstddef>
#include <string>
#include <string_view>

namespace qnget {

class HeadReader {
 public:
  /** Takes bytes of the head off the front of `bytes`, none of what follows it. */
  void Take(std::string_view &bytes);

  /** The empty line has come. Lines end with CR LF or LF alone. */
  bool Complete() const { return complete_; }

  /** It cannot become a head any more: the first line is none of HTTP. */
  bool IsNoHead() const;

  /** The first line has come whole. */
  bool HasStatusLine() const { return line_begin_ > 0; }

  /** More than 256 KiB of heads have come. */
  bool IsTooLong() const;

  /** The head as it came, so far. */
  const std::string &Text() const { return text_; }

  /** The next head begins. Those before it count for IsTooLong(). */
  void Restart();

 private:
  std::string text_;
  size_t line_begin_ = 0;  // of the last line in it
  size_t before_ = 0;      // bytes of earlier heads
  bool complete_ = false;
};

}  // namespace qnget

#endif
