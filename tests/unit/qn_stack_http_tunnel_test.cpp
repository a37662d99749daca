// SPDX-License-Identifier: MIT
// Guards a tunnel's transfer: its request, its receive loop with the count of
// tries, and the pass-throughs by which the application uses it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <string>
#include <vector>

#include "qnstack/qn_stack_http.h"
#include "support/answer_context.h"
#include "support/captured_output.h"
#include "support/failing_heap.h"
#include "support/socket_layer_faults.h"
#include "support/transfer_test.h"

namespace {

using namespace qntest;
using testing::ElementsAre;

class QnStackHttpTunnel : public qntest::TransferTest {
 protected:
  // A tunnel whose request has gone out.
  static Context OpenTunnel() {
    fnQNStack_Http_SetProxy("gw", 3128);
    Context ctx(fnQNStack_Http_Open_Connect("t", 443));
    RunStep(ctx);
    return ctx;
  }

  static Outcome Receive(const Context &ctx) {
    return OutcomeOf(ctx.get(), [&] { return fnQNStack_Http_RecvConnectData(ctx.get()); });
  }
};

TEST_F(QnStackHttpTunnel, AsksTheProxyForTheConnection) {
  fnQNStack_Http_SetProxy("gw", 3128);
  const Context ctx(fnQNStack_Http_Open_Connect("t", 443));
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 3, 0, 1,
                                   "create socket 1host:t,443connet socket:1 result:1"
                                   "method  = CONNECThostname  = tpath  = (null)"}));
  EXPECT_EQ(network_.Sent(), "CONNECT t:443 HTTP/1.1\r\nProxy-Connection: Keep-Alive\r\n\r\n");
  EXPECT_EQ(network_.CallsOf("connect")[0].text, "192.0.2.9:3128");
}

// It may wait for ever, and what was printed would never be seen.
TEST_F(QnStackHttpTunnel, HasPrintedItsTraceBeforeItWaits) {
  const Context ctx(fnQNStack_Http_Open_Connect("h", 443));
  CapturedOutput output;
  std::string printed;
  network_.AfterReceive([&] { printed = output.Take(); });
  network_.Script("recv", Deliver("hi"));

  EXPECT_EQ(fnQNStack_Http_Run(ctx.get()), -2);

  EXPECT_EQ(printed, "create socket 1host:h,443connet socket:1 result:1");
}

TEST_F(QnStackHttpTunnel, WithoutAProxySendsNothingAndReceivesAtOnce) {
  network_.Script("recv", Deliver("hi"));
  const Context ctx(fnQNStack_Http_Open_Connect("h", 443));
  EXPECT_EQ(RunStep(ctx),
            (Outcome{-2, 4, 1, 1, "create socket 1host:h,443connet socket:1 result:1"}));
  EXPECT_EQ(network_.Count("send"), 0u);
  EXPECT_EQ(UnreadOf(ctx->recvBuf), "hi");
}

TEST_F(QnStackHttpTunnel, OneReceiveACallOfTwoThousandFortyEightBytesAtMostWithoutATrace) {
  const Context ctx = OpenTunnel();
  network_.Script("recv", Deliver(std::string(3000, 'x')));
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 4, 1, 1, ""}));
  EXPECT_EQ(UnreadOf(ctx->recvBuf), std::string(2048, 'x'));
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 4, 1, 1, ""}));
  EXPECT_EQ(UnreadOf(ctx->recvBuf), std::string(3000, 'x'));
}

TEST_F(QnStackHttpTunnel, ReceivingGoesOnOverEndsAndErrorsUntilDataComes) {
  const Context ctx = OpenTunnel();
  network_.Script("recv", {Give(0), FailWith(ECONNRESET), Give(0), Deliver("x")});
  ctx->tryCount = 7;
  EXPECT_EQ(Receive(ctx), (Outcome{-2, 3, 0, 1, ""}));
  EXPECT_EQ(network_.Count("recv"), 4u);
}

// Only one more piece is scripted: a call that went on would take it.
TEST_F(QnStackHttpTunnel, BytesThatTheHeapRefusesEndTheCallTheyCameIn) {
  const Context ctx = OpenTunnel();
  network_.Script("recv",
                  {Deliver(std::string(2000, 'a')), Deliver(std::string(2000, 'b')), Deliver("c")});
  Receive(ctx);
  int32_t result = 0;
  RefusalsIn([&] { result = fnQNStack_Http_RecvConnectData(ctx.get()); }, 1,
             FailingHeap::Reach::kRest);
  EXPECT_EQ(result, -2);
  EXPECT_EQ(network_.Count("recv"), 2u);
  EXPECT_EQ(UnreadOf(ctx->recvBuf), std::string(2000, 'a'));
}

TEST_F(QnStackHttpTunnel, EachReceiveWithoutDataIsATryAndTriesWrap) {
  const Context ctx = OpenTunnel();
  network_.Script("recv", {Give(0), FailWith(ECONNRESET), Give(0), Deliver("x")});
  SocketLayerFaults faults;
  std::vector<int32_t> tries;
  faults.before_receive = [&] { tries.push_back(ctx->tryCount); };
  ctx->tryCount = INT32_MAX - 1;
  Receive(ctx);
  EXPECT_THAT(tries, ElementsAre(INT32_MAX - 1, INT32_MAX, INT32_MIN, INT32_MIN + 1));
}

TEST_F(QnStackHttpTunnel, PausesAboveTheMark) {
  const Context ctx = OpenTunnel();
  qntest::Append(ctx->recvBuf, std::string(kReceivePauseMark, 'x'));
  network_.Script("recv", Deliver("y"));
  EXPECT_EQ(Receive(ctx).result, -2);
  EXPECT_EQ(UnreadOf(ctx->recvBuf).size(), kReceivePauseMark + 1);
  ctx->tryCount = 7;
  EXPECT_EQ(Receive(ctx), (Outcome{-2, 3, 7, 1, ""}));
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 4, 8, 1, ""}));
  EXPECT_EQ(network_.Count("recv"), 1u);
}

TEST_F(QnStackHttpTunnel, PassThroughReceivesOnTheContextsSlot) {
  const Context ctx = OpenTunnel();
  network_.Script("recv", {Deliver("pong"), Give(0), FailWith(ECONNRESET)});
  char bytes[8] = "";
  EXPECT_EQ(fnQNStack_Http_Socket_Recvata(ctx.get(), bytes, 7), 4);
  EXPECT_STREQ(bytes, "pong");
  EXPECT_EQ(network_.CallsOf("recv")[0].fd, socket_list[1].fd);
  EXPECT_EQ(network_.CallsOf("recv")[0].asked, 7u);
  EXPECT_EQ(fnQNStack_Http_Socket_Recvata(ctx.get(), bytes, 7), 0);
  EXPECT_EQ(fnQNStack_Http_Socket_Recvata(ctx.get(), bytes, 7), -1);
  EXPECT_EQ(ctx->state, QN_HTTP_SENDING);
  EXPECT_EQ(UnreadOf(ctx->recvBuf), "");
}

TEST_F(QnStackHttpTunnel, PassThroughGivesTheSocketLayersRefusals) {
  const Context ctx = OpenTunnel();
  char byte = 0;
  EXPECT_EQ(fnQNStack_Http_Socket_Recvata(ctx.get(), &byte, -1), -1);
  for (const int32_t socket : {-1, 0, 20}) {
    ctx->socket = socket;
    EXPECT_EQ(fnQNStack_Http_Socket_Recvata(ctx.get(), &byte, 1), -1);
    EXPECT_EQ(fnQNStack_Http_Socket_Recvata(ctx.get(), nullptr, 1), -1);
  }
}

}  // namespace
