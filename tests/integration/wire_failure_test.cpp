// SPDX-License-Identifier: MIT
// Guards that contexts which wait for real peers hold their slots until they are freed.
// Connections that are refused or break are tests/unit's and tests/hostile's.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "wire_exchange.h"

namespace {

using namespace qntest;

using WireFailure = qntest::WireTest;

TEST_F(WireFailure, NineteenStalledContextsLeaveNoSlotForTheTwentieth) {
  std::vector<qntest::ConnectionScript> scripts(19, {ReadToEnd()});
  ScriptedServer &server = Serve("mmsc.test", 80, std::move(scripts));
  std::vector<Context> stalled;
  std::string delivered;
  for (int32_t i = 1; i <= 19; ++i) {
    stalled.push_back(OpenGet("http://mmsc.test/m"));
    ASSERT_EQ(ReadOnce(stalled.back(), delivered), (CallRow{-2, 3, 0, 0, i}));
  }
  const Context last = OpenGet("http://mmsc.test/m");
  EXPECT_EQ(ReadOnce(last, delivered), (CallRow{-1, -10, 1, 0, 0}));
  stalled.clear();
  EXPECT_THAT(SlotTable::Taken(), testing::IsEmpty());
  EXPECT_EQ(server.Finish(), "");
}

}  // namespace
