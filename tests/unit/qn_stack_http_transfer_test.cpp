// SPDX-License-Identifier: MIT
// Guards the transfer engine's first half, call by call: resolving, connecting
// and composing, and which states are final.
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <string>

#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_porting.h"
#include "support/socket_layer_faults.h"
#include "support/transfer_test.h"

namespace {

using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;

using QnStackHttpRun = qntest::TransferTest;
using QnStackHttpResolve = qntest::TransferTest;
using QnStackHttpConnect = qntest::TransferTest;
using QnStackHttpComposeStep = qntest::TransferTest;

Context OpenGet() { return Context(fnQNStack_Http_Open_Get("http://h/")); }

TEST_F(QnStackHttpRun, CarriesAnExchangeToItsEnd) {
  network_.Script("recv", {Deliver("HTTP/1.0 200 OK\r\n\r\n"), Deliver("abc"), Give(0)});
  const Context ctx = OpenGet();
  EXPECT_EQ(
      RunStep(ctx),
      (Outcome{-2, 3, 0, 1, "create socket 1host:h,80connet socket:1 result:1hostname  = h"}));
  EXPECT_EQ(RunStep(ctx), (Outcome{0, 5, 1, 1, "socket 1 recv len:19socket 1 recv len:3"}));
  EXPECT_EQ(qntest::UnreadOf(ctx->recvBuf), "HTTP/1.0 200 OK\r\n\r\nabc");
  EXPECT_EQ(network_.Sent(),
            "GET / HTTP/1.0\r\nHost: h:80\r\n" + std::string(qntest::kHandsetHeaders) + "\r\n");
}

TEST_F(QnStackHttpRun, MakesOneCallToThePlatformForEachThing) {
  network_.Script("recv", {Deliver("abc"), Give(0)});
  const Context ctx = OpenGet();
  RunStep(ctx);
  RunStep(ctx);
  EXPECT_THAT(network_.Names(),
              ElementsAre("socket", "gethostbyname", "connect", "send", "recv", "recv", "close"));
}

TEST_F(QnStackHttpRun, NullIsMinusOneAndLeavesTheContextWorkedOnLast) {
  const Context ctx = OpenGet();
  gCtx = ctx.get();
  EXPECT_EQ(fnQNStack_Http_Run(nullptr), -1);
  EXPECT_EQ(gCtx, ctx.get());
}

TEST_F(QnStackHttpRun, RemembersTheContextWorkedOnLast) {
  const Context first = OpenGet();
  const Context second = OpenGet();
  RunStep(first);
  EXPECT_EQ(gCtx, first.get());
  RunStep(second);
  EXPECT_EQ(gCtx, second.get());
}

TEST_F(QnStackHttpRun, FinalStatesStayAsTheyAre) {
  const Context ctx = OpenGet();
  for (const int32_t state : {5, 6, 7, INT32_MAX, -1, -10, -11, -12, -13, -14, INT32_MIN}) {
    ctx->state = state;
    ctx->tryCount = 5000;
    EXPECT_EQ(RunStep(ctx), (Outcome{0, state, 5000, -1, ""}));
  }
  EXPECT_EQ(gCtx, nullptr);
  EXPECT_THAT(network_.Names(), IsEmpty());
}

TEST_F(QnStackHttpRun, GivesUpAboveThreeThousandTriesInEveryState) {
  for (const int32_t state : {0, 1, 2, 3, 4}) {
    const Context ctx = OpenGet();
    ctx->state = state;
    ctx->tryCount = 3001;
    EXPECT_EQ(RunStep(ctx), (Outcome{-1, -14, 3001, -1, ""}));
    EXPECT_EQ(RunStep(ctx), (Outcome{0, -14, 3001, -1, ""}));
  }
  EXPECT_EQ(gCtx, nullptr);
  EXPECT_THAT(network_.Names(), IsEmpty());
}

TEST_F(QnStackHttpRun, ThreeThousandTriesAreNotTooMany) {
  const Context ctx = OpenGet();
  ctx->tryCount = 3000;
  EXPECT_EQ(RunStep(ctx).result, -2);
  EXPECT_EQ(ctx->tryCount, 0);
}

TEST_F(QnStackHttpRun, GivingUpKeepsTheSlotUntilTheContextIsFreed) {
  Context ctx = OpenSent();
  ctx->tryCount = 3001;
  RunStep(ctx);
  EXPECT_THAT(SlotTable::Taken(), ElementsAre(1));
  ctx.reset();
  EXPECT_THAT(SlotTable::Taken(), IsEmpty());
}

TEST_F(QnStackHttpRun, CallRunTracesEachCall) {
  network_.Script("recv", Give(0));
  const Context ctx = OpenGet();
  const auto call_run = [&] { return fnQNStack_Http_Call_Run(ctx.get()); };
  EXPECT_EQ(OutcomeOf(ctx.get(), call_run),
            (Outcome{-2, 3, 0, 1,
                     "Socket callback working write or read...... "
                     "create socket 1host:h,80connet socket:1 result:1hostname  = h"}));
  EXPECT_EQ(OutcomeOf(ctx.get(), call_run),
            (Outcome{0, 5, 1, 1, "Socket callback working write or read...... "}));
}

TEST_F(QnStackHttpRun, CallRunOfNullIsZeroAndPrintsNothing) {
  const Context ctx = OpenGet();
  EXPECT_EQ(OutcomeOf(ctx.get(), [] { return fnQNStack_Http_Call_Run(nullptr); }),
            (Outcome{0, 0, 0, -1, ""}));
}

TEST_F(QnStackHttpRun, InterleavedContextsKeepApart) {
  network_.Script("recv", {Deliver("one"), Give(0), Deliver("two"), Give(0)});
  const Context first(fnQNStack_Http_Open_Get("http://h/1"));
  const Context second(fnQNStack_Http_Open_Get("http://h/2"));
  EXPECT_EQ(RunStep(first).socket, 1);
  EXPECT_EQ(RunStep(second).socket, 2);
  EXPECT_EQ(RunStep(first), (Outcome{0, 5, 1, 1, "socket 1 recv len:3"}));
  EXPECT_EQ(RunStep(second), (Outcome{0, 5, 1, 2, "socket 2 recv len:3"}));
  EXPECT_EQ(qntest::UnreadOf(first->recvBuf), "one");
  EXPECT_EQ(qntest::UnreadOf(second->recvBuf), "two");
}

TEST_F(QnStackHttpResolve, AsksForTheServerAndStoresItsPort) {
  const Context ctx(fnQNStack_Http_Open_Get("http://h:8080/"));
  RunStep(ctx);
  ASSERT_EQ(network_.Count("gethostbyname"), 1u);
  EXPECT_EQ(network_.CallsOf("gethostbyname")[0].text, "h");
  EXPECT_EQ(network_.CallsOf("connect")[0].text, "192.0.2.1:8080");
}

TEST_F(QnStackHttpResolve, AsksForTheProxyInsteadAndTracesTheServer) {
  fnQNStack_Http_SetProxy("gw", 3128);
  const Context ctx(fnQNStack_Http_Open_Get("http://h:8080/"));
  const Outcome outcome = RunStep(ctx);
  EXPECT_EQ(network_.CallsOf("gethostbyname")[0].text, "gw");
  EXPECT_EQ(network_.CallsOf("connect")[0].text, "192.0.2.9:3128");
  EXPECT_TRUE(outcome.trace.starts_with("create socket 1host:h,8080connet socket:1 result:1"))
      << outcome.trace;
}

TEST_F(QnStackHttpResolve, ProxySetAfterOpeningCounts) {
  const Context ctx = OpenGet();
  fnQNStack_Http_SetProxy("gw", 3128);
  RunStep(ctx);
  EXPECT_EQ(network_.CallsOf("gethostbyname")[0].text, "gw");
}

TEST_F(QnStackHttpResolve, NoFreeSlotIsMinusTenWithSocketZero) {
  SlotTable::TakeAll();
  const auto before = SlotTable::Entries();
  const Context ctx = OpenGet();
  EXPECT_EQ(RunStep(ctx), (Outcome{-1, -10, 1, 0, "create socket 0"}));
  EXPECT_EQ(gCtx, ctx.get());
  EXPECT_EQ(network_.Count("gethostbyname"), 0u);
  EXPECT_EQ(RunStep(ctx), (Outcome{0, -10, 1, 0, ""}));
  EXPECT_EQ(SlotTable::Entries(), before);
}

TEST_F(QnStackHttpResolve, NegativeSlotIsMinusTenToo) {
  SocketLayerFaults faults;
  faults.create = {-1};
  const Context ctx = OpenGet();
  EXPECT_EQ(RunStep(ctx), (Outcome{-1, -10, 1, -1, "create socket -1"}));
}

TEST_F(QnStackHttpResolve, UnknownNameIsMinusTenAndKeepsTheSlot) {
  Context ctx(fnQNStack_Http_Open_Get("http://unknown.test:81/"));
  ctx->tryCount = 7;
  EXPECT_EQ(RunStep(ctx), (Outcome{-1, -10, 8, 1, "create socket 1host:unknown.test,81"}));
  EXPECT_THAT(SlotTable::Taken(), ElementsAre(1));
  EXPECT_EQ(network_.Count("connect"), 0u);
  ctx.reset();
  EXPECT_THAT(SlotTable::Taken(), IsEmpty());
}

TEST_F(QnStackHttpResolve, UnknownProxyIsMinusTenAlthoughTheServerIsKnown) {
  fnQNStack_Http_SetProxy("unknown.test", 3128);
  const Context ctx = OpenGet();
  EXPECT_EQ(RunStep(ctx), (Outcome{-1, -10, 1, 1, "create socket 1host:h,80"}));
}

TEST_F(QnStackHttpResolve, AllOnesAddressIsMinusTen) {
  const Context ctx(fnQNStack_Http_Open_Get("http://255.255.255.255/"));
  EXPECT_EQ(RunStep(ctx), (Outcome{-1, -10, 1, 1, "create socket 1host:255.255.255.255,80"}));
}

TEST_F(QnStackHttpResolve, EmptyHostIsMinusTen) {
  const Context ctx(fnQNStack_Http_Open_Get("/relative"));
  EXPECT_EQ(RunStep(ctx), (Outcome{-1, -10, 1, 1, "create socket 1host:,80"}));
}

TEST_F(QnStackHttpResolve, HostThatIsNullIsMinusTen) {
  const Context ctx(fnQNStack_Http_Open_Connect(nullptr, 443));
  EXPECT_EQ(RunStep(ctx), (Outcome{-1, -10, 1, 1, "create socket 1host:(null),443"}));
}

TEST_F(QnStackHttpResolve, SocketThatIsThereIsUsed) {
  const Context ctx = OpenGet();
  ctx->socket = fnQN_Stack_CreateSocket();
  EXPECT_EQ(RunStep(ctx).trace, "host:h,80connet socket:1 result:1hostname  = h");
  EXPECT_EQ(network_.Count("socket"), 1u);
}

TEST_F(QnStackHttpResolve, RefusedSocketGoesOnUntilItConnects) {
  network_.Script("socket", FailWith(EMFILE));
  const Context ctx = OpenGet();
  EXPECT_EQ(
      RunStep(ctx),
      (Outcome{-1, -12, 1, 1, "create socket 1host:h,80connet socket:1 result:-1hostname  = h"}));
}

TEST_F(QnStackHttpConnect, SlotThatFailedBeforeIsMinusElevenAndFreed) {
  const Context ctx = OpenGet();
  ctx->socket = fnQN_Stack_CreateSocket();
  socket_list[1].connState = -1;
  network_.ForgetCalls();
  EXPECT_EQ(RunStep(ctx), (Outcome{-1, -11, 1, 0, "host:h,80connet socket:1 result:0"}));
  EXPECT_THAT(SlotTable::Taken(), IsEmpty());
  EXPECT_THAT(network_.Names(), ElementsAre("gethostbyname", "close"));
  EXPECT_EQ(RunStep(ctx), (Outcome{0, -11, 1, 0, ""}));
}

TEST_F(QnStackHttpConnect, NoFreeSlotIsMinusElevenWithSocketZero) {
  SlotTable::TakeAll();
  for (const int32_t socket : {-1, 0}) {
    const Context ctx = OpenGet();
    ctx->state = QN_HTTP_RESOLVED;
    ctx->socket = socket;
    ctx->tryCount = 4;
    EXPECT_EQ(RunStep(ctx), (Outcome{-1, -11, 5, 0, "create socket 0"}));
  }
  EXPECT_EQ(network_.Count("connect"), 0u);
}

TEST_F(QnStackHttpConnect, MissingSocketIsMade) {
  for (const int32_t socket : {-1, 0}) {
    const Context ctx = OpenGet();
    ctx->state = QN_HTTP_RESOLVED;
    ctx->socket = socket;
    EXPECT_EQ(RunStep(ctx),
              (Outcome{-2, 3, 0, 1, "create socket 1connet socket:1 result:1hostname  = h"}));
  }
}

TEST_F(QnStackHttpConnect, ConnectionUnderWayIsAskedAgain) {
  const Context ctx = OpenGet();
  ctx->socket = fnQN_Stack_CreateSocket();
  socket_list[1].connState = -2;
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 1, 1, 1, "host:h,80connet socket:1 result:-2"}));
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 1, 2, 1, "connet socket:1 result:-2"}));
  socket_list[1].connState = 1;
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 3, 0, 1, "connet socket:1 result:1hostname  = h"}));
}

TEST_F(QnStackHttpConnect, ConnectionUnderWayIsGivenUpAfterThreeThousandAndOneTries) {
  const Context ctx = OpenGet();
  ctx->socket = fnQN_Stack_CreateSocket();
  socket_list[1].connState = -2;
  for (int32_t tries = 1; tries <= 3001; ++tries) {
    const Outcome outcome = RunStep(ctx);
    ASSERT_EQ(outcome.result, -2);
    ASSERT_EQ(outcome.tries, tries);
  }
  EXPECT_EQ(RunStep(ctx), (Outcome{-1, -14, 3001, 1, ""}));
}

TEST_F(QnStackHttpConnect, RefusedConnectionFailsAtTheSendStep) {
  network_.Script("connect", FailWith(ECONNREFUSED));
  Context ctx = OpenGet();
  EXPECT_EQ(
      RunStep(ctx),
      (Outcome{-1, -12, 1, 1, "create socket 1host:h,80connet socket:1 result:-1hostname  = h"}));
  EXPECT_EQ(network_.Count("send"), 0u);
  EXPECT_THAT(SlotTable::Taken(), ElementsAre(1));
  ctx.reset();
  EXPECT_THAT(SlotTable::Taken(), IsEmpty());
}

TEST_F(QnStackHttpComposeStep, TakesTheBodyAsItIsThen) {
  std::string body = "early";
  const Context ctx(fnQNStack_Http_Open_Post("h", body.data(), 5, "t"));
  body = "later";
  RunStep(ctx);
  EXPECT_TRUE(network_.Sent().ends_with("\r\n\r\nlater")) << network_.Sent();
}

TEST_F(QnStackHttpComposeStep, ComposesOnceOnly) {
  std::string body(5000, 'b');
  const Context ctx(fnQNStack_Http_Open_Post("h", body.data(), 5000, "t"));
  RunStep(ctx);
  body.assign(5000, 'x');
  RunStep(ctx);
  RunStep(ctx);
  EXPECT_EQ(network_.Sent().find('x', network_.Sent().size() - 5000), std::string::npos);
}

TEST_F(QnStackHttpComposeStep, AppendsToALoadedRequest) {
  const Context ctx = OpenGet();
  qntest::Append(ctx->sendBuf, "loaded;");
  RunStep(ctx);
  EXPECT_TRUE(network_.Sent().starts_with("loaded;GET / HTTP/1.0\r\n"));
}

TEST_F(QnStackHttpComposeStep, MethodsOtherThanConnectExactlyAreOrdinary) {
  fnQNStack_Http_SetProxy("gw", 3128);
  const Context ctx = OpenGet();
  ctx->method[0] = 'g';
  RunStep(ctx);
  EXPECT_TRUE(network_.Sent().starts_with("gET http://h/ HTTP/1.0\r\n"));
}

}  // namespace
