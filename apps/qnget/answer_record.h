// SPDX-License-Identifier: MIT
// What an answer leaves for the cache while it comes in: the heads of all the
// redirects on the way and its own, each with its times, and the body.
#ifndef QNGET_ANSWER_RECORD_H
#define QNGET_ANSWER_RECORD_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "answer_head.h"
#include "freshness.h"

namespace qnget {

class AnswerRecord {
 public:
  /** A new try begins, before anything is sent; nothing of an earlier one counts any more. */
  void Start();

  /** Takes the head of each answer as it comes, redirects first; interim ones do not count. */
  void TakeHead(const AnswerHead &head);

  /** Takes the next bytes of the last answer's body, and none at all once they are too many. */
  void TakeBody(std::string_view bytes);

  /** The body is known to be whole. */
  void Complete() { complete_ = true; }

  /** Until when the answer stands for the URL that was asked for first, or why it does not. */
  Freshness Lifetime() const;

  /** The names of the request fields with which one of the answers varies. */
  std::vector<std::string> Varying() const;

  /** The answer's media type without its parameters; empty if it is not known. */
  std::string Type() const;

  /** When the answer came, as Unix time. */
  int64_t Came() const;

  const std::string &Body() const { return body_; }

 private:
  std::string Obstacle(int64_t until) const;

  std::vector<ReceivedHead> heads_;
  std::string body_;
  int64_t asked_ = 0;  // Unix time, of the request under way
  bool fits_ = true;
  bool complete_ = false;
  bool cookie_sent_ = false;  // a request on the way may have carried one that a server set
  bool cookie_set_ = false;   // by an answer of any try: the next request may carry it
};

}  // namespace qnget

#endif
