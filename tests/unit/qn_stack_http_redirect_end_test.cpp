// SPDX-License-Identifier: MIT
// Where following redirects ends: the eleventh in a row, and tunnels, which
// have no URL to start from.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "qnstack/qn_stack_http.h"
#include "support/answer_context.h"
#include "support/taken_slot.h"
#include "support/watchdog.h"

namespace {

using namespace qntest;

// --- one after the other ---

TEST(QnStackHttpRedirectEnd, TenAreFollowedAndTheEleventhIsDelivered) {
  AnswerContext ctx;
  for (int count = 1; count <= 10; ++count) {
    ctx.Feed(FoundAt("http://h" + std::to_string(count) + ".test/"));
    ASSERT_EQ(ctx.Read().result, -2);
    ASSERT_EQ(ctx->redirectCount, count);
    ctx->state = QN_HTTP_COMPLETE;
  }
  ctx.Feed(FoundAt("http://h11.test/p") + "last body");

  EXPECT_EQ(ctx.Read().result, -1);

  EXPECT_EQ(ctx->redirectCount, 11);
  EXPECT_EQ(TextOf(ctx->url), "http://h11.test/p");
  EXPECT_EQ(ctx.Read().bytes, "last body");
  EXPECT_EQ(ctx.Read().result, 0);
}

TEST(QnStackHttpRedirectEnd, EleventhLeavesTheContextAsItIs) {
  TakenSlot slot(4);
  AnswerContext ctx(
      fnQNStack_Http_Open_Post("http://origin.test:8080/post", "0123456789", 10, "text/x-post"));
  ctx->redirectCount = 10;
  ctx->socket = 4;
  ctx->tryCount = 5;
  fnQN_MemBuffer_Write(ctx->sendBuf, "left over", 9);
  ctx.Feed("HTTP/1.0 302 x\r\nContent-Type: a/b\r\nContent-Encoding: gzip\r\n\r\nbody");

  EXPECT_EQ(ctx.Read().result, -1);

  EXPECT_EQ(TextOf(ctx->url), "http://origin.test:8080/post");
  EXPECT_EQ(TextOf(ctx->hostname), "origin.test");
  EXPECT_EQ(TextOf(ctx->path), "/post");
  EXPECT_EQ(TextOf(ctx->method), "POST");
  EXPECT_EQ(TextOf(ctx->contentType), "text/x-post");
  EXPECT_EQ(ctx->contentLen, 10);
  EXPECT_EQ(TextOf(ctx->retCtxType), "a/b");
  EXPECT_EQ(ctx->retEncoding, -1);
  EXPECT_EQ(ctx->headParsed, 1);
  EXPECT_EQ(ctx->state, QN_HTTP_COMPLETE);
  EXPECT_EQ(ctx->tryCount, 5);
  EXPECT_EQ(ctx->sendBuf->length, 9U);
  EXPECT_EQ(ctx.Unread(), "body");
  EXPECT_EQ(ctx->socket, 4);
  EXPECT_TRUE(slot.IsOpen());
}

TEST(QnStackHttpRedirectEnd, StatusThatIsKeptRedirectsAnAnswerWithoutOne) {
  AnswerContext ctx;
  ctx.Feed(FoundAt("http://new.test/p"));
  ASSERT_EQ(ctx.Read().result, -2);
  ctx->state = QN_HTTP_COMPLETE;
  ctx.Feed("no header");
  EXPECT_EQ(ctx.Read().result, -2);
  EXPECT_EQ(TextOf(ctx->url), "http://new.test/p");
  EXPECT_EQ(ctx->state, QN_HTTP_NEW);

  ctx->state = QN_HTTP_COMPLETE;
  ctx.Feed("HTTP/1.0 200 OK\r\n\r\nx");
  EXPECT_EQ(ctx.Read().bytes, "x");
  EXPECT_EQ(ctx->redirectCount, 2) << "another answer does not reset it";
}

// --- tunnels ---

// A context that is still a tunnel waits for its peer without an end.
class QnStackHttpRedirectTunnel : public testing::Test {
 private:
  qntest::Watchdog watchdog_;
};

TEST_F(QnStackHttpRedirectTunnel, WithoutALocationFails) {
  TakenSlot slot(5);
  AnswerContext ctx(fnQNStack_Http_Open_Connect("far.test", 443), QN_HTTP_RECEIVING);
  ctx->socket = 5;
  ctx.Feed("HTTP/1.1 302 Found\r\nContent-Type: a/b\r\n\r\n" +
           std::string(qntest::kReceivePauseMark, 'b'));

  EXPECT_EQ(ctx.Read().result, -1);

  EXPECT_EQ(ctx->state, QN_HTTP_RECEIVING);
  EXPECT_EQ(ctx->url, nullptr);
  EXPECT_EQ(ctx->hostname, nullptr);
  EXPECT_EQ(ctx->path, nullptr);
  EXPECT_EQ(ctx->method, nullptr);
  EXPECT_EQ(ctx->retCtxType, nullptr);
  EXPECT_EQ(ctx->port, 443);
  EXPECT_EQ(ctx->headParsed, 0);
  EXPECT_EQ(ctx->recvBuf->total, 0U);
  EXPECT_EQ(ctx->redirectCount, 1);
  EXPECT_EQ(ctx->socket, 5);
  EXPECT_TRUE(slot.IsOpen());
}

TEST_F(QnStackHttpRedirectTunnel, FailedOneSurvivesFurtherReceiving) {
  AnswerContext ctx(fnQNStack_Http_Open_Connect("far.test", 443), QN_HTTP_RECEIVING);
  ctx.Feed("HTTP/1.1 302 Found\r\n\r\n" + std::string(qntest::kReceivePauseMark, 'b'));
  ASSERT_EQ(ctx.Read().result, -1);

  // Without a method it receives as a request does; there is no socket.
  EXPECT_EQ(ctx.Read().result, -1);
  EXPECT_EQ(ctx->state, QN_HTTP_RECEIVE_FAILED);
  EXPECT_EQ(ctx.Read().result, -1);
  EXPECT_EQ(fnQNStack_Http_Run(ctx.get()), 0);
}

TEST_F(QnStackHttpRedirectTunnel, FailedCompleteOneEndsAtTheLimit) {
  AnswerContext ctx(fnQNStack_Http_Open_Connect("far.test", 443));
  ctx.Feed("HTTP/1.1 302 Found\r\n\r\n");
  for (int call = 1; call <= 11; ++call) {
    EXPECT_EQ(ctx.Read().result, -1) << "call " << call;
  }
  EXPECT_EQ(ctx.Read().result, 0);
  EXPECT_EQ(ctx->state, QN_HTTP_COMPLETE);
  EXPECT_EQ(ctx->method, nullptr);
}

TEST_F(QnStackHttpRedirectTunnel, WithALocationBecomesAGet) {
  AnswerContext ctx(fnQNStack_Http_Open_Connect("far.test", 443));
  ctx.Feed(FoundAt("http://new.test:81/p"));
  EXPECT_EQ(ctx.Read().result, -2);
  EXPECT_EQ(TextOf(ctx->method), "GET");
  EXPECT_EQ(TextOf(ctx->hostname), "new.test");
  EXPECT_EQ(ctx->port, 81);
  EXPECT_EQ(TextOf(ctx->path), "/p");
}

}  // namespace
