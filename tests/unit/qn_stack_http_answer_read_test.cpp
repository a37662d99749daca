// SPDX-License-Identifier: MIT
// Delivery of an answer's body: the result of every call, in every state a
// context can be read in, and odd destinations and capacities.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>

#include "qnstack/qn_stack_http.h"
#include "support/answer_context.h"
#include "support/socket_layer_faults.h"

namespace {

using namespace std::string_literals;  // NOLINT(google-build-using-namespace)
using namespace qntest;

constexpr char kHeader[] = "HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\n\r\n";

// What the socket layer reports when nothing has arrived, or will.
constexpr int32_t kWouldBlock = -2;
constexpr int32_t kClosed = 0;

// A body that keeps a receiving context from asking its peer for more.
std::string LongBody() {
  std::string body(kReceivePauseMark + 1000, '\0');
  for (size_t i = 0; i < body.size(); ++i) {
    body[i] = static_cast<char>('a' + i % 26);
  }
  return body;
}

// --- a complete answer ---

TEST(QnStackHttpAnswerRead, DeliversTheBodyAndThenTheEnd) {
  AnswerContext ctx;
  ctx.Feed(kHeader + "abc"s);

  const Delivery body = ctx.Read();
  EXPECT_EQ(body.result, 3);
  EXPECT_EQ(body.bytes, "abc");
  EXPECT_EQ(ctx->retValue, 200);
  EXPECT_EQ(TextOf(ctx->retCtxType), "text/plain");

  EXPECT_EQ(ctx.Read().result, 0);
  EXPECT_EQ(ctx.Read().result, 0);
  EXPECT_EQ(ctx->state, QN_HTTP_COMPLETE);
}

TEST(QnStackHttpAnswerRead, WhatStandsBehindTheHeaderIsDeliveredAsItCame) {
  struct Case {
    const char *what;
    std::string header;
    std::string body;
    int32_t status;
  };
  std::string every_byte;
  for (int byte = 0; byte < 256; ++byte) every_byte += static_cast<char>(byte);
  const Case cases[] = {
      {"every byte", kHeader, every_byte, 200},
      {"compressed", "HTTP/1.0 200 OK\r\nContent-Encoding: gzip\r\n\r\n", "\x1f\x8b\x08zip", 200},
      {"behind an interim answer", "HTTP/1.1 100 Continue\r\n\r\n",
       "HTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\nx", 100},
      {"no header", "", "just text\nwithout a header", 0},
      {"nothing at all", "", "", 0},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.what);
    AnswerContext ctx;
    ctx.Feed(c.header + c.body);
    EXPECT_EQ(ctx.Read(3).bytes, c.body.substr(0, 3));
    EXPECT_EQ(ctx.Read().bytes, c.body.size() > 3 ? c.body.substr(3) : "");
    EXPECT_EQ(ctx.Read().result, 0);
    EXPECT_EQ(ctx->headParsed, 1);
    EXPECT_EQ(ctx->retValue, c.status);
    EXPECT_EQ(ctx->retCtxLen, 0);
  }
}

TEST(QnStackHttpAnswerRead, LengthLineDoesNotBoundTheBody) {
  AnswerContext ctx;
  ctx.Feed("HTTP/1.0 200 OK\r\nContent-Length: 2\r\n\r\nabcdef");
  EXPECT_EQ(ctx.Read().bytes, "abcdef");
  EXPECT_EQ(ctx->retCtxLen, 2);
}

TEST(QnStackHttpAnswerRead, BytesTakenRawAreGoneForTheParser) {
  AnswerContext ctx;
  ctx.Feed("HTTP/1.0 200 OK\r\nContent-Length: 3\r\n\r\nabc");
  std::array<char, 17> raw{};
  ASSERT_EQ(fnQNStack_Http_ReadRecvData(ctx.get(), raw.data(), raw.size()), 17);

  EXPECT_EQ(ctx.Read().bytes, "abc");
  EXPECT_EQ(ctx->retValue, 0);
  EXPECT_EQ(ctx->retCtxLen, 3);
}

TEST(QnStackHttpAnswerRead, CompleteContextIsNotRunAgain) {
  AnswerContext other(QN_HTTP_COMPLETE);
  gCtx = other.get();
  AnswerContext ctx;
  ctx->tryCount = 3001;
  ctx.Feed(kHeader + "abc"s);

  EXPECT_EQ(ctx.Read().result, 3);

  EXPECT_EQ(ctx->state, QN_HTTP_COMPLETE);
  EXPECT_EQ(ctx->tryCount, 3001);
  EXPECT_EQ(gCtx, other.get());
  gCtx = nullptr;
}

// --- an answer that is still coming ---

TEST(QnStackHttpAnswerRead, UnfinishedHeaderAsksToCallAgain) {
  AnswerContext ctx(QN_HTTP_RECEIVING);
  ctx.Feed("HTTP/1.0 200 OK\r\nX-Long: " + LongBody());

  const Delivery delivery = ctx.Read();

  EXPECT_EQ(delivery.result, -2);
  EXPECT_EQ(ctx->state, QN_HTTP_RECEIVING);
  EXPECT_EQ(ctx->headParsed, 0);
  EXPECT_EQ(ctx->retValue, 200);
  EXPECT_EQ(ctx->tryCount, 1);
  EXPECT_EQ(ctx.Unread(), "X-Long: " + LongBody());
}

TEST(QnStackHttpAnswerRead, EndlessHeaderLineIsGivenUpInTheEnd) {
  AnswerContext ctx(QN_HTTP_RECEIVING);
  ctx.Feed("X-Long: " + LongBody());
  ctx->tryCount = 3000;

  EXPECT_EQ(ctx.Read().result, -2);
  EXPECT_EQ(ctx->tryCount, 3001);

  EXPECT_EQ(ctx.Read().result, -1);
  EXPECT_EQ(ctx->state, QN_HTTP_GIVEN_UP);
}

TEST(QnStackHttpAnswerRead, BodyIsDeliveredWhileMoreMayCome) {
  AnswerContext ctx(QN_HTTP_RECEIVING);
  const std::string body = LongBody();
  ctx.Feed(kHeader + body);

  const Delivery first = ctx.Read(1000);

  EXPECT_EQ(first.result, 1000);
  EXPECT_EQ(first.bytes, body.substr(0, 1000));
  EXPECT_EQ(ctx->state, QN_HTTP_RECEIVING);
  EXPECT_EQ(ctx.Unread(), body.substr(1000));
}

TEST(QnStackHttpAnswerRead, HeaderInSinglePiecesIsWaitedFor) {
  const std::string header = "HTTP/1.0 200 OK\r\nContent-Length: 3\r\n\r\n";
  AnswerContext ctx(QN_HTTP_RECEIVING);
  SocketLayerFaults socket_layer;
  for (size_t i = 0; i < header.size(); ++i) {
    ctx.Feed(header.substr(i, 1));
    socket_layer.receive.push_back(kWouldBlock);
    ASSERT_EQ(ctx.Read().result, -2) << "byte " << i;
    ASSERT_EQ(ctx->headParsed, i + 1 == header.size() ? 1 : 0) << "byte " << i;
  }
  EXPECT_EQ(ctx->retValue, 200);
  EXPECT_EQ(ctx->retCtxLen, 3);
}

TEST(QnStackHttpAnswerRead, BodyInPiecesIsDeliveredAsItComes) {
  AnswerContext ctx(QN_HTTP_RECEIVING);
  SocketLayerFaults socket_layer;
  socket_layer.receive = {kWouldBlock, kWouldBlock, kWouldBlock, kClosed};

  ctx.Feed(kHeader + "ab"s);
  EXPECT_EQ(ctx.Read().bytes, "ab");
  EXPECT_EQ(ctx.Read().result, -2);
  ctx.Feed("cd");
  EXPECT_EQ(ctx.Read().bytes, "cd");
  ctx.Feed("e");
  EXPECT_EQ(ctx.Read().bytes, "e");
  EXPECT_EQ(ctx->state, QN_HTTP_COMPLETE);
  EXPECT_EQ(ctx.Read().result, 0);
}

// --- a stopped transfer ---

TEST(QnStackHttpAnswerRead, StoppedContextStillParsesAndDelivers) {
  AnswerContext ctx(QN_HTTP_RECEIVING);
  ctx.Feed(kHeader + "abcd"s);
  fnQNStack_Http_Stop(ctx.get());

  EXPECT_EQ(ctx.Read(3).bytes, "abc");
  EXPECT_EQ(ctx.Read(3).bytes, "d");
  EXPECT_EQ(ctx.Read(3).result, 0);
  EXPECT_EQ(ctx->state, QN_HTTP_STOPPED);
  EXPECT_EQ(ctx->retValue, 200);
}

// --- nothing to read from ---

TEST(QnStackHttpAnswerRead, FailedContextDeliversNothing) {
  struct Case {
    int32_t state;
    int32_t tries;
    int32_t ends_in;
  };
  constexpr Case kCases[] = {
      {QN_HTTP_RESOLVE_FAILED, 0, QN_HTTP_RESOLVE_FAILED},
      {QN_HTTP_CONNECT_FAILED, 0, QN_HTTP_CONNECT_FAILED},
      {QN_HTTP_SEND_FAILED, 0, QN_HTTP_SEND_FAILED},
      {QN_HTTP_RECEIVE_FAILED, 0, QN_HTTP_RECEIVE_FAILED},
      {QN_HTTP_GIVEN_UP, 0, QN_HTTP_GIVEN_UP},
      // The tries are exhausted.
      {QN_HTTP_NEW, 3001, QN_HTTP_GIVEN_UP},
      {QN_HTTP_RESOLVED, 3001, QN_HTTP_GIVEN_UP},
      {QN_HTTP_CONNECTED, 3001, QN_HTTP_GIVEN_UP},
      {QN_HTTP_SENDING, 3001, QN_HTTP_GIVEN_UP},
      {QN_HTTP_RECEIVING, 3001, QN_HTTP_GIVEN_UP},
  };
  for (const Case &c : kCases) {
    SCOPED_TRACE(c.state);
    AnswerContext ctx(c.state);
    ctx->tryCount = c.tries;
    ctx.Feed(kHeader + "abc"s);
    EXPECT_EQ(ctx.Read().result, -1);
    EXPECT_EQ(ctx->state, c.ends_in);
    EXPECT_EQ(ctx->headParsed, 0);
    EXPECT_EQ(ctx.Unread(), kHeader + "abc"s);
  }
}

TEST(QnStackHttpAnswerRead, FailureBeforeAnyDataIsReportedAtOnce) {
  AnswerContext ctx(QN_HTTP_RECEIVING);
  EXPECT_EQ(ctx.Read().result, -1);
  EXPECT_EQ(ctx->state, QN_HTTP_RECEIVE_FAILED);
  EXPECT_EQ(ctx->headParsed, 0);
}

// --- odd destinations and capacities ---

TEST(QnStackHttpAnswerRead, WithoutRoomTheHeaderIsParsedAndNothingTaken) {
  char untouched = 'u';
  struct Case {
    void *destination;
    int32_t capacity;
    int32_t complete;  // the result for an answer that is complete
  };
  const Case cases[] = {{&untouched, 0, 0},          {nullptr, 0, 0},
                        {&untouched, -1, -1},        {&untouched, -4096, -1},
                        {&untouched, INT32_MIN, -1}, {nullptr, 3, -1}};
  for (const Case &c : cases) {
    for (const int32_t state : {QN_HTTP_COMPLETE, QN_HTTP_RECEIVING}) {
      SCOPED_TRACE(testing::Message() << "capacity " << c.capacity << ", state " << state);
      AnswerContext ctx(state);
      ctx.Feed(kHeader + LongBody());
      EXPECT_EQ(fnQNStack_Http_ReadRecvContext(ctx.get(), c.destination, c.capacity),
                state == QN_HTTP_COMPLETE ? c.complete : -2);
      EXPECT_EQ(untouched, 'u');
      EXPECT_EQ(ctx->state, state);
      EXPECT_EQ(ctx->retValue, 200);
      EXPECT_EQ(ctx.Unread(), LongBody());
    }
  }
}

TEST(QnStackHttpAnswerRead, OddArgumentsDoNotKeepARedirectFromBeingFollowed) {
  AnswerContext ctx;
  ctx.Feed("HTTP/1.0 302 Found\r\n\r\nbody");
  EXPECT_EQ(fnQNStack_Http_ReadRecvContext(ctx.get(), nullptr, -1), -2);
  EXPECT_EQ(ctx->state, QN_HTTP_NEW);
}

}  // namespace
