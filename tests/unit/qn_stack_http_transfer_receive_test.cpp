// SPDX-License-Identifier: MIT
// Guards the receive step: what ends it and how, the pause above 20480 unread
// bytes, the count of tries, and what becomes of the slot.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "qnstack/qn_stack_http.h"
#include "support/failing_heap.h"
#include "support/socket_layer_faults.h"
#include "support/transfer_test.h"

namespace {

using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr size_t kMark = 20480;

using QnStackHttpReceive = qntest::TransferTest;
using QnStackHttpReceivePause = qntest::TransferTest;
using QnStackHttpReceiveSlot = qntest::TransferTest;

std::string TraceOfReceives(int count, int bytes) {
  std::string trace;
  for (int i = 0; i < count; ++i) trace += "socket 1 recv len:" + std::to_string(bytes);
  return trace;
}

TEST_F(QnStackHttpReceive, AsksForTwoThousandFortyEightBytesUntilTheEnd) {
  network_.Script("recv", {Deliver("a"), Deliver(std::string(2048, 'b')), Deliver("c"), Give(0)});
  const Context ctx = OpenSent();
  EXPECT_EQ(RunStep(ctx),
            (Outcome{0, 5, 1, 1, "socket 1 recv len:1socket 1 recv len:2048socket 1 recv len:1"}));
  EXPECT_EQ(UnreadOf(ctx->recvBuf), "a" + std::string(2048, 'b') + "c");
  for (const auto &call : network_.CallsOf("recv")) EXPECT_EQ(call.asked, 2048u);
}

TEST_F(QnStackHttpReceive, BytesOfAnyValueAreKept) {
  std::string bytes;
  for (int value = 0; value < 256; ++value) bytes += static_cast<char>(value);
  network_.Script("recv", {Deliver(bytes), Give(0)});
  const Context ctx = OpenSent();
  RunStep(ctx);
  EXPECT_EQ(UnreadOf(ctx->recvBuf), bytes);
}

TEST_F(QnStackHttpReceive, CloseWithoutAnAnswerIsTheEndAndNoError) {
  network_.Script("recv", Give(0));
  const Context ctx = OpenSent();
  EXPECT_EQ(RunStep(ctx), (Outcome{0, 5, 1, 1, ""}));
  EXPECT_EQ(ctx->recvBuf->total, 0u);
}

TEST_F(QnStackHttpReceive, ErrorBeforeAnyByteIsMinusThirteen) {
  for (const int error : {ECONNRESET, EINTR, EAGAIN}) {
    network_.Script("recv", FailWith(error));
    const Context ctx = OpenSent();
    EXPECT_EQ(RunStep(ctx), (Outcome{-1, -13, 1, 1, ""}));
    EXPECT_EQ(RunStep(ctx), (Outcome{0, -13, 1, 1, ""}));
  }
}

TEST_F(QnStackHttpReceive, ErrorAfterSomeDataIsTheEnd) {
  network_.Script("recv", {Deliver("abc"), FailWith(ECONNRESET)});
  const Context ctx = OpenSent();
  EXPECT_EQ(RunStep(ctx), (Outcome{0, 5, 1, -1, "socket 1 recv len:3"}));
  EXPECT_EQ(UnreadOf(ctx->recvBuf), "abc");
}

TEST_F(QnStackHttpReceive, HeapThatRefusesBytesEndsTheAnswerWithoutAHole) {
  // The first and the last fit into the buffer as it is, the one between does not.
  network_.Script("recv", {Deliver(std::string(2000, 'a')), Deliver(std::string(2000, 'b')),
                           Deliver("c"), Give(0)});
  const Context ctx = OpenSent();
  {
    const FailingHeap heap(1, FailingHeap::Reach::kRest);
    RunStep(ctx);
  }
  EXPECT_EQ(ctx->state, QN_HTTP_COMPLETE);
  EXPECT_EQ(UnreadOf(ctx->recvBuf), std::string(2000, 'a'));
  EXPECT_THAT(SlotTable::Taken(), IsEmpty());
}

TEST_F(QnStackHttpReceive, ErrorAfterDataThatWasTakenIsTheEndToo) {
  const Context ctx = OpenReceiving("abc");
  char taken[3];
  fnQN_MemBuffer_Read(ctx->recvBuf, taken, 3);
  network_.Script("recv", FailWith(ECONNRESET));
  EXPECT_EQ(RunStep(ctx), (Outcome{0, 5, 1, -1, ""}));
}

// The count of all bytes that came is 0 again at that point.
TEST_F(QnStackHttpReceive, ErrorAfterExactlyFourGigabytesIsTheEndToo) {
  const Context ctx = OpenSent();
  ctx->recvBuf->total = UINT32_MAX - 2;
  network_.Script("recv", {Deliver("abc"), FailWith(ECONNRESET)});

  EXPECT_EQ(RunStep(ctx), (Outcome{0, 5, 1, -1, "socket 1 recv len:3"}));

  EXPECT_EQ(ctx->recvBuf->total, 0u);
  EXPECT_EQ(UnreadOf(ctx->recvBuf), "abc");
}

TEST_F(QnStackHttpReceive, ErrorAfterFourGigabytesThatWereTakenIsTheEndToo) {
  Context ctx = OpenReceiving("abc");
  ctx->recvBuf->total = 0;
  char taken[3];
  fnQN_MemBuffer_Read(ctx->recvBuf, taken, 3);
  network_.Script("recv", FailWith(ECONNRESET));
  EXPECT_EQ(RunStep(ctx), (Outcome{0, 5, 1, -1, ""}));
}

TEST_F(QnStackHttpReceive, OtherNegativeResultsAreErrorsToo) {
  SocketLayerFaults faults;
  faults.receive = {-4};
  const Context ctx = OpenSent();
  EXPECT_EQ(RunStep(ctx), (Outcome{-1, -13, 1, 1, ""}));
}

TEST_F(QnStackHttpReceive, ReceiveUnderWayCountsTwoTries) {
  SocketLayerFaults faults;
  faults.receive = {-2, -3, -2};
  const Context ctx = OpenSent();
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 4, 2, 1, ""}));
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 4, 4, 1, ""}));
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 4, 6, 1, ""}));
}

TEST_F(QnStackHttpReceive, DataBeforeAReceiveUnderWayResetsTheTries) {
  network_.Script("recv", Deliver("abc"));
  SocketLayerFaults faults;
  int receives = 0;
  faults.before_receive = [&] {
    if (++receives == 2) faults.receive = {-2};
  };
  const Context ctx = OpenSent();
  ctx->tryCount = 9;
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 4, 2, 1, "socket 1 recv len:3"}));
}

TEST_F(QnStackHttpReceive, ReceiveUnderWayIsGivenUpAfterMoreThanThreeThousandTries) {
  SocketLayerFaults faults;
  faults.receive.assign(1501, -2);
  const Context ctx = OpenSent();
  for (int32_t calls = 1; calls <= 1501; ++calls) {
    const Outcome outcome = RunStep(ctx);
    ASSERT_EQ(outcome.result, -2);
    ASSERT_EQ(outcome.tries, 2 * calls);
  }
  EXPECT_EQ(RunStep(ctx), (Outcome{-1, -14, 3002, 1, ""}));
}

TEST_F(QnStackHttpReceivePause, TwentyThousandFourHundredEightyUnreadBytesAreNotTooMany) {
  network_.Script("recv", Give(0));
  const Context ctx = OpenReceiving(std::string(kMark, 'x'));
  EXPECT_EQ(RunStep(ctx), (Outcome{0, 5, 1, 1, ""}));
  EXPECT_EQ(network_.Count("recv"), 1u);
}

TEST_F(QnStackHttpReceivePause, OneByteMoreIs) {
  const Context ctx = OpenReceiving(std::string(kMark + 1, 'x'));
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 4, 1, 1, ""}));
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 4, 2, 1, ""}));
  EXPECT_EQ(network_.Count("recv"), 0u);
}

TEST_F(QnStackHttpReceivePause, ComesAfterTheReceiveThatPassesTheMark) {
  network_.Script("recv", Deliver(std::string(40000, 'x')));
  const Context ctx = OpenSent();
  ctx->tryCount = 9;
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 4, 1, 1, TraceOfReceives(11, 2048)}));
  EXPECT_EQ(UnreadOf(ctx->recvBuf).size(), 11u * 2048);
}

TEST_F(QnStackHttpReceivePause, EndsWhenTheApplicationHasRead) {
  network_.Script("recv", {Deliver("more"), Give(0)});
  const Context ctx = OpenReceiving(std::string(kMark + 1, 'x'));
  RunStep(ctx);
  char taken[5];
  fnQN_MemBuffer_Read(ctx->recvBuf, taken, 5);
  EXPECT_EQ(RunStep(ctx), (Outcome{0, 5, 1, 1, "socket 1 recv len:4"}));
}

TEST_F(QnStackHttpReceivePause, IsGivenUpAfterThreeThousandAndOneCalls) {
  const Context ctx = OpenReceiving(std::string(kMark + 1, 'x'));
  for (int32_t tries = 1; tries <= 3001; ++tries) {
    const Outcome outcome = RunStep(ctx);
    ASSERT_EQ(outcome.result, -2);
    ASSERT_EQ(outcome.tries, tries);
  }
  EXPECT_EQ(RunStep(ctx), (Outcome{-1, -14, 3001, 1, ""}));
  EXPECT_EQ(network_.Count("recv"), 0u);
}

TEST_F(QnStackHttpReceiveSlot, NormalEndFreesItButKeepsItsNumber) {
  network_.Script("recv", Give(0));
  const Context ctx = OpenSent();
  const int fd = socket_list[1].fd;
  RunStep(ctx);
  EXPECT_EQ(ctx->socket, 1);
  EXPECT_THAT(SlotTable::Taken(), IsEmpty());
  ASSERT_EQ(network_.Count("close"), 1u);
  EXPECT_EQ(network_.CallsOf("close")[0].fd, fd);
}

// Kept for callers that rely on it: free a finished context before the next.
TEST_F(QnStackHttpReceiveSlot, FreeingAFinishedContextClosesANewerOne) {
  network_.Script("recv", Give(0));
  Context finished = OpenSent();
  RunStep(finished);
  const Context newer = OpenSent();
  ASSERT_EQ(newer->socket, 1);
  finished.reset();
  EXPECT_THAT(SlotTable::Taken(), IsEmpty());
}

TEST_F(QnStackHttpReceiveSlot, ErrorAfterSomeDataFreesItAndForgetsTheNumber) {
  network_.Script("recv", {Deliver("abc"), FailWith(ECONNRESET)});
  const Context ctx = OpenSent();
  RunStep(ctx);
  EXPECT_EQ(ctx->socket, -1);
  EXPECT_THAT(SlotTable::Taken(), IsEmpty());
  EXPECT_EQ(network_.Count("close"), 1u);
}

TEST_F(QnStackHttpReceiveSlot, ErrorBeforeAnyByteKeepsItUntilTheContextIsFreed) {
  network_.Script("recv", FailWith(ECONNRESET));
  Context ctx = OpenSent();
  RunStep(ctx);
  EXPECT_THAT(SlotTable::Taken(), ElementsAre(1));
  ctx.reset();
  EXPECT_THAT(SlotTable::Taken(), IsEmpty());
}

TEST_F(QnStackHttpReceiveSlot, PauseKeepsIt) {
  const Context ctx = OpenReceiving(std::string(kMark + 1, 'x'));
  RunStep(ctx);
  EXPECT_THAT(SlotTable::Taken(), ElementsAre(1));
}

}  // namespace
