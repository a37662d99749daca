// SPDX-License-Identifier: MIT
// An answer as an exchange brings it: its head behind any interim ones, its body,
// or all of it raw. What it lacks or has too much of is said.
#ifndef QNGET_RECEPTION_H
#define QNGET_RECEPTION_H

#include <functional>
#include <string>
#include <string_view>

#include "answer_head.h"
#include "body.h"
#include "exchange.h"
#include "head_reader.h"

namespace qnget {

/** Takes the next bytes of a body. */
using BodySink = std::function<void(std::string_view bytes)>;

class Reception {
 public:
  /** `verbose` shows each head on standard error. The exchange must live as long as this. */
  Reception(Exchange &exchange, bool verbose) : exchange_(exchange), verbose_(verbose) {}

  /** Waits for the head of the final answer. Throws Failure. */
  AnswerHead ReadHead();

  /** The frame of the body behind that head. Throws Failure where its end cannot be known. */
  BodyFrame ReadFrame(const AnswerHead &head, bool asked_for_head) const;

  /** Gives the body to `sink`, until it is whole. Throws Failure where it is cut. */
  void ReadBody(const BodyFrame &frame, const BodySink &sink);

  /**
   * Gives all bytes to `sink` until the answer is whole by its head, or by the end
   * of the connection where the head does not say. Throws Failure where it is cut,
   * and without any answer.
   */
  void ReadRaw(bool asked_for_head, const BodySink &sink);

 private:
  void ReadHeadText();
  void CheckStatus(const AnswerHead &head) const;
  void SayWhatIsLeft() const;
  [[noreturn]] void FailWithoutAnswer() const;
  [[noreturn]] void FailInHead() const;
  [[noreturn]] void FailCut(const std::string &where) const;
  [[noreturn]] void Fail(const std::string &message) const;
  std::string Answer() const;
  std::string Reason() const;

  Exchange &exchange_;
  bool verbose_;
  HeadReader head_;
  uint64_t count_ = 0;  // bytes given to a sink
};

}  // namespace qnget

#endif
