// SPDX-License-Identifier: MIT
// Guards the cookie lines of a request: which host gets them and their exact
// bytes, long ones included.
#include <gtest/gtest.h>

#include <string>

#include "qnstack/qn_stack_http_cookie.h"
#include "support/buffer.h"
#include "support/failing_heap.h"

namespace {

using namespace qntest;

constexpr char kCookie2Line[] = "Cookie2: \"1\"\r\n";

// Each test has the jar to itself.
class QnStackHttpCookieLine : public testing::Test {
 protected:
  QnStackHttpCookieLine() { fnQNStack_Http_Cookie_FreeAll(); }
  ~QnStackHttpCookieLine() override { fnQNStack_Http_Cookie_FreeAll(); }

  // What a request to `host` gets.
  static std::string LinesFor(const char *host) {
    const Buffer buffer(64);
    fnQNStack_Http_Cookie_AddToHead(buffer.get(), host);
    return buffer.Fields().held;
  }
};

TEST_F(QnStackHttpCookieLine, IsMissingWithoutAJar) { EXPECT_EQ(LinesFor("h"), ""); }

TEST_F(QnStackHttpCookieLine, HoldsNameAndValueAndIsFollowedByCookie2) {
  fnQNStack_Http_Cookie_Set("sid", "abc", "h", "/mms");

  EXPECT_EQ(LinesFor("h"), "Cookie: sid=abc\r\nCookie2: \"1\"\r\n");
}

TEST_F(QnStackHttpCookieLine, IsAppendedBehindTheOtherLines) {
  fnQNStack_Http_Cookie_Set("sid", "abc", "h", "/");
  Buffer buffer(64);
  buffer.Write("GET / HTTP/1.0\r\n");

  fnQNStack_Http_Cookie_AddToHead(buffer.get(), "h");

  EXPECT_EQ(buffer.Fields().held, "GET / HTTP/1.0\r\nCookie: sid=abc\r\nCookie2: \"1\"\r\n");
}

// A line end alone would end the header, and what follows would be the body.
TEST_F(QnStackHttpCookieLine, IsLeftOutWholeWhenTheHeapRefusesIt) {
  fnQNStack_Http_Cookie_Set("sid", "abc", "h", "/");
  Buffer buffer(16);
  buffer.Write("GET / HTTP/1.0\r\n");

  {
    const FailingHeap heap(1);
    fnQNStack_Http_Cookie_AddToHead(buffer.get(), "h");
    EXPECT_EQ(heap.Refusals(), 1);
  }

  EXPECT_EQ(buffer.Fields().held, "GET / HTTP/1.0\r\n");
}

TEST_F(QnStackHttpCookieLine, IsWholeOrMissingWhereTheBufferHasRoom) {
  fnQNStack_Http_Cookie_Set("sid", "abc", "h", "/");
  for (int refused = 1; refused <= 3; ++refused) {
    SCOPED_TRACE(refused);
    const Buffer buffer(64);
    int refusals = 0;
    {
      const FailingHeap heap(refused);
      fnQNStack_Http_Cookie_AddToHead(buffer.get(), "h");
      refusals = heap.Refusals();
    }

    EXPECT_EQ(buffer.Fields().held, refusals > 0 ? "" : "Cookie: sid=abc\r\nCookie2: \"1\"\r\n");
  }
}

TEST_F(QnStackHttpCookieLine, IsWholeOrMissingWhereTheBufferGrows) {
  fnQNStack_Http_Cookie_Set("sid", "abc", "h", "/");
  for (int refused = 1, refusals = 1; refusals > 0; ++refused) {
    SCOPED_TRACE(refused);
    Buffer buffer(4);
    buffer.Write("GET ");
    {
      const FailingHeap heap(refused);
      fnQNStack_Http_Cookie_AddToHead(buffer.get(), "h");
      refusals = heap.Refusals();
    }

    const std::string lines = refusals > 0 ? "" : "Cookie: sid=abc\r\nCookie2: \"1\"\r\n";
    EXPECT_EQ(buffer.Fields().held, "GET " + lines);
  }
}

TEST_F(QnStackHttpCookieLine, GoesToTheCookiesOwnHostAlone) {
  fnQNStack_Http_Cookie_Set("sid", "abc", "host.test", "/");

  for (const char *other : {"HOST.test", "host.tes", "host.test.", "a.host.test", "test", ""}) {
    SCOPED_TRACE(other);
    EXPECT_EQ(LinesFor(other), "");
  }
  EXPECT_NE(LinesFor("host.test"), "");
}

TEST_F(QnStackHttpCookieLine, CarriesTheNewestCookieOnly) {
  fnQNStack_Http_Cookie_Set("a", "1", "h", "/");
  fnQNStack_Http_Cookie_Set("b", "2", "h", "/");

  EXPECT_EQ(LinesFor("h"), std::string("Cookie: b=2\r\n") + kCookie2Line);
}

TEST_F(QnStackHttpCookieLine, GoesToTheHostOfTheNewestCookieOnly) {
  fnQNStack_Http_Cookie_Set("a", "1", "h", "/");
  fnQNStack_Http_Cookie_Set("b", "2", "i", "/");

  EXPECT_EQ(LinesFor("h"), "");
  EXPECT_EQ(LinesFor("i"), std::string("Cookie: b=2\r\n") + kCookie2Line);
}

TEST_F(QnStackHttpCookieLine, StaysWithTheNewestWhenAnOlderOneIsReplaced) {
  fnQNStack_Http_Cookie_Set("a", "1", "h", "/");
  fnQNStack_Http_Cookie_Set("b", "2", "h", "/");

  fnQNStack_Http_Cookie_Set("a", "new", "i", "/q");

  EXPECT_EQ(LinesFor("h"), std::string("Cookie: b=2\r\n") + kCookie2Line);
  EXPECT_EQ(LinesFor("i"), "");
}

TEST_F(QnStackHttpCookieLine, CarriesAReplacedValueToTheFirstDomain) {
  fnQNStack_Http_Cookie_Set("a", "1", "h", "/");

  fnQNStack_Http_Cookie_Set("a", "new", "i", "/q");

  EXPECT_EQ(LinesFor("h"), std::string("Cookie: a=new\r\n") + kCookie2Line);
  EXPECT_EQ(LinesFor("i"), "");
}

TEST_F(QnStackHttpCookieLine, GoesNowhereForANullDomainOrHost) {
  fnQNStack_Http_Cookie_Set("a", "1", nullptr, "/");
  EXPECT_EQ(LinesFor("h"), "");
  EXPECT_EQ(LinesFor(nullptr), "");

  fnQNStack_Http_Cookie_Set("a", "1", "h", "/");
  EXPECT_EQ(LinesFor(nullptr), "");
}

TEST_F(QnStackHttpCookieLine, GoesToAnEmptyHostThatSetIt) {
  fnQNStack_Http_Cookie_Set("a", "1", "", "/");

  EXPECT_EQ(LinesFor(""), std::string("Cookie: a=1\r\n") + kCookie2Line);
}

TEST_F(QnStackHttpCookieLine, KeepsSignsOfAFormatAsTheyAre) {
  fnQNStack_Http_Cookie_Set("%s", "%d%n", "h", "/");

  EXPECT_EQ(LinesFor("h"), std::string("Cookie: %s=%d%n\r\n") + kCookie2Line);
}

TEST_F(QnStackHttpCookieLine, IsCutAt2047BytesButKeepsItsLineEnd) {
  const std::string start = "Cookie: n=";
  for (const size_t length : {2046U, 2047U, 2048U, 5000U}) {
    SCOPED_TRACE(length);
    const std::string value(length - start.size(), 'v');
    fnQNStack_Http_Cookie_FreeAll();
    fnQNStack_Http_Cookie_Set("n", value.c_str(), "h", "/");

    EXPECT_EQ(LinesFor("h"), (start + value).substr(0, 2047) + "\r\n" + kCookie2Line);
  }
}

TEST_F(QnStackHttpCookieLine, LeavesTheJarAsItIs) {
  fnQNStack_Http_Cookie_Set("sid", "abc", "h", "/");
  const std::string first = LinesFor("h");

  fnQNStack_Http_Cookie_AddToHead(nullptr, "h");

  EXPECT_EQ(LinesFor("h"), first);
}

}  // namespace
