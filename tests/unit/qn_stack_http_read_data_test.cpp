// SPDX-License-Identifier: MIT
// Guards the delivery of the raw answer: the result of every call in every
// state, and the failure that shows one call late.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <string>

#include "qnstack/qn_stack_http.h"
#include "support/answer_context.h"
#include "support/socket_layer_faults.h"
#include "support/transfer_test.h"

namespace {

using namespace qntest;

class QnStackHttpReadRecvData : public qntest::TransferTest {
 protected:
  static Delivery Read(const Context &ctx, int32_t capacity = 4096) {
    std::string room(32768, '\0');
    const qntest::Outcome outcome = qntest::OutcomeOf(
        ctx.get(), [&] { return fnQNStack_Http_ReadRecvData(ctx.get(), room.data(), capacity); });
    room.resize(outcome.result > 0 ? static_cast<size_t>(outcome.result) : 0);
    return {outcome.result, room};
  }
};

TEST_F(QnStackHttpReadRecvData, DeliversHeaderAndBodyAsTheyCame) {
  const std::string answer = "HTTP/1.0 302 Found\r\nLocation: http://o/\r\n\r\nabc";
  network_.Script("recv", {Deliver(answer), Give(0)});
  const Context ctx(fnQNStack_Http_Open_Get("http://h/"));
  EXPECT_EQ(Read(ctx), (Delivery{-2, ""}));
  EXPECT_EQ(Read(ctx, 10), (Delivery{10, answer.substr(0, 10)}));
  EXPECT_EQ(Read(ctx), (Delivery{static_cast<int32_t>(answer.size()) - 10, answer.substr(10)}));
  EXPECT_EQ(Read(ctx), (Delivery{0, ""}));
  EXPECT_EQ(Read(ctx), (Delivery{0, ""}));
  EXPECT_EQ(ctx->headParsed, 0);
  EXPECT_EQ(ctx->retValue, 0);
  EXPECT_STREQ(ctx->url, "http://h/");
}

TEST_F(QnStackHttpReadRecvData, DeliversAsLittleAsOneByteBeforeTheEnd) {
  SocketLayerFaults faults;
  faults.receive = {-2};
  EXPECT_EQ(Read(OpenReceiving("abc"), 1), (Delivery{1, "a"}));
}

TEST_F(QnStackHttpReadRecvData, FailedStatesAreMinusOneAndKeepTheBytes) {
  const Context ctx = OpenReceiving("abc");
  for (const int32_t state : {-1, -10, -11, -12, -13, -14, INT32_MIN}) {
    ctx->state = state;
    EXPECT_EQ(Read(ctx), (Delivery{-1, ""})) << state;
  }
  EXPECT_EQ(UnreadOf(ctx->recvBuf), "abc");
  EXPECT_EQ(network_.Count("recv"), 0u);
}

TEST_F(QnStackHttpReadRecvData, FailureOfTheStepShowsOneCallLate) {
  const auto expect_late = [](const Context &ctx, int32_t state) {
    EXPECT_EQ(Read(ctx).result, -2);
    EXPECT_EQ(ctx->state, state);
    EXPECT_EQ(Read(ctx).result, -1);
  };
  expect_late(Context(fnQNStack_Http_Open_Get("http://unknown.test/")), -10);
  network_.Script("recv", FailWith(ECONNRESET));
  expect_late(OpenSent(), -13);
  const Context given_up = OpenReceiving("abc");
  given_up->tryCount = 3001;
  expect_late(given_up, -14);
}

TEST_F(QnStackHttpReadRecvData, ReceivingDeliversWhatIsThereAndFitsTheRoom) {
  SocketLayerFaults faults;
  faults.receive = {-2, -2, -2, -2};
  const Context ctx = OpenReceiving("abc");
  EXPECT_EQ(Read(ctx, 0), (Delivery{-2, ""}));
  EXPECT_EQ(Read(ctx, -1), (Delivery{-2, ""}));
  EXPECT_EQ(Read(ctx), (Delivery{3, "abc"}));
  EXPECT_EQ(Read(ctx), (Delivery{-2, ""}));
  EXPECT_EQ(ctx->state, QN_HTTP_RECEIVING);
}

TEST_F(QnStackHttpReadRecvData, CompleteMakesNoStep) {
  const Context ctx = OpenReceiving("abc");
  ctx->state = QN_HTTP_COMPLETE;
  gCtx = nullptr;
  EXPECT_EQ(Read(ctx, -1), (Delivery{-1, ""}));
  EXPECT_EQ(Read(ctx, 2), (Delivery{2, "ab"}));
  EXPECT_EQ(Read(ctx, 0), (Delivery{0, ""}));
  EXPECT_EQ(Read(ctx, 2), (Delivery{1, "c"}));
  EXPECT_EQ(Read(ctx, 2), (Delivery{0, ""}));
  EXPECT_EQ(gCtx, nullptr);
  EXPECT_EQ(network_.Count("recv"), 0u);
}

TEST_F(QnStackHttpReadRecvData, StoppedIsMinusOneAndTheBytesAreLost) {
  const Context ctx = OpenReceiving("abc");
  fnQNStack_Http_Stop(ctx.get());
  EXPECT_EQ(Read(ctx, 2).result, -1);
  EXPECT_EQ(UnreadOf(ctx->recvBuf), "c");
}

TEST_F(QnStackHttpReadRecvData, PausedAnswerGoesOnAsItIsTaken) {
  const std::string answer(50000, 'x');
  network_.Script("recv", {Deliver(answer), Give(0)});
  const Context ctx = OpenSent();
  EXPECT_EQ(Read(ctx, 1000).result, 1000);
  EXPECT_EQ(ctx->state, QN_HTTP_RECEIVING);
  EXPECT_GT(UnreadOf(ctx->recvBuf).size(), kReceivePauseMark);
  std::string taken(1000, 'x');
  for (Delivery more = Read(ctx, 32768); more.result != 0; more = Read(ctx, 32768)) {
    ASSERT_GT(more.result, 0);
    taken += more.bytes;
  }
  EXPECT_EQ(taken, answer);
  EXPECT_EQ(ctx->state, QN_HTTP_COMPLETE);
}

}  // namespace
