// SPDX-License-Identifier: MIT
// The answer parser, header line by header line: which fields a line sets, and
// how words and numbers are taken from it.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "qnstack/qn_share_mem.h"
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
  };
  for (const NumberRow &row : rows) {
    SCOPED_TRACE(row.line);
    AnswerContext ctx;
    ParseLine(ctx, row.line);
    EXPECT_EQ(ctx->retValue, row.expected);
  }
}

TEST(QnStackHttpAnswerStatus, IsZeroWhereNoNumberCanBeRead) {
  const std::vector<std::string> lines = {
      "HTTP/", "HTTP/1.0", "HTTP/1.0 ", "HTTP/1.0 OK 200", "HTTP/1.0 -", "HTTP/1.0 x200",
  };
  for (const std::string &line : lines) {
    SCOPED_TRACE(line);
    AnswerContext ctx;
    ctx->retValue = 999;
    ParseLine(ctx, line);
    EXPECT_EQ(ctx->retValue, 0);
  }
}

TEST(QnStackHttpAnswerStatus, LastStatusLineOfAHeaderWins) {
  AnswerContext ctx;
  ParseLine(ctx, "HTTP/1.1 200 OK\r\nDate: x\r\nHTTP/1.0 404 Gone");
  EXPECT_EQ(ctx->retValue, 404);
}

TEST(QnStackHttpAnswerStatus, LineMustBeginWithTheName) {
  for (const std::string line : {" HTTP/1.0 200", "HTTP 200", "XHTTP/1.0 200", "HTT"}) {
    SCOPED_TRACE(line);
    AnswerContext ctx;
    ctx->retValue = 111;
    ParseLine(ctx, line);
    EXPECT_EQ(ctx->retValue, 111);
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
  };
  for (const NumberRow &row : rows) {
    SCOPED_TRACE(row.line);
    AnswerContext ctx;
    ParseLine(ctx, row.line);
    EXPECT_EQ(ctx->retCtxLen, row.expected);
  }
}

TEST(QnStackHttpAnswerLength, IsMinusOneWhereNoNumberCanBeRead) {
  for (const std::string value : {"", " ", " abc", " -", " +x", " : 5"}) {
    SCOPED_TRACE(value);
    AnswerContext ctx;
    ParseLine(ctx, "Content-Length:" + value);
    EXPECT_EQ(ctx->retCtxLen, -1);
  }
}

TEST(QnStackHttpAnswerLength, LastLineWins) {
  AnswerContext ctx;
  ParseLine(ctx, "Content-Length: 5\r\nContent-Length: 17");
  EXPECT_EQ(ctx->retCtxLen, 17);
}

TEST(QnStackHttpAnswerLength, NameMustMatchToItsColon) {
  for (const std::string line : {"Content-Length 5", "Content-Length : 5", " Content-Length: 5"}) {
    SCOPED_TRACE(line);
    AnswerContext ctx;
    ParseLine(ctx, line);
    EXPECT_EQ(ctx->retCtxLen, 0);
  }
}

// --- words of a line ---

struct WordRow {
  std::string value;  // what follows the header's colon
  std::string expected;
};

const std::vector<WordRow> &WordRows() {
  static const std::vector<WordRow> rows = {
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
      {"", ""},
      {"  \t ", ""},
      {"no-blank-behind-the-colon", ""},
      {"no-blank-" + std::string(500, 'x'), ""},
      {" " + std::string(69, 'a'), std::string(69, 'a')},
      {" " + std::string(70, 'b'), std::string(70, 'b')},
      {" " + std::string(5000, 'c') + " tail", std::string(5000, 'c')},
  };
  return rows;
}

TEST(QnStackHttpAnswerWords, ContentTypeIsTheSecondWord) {
  for (const WordRow &row : WordRows()) {
    SCOPED_TRACE(row.value.substr(0, 80));
    AnswerContext ctx;
    ParseLine(ctx, "Content-Type:" + row.value);
    EXPECT_EQ(TextOf(ctx->retCtxType), row.expected);
  }
}

TEST(QnStackHttpAnswerWords, LocationIsTheSecondWord) {
  for (const WordRow &row : WordRows()) {
    SCOPED_TRACE(row.value.substr(0, 80));
    AnswerContext ctx;
    ParseLine(ctx, "Location:" + row.value);
    EXPECT_EQ(TextOf(ctx->url), row.expected);
  }
}

TEST(QnStackHttpAnswerWords, ValueWithoutABlankBeforeItIsNotTheSecondWord) {
  AnswerContext ctx;
  ParseLine(ctx, "Content-Type:text/html; charset=utf-8");
  EXPECT_EQ(TextOf(ctx->retCtxType), "charset=utf-8");
}

TEST(QnStackHttpAnswerWords, EncodingIsJudgedByTheSecondWord) {
  const std::vector<NumberRow> rows = {
      {"Content-Encoding: gzip", -1},     {"content-encoding: gzip", -1},
      {"Content-Encoding:\t gzip  ", -1}, {"Content-Encoding: gzip deflate", -1},
      {"Content-Encoding: deflate", 1},   {"Content-Encoding: deflate gzip", 1},
      {"Content-Encoding: GZIP", 1},      {"Content-Encoding: Gzip", 1},
      {"Content-Encoding: gzip,", 1},     {"Content-Encoding: gzi", 1},
      {"Content-Encoding: x-gzip", 1},    {"Content-Encoding: identity", 1},
      {"Content-Encoding:gzip", 1},       {"Content-Encoding:", 1},
  };
  for (const NumberRow &row : rows) {
    SCOPED_TRACE(row.line);
    AnswerContext ctx;
    ParseLine(ctx, row.line);
    EXPECT_EQ(ctx->retEncoding, row.expected);
  }
}

TEST(QnStackHttpAnswerWords, LastEncodingWins) {
  AnswerContext ctx;
  ParseLine(ctx, "Content-Encoding: gzip\r\nContent-Encoding: br");
  EXPECT_EQ(ctx->retEncoding, 1);
}

TEST(QnStackHttpAnswerWords, FirstWordOfTypeKeepsItsSemicolon) {
  AnswerContext ctx;
  ParseLine(ctx, "Content-Type: text/html; charset=utf-8");
  EXPECT_EQ(TextOf(ctx->retCtxType), "text/html;");
}

// --- names of a line ---

TEST(QnStackHttpAnswerNames, ContentTypeHasTwoSpellingsInAnyCase) {
  for (const std::string name :
       {"Content-Type:", "ContentType:", "content-type:", "CONTENTTYPE:", "cOnTeNt-TyPe:"}) {
    SCOPED_TRACE(name);
    AnswerContext ctx;
    ParseLine(ctx, name + " text/plain");
    EXPECT_EQ(TextOf(ctx->retCtxType), "text/plain");
  }
}

TEST(QnStackHttpAnswerNames, LocationHasTwoNamesInAnyCase) {
  for (const std::string name :
       {"Location:", "Content-Location:", "location:", "CONTENT-LOCATION:", "content-Location:"}) {
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
  EXPECT_EQ(TextOf(ctx->url), "http://new.test:81/p");
  EXPECT_EQ(TextOf(ctx->hostname), AnswerContext::kHost);
  EXPECT_EQ(TextOf(ctx->path), AnswerContext::kPath);
  EXPECT_EQ(ctx->port, AnswerContext::kPort);
}

TEST(QnStackHttpAnswerNames, LastOfLocationAndContentLocationWins) {
  AnswerContext location_last;
  ParseLine(location_last, "Content-Location: http://a.test/\r\nLocation: http://b.test/");
  EXPECT_EQ(TextOf(location_last->url), "http://b.test/");

  AnswerContext content_location_last;
  ParseLine(content_location_last, "Location: http://b.test/\r\nContent-Location: http://a.test/");
  EXPECT_EQ(TextOf(content_location_last->url), "http://a.test/");
}

TEST(QnStackHttpAnswerNames, SecondContentTypeReplacesTheFirst) {
  AnswerContext ctx(QN_HTTP_RECEIVING);
  ctx.Feed("Content-Type: text/plain\r\n");
  ASSERT_EQ(fnQNStack_Http_ParseAnswer(ctx.get()), -2);
  ctx.Feed("ContentType: image/gif\r\n\r\n");
  ASSERT_EQ(fnQNStack_Http_ParseAnswer(ctx.get()), 0);

  EXPECT_EQ(TextOf(ctx->retCtxType), "image/gif");
}

TEST(QnStackHttpAnswerNames, OneHeaderFillsEveryField) {
  AnswerContext ctx;
  ParseLine(ctx,
            "HTTP/1.1 200 OK\r\nServer: s\r\nContent-Type: application/vnd.wap.mms-message\r\n"
            "Content-Length: 77\r\nContent-Encoding: gzip\r\nContent-Location: http://o.test/m");
  EXPECT_EQ(ctx->retValue, 200);
  EXPECT_EQ(TextOf(ctx->retCtxType), "application/vnd.wap.mms-message");
  EXPECT_EQ(ctx->retCtxLen, 77);
  EXPECT_EQ(ctx->retEncoding, -1);
  EXPECT_EQ(TextOf(ctx->url), "http://o.test/m");
}

}  // namespace
