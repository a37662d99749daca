// SPDX-License-Identifier: MIT
// How the answer parser takes a "Set-Cookie:" line apart and what of it reaches
// the cookie jar.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_http_cookie.h"
#include "support/answer_context.h"
#include "support/buffer.h"
#include "support/cookie_jar.h"

namespace {

using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;

// Starts and ends with an empty jar.
class QnStackHttpAnswerCookie : public testing::Test {
 protected:
  void SetUp() override { fnQNStack_Http_Cookie_FreeAll(); }
  void TearDown() override { fnQNStack_Http_Cookie_FreeAll(); }
};

// Parses an answer whose header is these lines, each with its line end.
void ParseLines(const std::string &lines) {
  AnswerContext ctx;
  ctx.Feed(lines + "\r\n\r\nbody");
  ASSERT_EQ(fnQNStack_Http_ParseAnswer(ctx.get()), 0);
  ASSERT_EQ(ctx.Unread(), "body");
}

struct CookieRow {
  std::string line;
  std::string name;
  std::string value;
  std::string path;
};

void ExpectStored(const std::vector<CookieRow> &rows) {
  for (const CookieRow &row : rows) {
    SCOPED_TRACE(row.line);
    fnQNStack_Http_Cookie_FreeAll();
    ParseLines(row.line);
    EXPECT_THAT(CookiesInJar(),
                ElementsAre(StoredCookie{row.name, row.value, AnswerContext::kHost, row.path}));
  }
}

TEST_F(QnStackHttpAnswerCookie, IsStoredUnderTheHostOfTheRequest) {
  ParseLines("Set-Cookie: sid=42; Path=/m; Expires=x; Domain=other.test");
  EXPECT_THAT(CookiesInJar(), ElementsAre(StoredCookie{"sid", "42", "origin.test", "/m"}));
}

TEST_F(QnStackHttpAnswerCookie, LineHasTwoNamesInAnyCase) {
  ExpectStored({
      {"Set-Cookie: a=1", "a", "1", "/"},
      {"Set-Cookie2: b=2", "b", "2", "/"},
      {"set-cookie: c=3", "c", "3", "/"},
      {"SET-COOKIE2: d=4; Path=/d", "d", "4", "/d"},
  });
}

TEST_F(QnStackHttpAnswerCookie, OtherNamesAndLinesWithoutAnEqualsSignStoreNothing) {
  for (const std::string line : {"Set-Cookie3: a=1",
                                 "Cookie: a=1",
                                 "X-Set-Cookie: a=1",
                                 "Set-Cookie a=1",
                                 " Set-Cookie: a=1",
                                 "SetCookie: a=1",
                                 "Set-Cookie : a=1",
                                 "X-Set-Cookie2: a=1",
                                 "Set-Cookie2 a=1",
                                 " Set-Cookie2: a=1",
                                 "SetCookie2: a=1",
                                 "Set-Cookie2 : a=1",
                                 "Set-Cookie2x: a=1",
                                 "Set-Cookie22: a=1",
                                 "Set-Cookie:",
                                 "Set-Cookie: ",
                                 "Set-Cookie: \t",
                                 "Set-Cookie: flag",
                                 "Set-Cookie: flag; Secure",
                                 "Set-Cookie2:;",
                                 "Set-Cookie2: :"}) {
    SCOPED_TRACE(line);
    ParseLines(line);
    EXPECT_THAT(CookiesInJar(), IsEmpty());
  }
}

TEST_F(QnStackHttpAnswerCookie, NameRunsToTheFirstEqualsSign) {
  ExpectStored({
      {"Set-Cookie:a=1", "a", "1", "/"},
      {"Set-Cookie:  \t \ta=1", "a", "1", "/"},
      {"Set-Cookie: a =1", "a ", "1", "/"},
      {"Set-Cookie: two words=1", "two words", "1", "/"},
      {"Set-Cookie: a:b=1", "a:b", "1", "/"},
      {"Set-Cookie: a=b=c", "a", "b=c", "/"},
      {"Set-Cookie: flag; a=1", "flag; a", "1", "/"},
      {"Set-Cookie: =1", "", "1", "/"},
      {"Set-Cookie: =", "", "", "/"},
      {"Set-Cookie: " + std::string(3000, 'n') + "=1", std::string(3000, 'n'), "1", "/"},
  });
}

TEST_F(QnStackHttpAnswerCookie, ValueRunsToBlankSemicolonOrTab) {
  ExpectStored({
      {"Set-Cookie: a=1;x", "a", "1", "/"},
      {"Set-Cookie: a=1 x", "a", "1", "/"},
      {"Set-Cookie: a=1\tx", "a", "1", "/"},
      {"Set-Cookie: a=1,x", "a", "1,x", "/"},
      {"Set-Cookie: a=\"q r\"", "a", "\"q", "/"},
      {"Set-Cookie: a= 1", "a", "", "/"},
      {"Set-Cookie: a=", "a", "", "/"},
      {"Set-Cookie: a=; x", "a", "", "/"},
      {"Set-Cookie: a=" + std::string(4000, 'v') + ";", "a", std::string(4000, 'v'), "/"},
  });
}

// A line end in it would begin a further line of the next request.
TEST_F(QnStackHttpAnswerCookie, ControlCharacterInItsNameOrValueStoresNothing) {
  std::string controls = "\x7f";
  for (char c = 1; c < ' '; ++c) controls += c;
  for (const char control : controls) {
    SCOPED_TRACE(static_cast<int>(control));
    ParseLines(std::string("Set-Cookie: a") + control + "b=1");
    // A tab ends the value.
    if (control != '\t') ParseLines(std::string("Set-Cookie: a=1") + control + "X: 2");
    EXPECT_THAT(CookiesInJar(), IsEmpty());
  }
}

TEST_F(QnStackHttpAnswerCookie, OtherBytesAndControlCharactersBehindTheValueAreStored) {
  ExpectStored({
      {"Set-Cookie: a=1;\x01 Path=/m\n", "a", "1", "/m\n"},
      {"Set-Cookie: \x80\xff ~=!\xc3\xa4~", "\x80\xff ~", "!\xc3\xa4~", "/"},
  });
}

TEST_F(QnStackHttpAnswerCookie, EveryLineStoresItsOwnNewestFirst) {
  ParseLines(
      "Set-Cookie: a=1\r\nSet-Cookie: flag\r\nSet-Cookie2: b=2; Path=/b\r\n"
      "Set-Cookie: c=1\nX: y\r\nset-cookie: a=3");
  EXPECT_THAT(CookiesInJar(), ElementsAre(StoredCookie{"a", "3", AnswerContext::kHost, "/"},
                                          StoredCookie{"b", "2", AnswerContext::kHost, "/b"},
                                          StoredCookie{"a", "1", AnswerContext::kHost, "/"}));
}

TEST_F(QnStackHttpAnswerCookie, PathIsSearchedBehindTheValue) {
  ExpectStored({
      {"Set-Cookie: a=1; Path=/m", "a", "1", "/m"},
      {"Set-Cookie: a=1;Path=/m", "a", "1", "/m"},
      {"Set-Cookie: a=1 Path=/m", "a", "1", "/m"},
      {"Set-Cookie:\ta=1\tPath=/m\tSecure", "a", "1", "/m"},
      {"Set-Cookie: a=1; Path=/m; Expires=x; Secure", "a", "1", "/m"},
      {"Set-Cookie: a=1; Domain=d.test; Path=/m Secure", "a", "1", "/m"},
      {"Set-Cookie: a=1; Expires=x; Secure; Path=/m", "a", "1", "/m"},
      {"Set-Cookie: a=1; Path=/first; Path=/second", "a", "1", "/first"},
      {"Set-Cookie: a=1; XPath=/m", "a", "1", "/m"},
      {"Set-Cookie: a=1; Path=m?x=y&z", "a", "1", "m?x=y&z"},
      {"Set-Cookie: a=; Path=/m", "a", "", "/m"},
      {"Set-Cookie: =; Path=/m", "", "", "/m"},
      {"Set-Cookie: a=1; Path=", "a", "1", ""},
      {"Set-Cookie: a=1; Path=;", "a", "1", ""},
      {"Set-Cookie: a=1; Path= /m", "a", "1", ""},
      {"Set-Cookie: a=1; Path=/" + std::string(3000, 'p'), "a", "1", "/" + std::string(3000, 'p')},
  });
}

TEST_F(QnStackHttpAnswerCookie, PathIsTheRootUnlessSpelledPath) {
  ExpectStored({
      {"Set-Cookie: a=1; path=/x", "a", "1", "/"},
      {"Set-Cookie: a=1; PATH=/x", "a", "1", "/"},
      {"Set-Cookie: a=1; Path /x", "a", "1", "/"},
      {"Set-Cookie: a=1; Path =/x", "a", "1", "/"},
      {"Set-Cookie: a=1; Path", "a", "1", "/"},
      {"Set-Cookie: a=Path=/x", "a", "Path=/x", "/"},
      {"Set-Cookie: Path=/x; a=1", "Path", "/x", "/"},
      {"Set-Cookie: flag; Path=/x", "flag; Path", "/x", "/"},
  });
}

TEST_F(QnStackHttpAnswerCookie, SameNameForOtherHostAndPathChangesInPlace) {
  fnQNStack_Http_Cookie_Set("a", "old", "other.test", "/other");
  fnQNStack_Http_Cookie_Set("front", "f", "other.test", "/other");
  ParseLines("Set-Cookie: a=new; Path=/here");
  EXPECT_THAT(CookiesInJar(), ElementsAre(StoredCookie{"front", "f", "other.test", "/other"},
                                          StoredCookie{"a", "new", "other.test", "/other"}));
}

TEST_F(QnStackHttpAnswerCookie, RedirectKeepsItUnderTheHostThatSetIt) {
  AnswerContext ctx;
  ctx.Feed("HTTP/1.0 302 Found\r\nLocation: http://new.test/\r\nSet-Cookie: a=1\r\n\r\n");
  ASSERT_EQ(ctx.Read().result, -2);
  ctx->state = QN_HTTP_COMPLETE;
  ctx.Feed("HTTP/1.0 200 OK\r\nSet-Cookie: b=2\r\n\r\n");
  ASSERT_EQ(ctx.Read().result, 0);
  EXPECT_THAT(CookiesInJar(), ElementsAre(StoredCookie{"b", "2", "new.test", "/"},
                                          StoredCookie{"a", "1", AnswerContext::kHost, "/"}));
}

TEST_F(QnStackHttpAnswerCookie, UnfinishedLineStoresNothingUntilItIsComplete) {
  AnswerContext ctx(QN_HTTP_RECEIVING);
  ctx.Feed("Set-Cookie: a=1; Path=/m");
  ASSERT_EQ(fnQNStack_Http_ParseAnswer(ctx.get()), -2);
  EXPECT_THAT(CookiesInJar(), IsEmpty());

  ctx.Feed("ore\r\n");
  ASSERT_EQ(fnQNStack_Http_ParseAnswer(ctx.get()), -2);
  EXPECT_THAT(CookiesInJar(), ElementsAre(StoredCookie{"a", "1", AnswerContext::kHost, "/more"}));
}

TEST_F(QnStackHttpAnswerCookie, StoredCookieGoesIntoTheNextRequest) {
  ParseLines("Set-Cookie: sid=abc; Path=/mms; Domain=x");
  const Buffer request(0);
  fnQNStack_Http_Cookie_AddToHead(request.get(), "other.test");
  fnQNStack_Http_Cookie_AddToHead(request.get(), AnswerContext::kHost);
  EXPECT_EQ(request.Unread(), "Cookie: sid=abc\r\nCookie2: \"1\"\r\n");
}

}  // namespace
