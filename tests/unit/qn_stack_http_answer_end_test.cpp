// SPDX-License-Identifier: MIT
// Where an answer's header ends, what the parser leaves in the buffer, and the
// trace that it prints on the way.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_http_cookie.h"
#include "support/answer_context.h"
#include "support/captured_output.h"

namespace {

using namespace std::string_literals;  // NOLINT(google-build-using-namespace)
using qntest::AnswerContext;

constexpr int32_t kStatesUnderWay[] = {QN_HTTP_NEW, QN_HTTP_RESOLVED, QN_HTTP_CONNECTED,
                                       QN_HTTP_SENDING, QN_HTTP_RECEIVING};
constexpr int32_t kFinalStates[] = {
    QN_HTTP_COMPLETE,    QN_HTTP_STOPPED,        QN_HTTP_RESOLVE_FAILED, QN_HTTP_CONNECT_FAILED,
    QN_HTTP_SEND_FAILED, QN_HTTP_RECEIVE_FAILED, QN_HTTP_GIVEN_UP,
};

std::string TraceOfParsing(const AnswerContext &ctx) {
  return qntest::OutputOf([&ctx] { fnQNStack_Http_ParseAnswer(ctx.get()); });
}

// --- the end of the header ---

TEST(QnStackHttpAnswerEnd, EmptyLineEndsTheHeaderAndTheRestIsTheBody) {
  struct Case {
    std::string answer;
    int32_t status;
    std::string rest;
  };
  const Case cases[] = {
      {"HTTP/1.0 200 OK\r\nX: y\r\n\r\nabc\r\n\r\nd", 200, "abc\r\n\r\nd"},
      {"\r\nHTTP/1.0 200 OK\r\n", 0, "HTTP/1.0 200 OK\r\n"},
      {"\r\r\nHTTP/1.0 200 OK\r\n\r\n", 200, ""},
      {"HTTP/1.0 200 OK\r\n\r\na\0b"s, 200, "a\0b"s},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.answer));
    AnswerContext ctx(QN_HTTP_RECEIVING);
    ctx.Feed(c.answer);
    EXPECT_EQ(fnQNStack_Http_ParseAnswer(ctx.get()), 0);
    EXPECT_EQ(ctx->headParsed, 1);
    EXPECT_EQ(ctx->retValue, c.status);
    EXPECT_EQ(ctx.Unread(), c.rest);
  }
}

TEST(QnStackHttpAnswerEnd, ParsedHeaderIsNotParsedAgain) {
  AnswerContext ctx;
  ctx->headParsed = 1;
  ctx.Feed("HTTP/1.0 200 OK\r\n\r\n");
  EXPECT_EQ(TraceOfParsing(ctx), "");
  EXPECT_EQ(ctx->retValue, 0);
  EXPECT_EQ(ctx.Unread(), "HTTP/1.0 200 OK\r\n\r\n");
}

TEST(QnStackHttpAnswerEnd, HeaderUnderWayIsTakenLineByLine) {
  for (const int32_t state : kStatesUnderWay) {
    SCOPED_TRACE(state);
    AnswerContext ctx(state);
    EXPECT_EQ(fnQNStack_Http_ParseAnswer(ctx.get()), -2);

    ctx.Feed("HTTP/1.0 200 OK\r\nContent-Le");
    EXPECT_EQ(fnQNStack_Http_ParseAnswer(ctx.get()), -2);
    EXPECT_EQ(ctx->retValue, 200);
    EXPECT_EQ(ctx.Unread(), "Content-Le");
    EXPECT_EQ(ctx->headParsed, 0);

    ctx.Feed("ngth: 5\r");
    EXPECT_EQ(fnQNStack_Http_ParseAnswer(ctx.get()), -2);
    EXPECT_EQ(ctx.Unread(), "Content-Length: 5\r");

    ctx.Feed("\n\r\nx");
    EXPECT_EQ(fnQNStack_Http_ParseAnswer(ctx.get()), 0);
    EXPECT_EQ(ctx->retCtxLen, 5);
    EXPECT_EQ(ctx->headParsed, 1);
    EXPECT_EQ(ctx.Unread(), "x");
  }
}

TEST(QnStackHttpAnswerEnd, EndOfTheTransferEndsTheHeader) {
  for (const int32_t state : kFinalStates) {
    SCOPED_TRACE(state);
    AnswerContext ctx(state);
    ctx.Feed("HTTP/1.0 200 OK\r\nContent-Length: 5");

    EXPECT_EQ(fnQNStack_Http_ParseAnswer(ctx.get()), 0);

    EXPECT_EQ(ctx->headParsed, 1);
    EXPECT_EQ(ctx->retValue, 200);
    EXPECT_EQ(ctx->retCtxLen, 0);
    EXPECT_EQ(ctx.Unread(), "Content-Length: 5");
  }
}

TEST(QnStackHttpAnswerEnd, BareLineFeedsEndNothing) {
  AnswerContext ctx(QN_HTTP_RECEIVING);
  ctx.Feed("HTTP/1.0 200 OK\nContent-Length: 5\n\nabc");
  EXPECT_EQ(fnQNStack_Http_ParseAnswer(ctx.get()), -2);
  EXPECT_EQ(ctx.Unread(), "HTTP/1.0 200 OK\nContent-Length: 5\n\nabc");

  ctx.Feed("\r\n\r\n");
  EXPECT_EQ(fnQNStack_Http_ParseAnswer(ctx.get()), 0);
  EXPECT_EQ(ctx->retValue, 200);
  EXPECT_EQ(ctx->retCtxLen, 0);
  EXPECT_EQ(ctx.Unread(), "");
}

TEST(QnStackHttpAnswerEnd, ZeroByteHidesTheLinesBehindIt) {
  AnswerContext ctx(QN_HTTP_RECEIVING);
  ctx.Feed("HTTP/1.0 200 OK\r\nX: \0y\r\nContent-Length: 5\r\n\r\nabc"s);

  EXPECT_EQ(fnQNStack_Http_ParseAnswer(ctx.get()), -2);
  EXPECT_EQ(ctx->retValue, 200);
  EXPECT_EQ(ctx.Unread(), "X: \0y\r\nContent-Length: 5\r\n\r\nabc"s);

  ctx->state = QN_HTTP_COMPLETE;
  EXPECT_EQ(fnQNStack_Http_ParseAnswer(ctx.get()), 0);
  EXPECT_EQ(ctx->retCtxLen, 0);
  EXPECT_EQ(ctx.Unread(), "X: \0y\r\nContent-Length: 5\r\n\r\nabc"s);
}

// --- the trace ---

struct TraceRow {
  std::string header;
  std::string expected;
};

TEST(QnStackHttpAnswerTrace, EveryKindOfLineIsTraced) {
  const std::string x(5000, 'x');
  const std::vector<TraceRow> rows = {
      {"HTTP/1.0 200 OK\r\n\r\n",
       "ParseAnswer HTTP/1.0 200 OK Ctx->retValue 200HTTP/1.0ParseAnswer "},
      {"http/1.1 -7\r\n\r\n", "ParseAnswer http/1.1 -7 Ctx->retValue -7http/1.1ParseAnswer "},
      {"HTTP/ 404\r\n\r\n", "ParseAnswer HTTP/ 404 Ctx->retValue 404HTTP/ParseAnswer "},
      {"HTTP/1.0\r\n\r\n", "ParseAnswer HTTP/1.0 Ctx->retValue 0HTTP/1.0ParseAnswer "},
      {"Content-Length: 12\r\n\r\n", "ParseAnswer Content-Length: 12Ctx->retCtxLen 12ParseAnswer "},
      {"Content-Length: x\r\n\r\n", "ParseAnswer Content-Length: xCtx->retCtxLen -1ParseAnswer "},
      {"Content-Type: a/b c\r\n\r\n", "ParseAnswer Content-Type: a/b cParseAnswer "},
      {"ContentType: a/b\r\n\r\n", "ParseAnswer ContentType: a/bParseAnswer "},
      {"Location: http://h/\r\n\r\n", "ParseAnswer Location: http://h/ParseAnswer "},
      {"Content-Location: x\r\n\r\n", "ParseAnswer Content-Location: xParseAnswer "},
      {"Content-Encoding: gzip\r\n\r\n", "ParseAnswer Content-Encoding: gzipParseAnswer "},
      {"Set-Cookie: a=1; Path=/\r\n\r\n", "ParseAnswer Set-Cookie: a=1; Path=/ParseAnswer "},
      {"Set-Cookie2: b=2\r\n\r\n", "ParseAnswer Set-Cookie2: b=2ParseAnswer "},
      {"X-Other: 100%s %d\r\n\r\n", "ParseAnswer X-Other: 100%s %dParseAnswer "},
      {"X-Long: " + x + "\r\n\r\n", "ParseAnswer X-Long: " + x + "ParseAnswer "},
      {"HTTP/" + x + " 200\r\n\r\n",
       "ParseAnswer HTTP/" + x + " 200 Ctx->retValue 200HTTP/" + x + "ParseAnswer "},
      {"\r\n", "ParseAnswer "},
      {"\n\r\n\r\n", "ParseAnswer \nParseAnswer "},
  };
  for (const TraceRow &row : rows) {
    SCOPED_TRACE(row.header.substr(0, 80));
    AnswerContext ctx;
    ctx.Feed(row.header);
    EXPECT_EQ(TraceOfParsing(ctx), row.expected);
  }
  fnQNStack_Http_Cookie_FreeAll();
}

TEST(QnStackHttpAnswerTrace, ControlCharactersAreTracedAsTheyCame) {
  const std::string line = "X-Name: \x1b]0;title\x07\x1b[2J\b\n\x7f";
  AnswerContext ctx;
  ctx.Feed(line + "\r\n\r\n");
  EXPECT_EQ(TraceOfParsing(ctx), "ParseAnswer " + line + "ParseAnswer ");
}

TEST(QnStackHttpAnswerTrace, UnfinishedLineIsSilent) {
  for (const int32_t state : {QN_HTTP_RECEIVING, QN_HTTP_COMPLETE}) {
    SCOPED_TRACE(state);
    AnswerContext ctx(state);
    ctx.Feed("HTTP/1.0 200 OK\r");
    EXPECT_EQ(TraceOfParsing(ctx), "");
  }
}

}  // namespace
