// SPDX-License-Identifier: MIT
// Guards the receive step: what ends it and how, the pause above 20480 unread
// bytes, the count of tries, and what becomes of the slot.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <iterator>
#include <string>

#include "qnstack/qn_stack_http.h"
#include "support/answer_context.h"
#include "support/failing_heap.h"
#include "support/socket_layer_faults.h"
#include "support/transfer_test.h"

namespace {

using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;

using QnStackHttpReceive = qntest::TransferTest;
using QnStackHttpReceivePause = qntest::TransferTest;
using QnStackHttpReceiveSlot = qntest::TransferTest;

TEST_F(QnStackHttpReceive, AsksForTwoThousandFortyEightBytesUntilTheEnd) {
  std::string any(2048, 'b');
  for (size_t value = 0; value < 256; ++value) any[value] = static_cast<char>(value);
  network_.Script("recv", {Deliver("a"), Deliver(any), Deliver("c"), Give(0)});
  const Context ctx = OpenSent();
  EXPECT_EQ(RunStep(ctx),
            (Outcome{0, 5, 1, 1, "socket 1 recv len:1socket 1 recv len:2048socket 1 recv len:1"}));
  EXPECT_EQ(UnreadOf(ctx->recvBuf), "a" + any + "c");
  for (const auto &call : network_.CallsOf("recv")) EXPECT_EQ(call.asked, 2048u);
}

// The slot is free; the context keeps its number.
TEST_F(QnStackHttpReceive, CloseWithoutAnAnswerIsTheEndAndNoError) {
  network_.Script("recv", Give(0));
  const Context ctx = OpenSent();
  const int fd = socket_list[1].fd;
  EXPECT_EQ(RunStep(ctx), (Outcome{0, 5, 1, 1, ""}));
  EXPECT_EQ(ctx->recvBuf->total, 0u);
  EXPECT_THAT(SlotTable::Taken(), IsEmpty());
  ASSERT_EQ(network_.Count("close"), 1u);
  EXPECT_EQ(network_.CallsOf("close")[0].fd, fd);
}

TEST_F(QnStackHttpReceive, ErrorBeforeAnyByteIsMinusThirteenAndKeepsTheSlot) {
  for (const int error : {ECONNRESET, EINTR, EAGAIN, 0}) {
    SCOPED_TRACE(error);
    SocketLayerFaults faults;
    if (error != 0) {
      network_.Script("recv", FailWith(error));
    } else {
      faults.receive = {-4};  // a socket layer with results of its own
    }
    Context ctx = OpenSent();
    EXPECT_EQ(RunStep(ctx), (Outcome{-1, -13, 1, 1, ""}));
    EXPECT_EQ(RunStep(ctx), (Outcome{0, -13, 1, 1, ""}));
    EXPECT_THAT(SlotTable::Taken(), ElementsAre(1));
    ctx.reset();
    EXPECT_THAT(SlotTable::Taken(), IsEmpty());
  }
}

TEST_F(QnStackHttpReceive, ErrorAfterSomeDataIsTheEndAndForgetsTheSlot) {
  struct Case {
    const char *what;
    uint32_t total;  // what had come before
    bool is_taken;   // whether what comes now came before, and was read
  };
  constexpr Case kCases[] = {
      {"data of this call", 0, false},
      {"data that was taken", 0, true},
      // The count of all bytes that came is 0 again at that point.
      {"four gigabytes", UINT32_MAX - 2, false},
      {"four gigabytes that were taken", UINT32_MAX - 2, true},
  };
  for (const Case &c : kCases) {
    SCOPED_TRACE(c.what);
    const Context ctx = OpenSent();
    ctx->recvBuf->total = c.total;
    if (c.is_taken) {
      char taken[3];
      ctx->state = QN_HTTP_RECEIVING;
      qntest::Append(ctx->recvBuf, "abc");
      fnQN_MemBuffer_Read(ctx->recvBuf, taken, 3);
    } else {
      network_.Script("recv", Deliver("abc"));
    }
    network_.Script("recv", FailWith(ECONNRESET));
    EXPECT_EQ(RunStep(ctx), (Outcome{0, 5, 1, -1, c.is_taken ? "" : "socket 1 recv len:3"}));
    EXPECT_EQ(ctx->recvBuf->total, c.total + 3);
    EXPECT_EQ(UnreadOf(ctx->recvBuf), c.is_taken ? "" : "abc");
    EXPECT_THAT(SlotTable::Taken(), IsEmpty());
  }
  EXPECT_EQ(network_.Count("close"), std::size(kCases));
}

TEST_F(QnStackHttpReceive, ErrorAfterDataThatHasLeftTheBufferIsTheEnd) {
  const Context ctx = OpenSent();
  char taken[3];
  qntest::Append(ctx->recvBuf, "abc");
  fnQN_MemBuffer_Read(ctx->recvBuf, taken, 3);
  fnQN_MemBuffer_Write(ctx->recvBuf, "", 0);
  network_.Script("recv", FailWith(ECONNRESET));

  EXPECT_EQ(RunStep(ctx), (Outcome{0, 5, 1, -1, ""}));
}

TEST_F(QnStackHttpReceive, HeapThatRefusesBytesEndsTheAnswerWithoutAHole) {
  // The first and the last fit into the buffer as it is, the one between does not.
  network_.Script("recv", {Deliver(std::string(2000, 'a')), Deliver(std::string(2000, 'b')),
                           Deliver("c"), Give(0)});
  const Context ctx = OpenSent();
  RefusalsIn([&] { RunStep(ctx); }, 1, FailingHeap::Reach::kRest);
  EXPECT_EQ(ctx->state, QN_HTTP_COMPLETE);
  EXPECT_EQ(UnreadOf(ctx->recvBuf), std::string(2000, 'a'));
  EXPECT_THAT(SlotTable::Taken(), IsEmpty());
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

TEST_F(QnStackHttpReceivePause, IsAboveTwentyThousandFourHundredEightyUnreadBytes) {
  network_.Script("recv", {Deliver("more"), Give(0)});
  const Context ctx = OpenReceiving(std::string(kReceivePauseMark + 1, 'x'));
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 4, 1, 1, ""}));
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 4, 2, 1, ""}));
  EXPECT_EQ(network_.Count("recv"), 0u);
  EXPECT_THAT(SlotTable::Taken(), ElementsAre(1));
  char taken[1];
  fnQN_MemBuffer_Read(ctx->recvBuf, taken, 1);
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 4, 1, 1, "socket 1 recv len:4"}));
}

TEST_F(QnStackHttpReceivePause, ComesAfterTheReceiveThatPassesTheMark) {
  network_.Script("recv", Deliver(std::string(40000, 'x')));
  const Context ctx = OpenSent();
  ctx->tryCount = 9;
  std::string trace;
  for (int i = 0; i < 11; ++i) trace += "socket 1 recv len:2048";
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 4, 1, 1, trace}));
  EXPECT_EQ(UnreadOf(ctx->recvBuf).size(), 11u * 2048);
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

}  // namespace
