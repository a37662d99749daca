// SPDX-License-Identifier: MIT
// Guards the bound of the request's formatted pieces: each is cut at 2047
// bytes, a line end that is a piece of its own survives, one inside a cut piece
// does not, and what is not formatted is not cut.
#include <gtest/gtest.h>

#include <string>

#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_http_cookie.h"
#include "qnstack/qn_stack_http_head.h"
#include "support/captured_output.h"
#include "support/http_stack.h"

namespace {

using qntest::Context;

constexpr size_t kPiece = 2047;

std::string Cut(const std::string &piece) { return piece.substr(0, kPiece); }

// Without headers from the table, so that the pieces stand side by side.
class QnStackHttpRequestCut : public testing::Test {
 protected:
  QnStackHttpRequestCut() { fnQNStack_Http_Head_FreeAll(); }

  static std::string Compose(const Context &ctx) {
    qntest::OutputOf([&] { fnQNStack_Http_PrepareQuest(ctx.get()); });
    return qntest::UnreadOf(ctx->sendBuf);
  }

  static std::string Get(const std::string &url) {
    return Compose(Context(fnQNStack_Http_Open_Get(url.c_str())));
  }

  qntest::HttpStack stack_;
};

TEST_F(QnStackHttpRequestCut, LongPathLosesItsEndButNotTheVersion) {
  for (const size_t length : {kPiece - 1, kPiece, kPiece + 1, size_t{3000}}) {
    SCOPED_TRACE(length);
    const std::string path = "/" + std::string(length - 5, 'p');
    EXPECT_EQ(Get("h" + path), Cut("GET " + path) + " HTTP/1.0\r\nHost: h:80\r\n\r\n");
  }
}

TEST_F(QnStackHttpRequestCut, AbsoluteUrlIsOnePiece) {
  fnQNStack_Http_SetProxy("gw", 3128);
  const std::string path = "/" + std::string(3000, 'p');
  EXPECT_EQ(Get("h" + path), Cut("GET http://h" + path) + " HTTP/1.0\r\nHost: h:80\r\n\r\n");
  EXPECT_EQ(Get("h:81" + path), Cut("GET http://h:81" + path) + " HTTP/1.0\r\nHost: h:81\r\n\r\n");
}

TEST_F(QnStackHttpRequestCut, LongHostLosesItsLineEnd) {
  for (const size_t length : {kPiece - 11, kPiece - 10, size_t{3000}}) {
    SCOPED_TRACE(length);
    const std::string host(length, 'h');
    EXPECT_EQ(Get(host), "GET / HTTP/1.0\r\n" + Cut("Host: " + host + ":80\r\n") + "\r\n");
  }
}

TEST_F(QnStackHttpRequestCut, LongMediaTypeLosesItsLineEnd) {
  const std::string type(3000, 't');
  const Context ctx(fnQNStack_Http_Open_Put("h", "x", 1, type.c_str()));
  EXPECT_EQ(Compose(ctx), "PUT / HTTP/1.0\r\nHost: h:80\r\n" + Cut("Content-Type: " + type) +
                              " Expect: 100-Continue\r\nContent-Length: 1\r\n\r\nx");
}

TEST_F(QnStackHttpRequestCut, LongCookieKeepsItsLineEnd) {
  const std::string value(3000, 'v');
  fnQNStack_Http_Cookie_Set("sid", value.c_str(), "h", "/");
  EXPECT_EQ(Get("h"), "GET / HTTP/1.0\r\nHost: h:80\r\n" + Cut("Cookie: sid=" + value) +
                          "\r\nCookie2: \"1\"\r\n\r\n");
}

TEST_F(QnStackHttpRequestCut, HeaderValuesAreNotCut) {
  const std::string value(5000, 'v');
  fnQNStack_Http_Head_Write("Accept", value.c_str());
  EXPECT_EQ(Get("h"), "GET / HTTP/1.0\r\nHost: h:80\r\nAccept: " + value + "\r\n\r\n");
}

TEST_F(QnStackHttpRequestCut, LongTunnelHostLosesItsPortButNotTheVersion) {
  fnQNStack_Http_SetProxy("gw", 3128);
  const std::string host(3000, 't');
  const Context ctx(fnQNStack_Http_Open_Connect(host.c_str(), 443));
  qntest::OutputOf([&] { fnQNStack_Http_PrepareQuest_Connect(ctx.get()); });
  EXPECT_EQ(qntest::UnreadOf(ctx->sendBuf),
            Cut("CONNECT " + host) + " HTTP/1.1\r\nProxy-Connection: Keep-Alive\r\n\r\n");
}

TEST_F(QnStackHttpRequestCut, TraceIsNotCut) {
  const std::string host(3000, 'h');
  const Context ctx(fnQNStack_Http_Open_Get(host.c_str()));
  EXPECT_EQ(qntest::OutputOf([&] { fnQNStack_Http_PrepareQuest(ctx.get()); }),
            "hostname  = " + host);
}

}  // namespace
