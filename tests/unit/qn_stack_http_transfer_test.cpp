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

TEST_F(QnStackHttpRun, CarriesAnExchangeToItsEndWithOneCallToThePlatformForEachThing) {
  network_.Script("recv", {Deliver("HTTP/1.0 200 OK\r\n\r\n"), Deliver("abc"), Give(0)});
  const Context ctx = OpenGet();
  EXPECT_EQ(
      RunStep(ctx),
      (Outcome{-2, 3, 0, 1, "create socket 1host:h,80connet socket:1 result:1hostname  = h"}));
  EXPECT_EQ(RunStep(ctx), (Outcome{0, 5, 1, 1, "socket 1 recv len:19socket 1 recv len:3"}));
  EXPECT_EQ(qntest::UnreadOf(ctx->recvBuf), "HTTP/1.0 200 OK\r\n\r\nabc");
  EXPECT_EQ(network_.Sent(),
            "GET / HTTP/1.0\r\nHost: h:80\r\n" + std::string(qntest::kHandsetHeaders) + "\r\n");
  EXPECT_THAT(network_.Names(), ElementsAre("socket", "gethostbyname", "connect", "send", "recv",
                                            "recv", "recv", "close"));
}

TEST_F(QnStackHttpRun, RemembersTheContextWorkedOnLast) {
  const Context first = OpenGet();
  const Context second = OpenGet();
  RunStep(first);
  EXPECT_EQ(gCtx, first.get());
  RunStep(second);
  EXPECT_EQ(gCtx, second.get());
  EXPECT_EQ(fnQNStack_Http_Run(nullptr), -1);
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
  const Context ctx = OpenGet();
  EXPECT_EQ(OutcomeOf(ctx.get(), [&] { return fnQNStack_Http_Call_Run(ctx.get()); }),
            (Outcome{-2, 3, 0, 1,
                     "Socket callback working write or read...... "
                     "create socket 1host:h,80connet socket:1 result:1hostname  = h"}));
}

TEST_F(QnStackHttpRun, InterleavedContextsKeepApart) {
  network_.Script("recv", {Deliver("one"), Give(0), Deliver("two"), Give(0)});
  const Context first(fnQNStack_Http_Open_Get("http://h/1"));
  const Context second(fnQNStack_Http_Open_Get("http://h/2"));
  EXPECT_EQ(RunStep(first).socket, 1);
  EXPECT_EQ(RunStep(second).socket, 2);
  EXPECT_EQ(network_.CallsOf("send")[0].fd, socket_list[1].fd);
  EXPECT_EQ(network_.CallsOf("send")[1].fd, socket_list[2].fd);
  EXPECT_EQ(RunStep(first), (Outcome{0, 5, 1, 1, "socket 1 recv len:3"}));
  EXPECT_EQ(RunStep(second), (Outcome{0, 5, 1, 2, "socket 2 recv len:3"}));
  EXPECT_EQ(qntest::UnreadOf(first->recvBuf), "one");
  EXPECT_EQ(qntest::UnreadOf(second->recvBuf), "two");
}

TEST_F(QnStackHttpResolve, AsksForTheServerOrTheProxyAndTracesTheServer) {
  const Context direct(fnQNStack_Http_Open_Get("http://h:8080/"));
  const Context proxied(fnQNStack_Http_Open_Get("http://h:8080/"));
  RunStep(direct);
  fnQNStack_Http_SetProxy("gw", 3128);  // set after opening it counts all the same
  const Outcome outcome = RunStep(proxied);
  ASSERT_EQ(network_.Count("gethostbyname"), 2u);
  EXPECT_EQ(network_.CallsOf("gethostbyname")[0].text, "h");
  EXPECT_EQ(network_.CallsOf("connect")[0].text, "192.0.2.1:8080");
  EXPECT_EQ(network_.CallsOf("gethostbyname")[1].text, "gw");
  EXPECT_EQ(network_.CallsOf("connect")[1].text, "192.0.2.9:3128");
  EXPECT_TRUE(outcome.trace.starts_with("create socket 2host:h,8080connet socket:2 result:1"))
      << outcome.trace;
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
  EXPECT_EQ(RunStep(OpenGet()), (Outcome{-1, -10, 1, -1, "create socket -1"}));
}

TEST_F(QnStackHttpResolve, UnknownNameIsMinusTenAndKeepsTheSlot) {
  struct Case {
    const char *url;  // none for a tunnel to no host
    const char *proxy;
    const char *trace;
  };
  constexpr Case kCases[] = {
      {"http://unknown.test:81/", nullptr, "create socket 1host:unknown.test,81"},
      {"http://255.255.255.255/", nullptr, "create socket 1host:255.255.255.255,80"},
      {"/relative", nullptr, "create socket 1host:,80"},
      {"http://h/", "unknown.test", "create socket 1host:h,80"},
      {nullptr, nullptr, "create socket 1host:(null),443"},
  };
  for (const Case &c : kCases) {
    SCOPED_TRACE(c.trace);
    fnQNStack_Http_SetProxy(c.proxy, 3128);
    Context ctx(c.url != nullptr ? fnQNStack_Http_Open_Get(c.url)
                                 : fnQNStack_Http_Open_Connect(nullptr, 443));
    ctx->tryCount = 7;
    EXPECT_EQ(RunStep(ctx), (Outcome{-1, -10, 8, 1, c.trace}));
    EXPECT_THAT(SlotTable::Taken(), ElementsAre(1));
    EXPECT_EQ(network_.Count("connect"), 0u);
    ctx.reset();
    EXPECT_THAT(SlotTable::Taken(), IsEmpty());
  }
}

TEST_F(QnStackHttpResolve, SocketThatIsThereIsUsed) {
  const Context ctx = OpenGet();
  ctx->socket = fnQN_Stack_CreateSocket();
  EXPECT_EQ(RunStep(ctx).trace, "host:h,80connet socket:1 result:1hostname  = h");
  EXPECT_EQ(network_.Count("socket"), 1u);
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
  ctx->tryCount = 7;
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 1, 1, 1, "host:h,80connet socket:1 result:-2"}));
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 1, 2, 1, "connet socket:1 result:-2"}));
  socket_list[1].connState = 1;
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 3, 0, 1, "connet socket:1 result:1hostname  = h"}));
}

TEST_F(QnStackHttpConnect, EndsTheCallsWithoutProgressWhateverComesOfIt) {
  network_.Script("connect", FailWith(ECONNREFUSED));
  const Context ctx = OpenGet();
  ctx->state = QN_HTTP_RESOLVED;
  ctx->tryCount = 7;
  EXPECT_EQ(RunStep(ctx).tries, 1) << "the one of the send";
}

TEST_F(QnStackHttpConnect, RefusedConnectionOrSocketFailsAtTheSendStep) {
  for (const char *refused : {"connect", "socket"}) {
    SCOPED_TRACE(refused);
    network_.Script(refused, FailWith(ECONNREFUSED));
    Context ctx = OpenGet();
    EXPECT_EQ(RunStep(ctx), (Outcome{-1, -12, 1, 1,
                                     "create socket 1host:h,80"
                                     "connet socket:1 result:-1hostname  = h"}));
    EXPECT_EQ(network_.Count("send"), 0u);
    EXPECT_THAT(SlotTable::Taken(), ElementsAre(1));
    ctx.reset();
    EXPECT_THAT(SlotTable::Taken(), IsEmpty());
  }
}

TEST_F(QnStackHttpComposeStep, TakesTheBodyAsItIsThenAndOnceOnly) {
  std::string body(5000, 'a');
  const Context ctx(fnQNStack_Http_Open_Post("h", body.data(), 5000, "t"));
  body.assign(5000, 'b');
  RunStep(ctx);
  body.assign(5000, 'c');
  RunStep(ctx);
  RunStep(ctx);
  EXPECT_TRUE(network_.Sent().ends_with("\r\n\r\n" + std::string(5000, 'b')));
}

TEST_F(QnStackHttpComposeStep, AppendsToALoadedRequestWhateverTheMethod) {
  fnQNStack_Http_SetProxy("gw", 3128);
  const Context ctx = OpenGet();
  ctx->method[0] = 'g';  // only CONNECT is another one
  qntest::Append(ctx->sendBuf, "loaded;");
  RunStep(ctx);
  EXPECT_TRUE(network_.Sent().starts_with("loaded;gET http://h/ HTTP/1.0\r\n"));
}

}  // namespace
