// SPDX-License-Identifier: MIT
// The bytes of an answer that is delivered as it comes, followed to find out
// where it ends.
#ifndef QNGET_RAW_ANSWER_H
#define QNGET_RAW_ANSWER_H

#include <optional>
#include <string>
#include <string_view>

#include "body.h"
#include "head_reader.h"

namespace qnget {

class RawAnswer {
 public:
  /** `verbose` shows each head on standard error. */
  RawAnswer(bool asked_for_head, bool verbose)
      : asked_for_head_(asked_for_head), verbose_(verbose) {}

  /** Takes what belongs to the answer off the front of `bytes`. */
  void Take(std::string_view &bytes);

  /** It is whole by its head. An answer that cannot be understood never is. */
  bool Done() const { return body_ && body_->Done(); }

  /** How an answer that ends here is cut: "within its header"; empty if it may be whole. */
  std::string Cut() const;

 private:
  void TakeUnderstood(std::string_view &bytes);
  void EndHead();

  bool asked_for_head_;
  bool verbose_;
  bool understood_ = true;  // or it ends with the connection
  HeadReader head_;
  std::optional<BodyDecoder> body_;  // behind the head
};

}  // namespace qnget

#endif
