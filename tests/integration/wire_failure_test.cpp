// SPDX-License-Identifier: MIT
// Guards failures on the wire: names that lead nowhere, refused and broken
// connections, the states they end in and what they leave in the slot table.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <csignal>
#include <string>
#include <vector>

#include "wire_exchange.h"

namespace {

using qntest::Asked;
using qntest::CallRow;
using qntest::Close;
using qntest::Context;
using qntest::kGateway;
using qntest::kGatewayPort;
using qntest::OpenGet;
using qntest::ReadBytes;
using qntest::ReadOnce;
using qntest::ReadToEnd;
using qntest::Reset;
using qntest::ScriptedServer;
using qntest::SlotTable;
using testing::ElementsAre;
using testing::IsEmpty;

using WireFailure = qntest::WireTest;

// Waits, with a bound, until the kernel knows that the connection is broken.
void WaitForError(int32_t slot) {
  pollfd broken = {socket_list[slot].fd, 0, 0};
  EXPECT_EQ(poll(&broken, 1, 5000), 1);
}

TEST_F(WireFailure, UnknownNameIsMinusTen) {
  Context ctx = OpenGet("http://unknown.test/");
  std::string delivered;
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{-1, -10, 1, 0, 1}));
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{-1, -10, 1, 0, 1}));
  EXPECT_THAT(SlotTable::Taken(), ElementsAre(1));
  ctx.reset();
  EXPECT_THAT(SlotTable::Taken(), IsEmpty());
}

TEST_F(WireFailure, UnknownGatewayIsMinusTen) {
  Serve("mmsc.test", 80, {});
  UseGateway();
  const Context ctx = OpenGet("http://mmsc.test/");
  std::string delivered;
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{-1, -10, 1, 0, 1}));
}

TEST_F(WireFailure, NoFreeSlotIsMinusTen) {
  SlotTable::TakeAll();
  const Context ctx = OpenGet("http://127.0.0.1/");
  std::string delivered;
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{-1, -10, 1, 0, 0}));
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

TEST_F(WireFailure, RefusingGatewayIsMinusTwelve) {
  Refuse(kGateway, kGatewayPort);
  UseGateway();
  const Context ctx = OpenGet("http://mmsc.test/");
  std::string delivered;
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{-1, -12, 1, 0, 1}));
}

TEST_F(WireFailure, RefusedConnectionShowsAsMinusElevenWhenTriedAgain) {
  Refuse("mmsc.test", 80);
  const Context ctx = OpenGet("http://mmsc.test/");
  std::string delivered;
  ReadOnce(ctx, delivered);
  ctx->state = QN_HTTP_NEW;
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{-1, -11, 1, 0, 0}));
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

TEST_F(WireFailure, ResetBeforeAnyByteIsMinusThirteenAndKeepsTheSlot) {
  Serve("mmsc.test", 80, {{qntest::ReadHeader(), Reset()}});
  Context ctx = OpenGet("http://mmsc.test/m");
  std::string delivered;
  ReadOnce(ctx, delivered);
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{-1, -13, 1, 0, 1}));
  EXPECT_THAT(SlotTable::Taken(), ElementsAre(1));
  ctx.reset();
  EXPECT_THAT(SlotTable::Taken(), IsEmpty());
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

TEST_F(WireFailure, AnswerThatNobodyReadsIsGivenUp) {
  Serve("mmsc.test", 80,
        {{qntest::ReadHeader(), qntest::SendBytes(std::string(40000, 'x')), ReadToEnd()}});
  const Context ctx = OpenGet("http://mmsc.test/m");
  qntest::RunStep(ctx);
  for (int32_t tries = 1; tries <= 3001; ++tries) {
    ASSERT_EQ(qntest::RunStep(ctx).tries, tries);
    ASSERT_EQ(ctx->state, QN_HTTP_RECEIVING);
  }
  const qntest::Outcome outcome = qntest::RunStep(ctx);
  EXPECT_EQ(outcome, (qntest::Outcome{-1, -14, 3001, 1, ""}));
}

}  // namespace
