// SPDX-License-Identifier: MIT
// Runs a scenario once to count its calls, then once for each point of a way of
// failing, and tallies what came of it.
#ifndef QNSTACK_TESTS_FAULT_FAULT_RUN_H
#define QNSTACK_TESTS_FAULT_FAULT_RUN_H

#include <map>
#include <string>
#include <vector>

#include "fault/fault_points.h"
#include "fault/scenario.h"

namespace qntest {

// Which points are looked at: `offset`, then every `stride`-th.
struct Sample {
  int stride = 1;
  int offset = 0;
};

// What came of some points.
struct Share {
  int points = 0;
  int done = 0;  // the program was told that all went well
  int held = 0;
};

struct Tally {
  int calls = 0;   // of the undisturbed run
  int points = 0;  // looked at
  int held = 0;
  std::map<std::string, int> exceptions;
  std::map<std::string, Share> rows;    // by FaultPoint::row
  std::vector<std::string> complaints;  // one for each point that did not hold
};

Tally RunAtEachPoint(const ScenarioKind &kind, Way way, Sample sample);

}  // namespace qntest

#endif
