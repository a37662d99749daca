// SPDX-License-Identifier: MIT
#include "raw_answer.h"

#include "show.h"

namespace qnget {

void RawAnswer::Take(std::string_view &bytes) {
  while (understood_ && !bytes.empty() && !Done()) TakeUnderstood(bytes);
  if (!understood_) bytes = {};
}

void RawAnswer::TakeUnderstood(std::string_view &bytes) {
  if (body_) {
    body_->Take(bytes);
    understood_ = body_->Problem().empty();
    return;
  }
  head_.Take(bytes);
  if (head_.IsNoHead() || head_.IsTooLong()) {
    understood_ = false;
  } else if (head_.Complete()) {
    EndHead();
  }
}

void RawAnswer::EndHead() {
  if (verbose_) ShowLines('<', head_.Text());
  const AnswerHead head = ReadAnswerHead(head_.Text());
  const BodyFrame frame = FrameOf(head, asked_for_head_);
  if (head.status < kLowestStatus || head.status == kSwitchingProtocols || !frame.problem.empty()) {
    understood_ = false;
  } else if (head.status < kLowestFinalStatus) {
    head_.Restart();
  } else {
    body_.emplace(frame);
  }
}

std::string RawAnswer::Cut() const {
  if (!understood_) return {};
  return body_ ? body_->Cut() : "within its header";
}

}  // namespace qnget
