// SPDX-License-Identifier: MIT
// The retries of a call: after what another try is safe, and how long to wait
// before it.
#ifndef QNGET_RETRY_H
#define QNGET_RETRY_H

#include <optional>
#include <string>

#include "answer_head.h"
#include "failure.h"
#include "options.h"

namespace qnget {

class Retries {
 public:
  explicit Retries(const Options &options);

  /** The pause before another try behind a failure; nothing if there is to be none. */
  std::optional<double> PauseAfter(const Failure &failure) const;

  /** The same behind an answer; nothing if it is final. */
  std::optional<double> PauseAfter(const AnswerHead &head) const;

  /** Says why there is another try, and waits. */
  void Wait(const std::string &why, double pause);

 private:
  bool MayRepeatWhatArrived() const;

  const Options &options_;
  int done_ = 0;
  double doubling_;
};

}  // namespace qnget

#endif
