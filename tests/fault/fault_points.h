// SPDX-License-Identifier: MIT
// What can go wrong in a run whose calls are known: the points of each way of
// failing.
#ifndef QNSTACK_TESTS_FAULT_FAULT_POINTS_H
#define QNSTACK_TESTS_FAULT_FAULT_POINTS_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "support/call_faults.h"

namespace qntest {

using Names = std::vector<std::string_view>;

enum class Way {
  kOne,          // one call fails
  kRest,         // it and all calls after it
  kInterrupted,  // it alone, by a signal; only where the system does that
  kKind,         // all calls of one name
  kDescriptors   // all that open something, once so many descriptors are open
};
inline constexpr int kWays = 5;

struct FaultPoint {
  std::string text;                  // for messages
  std::string row = {};              // of the table of its way; empty where that has none
  int first = 0;                     // the number of the first call that fails; 0 if unknown
  CallFault fault = {};              // what the wraps do
  std::optional<int> descriptors{};  // that are left
  // The library carries the call on itself, or does without it.
  bool is_carried_on = false;
  // It comes to the same as with any other error.
  bool is_any_failure = false;
};

std::vector<FaultPoint> PointsOf(Way way, const Names &calls);

bool IsHeapCall(std::string_view name);

}  // namespace qntest

#endif
