// SPDX-License-Identifier: MIT
// One transfer: a request, the redirects behind it, and the delivery of the final
// answer, with what the library leaves to its callers.
#ifndef QNGET_TRANSFER_H
#define QNGET_TRANSFER_H

#include <optional>
#include <string>
#include <vector>

#include "answer_record.h"
#include "options.h"
#include "output.h"
#include "progress.h"
#include "reception.h"
#include "request.h"
#include "retry.h"

namespace qnget {

/** The library, started, and closed at the end. It keeps the cookies. */
class Stack {
 public:
  Stack();
  ~Stack();

  Stack(const Stack &) = delete;
  Stack &operator=(const Stack &) = delete;
};

struct Outcome {
  int status = 0;                     // 0 of a raw answer
  std::optional<double> try_again{};  // in so many seconds; nothing has been delivered
};

class Transfer {
 public:
  /** What comes goes into `record` too, unless that is null; all must live as long as this. */
  Transfer(const Options &options, const std::string &body, AnswerRecord *record,
           const Retries &retries);

  /** Delivers the final answer's body, or the first answer raw. Throws Failure. */
  Outcome Run(Output &output, Progress &progress);

 private:
  std::optional<Outcome> RunHop(Output &output, Progress &progress);
  std::vector<HeaderField> FieldsOfHop() const;
  void Follow(const Request &next, int status);
  void Deliver(Reception &reception, const AnswerHead &head, Output &output, Progress &progress);
  void DeliverRaw(Reception &reception, Output &output, Progress &progress) const;

  const Options &options_;
  const std::string &body_;
  AnswerRecord *record_;
  const Retries &retries_;
  std::vector<HeaderField> fields_;
  Url first_;
  Request request_;
  int redirects_ = 0;
};

}  // namespace qnget

#endif
