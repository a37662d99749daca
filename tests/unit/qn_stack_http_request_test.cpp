// SPDX-License-Identifier: MIT
// Guards the composed requests: every byte of them and every trace line that
// composing prints, direct and through a proxy.
#include <gtest/gtest.h>

#include <climits>
#include <ostream>
#include <string>
#include <string_view>

#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_http_cookie.h"
#include "qnstack/qn_stack_http_head.h"
#include "support/captured_output.h"
#include "support/http_stack.h"

namespace {

using namespace qntest;

constexpr char kFormType[] = "application/x-www-form-urlencoded";

// What composing gave: bytes and trace.
struct Composed {
  int32_t result = 0;
  std::string bytes;
  std::string trace;
};

Composed Compose(QNHttpCtx *ctx) {
  Composed composed;
  composed.trace = OutputOf([&] { composed.result = fnQNStack_Http_PrepareQuest(ctx); });
  composed.bytes = UnreadOf(ctx->sendBuf);
  return composed;
}

Composed ComposeTunnel(QNHttpCtx *ctx) {
  Composed composed;
  composed.trace = OutputOf([&] { composed.result = fnQNStack_Http_PrepareQuest_Connect(ctx); });
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

TEST_F(QnStackHttpRequestBody, MayHoldAnyBytes) {
  const std::string body("\0\r\n\xFF%s\0", 7);
  const Context ctx(Open("POST", "h", body));
  EXPECT_EQ(Compose(ctx.get()).bytes,
            "POST / HTTP/1.0\r\nHost: h:80\r\n" + std::string(kHandsetHeaders) +
                "Content-Type: " + kFormType + "\r\nContent-Length: 7\r\n\r\n" + body);
}

TEST_F(QnStackHttpRequestBody, IsNotCutHoweverLong) {
  const std::string body(300000, 'b');
  const Context ctx(Open("PUT", "h", body, "text/plain"));
  const std::string bytes = Compose(ctx.get()).bytes;
  EXPECT_NE(bytes.find("\r\nContent-Length: 300000\r\n\r\n"), std::string::npos);
  EXPECT_EQ(bytes.substr(bytes.size() - body.size()), body);
}

TEST_F(QnStackHttpRequestBody, StaysTheCallersAndUnchanged) {
  const std::string body = "hello";
  const Context ctx(Open("POST", "h", body));
  Compose(ctx.get());
  EXPECT_EQ(ctx->content, body.data());
  EXPECT_EQ(ctx->contentLen, 5);
  EXPECT_EQ(body, "hello");
}

TEST_F(QnStackHttpRequestBody, NegativeLengthSendsNothing) {
  for (const int32_t length : {-1, INT32_MIN}) {
    const Context ctx(fnQNStack_Http_Open_Put("h", "hello", length, nullptr));
    EXPECT_EQ(Compose(ctx.get()).bytes,
              "PUT / HTTP/1.0\r\nHost: h:80\r\n" + std::string(kHandsetHeaders) + "\r\n");
  }
}

TEST_F(QnStackHttpRequestHeaders, CarryWhatTheApplicationWrote) {
  fnQNStack_Http_Head_Write("Accept", "text/plain");
  const Context ctx(Open("GET", "h"));
  const std::string bytes = Compose(ctx.get()).bytes;
  EXPECT_NE(bytes.find("\r\nAccept: text/plain\r\nUser-Agent: "), std::string::npos);
  EXPECT_EQ(bytes.find("*/*"), std::string::npos);
}

TEST_F(QnStackHttpRequestHeaders, KeepTheirOrderWhateverTheOrderOfWriting) {
  fnQNStack_Http_Head_FreeAll();
  fnQNStack_Http_Head_Write("Accept-Language", "l");
  fnQNStack_Http_Head_Write("Profile", "p");
  fnQNStack_Http_Head_Write("User-Agent", "u");
  fnQNStack_Http_Head_Write("Accept", "a");
  const Context ctx(Open("GET", "h"));
  EXPECT_EQ(Compose(ctx.get()).bytes,
            "GET / HTTP/1.0\r\nHost: h:80\r\n"
            "Accept: a\r\nUser-Agent: u\r\nProfile: p\r\nAccept-Language: l\r\n\r\n");
}

TEST_F(QnStackHttpRequestHeaders, OnlyThoseInTheTableAreSent) {
  fnQNStack_Http_Head_FreeAll();
  fnQNStack_Http_Head_Write("Profile", "p");
  const Context ctx(Open("GET", "h"));
  EXPECT_EQ(Compose(ctx.get()).bytes, "GET / HTTP/1.0\r\nHost: h:80\r\nProfile: p\r\n\r\n");
}

TEST_F(QnStackHttpRequestHeaders, NoneIsSentWithoutATable) {
  fnQNStack_Http_Head_FreeAll();
  const Context ctx(Open("POST", "h", "x", "t"));
  EXPECT_EQ(Compose(ctx.get()).bytes,
            "POST / HTTP/1.0\r\nHost: h:80\r\nContent-Type: t\r\nContent-Length: 1\r\n\r\nx");
}

TEST_F(QnStackHttpRequestHeaders, OtherNamesStayInTheTableUnsent) {
  for (const char *name : {"X-Test", "accept", "Cookie", "Cache-Control", "Accept-Charset"}) {
    fnQNStack_Http_Head_Write(name, "unsent");
  }
  const Context ctx(Open("GET", "h"));
  EXPECT_EQ(Compose(ctx.get()).bytes,
            "GET / HTTP/1.0\r\nHost: h:80\r\n" + std::string(kHandsetHeaders) + "\r\n");
}

TEST_F(QnStackHttpRequestHeaders, EmptyValueIsSentAsSuch) {
  fnQNStack_Http_Head_FreeAll();
  fnQNStack_Http_Head_Write("Accept", "");
  const Context ctx(Open("GET", "h"));
  EXPECT_EQ(Compose(ctx.get()).bytes, "GET / HTTP/1.0\r\nHost: h:80\r\nAccept: \r\n\r\n");
}

TEST_F(QnStackHttpRequestHeaders, CookieOfTheHostStandsBehindTheBodysHeaders) {
  fnQNStack_Http_Cookie_Set("sid", "42", "h", "/elsewhere");
  const Context ctx(Open("POST", "h/m", "x", "t"));
  EXPECT_EQ(Compose(ctx.get()).bytes, "POST /m HTTP/1.0\r\nHost: h:80\r\n" +
                                          std::string(kHandsetHeaders) +
                                          "Content-Type: t\r\nContent-Length: 1\r\n"
                                          "Cookie: sid=42\r\nCookie2: \"1\"\r\n\r\nx");
}

TEST_F(QnStackHttpRequestHeaders, CookieOfAnotherHostIsNotSent) {
  fnQNStack_Http_Cookie_Set("sid", "42", "other", "/");
  const Context ctx(Open("GET", "h"));
  EXPECT_EQ(Compose(ctx.get()).bytes.find("Cookie"), std::string::npos);
}

TEST_F(QnStackHttpTunnelRequest, IsComposedExactly) {
  fnQNStack_Http_SetProxy("gw", 3128);
  fnQNStack_Http_Cookie_Set("sid", "42", "t", "/");
  const Context ctx(fnQNStack_Http_Open_Connect("t", 443));
  const Composed composed = ComposeTunnel(ctx.get());
  EXPECT_EQ(composed.result, 0);
  EXPECT_EQ(composed.bytes, "CONNECT t:443 HTTP/1.1\r\nProxy-Connection: Keep-Alive\r\n\r\n");
  EXPECT_EQ(composed.trace, "method  = CONNECThostname  = tpath  = (null)");
}

TEST_F(QnStackHttpTunnelRequest, WritesThePortAlsoWhenItIsEighty) {
  fnQNStack_Http_SetProxy("gw", 3128);
  const Context ctx(fnQNStack_Http_Open_Connect("t", 80));
  EXPECT_EQ(ComposeTunnel(ctx.get()).bytes,
            "CONNECT t:80 HTTP/1.1\r\nProxy-Connection: Keep-Alive\r\n\r\n");
}

TEST_F(QnStackHttpTunnelRequest, WithoutAProxyIsMinusOneAndPrintsNothing) {
  const Context ctx(fnQNStack_Http_Open_Connect("t", 443));
  const Composed composed = ComposeTunnel(ctx.get());
  EXPECT_EQ(composed.result, -1);
  EXPECT_EQ(composed.bytes, "");
  EXPECT_EQ(composed.trace, "");
}

}  // namespace
