// SPDX-License-Identifier: MIT
#include "reception.h"

#include "raw_answer.h"
#include "show.h"

namespace qnget {

AnswerHead Reception::ReadHead() {
  for (;;) {
    ReadHeadText();
    if (verbose_) ShowLines('<', head_.Text());
    AnswerHead head = ReadAnswerHead(head_.Text());
    CheckStatus(head);
    if (head.status >= kLowestFinalStatus) {
      exchange_.KeepCookies(head_.Text());
      return head;
    }
    head_.Restart();
  }
}

void Reception::ReadHeadText() {
  while (!head_.Complete()) {
    std::string_view &bytes = exchange_.Unread();
    if (bytes.empty()) FailInHead();
    head_.Take(bytes);
    if (head_.IsNoHead()) Fail("no status line in " + Answer());
    if (head_.IsTooLong()) Fail(Answer() + " has a header of more than 256 KiB");
  }
}

void Reception::CheckStatus(const AnswerHead &head) const {
  if (head.status == 0) Fail("no status line in " + Answer());
  if (head.status < kLowestStatus) {
    Fail(Answer() + " has the status " + std::to_string(head.status) + ", which is none");
  }
  if (head.status == kSwitchingProtocols) Fail(Answer() + " switches to another protocol");
  if (head_.Text().find('\0') != std::string::npos) {
    Fail(Answer() + " has a zero byte in its header");
  }
}

BodyFrame Reception::ReadFrame(const AnswerHead &head, bool asked_for_head) const {
  BodyFrame frame = FrameOf(head, asked_for_head);
  if (!frame.problem.empty()) Fail(Answer() + " " + frame.problem);
  if (!frame.notice.empty()) Say(frame.notice);
  return frame;
}

void Reception::ReadBody(const BodyFrame &frame, const BodySink &sink) {
  BodyDecoder decoder(frame);
  while (!decoder.Done()) {
    std::string_view &bytes = exchange_.Unread();
    if (bytes.empty()) {
      if (decoder.Cut().empty() && exchange_.BrokenBy().empty()) return;
      FailCut(decoder.Cut());
    }
    const std::string_view content = decoder.Take(bytes);
    count_ += content.size();
    if (!content.empty()) sink(content);
    if (!decoder.Problem().empty()) Fail(Answer() + " is broken: " + decoder.Problem());
  }
  SayWhatIsLeft();
}

void Reception::ReadRaw(bool asked_for_head, const BodySink &sink) {
  RawAnswer answer(asked_for_head, verbose_);
  while (!answer.Done()) {
    std::string_view &bytes = exchange_.Unread();
    if (bytes.empty()) {
      if (count_ == 0) FailWithoutAnswer();
      if (answer.Cut().empty() && exchange_.BrokenBy().empty()) return;
      FailCut(answer.Cut());
    }
    const std::string_view come = bytes;
    answer.Take(bytes);
    const size_t count = come.size() - bytes.size();
    count_ += count;
    sink(come.substr(0, count));
  }
  SayWhatIsLeft();
}

void Reception::SayWhatIsLeft() const {
  const size_t count = exchange_.UnreadNow().size();
  if (count == 0) return;
  Say(std::to_string(count) + (count == 1 ? " byte" : " bytes") + " behind the end of " + Answer() +
      (count == 1 ? " is" : " are") + " left out");
}

void Reception::FailWithoutAnswer() const {
  if (exchange_.BrokenBy().empty()) Fail("no answer from " + exchange_.Address());
  Fail("receiving failed from " + exchange_.Address() + Reason());
}

void Reception::FailInHead() const {
  if (head_.Text().empty()) FailWithoutAnswer();
  if (!head_.HasStatusLine()) Fail("no status line in " + Answer() + Reason());
  FailCut("within its header");
}

// `where` is empty for a body whose end nothing but its connection tells.
void Reception::FailCut(const std::string &where) const {
  const std::string place = where.empty() ? "after " + std::to_string(count_) + " bytes" : where;
  Fail(Answer() + " ends " + place + Reason());
}

// Whether asking again is safe hangs on a status, or on bytes that are delivered.
void Reception::Fail(const std::string &message) const {
  const bool answered = count_ > 0 || ReadAnswerHead(head_.Text()).status >= kLowestFinalStatus;
  throw Failure(kNotReceived, message, answered ? Reached::kAServer : Reached::kPerhapsAServer);
}

std::string Reception::Answer() const { return "the answer from " + exchange_.Address(); }

std::string Reception::Reason() const {
  return exchange_.BrokenBy().empty() ? "" : ": " + exchange_.BrokenBy();
}

}  // namespace qnget
