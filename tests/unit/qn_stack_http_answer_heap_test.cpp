// SPDX-License-Identifier: MIT
// The answer parser and the redirect when the heap refuses: every allocation in
// turn, and all from one on. Fields hold the old text, the new text or none,
// and the context can still be read, driven and freed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>

#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_http_cookie.h"
#include "support/answer_context.h"
#include "support/cookie_jar.h"
#include "support/failing_heap.h"
#include "support/network_faults.h"

namespace {

using namespace qntest;
using testing::AnyOf;
using testing::Each;

constexpr char kAnswer[] =
    "HTTP/1.0 200 OK\r\n"
    "Content-Type: text/plain\r\n"
    "Content-Location: http://new.test/p\r\n"
    "Content-Encoding: gzip\r\n"
    "Set-Cookie: sid=42; Path=/m\r\n"
    "Content-Length: 3\r\n"
    "\r\n"
    "abc";

// Calls `attempt` with the heap refusing the first allocation, the second and
// so on, each alone and with all that follow, until none is left to refuse.
// `attempt` arms the heap itself and tells how many refusals it met.
void RefuseEachInTurn(const std::function<int(int, FailingHeap::Reach)> &attempt) {
  for (const auto reach : {FailingHeap::Reach::kOne, FailingHeap::Reach::kRest}) {
    constexpr int kMoreThanAnyCallMakes = 200;
    int number = 1;
    int refusals = 1;
    while (refusals > 0 && number < kMoreThanAnyCallMakes) {
      SCOPED_TRACE(testing::Message()
                   << "allocation " << number << " refused"
                   << (reach == FailingHeap::Reach::kRest ? " and the rest" : ""));
      refusals = attempt(number, reach);
      ++number;
    }
    EXPECT_GT(number, 2) << "nothing was ever refused";
    EXPECT_LT(number, kMoreThanAnyCallMakes);
  }
}

// Blocks that a call took from the heap and did not give back.
int BlocksKeptBy(const std::function<void()> &call) {
  FailingHeap heap(FailingHeap::kCountOnly);
  call();
  return heap.Allocations() - heap.Frees();
}

class QnStackHttpAnswerHeap : public testing::Test {
 protected:
  void SetUp() override { fnQNStack_Http_Cookie_FreeAll(); }
  void TearDown() override { fnQNStack_Http_Cookie_FreeAll(); }
};

void ExpectSoundAnswerFields(const AnswerContext &ctx) {
  EXPECT_THAT(TextOf(ctx->retCtxType), AnyOf("(null)", "text/plain"));
  EXPECT_THAT(TextOf(ctx->url), AnyOf("(null)", AnswerContext::kUrl, "http://new.test/p"));
  EXPECT_EQ(TextOf(ctx->hostname), AnswerContext::kHost);
  EXPECT_THAT(ctx->retValue, AnyOf(0, 200));
  EXPECT_THAT(ctx->retEncoding, AnyOf(0, 1, -1));
  EXPECT_THAT(ctx->retCtxLen, AnyOf(0, 3));
}

// Reads until nothing is left and expects the body alone.
void ExpectBody(AnswerContext &ctx, const std::string &body) {
  std::string rest;
  for (Delivery delivery = ctx.Read(); delivery.result > 0; delivery = ctx.Read()) {
    rest += delivery.bytes;
  }
  EXPECT_EQ(rest, body);
}

TEST_F(QnStackHttpAnswerHeap, ParsingGoesOnLater) {
  for (const int32_t state : {QN_HTTP_COMPLETE, QN_HTTP_RECEIVING}) {
    SCOPED_TRACE(state);
    RefuseEachInTurn([state](int number, FailingHeap::Reach reach) {
      fnQNStack_Http_Cookie_FreeAll();
      AnswerContext ctx(state);
      ctx.Feed(kAnswer);
      int32_t result = 0;
      const int refusals =
          RefusalsIn([&] { result = fnQNStack_Http_ParseAnswer(ctx.get()); }, number, reach);
      EXPECT_THAT(result, AnyOf(0, -2));
      EXPECT_EQ(ctx->headParsed, result == 0 ? 1 : 0);
      ExpectSoundAnswerFields(ctx);
      // The cookie is stored whole or not at all.
      EXPECT_THAT(CookiesInJar(), Each(StoredCookie{"sid", "42", AnswerContext::kHost, "/m"}));

      EXPECT_EQ(fnQNStack_Http_ParseAnswer(ctx.get()), 0);
      EXPECT_EQ(ctx.Unread(), "abc");
      return refusals;
    });
  }
}

TEST_F(QnStackHttpAnswerHeap, LinesKeepNothingButTheLastOfEachText) {
  struct Case {
    const char *what;
    const char *lines;
    int blocks;
  };
  constexpr Case kCases[] = {
      {"numbers and other lines",
       "HTTP/1.0 200 OK\r\nContent-Length: 3\r\nContent-Encoding: gzip\r\nX-Other: y\r\n", 0},
      {"the URL is replaced", "Location: http://a.test/\r\nContent-Location: http://b.test/\r\n",
       0},
      {"one media type of three", "Content-Type: a/a\r\nContent-Type: b/b\r\nContentType: c/c\r\n",
       1},
      {"a cookie with its list node and four texts", "Set-Cookie: a=1; Path=/m\r\n", 6},
  };
  fnQNStack_Http_Cookie_Set("first", "creates", "the", "jar");
  for (const Case &c : kCases) {
    AnswerContext ctx;
    ctx.Feed(std::string(c.lines) + "\r\n");
    EXPECT_EQ(BlocksKeptBy([&ctx] { fnQNStack_Http_ParseAnswer(ctx.get()); }), c.blocks) << c.what;
    EXPECT_EQ(ctx->headParsed, 1);
  }
}

// What a redirect that met refusals may leave in the fields.
void ExpectSoundRedirect(const AnswerContext &ctx) {
  EXPECT_THAT(TextOf(ctx->url), AnyOf("(null)", AnswerContext::kUrl, "http://new.test:81/p"));
  EXPECT_THAT(TextOf(ctx->hostname), AnyOf("(null)", AnswerContext::kHost, "new.test"));
  EXPECT_THAT(TextOf(ctx->path), AnyOf("(null)", AnswerContext::kPath, "/p"));
  EXPECT_THAT(TextOf(ctx->method), AnyOf("(null)", "GET"));
}

TEST_F(QnStackHttpAnswerHeap, RedirectSurvivesAndCanBeDrivenOn) {
  RefuseEachInTurn([](int number, FailingHeap::Reach reach) {
    NetworkFaults network(NetworkFaults::Mode::kOffline);
    network.AddHost("new.test", {"127.0.0.1"});
    AnswerContext ctx;
    ctx.Feed(qntest::FoundAt("http://new.test:81/p") + "abc");
    char room[512];
    int32_t result = 0;
    const int refusals =
        RefusalsIn([&] { result = fnQNStack_Http_ReadRecvContext(ctx.get(), room, sizeof room); },
                   number, reach);
    EXPECT_LE(result, static_cast<int32_t>(sizeof room));
    ExpectSoundRedirect(ctx);

    // Whatever is missing now, driving it comes to an end.
    int calls = 0;
    while (fnQNStack_Http_ReadRecvContext(ctx.get(), room, sizeof room) == -2 && calls < 100) {
      ++calls;
    }
    EXPECT_LT(calls, 100);
    return refusals;
  });
}

TEST_F(QnStackHttpAnswerHeap, RefusedReadsDeliverNoHeader) {
  RefuseEachInTurn([](int number, FailingHeap::Reach reach) {
    fnQNStack_Http_Cookie_FreeAll();
    AnswerContext ctx;
    ctx.Feed(kAnswer);
    char room[8] = "???????";
    int32_t result = 0;
    const int refusals =
        RefusalsIn([&] { result = fnQNStack_Http_ReadRecvContext(ctx.get(), room, sizeof room); },
                   number, reach);
    EXPECT_THAT(result, AnyOf(-1, 3));
    EXPECT_STREQ(room, result == 3 ? "abc????" : "???????");
    ExpectBody(ctx, result == 3 ? "" : "abc");
    return refusals;
  });
}

TEST_F(QnStackHttpAnswerHeap, RedirectFreesEveryTextItReplaces) {
  AnswerContext ctx(fnQNStack_Http_Open_Post(AnswerContext::kUrl, "x", 1, "text/plain"));
  ctx.Feed("HTTP/1.0 302 x\r\nContent-Type: a/b\r\nLocation: http://new.test/\r\n\r\n");
  char room[8];
  int32_t result = 0;
  const int kept =
      BlocksKeptBy([&] { result = fnQNStack_Http_ReadRecvContext(ctx.get(), room, sizeof room); });
  EXPECT_EQ(result, -2);
  EXPECT_EQ(kept, -1);  // the body's media type is gone, four texts were replaced
}

}  // namespace
