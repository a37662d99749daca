// SPDX-License-Identifier: MIT
// Runs a scenario once to count its calls, then once for each call with that
// one failing, and tallies what came of it.
#ifndef QNSTACK_TESTS_FAULT_FAULT_RUN_H
#define QNSTACK_TESTS_FAULT_FAULT_RUN_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "fault/scenario.h"
#include "support/call_faults.h"

namespace qntest {

// How the call at a point fails.
enum class Way {
  kOne,         // it alone
  kRest,        // it and all calls after it
  kInterrupted  // it alone, by a signal; only where the system does that
};

// Which points are looked at: `offset`, then every `stride`-th.
struct Sample {
  int stride = 1;
  int offset = 0;
};

struct Tally {
  int calls = 0;   // of the undisturbed run
  int points = 0;  // looked at
  int held = 0;
  std::map<std::string, int> exceptions;
  std::vector<std::string> complaints;  // one for each point that did not hold
};

Tally RunAtEveryCall(const ScenarioKind &kind, Way way, Sample sample);

}  // namespace qntest

#endif
