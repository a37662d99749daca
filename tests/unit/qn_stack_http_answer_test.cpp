// SPDX-License-Identifier: MIT
// The answer parser, header line by header line: which fields a line sets, and
// how words and numbers are taken from it.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "qnstack/qn_stack_http.h"
#include "support/answer_context.h"

namespace {

using namespace qntest;

// Parses one header line and the empty line behind it.
void ParseLine(AnswerContext &ctx, const std::string &line) {
  ctx.Feed(line + "\r\n\r\n");
  ASSERT_EQ(fnQNStack_Http_ParseAnswer(ctx.get()), 0);
  ASSERT_EQ(ctx.Unread(), "");
}

struct NumberRow {
  std::string line;
  int32_t expected;
};

// --- status line ---

TEST(QnStackHttpAnswerStatus, IsTheNumberBehindTheFirstWord) {
  const std::vector<NumberRow> rows = {
      {"HTTP/1.0 200 OK", 200},
      {"HTTP/1.1 404 Not Found", 404},
      {"HTTP/1.1 204", 204},
      {"http/1.0 503 Busy", 503},
      {"hTtP/1.0 201 Created", 201},
      {"HTTP/ 206 Partial", 206},
      {"HTTP/2 207", 207},
      {"HTTP/anything-at-all-as-one-long-word-that-goes-on-and-on-and-on-1.0 208", 208},
      {"HTTP/1.0    209   blanks", 209},
      {"HTTP/1.0\t210\ttab", 210},
      {"HTTP/1.0\n211 line feed", 211},
      {"HTTP/1.0\r212 carriage return", 212},
      {"HTTP/1.0 213OK", 213},
      {"HTTP/1.0 +214", 214},
      {"HTTP/1.0 -215", -215},
      {"HTTP/1.0 00216", 216},
      {"HTTP/1.0 7", 7},
      {"HTTP/1.0 2147483647", INT32_MAX},
      {"HTTP/1.0 2147483648", INT32_MAX},
      {"HTTP/1.0 99999999999999999999999999", INT32_MAX},
      {"HTTP/1.0 -99999999999999999999999999", INT32_MIN},
      // No number can be read.
      {"HTTP/", 0},
      {"HTTP/1.0", 0},
      {"HTTP/1.0 ", 0},
      {"HTTP/1.0 OK 200", 0},
      {"HTTP/1.0 -", 0},
      {"HTTP/1.0 x200", 0},
      // The last status line of a header wins.
      {"HTTP/1.1 200 OK\r\nDate: x\r\nHTTP/1.0 404 Gone", 404},
      // Lines that do not begin with the name leave the number that was there.
      {" HTTP/1.0 200", 999},
      {"HTTP 200", 999},
      {"XHTTP/1.0 200", 999},
      {"HTT", 999},
  };
  for (const NumberRow &row : rows) {
    SCOPED_TRACE(row.line);
    AnswerContext ctx;
    ctx->retValue = 999;
    ParseLine(ctx, row.line);
    EXPECT_EQ(ctx->retValue, row.expected);
  }
}

// --- content length ---

TEST(QnStackHttpAnswerLength, IsTheNumberBehindTheColon) {
  const std::vector<NumberRow> rows = {
      {"Content-Length: 0", 0},
      {"Content-Length: 1234", 1234},
      {"content-length: 5", 5},
      {"CONTENT-LENGTH: 6", 6},
      {"Content-Length:7", 7},
      {"Content-Length:  \t 8", 8},
      {"Content-Length: +9", 9},
      {"Content-Length: -10", -10},
      {"Content-Length: 11abc", 11},
      {"Content-Length: 12, 13", 12},
      {"Content-Length: 14:15", 14},
      {"Content-Length: 0016", 16},
      {"Content-Length: 2147483647", INT32_MAX},
      {"Content-Length: 2147483648", INT32_MAX},
      {"Content-Length: 4294967297", INT32_MAX},
      {"Content-Length: 99999999999999999999999999", INT32_MAX},
      {"Content-Length: -2147483648", INT32_MIN},
      {"Content-Length: -2147483649", INT32_MIN},
      // No number can be read.
      {"Content-Length:", -1},
      {"Content-Length: ", -1},
      {"Content-Length: abc", -1},
      {"Content-Length: -", -1},
      {"Content-Length: +x", -1},
      {"Content-Length: : 5", -1},
      // The last line wins.
      {"Content-Length: 5\r\nContent-Length: 17", 17},
      // The name must match to its colon.
      {"Content-Length 5", 0},
      {"Content-Length : 5", 0},
      {" Content-Length: 5", 0},
  };
  for (const NumberRow &row : rows) {
    SCOPED_TRACE(row.line);
    AnswerContext ctx;
    ParseLine(ctx, row.line);
    EXPECT_EQ(ctx->retCtxLen, row.expected);
  }
}

// --- words of a line ---

struct WordRow {
  std::string value;  // what follows the header's colon
  std::string expected;
};

TEST(QnStackHttpAnswerWords, TypeAndLocationAreTheSecondWord) {
  const std::vector<WordRow> rows = {
      {" word", "word"},
      {" first second third", "first"},
      {"    many-blanks", "many-blanks"},
      {"\ttab", "tab"},
      {" \t mixed\tnext", "mixed"},
      {"\nline-feed", "line-feed"},
      {"\rcarriage-return", "carriage-return"},
      {" before\nafter", "before"},
      {" before\rafter", "before"},
      {" with:colon;and=more,signs", "with:colon;and=more,signs"},
      {" text/html; charset=utf-8", "text/html;"},
      {"text/html; charset=utf-8", "charset=utf-8"},
      {"", ""},
      {"  \t ", ""},
      {"no-blank-behind-the-colon", ""},
      {"no-blank-" + std::string(500, 'x'), ""},
      {" " + std::string(69, 'a'), std::string(69, 'a')},
      {" " + std::string(70, 'b'), std::string(70, 'b')},
      {" " + std::string(5000, 'c') + " tail", std::string(5000, 'c')},
  };
  for (const WordRow &row : rows) {
    SCOPED_TRACE(row.value.substr(0, 80));
    AnswerContext ctx;
    ParseLine(ctx, "Content-Type:" + row.value + "\r\nLocation:" + row.value);
    EXPECT_EQ(TextOf(ctx->retCtxType), row.expected);
    EXPECT_EQ(TextOf(ctx->url), row.expected);
  }
}

TEST(QnStackHttpAnswerWords, EncodingIsJudgedByTheSecondWord) {
  const std::vector<NumberRow> rows = {
      {"Content-Encoding: gzip", -1},
      {"content-encoding: gzip", -1},
      {"Content-Encoding:\t gzip  ", -1},
      {"Content-Encoding: gzip deflate", -1},
      {"Content-Encoding: deflate", 1},
      {"Content-Encoding: deflate gzip", 1},
      {"Content-Encoding: GZIP", 1},
      {"Content-Encoding: Gzip", 1},
      {"Content-Encoding: gzip,", 1},
      {"Content-Encoding: gzi", 1},
      {"Content-Encoding: x-gzip", 1},
      {"Content-Encoding: identity", 1},
      {"Content-Encoding:gzip", 1},
      {"Content-Encoding:", 1},
      // The last line wins.
      {"Content-Encoding: gzip\r\nContent-Encoding: br", 1},
  };
  for (const NumberRow &row : rows) {
    SCOPED_TRACE(row.line);
    AnswerContext ctx;
    ParseLine(ctx, row.line);
    EXPECT_EQ(ctx->retEncoding, row.expected);
  }
}

// --- names of a line ---

TEST(QnStackHttpAnswerNames, TypeAndLocationHaveTwoEachInAnyCaseAndTheLastLineWins) {
  for (const std::string name :
       {"Content-Type:", "ContentType:", "content-type:", "CONTENTTYPE:", "cOnTeNt-TyPe:",
        "ContentType: image/gif\r\nContent-Type:", "Content-Type: image/gif\r\nContentType:"}) {
    SCOPED_TRACE(name);
    AnswerContext ctx;
    ParseLine(ctx, name + " text/plain");
    EXPECT_EQ(TextOf(ctx->retCtxType), "text/plain");
  }
  for (const std::string name :
       {"Location:", "Content-Location:", "location:", "CONTENT-LOCATION:", "content-Location:",
        "Location: http://a.test/\r\nContent-Location:",
        "Content-Location: http://a.test/\r\nLocation:"}) {
    SCOPED_TRACE(name);
    AnswerContext ctx;
    ParseLine(ctx, name + " http://new.test/");
    EXPECT_EQ(TextOf(ctx->url), "http://new.test/");
  }
}

TEST(QnStackHttpAnswerNames, OtherLinesChangeNothing) {
  const std::vector<std::string> lines = {
      "Date: Thu, 01 Jan 2004 00:00:00 GMT",
      "X-Location: http://other.test/",
      " Location: http://other.test/",
      "Location : http://other.test/",
      "Locatio",
      "Content-Typ",
      "X-Content-Type: text/plain",
      "Content_Type: text/plain",
      "Content-Encodings: gzip",
      "Transfer-Encoding: chunked",
      "X: a\nLocation: http://other.test/\nContent-Type: text/plain",
      ":",
      " ",
      "\n",
      "\r",
  };
  for (const std::string &line : lines) {
    SCOPED_TRACE(line);
    AnswerContext ctx;
    ParseLine(ctx, line);
    EXPECT_EQ(TextOf(ctx->url), AnswerContext::kUrl);
    EXPECT_EQ(ctx->retCtxType, nullptr);
    EXPECT_EQ(ctx->retEncoding, 0);
    EXPECT_EQ(ctx->retCtxLen, 0);
    EXPECT_EQ(ctx->retValue, 0);
  }
}

TEST(QnStackHttpAnswerNames, LocationCountsWhateverTheStatusAndLeavesTheHostAlone) {
  AnswerContext ctx;
  ParseLine(ctx, "HTTP/1.0 200 OK\r\nContent-Location: http://new.test:81/p");
  EXPECT_EQ(ctx->retValue, 200);
  EXPECT_EQ(TextOf(ctx->url), "http://new.test:81/p");
  EXPECT_EQ(TextOf(ctx->hostname), AnswerContext::kHost);
  EXPECT_EQ(TextOf(ctx->path), AnswerContext::kPath);
  EXPECT_EQ(ctx->port, AnswerContext::kPort);
}

}  // namespace
