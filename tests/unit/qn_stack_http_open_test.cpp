// SPDX-License-Identifier: MIT
// Guards opening: how a URL is split, and what each open function puts into a
// fresh context.
#include <gtest/gtest.h>

#include <climits>
#include <ostream>
#include <string>

#include "qn_stack_http_open_internal.h"
#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_stack_http.h"
#include "support/failing_heap.h"
#include "support/http_stack.h"

namespace {

using namespace qntest;

struct UrlCase {
  const char *topic;
  const char *url;
  const char *host;
  int32_t port;
  const char *path;
};

std::ostream &operator<<(std::ostream &out, const UrlCase &url) { return out << url.url; }

class QnStackHttpUrl : public testing::TestWithParam<UrlCase> {};

TEST_P(QnStackHttpUrl, IsSplit) {
  const UrlCase &expected = GetParam();
  const Context ctx(fnQNStack_Http_Open_Get(expected.url));
  ASSERT_NE(ctx, nullptr);
  EXPECT_STREQ(ctx->hostname, expected.host);
  EXPECT_EQ(ctx->port, expected.port);
  EXPECT_STREQ(ctx->path, expected.path);
  EXPECT_STREQ(ctx->url, expected.url);
}

constexpr UrlCase kSchemes[] = {
    {"Plain", "http://h/x?y=1", "h", 80, "/x?y=1"},
    {"None", "h/x", "h", 80, "/x"},
    {"Secure", "https://h/x", "h", 80, "/x"},
    {"FileTransfer", "ftp://h:2121/x", "h", 2121, "/x"},
    {"Empty", "://h/x", "h", 80, "/x"},
    {"InsideTheQuery", "h/r?u=http://o:99/z", "o", 99, "/z"},
    {"InsideThePathOfAnother", "http://h/a://b/c", "h", 80, "/a://b/c"},
    {"OneSlashIsNone", "http:/h", "http", 80, "/h"},
    {"ThreeSlashes", "http:///p", "", 80, "/p"},
};

constexpr UrlCase kHosts[] = {
    {"Alone", "h", "h", 80, "/"},
    {"WithScheme", "http://h", "h", 80, "/"},
    {"EndsAtSlash", "h/", "h", 80, "/"},
    {"EndsAtQuestionMark", "h?q", "h", 80, "?q"},
    {"QuestionMarkBeforeSlash", "h?q/r", "h", 80, "?q/r"},
    {"QuestionMarkBeforeColon", "h?q:9/r", "h", 80, "?q:9/r"},
    {"SlashBeforeColon", "h/x:9/y", "h", 80, "/x:9/y"},
    {"SlashBeforeQuestionMark", "h/?q", "h", 80, "/?q"},
    {"KeepsItsCase", "http://MMSC.Example.TEST/X", "MMSC.Example.TEST", 80, "/X"},
    {"KeepsAUser", "http://user@h/x", "user@h", 80, "/x"},
    {"KeepsAHash", "http://h#top/x", "h#top", 80, "/x"},
    {"Dotted", "http://127.0.0.1:8080/x", "127.0.0.1", 8080, "/x"},
    {"EmptyText", "", "", 80, "/"},
    {"SchemeAlone", "http://", "", 80, "/"},
    {"SlashAlone", "/", "", 80, "/"},
    {"QuestionMarkAlone", "?", "", 80, "?"},
    {"PortAlone", ":81", "", 81, "/"},
    {"HighBytes", "http://h\xC3\xA9/\xFF", "h\xC3\xA9", 80, "/\xFF"},
};

constexpr UrlCase kPorts[] = {
    {"Number", "h:8081", "h", 8081, "/"},
    {"NumberAndScheme", "http://h:81", "h", 81, "/"},
    {"NumberAndPath", "h:8081/p", "h", 8081, "/p"},
    {"TextRunsToTheSlash", "h:81?x/y", "h", 81, "/y"},
    {"TextRunsToTheEnd", "h:81?x", "h", 81, "/"},
    {"Letters", "h:abc/p", "h", 80, "/p"},
    {"Empty", "h:/x", "h", 80, "/x"},
    {"EmptyAtTheEnd", "h:", "h", 80, "/"},
    {"Blanks", "h:  /x", "h", 80, "/x"},
    {"LeadingBlank", "h: 81/x", "h", 81, "/x"},
    {"LeadingTab", "h:\t81/x", "h", 81, "/x"},
    {"Plus", "h:+81/x", "h", 81, "/x"},
    {"Minus", "h:-81/x", "h", -81, "/x"},
    {"TwoSigns", "h:+-81/x", "h", 80, "/x"},
    {"SignAlone", "h:-/x", "h", 80, "/x"},
    {"BlankAfterTheSign", "h:- 81/x", "h", 80, "/x"},
    {"TrailingJunk", "h:81abc/x", "h", 81, "/x"},
    {"TrailingColon", "h:81:82/x", "h", 81, "/x"},
    {"Zero", "h:0/x", "h", 0, "/x"},
    {"LeadingZeros", "h:0081/x", "h", 81, "/x"},
    {"IsNotHexadecimal", "h:0x51/x", "h", 0, "/x"},
    {"AboveSixteenBits", "h:65616/x", "h", 65616, "/x"},
    {"LargestNumber", "h:2147483647/x", "h", INT32_MAX, "/x"},
    {"SmallestNumber", "h:-2147483648/x", "h", INT32_MIN, "/x"},
};

std::string TopicOf(const testing::TestParamInfo<UrlCase> &info) { return info.param.topic; }

INSTANTIATE_TEST_SUITE_P(Scheme, QnStackHttpUrl, testing::ValuesIn(kSchemes), TopicOf);
INSTANTIATE_TEST_SUITE_P(Host, QnStackHttpUrl, testing::ValuesIn(kHosts), TopicOf);
INSTANTIATE_TEST_SUITE_P(Port, QnStackHttpUrl, testing::ValuesIn(kPorts), TopicOf);

// Which number results is left open; the rest of the split must not suffer.
TEST(QnStackHttpParseUrl, PortBeyondThirtyTwoBitsHarmsNothingElse) {
  for (const char *digits : {"2147483648", "-2147483649", "99999999999999999999999999"}) {
    const std::string url = std::string("http://h:") + digits + "/x";
    const Context ctx(fnQNStack_Http_Open_Get(url.c_str()));
    EXPECT_STREQ(ctx->hostname, "h");
    EXPECT_STREQ(ctx->path, "/x");
    EXPECT_STREQ(ctx->url, url.c_str());
  }
}

TEST(QnStackHttpParseUrl, TakesLongUrlsWhole) {
  const std::string host(5000, 'h');
  const std::string path = "/" + std::string(100000, 'p');
  const Context ctx(fnQNStack_Http_Open_Get(("http://" + host + ":81" + path).c_str()));
  EXPECT_EQ(ctx->hostname, host);
  EXPECT_EQ(ctx->port, 81);
  EXPECT_EQ(ctx->path, path);
}

TEST(QnStackHttpParseUrl, NullIsMinusOneAndChangesNothing) {
  const Context ctx(fnQNStack_Http_Open_Get("http://h:81/x"));
  EXPECT_EQ(qn::ParseUrl(ctx.get(), nullptr), -1);
  EXPECT_STREQ(ctx->url, "http://h:81/x");
  EXPECT_STREQ(ctx->hostname, "h");
  EXPECT_EQ(ctx->port, 81);
  EXPECT_STREQ(ctx->path, "/x");
}

// The host and path before it stay the caller's to free, as a redirect does.
TEST(QnStackHttpParseUrl, LeavesTheHostAndPathBeforeIt) {
  const Context ctx(fnQNStack_Http_Open_Get("http://old:81/old"));
  char *host = ctx->hostname;
  char *path = ctx->path;
  EXPECT_EQ(qn::ParseUrl(ctx.get(), "http://new/new"), 0);
  EXPECT_STREQ(host, "old");
  EXPECT_STREQ(path, "/old");
  EXPECT_STREQ(ctx->hostname, "new");
  EXPECT_EQ(ctx->port, 80);
  EXPECT_STREQ(ctx->path, "/new");
  EXPECT_STREQ(ctx->url, "http://new/new");
  fnQN_Free(&host);
  fnQN_Free(&path);
}

TEST(QnStackHttpParseUrl, TakesTheUrlOfTheContextItself) {
  const Context ctx(fnQNStack_Http_Open_Get("http://h:81/x"));
  fnQN_Free(&ctx->hostname);
  fnQN_Free(&ctx->path);
  EXPECT_EQ(qn::ParseUrl(ctx.get(), ctx->url), 0);
  EXPECT_STREQ(ctx->url, "http://h:81/x");
  EXPECT_STREQ(ctx->hostname, "h");
  EXPECT_STREQ(ctx->path, "/x");
}

TEST(QnStackHttpOpen, GetAndHeadHaveNoBody) {
  const Context get(fnQNStack_Http_Open_Get("h/x"));
  const Context head(fnQNStack_Http_Open_Head("h/x"));
  EXPECT_STREQ(get->method, "GET");
  EXPECT_STREQ(head->method, "HEAD");
  for (const QNHttpCtx *ctx : {get.get(), head.get()}) {
    EXPECT_EQ(ctx->state, QN_HTTP_NEW);
    EXPECT_EQ(ctx->socket, -1);
    EXPECT_EQ(ctx->content, nullptr);
    EXPECT_EQ(ctx->contentLen, 0);
    EXPECT_EQ(ctx->contentType, nullptr);
  }
}

TEST(QnStackHttpOpen, KeepsItsOwnCopyOfTheUrl) {
  std::string url = "http://h/x";
  const Context ctx(fnQNStack_Http_Open_Get(url.c_str()));
  url.assign(url.size(), '-');
  EXPECT_STREQ(ctx->url, "http://h/x");
  EXPECT_STREQ(ctx->hostname, "h");
  EXPECT_STREQ(ctx->path, "/x");
}

TEST(QnStackHttpOpen, PostAndPutKeepTheCallersBody) {
  const char body[] = "hello";
  const Context post(fnQNStack_Http_Open_Post("h/x", body, 5, "text/plain"));
  const Context put(fnQNStack_Http_Open_Put("h/x", body, 5, "text/plain"));
  EXPECT_STREQ(post->method, "POST");
  EXPECT_STREQ(put->method, "PUT");
  for (const QNHttpCtx *ctx : {post.get(), put.get()}) {
    EXPECT_EQ(ctx->state, QN_HTTP_NEW);
    EXPECT_EQ(ctx->content, body);
    EXPECT_EQ(ctx->contentLen, 5);
    EXPECT_STREQ(ctx->contentType, "text/plain");
    EXPECT_EQ(ctx->sendBuf->length, 0u);
  }
}

TEST(QnStackHttpOpen, BodyWithoutATypeIsAForm) {
  const Context post(fnQNStack_Http_Open_Post("h", "a=1", 3, nullptr));
  const Context put(fnQNStack_Http_Open_Put("h", "a=1", 3, nullptr));
  EXPECT_STREQ(post->contentType, "application/x-www-form-urlencoded");
  EXPECT_STREQ(put->contentType, "application/x-www-form-urlencoded");
}

TEST(QnStackHttpOpen, EmptyTypeIsKept) {
  const Context ctx(fnQNStack_Http_Open_Post("h", "a=1", 3, ""));
  EXPECT_STREQ(ctx->contentType, "");
}

TEST(QnStackHttpOpen, KeepsItsOwnCopyOfTheType) {
  std::string type = "text/plain";
  const Context ctx(fnQNStack_Http_Open_Post("h", "b", 1, type.c_str()));
  type.assign(type.size(), '-');
  EXPECT_STREQ(ctx->contentType, "text/plain");
}

TEST(QnStackHttpOpen, BodyAndLengthAreStoredAsGiven) {
  for (const int32_t length : {0, -1, INT32_MIN, INT32_MAX}) {
    const Context ctx(fnQNStack_Http_Open_Put("h", nullptr, length, nullptr));
    EXPECT_EQ(ctx->content, nullptr);
    EXPECT_EQ(ctx->contentLen, length);
  }
}

TEST(QnStackHttpOpen, ConnectHasNeitherUrlNorPath) {
  std::string host = "tunnel.test";
  const Context ctx(fnQNStack_Http_Open_Connect(host.c_str(), 443));
  host.assign(host.size(), '-');
  EXPECT_STREQ(ctx->method, "CONNECT");
  EXPECT_STREQ(ctx->hostname, "tunnel.test");
  EXPECT_EQ(ctx->port, 443);
  EXPECT_EQ(ctx->url, nullptr);
  EXPECT_EQ(ctx->path, nullptr);
  EXPECT_EQ(ctx->state, QN_HTTP_NEW);
  EXPECT_EQ(ctx->socket, -1);
}

TEST(QnStackHttpOpen, ConnectTakesHostAndPortAsTheyAre) {
  const Context odd(fnQNStack_Http_Open_Connect("http://h:81/x", -5));
  EXPECT_STREQ(odd->hostname, "http://h:81/x");
  EXPECT_EQ(odd->port, -5);
  const Context none(fnQNStack_Http_Open_Connect(nullptr, 443));
  EXPECT_EQ(none->hostname, nullptr);
}

// Opens with each allocation refused in turn; ends when none was. Beside the
// first five, which make the record and its buffers, one may be needed for it.
template <typename Open>
void RefuseEachAllocationOf(Open open, int also_needed = 0) {
  constexpr int kMost = 50;
  int refused = 0;
  bool hit = true;
  while (hit && ++refused < kMost) {
    QNHttpCtx *ctx = nullptr;
    {
      const FailingHeap heap(refused);
      ctx = open();
      hit = heap.Refusals() > 0;
    }
    const bool needed = refused <= 5 || refused == also_needed;
    EXPECT_EQ(ctx == nullptr, hit && needed) << "allocation " << refused;
    fnQNStack_Http_FreeCtx(ctx);
  }
  EXPECT_LT(refused, kMost);
  EXPECT_GT(refused, 5);
}

TEST(QnStackHttpOpen, SurvivesAHeapThatRefuses) {
  RefuseEachAllocationOf([] { return fnQNStack_Http_Open_Get("http://h:81/x"); });
  RefuseEachAllocationOf([] { return fnQNStack_Http_Open_Head("http://h:81/x"); });
  RefuseEachAllocationOf([] { return fnQNStack_Http_Open_Post("h/x", "b", 1, "t"); });
  RefuseEachAllocationOf([] { return fnQNStack_Http_Open_Put("h/x", "b", 1, nullptr); });
}

// Without the host it would ask the proxy for one named "(null)".
TEST(QnStackHttpOpen, ConnectIsNullWhenTheHeapRefusesItsHost) {
  constexpr int kHost = 7;
  RefuseEachAllocationOf([] { return fnQNStack_Http_Open_Connect("h", 443); }, kHost);
}

}  // namespace
