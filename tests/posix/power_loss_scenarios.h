// SPDX-License-Identifier: MIT
// What programs do with files where a power cut may come between.
#ifndef QNSTACK_TESTS_POSIX_POWER_LOSS_SCENARIOS_H
#define QNSTACK_TESTS_POSIX_POWER_LOSS_SCENARIOS_H

#include <vector>

#include "posix/store_scenarios.h"

namespace qntest {

// The stores' and, without stores, the file operations'.
std::vector<StoreScenario> PowerLossScenarios();

// A file's content, and "(failure)" where there is none.
inline constexpr char kNoFile[] = "(failure)";

// What there is of each of the files.
std::function<Texts()> ContentsOf(const std::vector<const char *> &names);

}  // namespace qntest

#endif
