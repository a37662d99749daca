// SPDX-License-Identifier: MIT
// Guards that a request goes out whole and as one request, or not at all: a URL
// adds no lines to it, and nothing is left out that the heap refused.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_http_cookie.h"
#include "qnstack/qn_stack_http_head.h"
#include "support/answer_context.h"
#include "support/captured_output.h"
#include "support/failing_heap.h"
#include "support/transfer_test.h"

namespace {

using namespace qntest;
using testing::AnyOf;

class QnStackHttpWholeRequest : public qntest::TransferTest {
 protected:
  static Context Get(const std::string &url) {
    return Context(fnQNStack_Http_Open_Get(url.c_str()));
  }

  // Drives a context that is to fail at the step that composes its request.
  void ExpectNotComposed(const Context &ctx) const {
    const size_t sent = network_.Sent().size();
    const Outcome outcome = RunStep(ctx);
    EXPECT_EQ(outcome.result, -1);
    EXPECT_EQ(outcome.state, QN_HTTP_SEND_FAILED);
    EXPECT_EQ(outcome.tries, 1);
    EXPECT_EQ(network_.Sent().size(), sent);
    EXPECT_EQ(UnreadOf(ctx->sendBuf), "");
  }

  void ExpectSent(const Context &ctx) {
    network_.ForgetCalls();
    EXPECT_EQ(RunStep(ctx).result, -2);
    EXPECT_EQ(network_.Sent(), Request());
  }

  static std::string Request() {
    return std::string("GET / HTTP/1.0\r\nHost: h:80\r\n") + kHandsetHeaders + "\r\n";
  }

  // Makes a call with its first allocation refused.
  static void WithoutMemory(const std::function<void()> &call) {
    EXPECT_EQ(RefusalsIn(call, 1), 1);
  }
};

using QnStackHttpLineEnd = QnStackHttpWholeRequest;
using QnStackHttpRefusedPart = QnStackHttpWholeRequest;

TEST_F(QnStackHttpLineEnd, InThePathIsNotSent) {
  for (const char *path : {"/a\r\nX: 1", "/a\nX: 1", "/a\rX: 1", "?\n", "/\r"}) {
    SCOPED_TRACE(path);
    ExpectNotComposed(Get(std::string("http://h") + path));
  }
}

TEST_F(QnStackHttpLineEnd, InTheHostOrPathIsNotSentToTheProxy) {
  fnQNStack_Http_SetProxy("gw", 8080);
  for (const char *url : {"h\r\nX: 1/", "h\n/", "\rh", "http://h/a\r\nX: 1", "h?\n"}) {
    SCOPED_TRACE(url);
    ExpectNotComposed(Get(url));
  }
}

TEST_F(QnStackHttpLineEnd, InTheHostOfATunnelIsNotSent) {
  fnQNStack_Http_SetProxy("gw", 8080);
  for (const char *host : {"h\r\nX: 1", "h\n", "\r"}) {
    SCOPED_TRACE(host);
    ExpectNotComposed(Context(fnQNStack_Http_Open_Connect(host, 443)));
  }
}

TEST_F(QnStackHttpLineEnd, InTheUrlThatARedirectAsksAgainIsNotSent) {
  const Context ctx = Get("http://h/a\r\nX: 1");
  qntest::Append(ctx->recvBuf, "HTTP/1.0 302 Found\r\n\r\n");
  ctx->state = QN_HTTP_COMPLETE;
  char room[8];
  ASSERT_EQ(fnQNStack_Http_ReadRecvContext(ctx.get(), room, sizeof room), -2);
  ExpectNotComposed(ctx);
}

TEST_F(QnStackHttpLineEnd, EndsTheLocationThatIsFollowed) {
  network_.AddPeer({Deliver("HTTP/1.0 302 Found\r\nLocation: http://h/\rX: 1\r\n\r\n"), Give(0)});
  const Context ctx = Get("http://h/first");
  char room[8];
  for (int i = 0; i < 2; ++i) fnQNStack_Http_ReadRecvContext(ctx.get(), room, sizeof room);
  ASSERT_EQ(ctx->redirectCount, 1);
  ExpectSent(ctx);
}

TEST_F(QnStackHttpLineEnd, ComposedByHandIsMinusOneLeavesALoadedRequestAndPrintsNothing) {
  fnQNStack_Http_SetProxy("gw", 8080);
  const Context get = Get("http://h/a\n");
  const Context tunnel(fnQNStack_Http_Open_Connect("h\n", 443));
  qntest::Append(get->sendBuf, "loaded;");
  const std::string trace = qntest::OutputOf([&] {
    EXPECT_EQ(fnQNStack_Http_PrepareQuest(get.get()), -1);
    EXPECT_EQ(fnQNStack_Http_PrepareQuest_Connect(tunnel.get()), -1);
  });
  EXPECT_EQ(trace, "");
  EXPECT_EQ(UnreadOf(get->sendBuf), "loaded;");
  EXPECT_EQ(UnreadOf(tunnel->sendBuf), "");
}

TEST_F(QnStackHttpLineEnd, InAHeaderOfTheApplicationGoesOutAsItIs) {
  fnQNStack_Http_Head_Write("Accept", "a\r\nX-Own: 1");
  const Context ctx = Get("http://h/");
  RunStep(ctx);
  EXPECT_NE(network_.Sent().find("\r\nAccept: a\r\nX-Own: 1\r\n"), std::string::npos);
}

// A program from its start to the last piece of its request.
TEST_F(QnStackHttpRefusedPart, IsNeverLeftOutOfARequest) {
  const std::string body(5000, 'b');
  const std::string whole = std::string("PUT http://h:81/m HTTP/1.0\r\nHost: h:81\r\n") +
                            kHandsetHeaders +
                            "Content-Type: t\r\n Expect: 100-Continue\r\nContent-Length: 5000\r\n"
                            "Cookie: sid=42\r\nCookie2: \"1\"\r\n\r\n" +
                            body;
  for (const auto reach : {FailingHeap::Reach::kOne, FailingHeap::Reach::kRest}) {
    for (int refused = 1, refusals = 1; refusals > 0; ++refused) {
      SCOPED_TRACE(refused);
      fnQNStack_Http_CloseStack();
      fnQNStack_Http_SetProxy("gw", 8080);
      network_.ForgetCalls();
      {
        const FailingHeap heap(refused, reach);
        fnQNStack_Http_InitStack();
        fnQNStack_Http_Cookie_Set("sid", "42", "h", "/");
        const Context ctx(fnQNStack_Http_Open_Put("http://h:81/m", body.data(), 5000, "t"));
        while (ctx != nullptr && ctx->state <= QN_HTTP_SENDING && ctx->state >= QN_HTTP_NEW) {
          fnQNStack_Http_Run(ctx.get());
        }
        refusals = heap.Refusals();
      }
      const std::string sent = network_.Sent();
      EXPECT_THAT(sent, AnyOf("", whole));
      EXPECT_TRUE(refusals > 0 || !sent.empty());
    }
  }
}

TEST_F(QnStackHttpRefusedPart, IsNeverLeftOutOfATunnelsRequest) {
  const std::string whole = "CONNECT h:443 HTTP/1.1\r\nProxy-Connection: Keep-Alive\r\n\r\n";
  fnQNStack_Http_SetProxy("gw", 8080);
  for (int refused = 1, refusals = 1; refusals > 0; ++refused) {
    SCOPED_TRACE(refused);
    network_.ForgetCalls();
    const auto ask = [] {
      const Context ctx(fnQNStack_Http_Open_Connect("h", 443));
      if (ctx != nullptr) fnQNStack_Http_Run(ctx.get());
    };
    refusals = RefusalsIn(ask, refused);
    EXPECT_EQ(network_.Sent(), refusals > 0 ? "" : whole);
  }
}

TEST_F(QnStackHttpRefusedPart, TakesTheRestOfItsRequestBack) {
  const std::string body(5000, 'b');
  for (int refused = 1, refusals = 1; refusals > 0; ++refused) {
    SCOPED_TRACE(refused);
    const Context ctx(fnQNStack_Http_Open_Post("h", body.data(), 5000, "t"));
    qntest::Append(ctx->sendBuf, "loaded;");
    int32_t result = 0;
    refusals = RefusalsIn([&] { result = fnQNStack_Http_PrepareQuest(ctx.get()); }, refused);
    EXPECT_EQ(result, refusals > 0 ? -1 : 0);
    EXPECT_EQ(UnreadOf(ctx->sendBuf) == "loaded;", refusals > 0);
  }
}

TEST_F(QnStackHttpRefusedPart, TypeIsMissedByABodyOfOneByte) {
  const Context ctx(fnQNStack_Http_Open_Post("h", "b", 1, "t"));
  fnQN_Free(&ctx->contentType);
  ExpectNotComposed(ctx);
}

TEST_F(QnStackHttpRefusedPart, HeaderIsMissedUntilItIsWrittenOrTheTableIsFreed) {
  const auto refuse = [] { fnQNStack_Http_Head_Write("Accept", "text/plain"); };
  WithoutMemory(refuse);
  ExpectNotComposed(Get("http://h/"));
  ExpectNotComposed(Get("http://h/"));
  fnQNStack_Http_SetProxy("gw", 8080);
  EXPECT_EQ(RunStep(Context(fnQNStack_Http_Open_Connect("h", 443))).result, -2)
      << "a tunnel's request has none";
  fnQNStack_Http_SetProxy(nullptr, 0);
  fnQNStack_Http_Head_SetDefault();
  ExpectSent(Get("http://h/"));

  fnQNStack_Http_Head_FreeAll();
  WithoutMemory(refuse);
  ExpectNotComposed(Get("http://h/"));
  fnQNStack_Http_Head_FreeAll();
  EXPECT_EQ(RunStep(Get("http://h/")).result, -2);
}

TEST_F(QnStackHttpRefusedPart, HeaderThatIsNeverSentIsNotMissed) {
  WithoutMemory([] { fnQNStack_Http_Head_Write("X-Unsent", "1"); });
  WithoutMemory([] { fnQNStack_Http_Head_Write("Accept-Charset", "latin1"); });
  ExpectSent(Get("http://h/"));
}

TEST_F(QnStackHttpRefusedPart, CookieIsMissedByTheNextRequestUnlessItIsSetAgain) {
  const auto set = [] { fnQNStack_Http_Cookie_Set("sid", "42", "h", "/"); };
  WithoutMemory(set);
  ExpectNotComposed(Get("http://h/"));
  ExpectSent(Get("http://h/"));

  WithoutMemory(set);
  set();
  RunStep(Get("http://h/"));
  EXPECT_NE(network_.Sent().find("\r\nCookie: sid=42\r\n"), std::string::npos);
}

TEST_F(QnStackHttpRefusedPart, CookieOfAnAnswerIsMissedByItsRedirect) {
  // The allocations that parsing the cookie's line makes, one after the other.
  for (int refused = 2; refused <= 11; ++refused) {
    SCOPED_TRACE(refused);
    fnQNStack_Http_Cookie_FreeAll();
    const Context ctx = OpenReceiving("Set-Cookie: a=1\r\n");
    ASSERT_EQ(RefusalsIn([&] { fnQNStack_Http_ParseAnswer(ctx.get()); }, refused), 1);
    qntest::Append(ctx->recvBuf, "HTTP/1.0 302 Found\r\n\r\n");
    network_.Script("recv", Give(0));
    char room[8];
    ASSERT_EQ(fnQNStack_Http_ReadRecvContext(ctx.get(), room, sizeof room), -2);
    ctx->tryCount = 0;
    ExpectNotComposed(ctx);
  }
}

}  // namespace
