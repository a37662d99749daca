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

TEST_F(QnStackHttpCookieLine, HoldsNameAndValueAndIsFollowedByCookie2) {
  struct Case {
    const char *name;
    const char *value;
    const char *host;
    const char *lines;
  };
  constexpr Case kCases[] = {
      {"sid", "abc", "h", "Cookie: sid=abc\r\nCookie2: \"1\"\r\n"},
      {"%s", "%d%n", "h", "Cookie: %s=%d%n\r\nCookie2: \"1\"\r\n"},
      {"a", "1", "", "Cookie: a=1\r\nCookie2: \"1\"\r\n"},
  };
  for (const Case &c : kCases) {
    fnQNStack_Http_Cookie_FreeAll();
    fnQNStack_Http_Cookie_Set(c.name, c.value, c.host, "/mms");
    EXPECT_EQ(LinesFor(c.host), c.lines) << c.name;
  }
}

// A line end alone would end the header, and what follows would be the body.
TEST_F(QnStackHttpCookieLine, IsWholeOrMissingBehindTheOtherLinesWhenTheHeapRefuses) {
  fnQNStack_Http_Cookie_Set("sid", "abc", "h", "/");
  for (const uint32_t capacity : {4U, 64U}) {
    for (int refused = 1, refusals = 1; refusals > 0; ++refused) {
      SCOPED_TRACE(testing::Message() << "capacity " << capacity << ", allocation " << refused);
      Buffer buffer(capacity);
      buffer.Write("GET ");
      refusals = RefusalsIn([&] { fnQNStack_Http_Cookie_AddToHead(buffer.get(), "h"); }, refused);
      EXPECT_EQ(buffer.Fields().held,
                refusals > 0 ? "GET " : "GET Cookie: sid=abc\r\nCookie2: \"1\"\r\n");
    }
  }
}

TEST_F(QnStackHttpCookieLine, GoesToTheCookiesOwnHostAlone) {
  fnQNStack_Http_Cookie_Set("sid", "abc", "host.test", "/");

  for (const char *other : {"HOST.test", "host.tes", "host.test.", "a.host.test", "test", ""}) {
    SCOPED_TRACE(other);
    EXPECT_EQ(LinesFor(other), "");
  }
  EXPECT_NE(LinesFor("host.test"), "");
  fnQNStack_Http_Cookie_FreeAll();
  EXPECT_EQ(LinesFor("host.test"), "");
}

TEST_F(QnStackHttpCookieLine, IsOfTheNewestCookieAndGoesToItsHostOnly) {
  fnQNStack_Http_Cookie_Set("a", "1", "h", "/");
  fnQNStack_Http_Cookie_Set("a", "new", "i", "/q");  // replaces the value
  EXPECT_EQ(LinesFor("h"), std::string("Cookie: a=new\r\n") + kCookie2Line);
  EXPECT_EQ(LinesFor("i"), "");

  fnQNStack_Http_Cookie_Set("b", "2", "i", "/");
  EXPECT_EQ(LinesFor("h"), "");
  EXPECT_EQ(LinesFor("i"), std::string("Cookie: b=2\r\n") + kCookie2Line);

  fnQNStack_Http_Cookie_Set("a", "newer", "j", "/q");  // replaces the older one's
  EXPECT_EQ(LinesFor("i"), std::string("Cookie: b=2\r\n") + kCookie2Line);
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

}  // namespace
