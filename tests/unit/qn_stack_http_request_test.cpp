// SPDX-License-Identifier: MIT
// Guards the composed requests: every byte of them and every trace line that
// composing prints, direct and through a proxy.
#include <gtest/gtest.h>

#include <climits>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_http_cookie.h"
#include "qnstack/qn_stack_http_head.h"
#include "support/captured_output.h"
#include "support/http_stack.h"

namespace {

using namespace qntest;

// What composing gave: bytes and trace.
struct Composed {
  int32_t result = 0;
  std::string bytes;
  std::string trace;
};

Composed Compose(QNHttpCtx *ctx, int32_t (*compose)(QNHttpCtx *) = fnQNStack_Http_PrepareQuest) {
  Composed composed;
  composed.trace = OutputOf([&] { composed.result = compose(ctx); });
  composed.bytes = UnreadOf(ctx->sendBuf);
  return composed;
}

// The body must outlive the composing.
QNHttpCtx *Open(std::string_view method, const char *url, std::string_view body = {},
                const char *type = nullptr) {
  const auto length = static_cast<int32_t>(body.size());
  if (method == "GET") return fnQNStack_Http_Open_Get(url);
  if (method == "HEAD") return fnQNStack_Http_Open_Head(url);
  if (method == "POST") return fnQNStack_Http_Open_Post(url, body.data(), length, type);
  return fnQNStack_Http_Open_Put(url, body.data(), length, type);
}

// One row: what is opened, and what stands before and after the four lines
// from the header table.
struct RequestCase {
  const char *topic;
  const char *method;
  const char *url;
  const char *body;
  const char *type;
  const char *proxy;
  const char *before;
  const char *after;
  const char *trace;
};

std::ostream &operator<<(std::ostream &out, const RequestCase &row) { return out << row.topic; }

class QnStackHttpRequest : public testing::TestWithParam<RequestCase> {
 protected:
  HttpStack stack_;
};

TEST_P(QnStackHttpRequest, IsComposedExactly) {
  const RequestCase &row = GetParam();
  fnQNStack_Http_SetProxy(row.proxy, 3128);
  const std::string body = row.body;
  const Context ctx(Open(row.method, row.url, body, row.type));
  const Composed composed = Compose(ctx.get());
  EXPECT_EQ(composed.result, 0);
  EXPECT_EQ(composed.bytes, row.before + std::string(kHandsetHeaders) + row.after);
  EXPECT_EQ(composed.trace, row.trace);
}

constexpr RequestCase kDirect[] = {
    {"Get", "GET", "http://h/", "", nullptr, nullptr, "GET / HTTP/1.0\r\nHost: h:80\r\n", "\r\n",
     "hostname  = h"},
    {"GetOtherPort", "GET", "http://h:8080/a/b?c=d", "", nullptr, nullptr,
     "GET /a/b?c=d HTTP/1.0\r\nHost: h:8080\r\n", "\r\n", "hostname  = h"},
    {"GetPathWithoutSlash", "GET", "h?q", "", nullptr, nullptr, "GET ?q HTTP/1.0\r\nHost: h:80\r\n",
     "\r\n", "hostname  = h"},
    {"GetNegativePort", "GET", "h:-5/", "", nullptr, nullptr, "GET / HTTP/1.0\r\nHost: h:-5\r\n",
     "\r\n", "hostname  = h"},
    {"GetPercentSigns", "GET", "http://h%s/%d%n%%", "", nullptr, nullptr,
     "GET /%d%n%% HTTP/1.0\r\nHost: h%s:80\r\n", "\r\n", "hostname  = h%s"},
    {"Head", "HEAD", "http://h/x", "", nullptr, nullptr, "HEAD /x HTTP/1.0\r\nHost: h:80\r\n",
     "\r\n", "hostname  = h"},
    {"PostForm", "POST", "http://h/m", "a=1&b", nullptr, nullptr,
     "POST /m HTTP/1.0\r\nHost: h:80\r\n",
     "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: 5\r\n\r\na=1&b",
     "hostname  = h"},
    {"PostType", "POST", "http://h/m", "x", "application/vnd.wap.mms-message", nullptr,
     "POST /m HTTP/1.0\r\nHost: h:80\r\n",
     "Content-Type: application/vnd.wap.mms-message\r\nContent-Length: 1\r\n\r\nx",
     "hostname  = h"},
    {"PostEmptyType", "POST", "http://h/m", "x", "", nullptr, "POST /m HTTP/1.0\r\nHost: h:80\r\n",
     "Content-Type: \r\nContent-Length: 1\r\n\r\nx", "hostname  = h"},
    {"PostNoBody", "POST", "http://h/m", "", nullptr, nullptr, "POST /m HTTP/1.0\r\nHost: h:80\r\n",
     "\r\n", "hostname  = h"},
    {"Put", "PUT", "http://h/m", "hello", "text/plain", nullptr,
     "PUT /m HTTP/1.0\r\nHost: h:80\r\n",
     "Content-Type: text/plain\r\n Expect: 100-Continue\r\nContent-Length: 5\r\n\r\nhello",
     "hostname  = h"},
    {"PutNoBody", "PUT", "http://h/m", "", "text/plain", nullptr,
     "PUT /m HTTP/1.0\r\nHost: h:80\r\n", "\r\n", "hostname  = h"},
};

constexpr RequestCase kProxied[] = {
    {"Get", "GET", "http://h/", "", nullptr, "gw", "GET http://h/ HTTP/1.0\r\nHost: h:80\r\n",
     "\r\n", "HTTP.c  PROXY = gwctx port  = 80method  = GEThostname  = hpath  = /hostname  = h"},
    {"GetOtherPort", "GET", "http://h:8080/a?b", "", nullptr, "gw",
     "GET http://h:8080/a?b HTTP/1.0\r\nHost: h:8080\r\n", "\r\n",
     "HTTP.c  PROXY = gwctx port  = 8080method  = GEThostname  = hpath  = /a?bhostname  = h"},
    {"GetPathWithoutSlash", "GET", "h?q", "", nullptr, "gw",
     "GET http://h?q HTTP/1.0\r\nHost: h:80\r\n", "\r\n",
     "HTTP.c  PROXY = gwctx port  = 80method  = GEThostname  = hpath  = ?qhostname  = h"},
    // What an empty host means is the gateway's to say.
    {"GetWithoutAHost", "GET", "/next", "", nullptr, "gw",
     "GET http:///next HTTP/1.0\r\nHost: :80\r\n", "\r\n",
     "HTTP.c  PROXY = gwctx port  = 80method  = GEThostname  = path  = /nexthostname  = "},
    {"GetSecureScheme", "GET", "https://h/", "", nullptr, "gw",
     "GET http://h/ HTTP/1.0\r\nHost: h:80\r\n", "\r\n",
     "HTTP.c  PROXY = gwctx port  = 80method  = GEThostname  = hpath  = /hostname  = h"},
    {"Head", "HEAD", "http://h/x", "", nullptr, "gw", "HEAD http://h/x HTTP/1.0\r\nHost: h:80\r\n",
     "\r\n", "HTTP.c  PROXY = gwctx port  = 80method  = HEADhostname  = hpath  = /xhostname  = h"},
    {"Post", "POST", "http://h/m", "a=1&b", nullptr, "gw",
     "POST http://h/m HTTP/1.0\r\nHost: h:80\r\n",
     "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: 5\r\n\r\na=1&b",
     "HTTP.c  PROXY = gwctx port  = 80method  = POSThostname  = hpath  = /mhostname  = h"},
    {"Put", "PUT", "http://h:81/m", "hello", "text/plain", "gw",
     "PUT http://h:81/m HTTP/1.0\r\nHost: h:81\r\n",
     "Content-Type: text/plain\r\n Expect: 100-Continue\r\nContent-Length: 5\r\n\r\nhello",
     "HTTP.c  PROXY = gwctx port  = 81method  = PUThostname  = hpath  = /mhostname  = h"},
};

std::string TopicOf(const testing::TestParamInfo<RequestCase> &info) { return info.param.topic; }

INSTANTIATE_TEST_SUITE_P(Direct, QnStackHttpRequest, testing::ValuesIn(kDirect), TopicOf);
INSTANTIATE_TEST_SUITE_P(Proxied, QnStackHttpRequest, testing::ValuesIn(kProxied), TopicOf);

class QnStackHttpCompose : public testing::Test {
 protected:
  HttpStack stack_;
};

using QnStackHttpRequestBody = QnStackHttpCompose;
using QnStackHttpRequestHeaders = QnStackHttpCompose;
using QnStackHttpTunnelRequest = QnStackHttpCompose;

TEST_F(QnStackHttpRequestBody, MayHoldAnyBytesAndStaysTheCallers) {
  for (const std::string &body :
       {std::string("\0\r\n\xFF%s\0", 7), std::string(300000, 'b'), std::string("hello")}) {
    SCOPED_TRACE(body.size());
    const std::string before = body;
    const Context ctx(Open("POST", "h", body));
    EXPECT_TRUE(Compose(ctx.get()).bytes ==
                "POST / HTTP/1.0\r\nHost: h:80\r\n" + std::string(kHandsetHeaders) +
                    "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: " +
                    std::to_string(body.size()) + "\r\n\r\n" + body);
    EXPECT_EQ(ctx->content, body.data());
    EXPECT_EQ(ctx->contentLen, static_cast<int32_t>(body.size()));
    EXPECT_TRUE(body == before);
  }
}

TEST_F(QnStackHttpRequestBody, NegativeLengthSendsNothing) {
  for (const int32_t length : {-1, INT32_MIN}) {
    const Context ctx(fnQNStack_Http_Open_Put("h", "hello", length, nullptr));
    EXPECT_EQ(Compose(ctx.get()).bytes,
              "PUT / HTTP/1.0\r\nHost: h:80\r\n" + std::string(kHandsetHeaders) + "\r\n");
  }
}

TEST_F(QnStackHttpRequestHeaders, AreThoseOfTheTableThatAreSentInTheirOrder) {
  struct Case {
    const char *what;
    std::vector<std::pair<const char *, const char *>> written;
    const char *sent;
  };
  const Case cases[] = {
      {"none", {}, ""},
      {"one", {{"Profile", "p"}}, "Profile: p\r\n"},
      {"an empty one", {{"Accept", ""}}, "Accept: \r\n"},
      {"all, written the other way round",
       {{"Accept-Language", "l"}, {"Profile", "p"}, {"User-Agent", "u"}, {"Accept", "a"}},
       "Accept: a\r\nUser-Agent: u\r\nProfile: p\r\nAccept-Language: l\r\n"},
      {"names that are never sent",
       {{"X-Test", "1"},
        {"accept", "1"},
        {"Cookie", "1"},
        {"Cache-Control", "1"},
        {"Accept-Charset", "1"}},
       ""},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.what);
    fnQNStack_Http_Head_FreeAll();
    for (const auto &[name, value] : c.written) fnQNStack_Http_Head_Write(name, value);
    const Context ctx(Open("POST", "h", "x", "t"));
    EXPECT_EQ(Compose(ctx.get()).bytes, std::string("POST / HTTP/1.0\r\nHost: h:80\r\n") + c.sent +
                                            "Content-Type: t\r\nContent-Length: 1\r\n\r\nx");
  }
}

TEST_F(QnStackHttpRequestHeaders, CookieOfTheHostStandsBehindTheBodysHeaders) {
  struct Case {
    const char *url;
    const char *proxy;
    bool sent;
  };
  constexpr Case kCases[] = {
      {"h/m", nullptr, true}, {"h:81/m", nullptr, true}, {"other/m", nullptr, false},
      {"h/m", "gw", true},    {"other/m", "gw", false},  {"other/m", "h", false},
  };
  fnQNStack_Http_Cookie_Set("sid", "42", "h", "/elsewhere");
  for (const Case &c : kCases) {
    SCOPED_TRACE(testing::Message()
                 << c.url << " by " << (c.proxy != nullptr ? c.proxy : "itself"));
    fnQNStack_Http_SetProxy(c.proxy, 3128);
    const Context ctx(Open("POST", c.url, "x", "t"));
    const std::string lines = c.sent ? "Cookie: sid=42\r\nCookie2: \"1\"\r\n" : "";
    EXPECT_TRUE(Compose(ctx.get()).bytes.ends_with(std::string(kHandsetHeaders) +
                                                   "Content-Type: t\r\nContent-Length: 1\r\n" +
                                                   lines + "\r\nx"));
  }
}

TEST_F(QnStackHttpTunnelRequest, IsComposedExactly) {
  fnQNStack_Http_SetProxy("gw", 3128);
  fnQNStack_Http_Cookie_Set("sid", "42", "t", "/");
  for (const int32_t port : {80, 443}) {
    const Context ctx(fnQNStack_Http_Open_Connect("t", port));
    const Composed composed = Compose(ctx.get(), fnQNStack_Http_PrepareQuest_Connect);
    EXPECT_EQ(composed.result, 0);
    EXPECT_EQ(composed.bytes, "CONNECT t:" + std::to_string(port) +
                                  " HTTP/1.1\r\nProxy-Connection: Keep-Alive\r\n\r\n");
    EXPECT_EQ(composed.trace, "method  = CONNECThostname  = tpath  = (null)");
  }
}

TEST_F(QnStackHttpTunnelRequest, WithoutAProxyIsMinusOneAndPrintsNothing) {
  const Context ctx(fnQNStack_Http_Open_Connect("t", 443));
  const Composed composed = Compose(ctx.get(), fnQNStack_Http_PrepareQuest_Connect);
  EXPECT_EQ(composed.result, -1);
  EXPECT_EQ(composed.bytes, "");
  EXPECT_EQ(composed.trace, "");
}

}  // namespace
