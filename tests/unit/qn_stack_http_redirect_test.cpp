// SPDX-License-Identifier: MIT
// Redirects: which answers are followed, where they lead, and what becomes of
// every field of the context and of its socket.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "qnstack/qn_stack_http.h"
#include "support/answer_context.h"
#include "support/taken_slot.h"

namespace {

using namespace qntest;

constexpr char kBody[] = "0123456789";

// --- which answers redirect ---

TEST(QnStackHttpRedirect, StatusesFrom300To399AreFollowedAndOthersDelivered) {
  std::vector<int> statuses = {-300, 0, 30, 100, 200, 299, 400, 401, 500, 3000};
  for (int status = 300; status <= 399; ++status) statuses.push_back(status);
  for (const int status : statuses) {
    SCOPED_TRACE(status);
    const bool follows = status >= 300 && status <= 399;
    AnswerContext ctx;
    ctx.Feed("HTTP/1.0 " + std::to_string(status) + " x\r\nLocation: http://new.test/p\r\n\r\nb");
    const Delivery delivery = ctx.Read();
    EXPECT_EQ(delivery.result, follows ? -2 : 1);
    EXPECT_EQ(delivery.bytes, follows ? "" : "b");
    EXPECT_EQ(ctx->state, follows ? QN_HTTP_NEW : QN_HTTP_COMPLETE);
    EXPECT_EQ(TextOf(ctx->hostname), follows ? "new.test" : AnswerContext::kHost);
    EXPECT_EQ(TextOf(ctx->url), "http://new.test/p");
    EXPECT_EQ(ctx->redirectCount, follows ? 1 : 0);
  }
}

TEST(QnStackHttpRedirect, IsFollowedInAnyStateWhoseAnswerIsDelivered) {
  struct Case {
    const char *what;
    int32_t state;
    std::string answer;
  };
  const Case cases[] = {
      {"the close cut its header", QN_HTTP_COMPLETE,
       "HTTP/1.0 302 Found\r\nLocation: http://new.test/\r\nServer"},
      {"the transfer was stopped", QN_HTTP_STOPPED, FoundAt("http://new.test/")},
      {"it is not closed yet", QN_HTTP_RECEIVING,
       FoundAt("http://new.test/") + std::string(qntest::kReceivePauseMark, 'b')},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.what);
    AnswerContext ctx(c.state);
    ctx.Feed(c.answer);
    EXPECT_EQ(ctx.Read().result, -2);
    EXPECT_EQ(ctx->state, QN_HTTP_NEW);
    EXPECT_EQ(TextOf(ctx->hostname), "new.test");
  }
}

TEST(QnStackHttpRedirect, ParserAloneFollowsNothing) {
  AnswerContext ctx;
  ctx.Feed(FoundAt("http://new.test/") + "body");
  EXPECT_EQ(fnQNStack_Http_ParseAnswer(ctx.get()), 0);
  EXPECT_EQ(ctx->state, QN_HTTP_COMPLETE);
  EXPECT_EQ(ctx->redirectCount, 0);
  EXPECT_EQ(TextOf(ctx->hostname), AnswerContext::kHost);

  // A header that was consumed this way is not looked at again.
  EXPECT_EQ(ctx.Read().bytes, "body");
}

// --- where a redirect leads ---

struct LocationRow {
  std::string location;
  std::string host;
  int32_t port;
  std::string path;
};

TEST(QnStackHttpRedirect, LocationIsTakenApartAsAnyUrl) {
  const std::string long_path = "/" + std::string(5000, 'p');
  const std::vector<LocationRow> rows = {
      {"http://new.test/p?q=1", "new.test", 80, "/p?q=1"},
      {"http://new.test:81/p", "new.test", 81, "/p"},
      {"http://new.test", "new.test", 80, "/"},
      {"https://new.test/p", "new.test", 80, "/p"},
      {"http://new.test" + long_path, "new.test", 80, long_path},
      {"new.test/p", "new.test", 80, "/p"},
      {"/relative?x", "", 80, "/relative?x"},
      {"?x", "", 80, "?x"},
      {"relative", "relative", 80, "/"},
      {"//new.test/p", "", 80, "//new.test/p"},
      {"", "", 80, "/"},
      {"http://origin.test:8080/start?x=1", "origin.test", 8080, "/start?x=1"},
  };
  for (const LocationRow &row : rows) {
    SCOPED_TRACE(row.location.substr(0, 80));
    AnswerContext ctx;
    ctx.Feed(FoundAt(row.location));
    EXPECT_EQ(ctx.Read().result, -2);
    EXPECT_EQ(TextOf(ctx->url), row.location);
    EXPECT_EQ(TextOf(ctx->hostname), row.host);
    EXPECT_EQ(ctx->port, row.port);
    EXPECT_EQ(TextOf(ctx->path), row.path);
  }
}

TEST(QnStackHttpRedirect, SameUrlIsAskedAgainWithoutALocation) {
  AnswerContext ctx;
  ctx.Feed("HTTP/1.0 304 Not Modified\r\n\r\n");
  EXPECT_EQ(ctx.Read().result, -2);
  EXPECT_EQ(ctx->state, QN_HTTP_NEW);
  EXPECT_EQ(TextOf(ctx->url), AnswerContext::kUrl);
  EXPECT_EQ(TextOf(ctx->hostname), AnswerContext::kHost);
  EXPECT_EQ(ctx->port, AnswerContext::kPort);
  EXPECT_EQ(TextOf(ctx->path), AnswerContext::kPath);
}

TEST(QnStackHttpRedirect, ContentLocationLeadsAsLocationDoes) {
  AnswerContext ctx;
  ctx.Feed(
      "HTTP/1.0 301 x\r\nLocation: http://a.test/\r\nContent-Location: http://b.test/\r\n\r\n");
  EXPECT_EQ(ctx.Read().result, -2);
  EXPECT_EQ(TextOf(ctx->hostname), "b.test");
}

// --- what becomes of the fields ---

TEST(QnStackHttpRedirect, RequestBecomesAGetWithoutBodyWhosePointerIsKept) {
  for (QNHttpCtx *opened :
       {fnQNStack_Http_Open_Post(AnswerContext::kUrl, kBody, sizeof kBody - 1, "text/x-post"),
        fnQNStack_Http_Open_Head(AnswerContext::kUrl),
        fnQNStack_Http_Open_Put("http://h.test/", kBody, 3, nullptr),
        fnQNStack_Http_Open_Get(AnswerContext::kUrl)}) {
    SCOPED_TRACE(opened->method);
    const void *content = opened->content;
    AnswerContext ctx(opened);
    ctx.Feed("HTTP/1.1 307 Temporary Redirect\r\nLocation: http://new.test/\r\n\r\n");
    EXPECT_EQ(ctx.Read().result, -2);
    EXPECT_EQ(TextOf(ctx->method), "GET");
    EXPECT_EQ(ctx->content, content);
    EXPECT_EQ(ctx->contentLen, 0);
    EXPECT_EQ(ctx->contentType, nullptr);
  }
}

TEST(QnStackHttpRedirect, TypeAndEncodingAreClearedAndStatusLengthAndTriesAreKept) {
  AnswerContext ctx;
  ctx->tryCount = 17;
  ctx.Feed(
      "HTTP/1.0 302 x\r\nContent-Type: text/html\r\nContent-Encoding: gzip\r\n"
      "Content-Length: 55\r\n\r\n");
  ASSERT_EQ(ctx.Read().result, -2);
  EXPECT_EQ(ctx->retCtxType, nullptr);
  EXPECT_EQ(ctx->retEncoding, 0);
  EXPECT_EQ(ctx->headParsed, 0);
  EXPECT_EQ(ctx->retValue, 302);
  EXPECT_EQ(ctx->retCtxLen, 55);
  EXPECT_EQ(ctx->tryCount, 17);
}

void ExpectCleared(const QNMemBuffer &buffer, uint32_t capacity) {
  EXPECT_EQ(buffer.length, 0U);
  EXPECT_EQ(buffer.cursor, 0U);
  EXPECT_EQ(buffer.total, 0U);
  EXPECT_EQ(buffer.capacity, capacity);
  const std::string_view storage(buffer.data, capacity);
  EXPECT_TRUE(std::all_of(storage.begin(), storage.end(), [](char c) { return c == '\0'; }));
}

TEST(QnStackHttpRedirect, BothBuffersAreEmptied) {
  AnswerContext ctx;
  ctx.Feed(FoundAt("http://new.test/") + std::string(3000, 'b'));
  fnQN_MemBuffer_Write(ctx->sendBuf, "left over", 9);
  const uint32_t answer_capacity = ctx->recvBuf->capacity;
  const uint32_t request_capacity = ctx->sendBuf->capacity;

  char room[8] = "clean";
  ASSERT_EQ(fnQNStack_Http_ReadRecvContext(ctx.get(), room, sizeof room), -2);

  EXPECT_STREQ(room, "clean") << "nothing of the body reaches the destination";
  ExpectCleared(*ctx->recvBuf, answer_capacity);
  ExpectCleared(*ctx->sendBuf, request_capacity);
}

// --- the socket ---

TEST(QnStackHttpRedirect, SocketIsClosedWhereThereIsOne) {
  TakenSlot slot(3);
  for (const int32_t socket : {-1, 0, 3}) {
    SCOPED_TRACE(socket);
    AnswerContext ctx;
    ctx->socket = socket;
    ctx.Feed(FoundAt("http://new.test/"));
    EXPECT_EQ(ctx.Read().result, -2);
    EXPECT_EQ(ctx->socket, socket == 3 ? -1 : socket);
    EXPECT_EQ(slot.IsFree(), socket == 3);
    EXPECT_EQ(slot.IsOpen(), socket != 3);
  }
}

}  // namespace
