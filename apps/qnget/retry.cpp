// SPDX-License-Identifier: MIT
// A request that may have arrived is repeated by itself only where that does no
// harm: each arrival of a posted message is sent on, and billed.
#include "retry.h"

#include <cstdio>
#include <ctime>

#include "pauses.h"
#include "signals.h"

namespace qnget {
namespace {

constexpr double kLongestWait = 3600;  // where no time limit is set
constexpr int kTooManyRequests = 429;
constexpr int kServiceUnavailable = 503;

}  // namespace

Retries::Retries(const Options &options) : options_(options), doubling_(options.retry_delay) {}

std::optional<double> Retries::PauseAfter(const Failure &failure) const {
  if (done_ == options_.retries || failure.reached() == Reached::kAServer) return {};
  if (failure.reached() == Reached::kPerhapsAServer && !MayRepeatWhatArrived()) return {};
  return doubling_;
}

std::optional<double> Retries::PauseAfter(const AnswerHead &head) const {
  if (done_ == options_.retries) return {};
  if (head.status != kServiceUnavailable && head.status != kTooManyRequests) return {};
  const std::optional<double> wait = AnnouncedWait(head, std::time(nullptr));
  if (!wait) return {};
  const double pause = *wait > 0 ? *wait : doubling_;
  if (pause > TimeLeft().value_or(kLongestWait)) return {};
  return pause;
}

bool Retries::MayRepeatWhatArrived() const {
  return options_.retry_all || options_.method == "GET" || options_.method == "HEAD";
}

void Retries::Wait(const std::string &why, double pause) {
  char when[64];
  snprintf(when, sizeof when, "; retry %d of %d in %g s", ++done_, options_.retries, pause);
  Say(why + when);
  doubling_ = PauseBehind(doubling_);
  PauseFor(pause, "waiting to try again");
}

}  // namespace qnget
