// SPDX-License-Identifier: MIT
// Guards failures on the wire: refused and broken connections, the states they end
// in and what they leave in the slot table.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <csignal>
#include <string>
#include <vector>

#include "wire_exchange.h"

namespace {

using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;

using WireFailure = qntest::WireTest;

// Waits, with a bound, until the kernel knows that the connection is broken.
void WaitForError(int32_t slot) {
  pollfd broken = {socket_list[slot].fd, 0, 0};
  EXPECT_EQ(poll(&broken, 1, 5000), 1);
}

TEST_F(WireFailure, RefusedConnectionIsMinusTwelve) {
  Refuse("mmsc.test", 80);
  Context ctx = OpenGet("http://mmsc.test/");
  std::string delivered;
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{-1, -12, 1, 0, 1}));
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{-1, -12, 1, 0, 1}));
  EXPECT_THAT(SlotTable::Taken(), ElementsAre(1));
  ctx.reset();
  EXPECT_THAT(SlotTable::Taken(), IsEmpty());
}

TEST_F(WireFailure, ResetWhileSendingIsMinusTwelve) {
  ScriptedServer &server = Serve("mmsc.test", 80, {{ReadBytes(2048), Reset()}});
  const Asked asked = {"POST", "http://mmsc.test/m", std::string(9000, 'b'), "t/t"};
  Context ctx = qntest::Open(asked);
  std::string delivered;
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{-2, 3, 0, 0, 1}));
  EXPECT_EQ(server.Finish(), "");
  WaitForError(1);
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{-1, -12, 1, 0, 1}));
  EXPECT_THAT(SlotTable::Taken(), ElementsAre(1));
  ctx.reset();
  EXPECT_THAT(SlotTable::Taken(), IsEmpty());
}

// The signal of a broken pipe would end the program here.
TEST_F(WireFailure, ServerThatIsGoneWhileSendingIsMinusTwelveToo) {
  signal(SIGPIPE, SIG_DFL);
  const Asked asked = {"POST", "http://mmsc.test/m", std::string(9000, 'b'), "t/t"};
  ScriptedServer &server = Serve("mmsc.test", 80, {{ReadBytes(2048), Close()}});
  const Context ctx = qntest::Open(asked);
  std::string delivered;
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{-2, 3, 0, 0, 1}));
  EXPECT_EQ(server.Finish(), "");
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{-2, 3, 0, 0, 1}));
  WaitForError(1);
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{-1, -12, 1, 0, 1}));
}

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
  EXPECT_THAT(SlotTable::Taken(), IsEmpty());
  EXPECT_EQ(server.Finish(), "");
}

}  // namespace
