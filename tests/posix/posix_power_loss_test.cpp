// SPDX-License-Identifier: MIT
// Guards the stores against a machine that loses power: each act is written down
// call by call, and behind each call the states of the medium that POSIX then
// permits are loaded. They must give the old content or the new, complete, and
// after the act's end the new. QNSTACK_POWER=full looks at all states, and prints
// what it looked at as a table.
#include <gmock/gmock.h>

#include <cstdio>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "posix/posix_root.h"
#include "posix/power_loss_cuts.h"
#include "posix/power_loss_log.h"
#include "posix/power_loss_scenarios.h"
#include "support/watchdog.h"

namespace {

using namespace qntest;

constexpr unsigned kPatience = 280;  // seconds for all states of an act

// Syncs without which the model finds no fault: of an empty file's content; of the
// new name of a move, as the model gives a move across folders no state without
// both names.
const std::map<std::string_view, size_t> kKnownNeedless = {{"cache delete all", 1},
                                                           {"move to another folder", 1}};

size_t NeedlessIn(std::string_view name) {
  const auto found = kKnownNeedless.find(name);
  return found != kKnownNeedless.end() ? found->second : 0;
}

class PosixPowerLoss : public PosixRoot, public testing::WithParamInterface<StoreScenario> {
 protected:
  static void SetUpTestSuite() {
    if (!LooksAtAllStates()) return;
    std::printf("| Act | cuts | states | violations |\n|---|--:|--:|--:|\n");
  }

  ~PosixPowerLoss() override { ForgetCache(); }

  MediumRecord Record() const {
    PrepareStore(GetParam(), folder_.path());
    return RecordOf(GetParam().act, folder_.path());
  }

  Watchdog longer_{kPatience};
  PowerLossCuts cuts_{GetParam(), folder_.path()};
};

INSTANTIATE_TEST_SUITE_P(Acts, PosixPowerLoss, testing::ValuesIn(PowerLossScenarios()), NameOf);

TEST_P(PosixPowerLoss, LeavesOldOrNewAndAfterTheEndNew) {
  const PowerLossFindings found = cuts_.Cut(Record());

  EXPECT_EQ(found.Violations(), 0) << found.first_of_them;
  EXPECT_GT(found.states, found.cuts);
  if (!LooksAtAllStates()) return;
  std::printf("| %s | %zu | %zu | %zu |\n", GetParam().name, found.cuts, found.states,
              found.Violations());
}

TEST_P(PosixPowerLoss, SyncsNothingThatNeedNotBe) {
  const MediumRecord record = Record();
  std::vector<std::string> needless;

  for (auto change = record.changes.begin(); change != record.changes.end(); ++change) {
    if (change->kind != MediumChange::Kind::kSync) continue;
    MediumRecord without = record;
    without.changes.erase(without.changes.begin() + (change - record.changes.begin()));
    if (cuts_.Cut(without).Violations() == 0) needless.push_back(TextOf(*change));
  }

  EXPECT_LE(needless.size(), NeedlessIn(GetParam().name)) << testing::PrintToString(needless);
}

}  // namespace
