// SPDX-License-Identifier: MIT
// Guards opening: how a URL is split, and what each open function puts into a
// fresh context.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "qn_stack_http_open_internal.h"
#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_stack_http.h"
#include "support/failing_heap.h"
#include "support/http_stack.h"

namespace {

using namespace qntest;

struct UrlCase {
  const char *url;
  const char *host;
  int32_t port;
  const char *path;
};

constexpr UrlCase kUrls[] = {
    // Schemes.
    {"http://h/x?y=1", "h", 80, "/x?y=1"},
    {"h/x", "h", 80, "/x"},
    {"https://h/x", "h", 80, "/x"},
    {"ftp://h:2121/x", "h", 2121, "/x"},
    {"://h/x", "h", 80, "/x"},
    {"h/r?u=http://o:99/z", "o", 99, "/z"},
    {"http://h/a://b/c", "h", 80, "/a://b/c"},
    {"http:/h", "http", 80, "/h"},
    {"http:///p", "", 80, "/p"},
    // Hosts.
    {"h", "h", 80, "/"},
    {"http://h", "h", 80, "/"},
    {"h/", "h", 80, "/"},
    {"h?q", "h", 80, "?q"},
    {"h?q/r", "h", 80, "?q/r"},
    {"h?q:9/r", "h", 80, "?q:9/r"},
    {"h/x:9/y", "h", 80, "/x:9/y"},
    {"h/?q", "h", 80, "/?q"},
    {"http://MMSC.Example.TEST/X", "MMSC.Example.TEST", 80, "/X"},
    {"http://user@h/x", "user@h", 80, "/x"},
    {"http://h#top/x", "h#top", 80, "/x"},
    {"http://127.0.0.1:8080/x", "127.0.0.1", 8080, "/x"},
    {"", "", 80, "/"},
    {"http://", "", 80, "/"},
    {"/", "", 80, "/"},
    {"?", "", 80, "?"},
    {":81", "", 81, "/"},
    {"http://h\xC3\xA9/\xFF", "h\xC3\xA9", 80, "/\xFF"},
    // Ports.
    {"h:8081", "h", 8081, "/"},
    {"http://h:81", "h", 81, "/"},
    {"h:8081/p", "h", 8081, "/p"},
    {"h:81?x/y", "h", 81, "/y"},
    {"h:81?x", "h", 81, "/"},
    {"h:abc/p", "h", 80, "/p"},
    {"h:/x", "h", 80, "/x"},
    {"h:", "h", 80, "/"},
    {"h:  /x", "h", 80, "/x"},
    {"h: 81/x", "h", 81, "/x"},
    {"h:\t81/x", "h", 81, "/x"},
    {"h:+81/x", "h", 81, "/x"},
    {"h:-81/x", "h", -81, "/x"},
    {"h:+-81/x", "h", 80, "/x"},
    {"h:-/x", "h", 80, "/x"},
    {"h:- 81/x", "h", 80, "/x"},
    {"h:81abc/x", "h", 81, "/x"},
    {"h:81:82/x", "h", 81, "/x"},
    {"h:0/x", "h", 0, "/x"},
    {"h:0081/x", "h", 81, "/x"},
    {"h:0x51/x", "h", 0, "/x"},
    {"h:65616/x", "h", 65616, "/x"},
    {"h:2147483647/x", "h", INT32_MAX, "/x"},
    {"h:-2147483648/x", "h", INT32_MIN, "/x"},
};

TEST(QnStackHttpParseUrl, SplitsIt) {
  for (const UrlCase &expected : kUrls) {
    SCOPED_TRACE(expected.url);
    const Context ctx(fnQNStack_Http_Open_Get(expected.url));
    ASSERT_NE(ctx, nullptr);
    EXPECT_STREQ(ctx->hostname, expected.host);
    EXPECT_EQ(ctx->port, expected.port);
    EXPECT_STREQ(ctx->path, expected.path);
    EXPECT_STREQ(ctx->url, expected.url);
  }
}

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

TEST(QnStackHttpOpen, GetAndHeadHaveNoBodyAndKeepTheirOwnCopyOfTheUrl) {
  std::string url = "http://h/x";
  const Context get(fnQNStack_Http_Open_Get(url.c_str()));
  const Context head(fnQNStack_Http_Open_Head(url.c_str()));
  url.assign(url.size(), '-');
  EXPECT_STREQ(get->method, "GET");
  EXPECT_STREQ(head->method, "HEAD");
  for (const QNHttpCtx *ctx : {get.get(), head.get()}) {
    EXPECT_STREQ(ctx->url, "http://h/x");
    EXPECT_STREQ(ctx->hostname, "h");
    EXPECT_STREQ(ctx->path, "/x");
    EXPECT_EQ(ctx->state, QN_HTTP_NEW);
    EXPECT_EQ(ctx->socket, -1);
    EXPECT_EQ(ctx->content, nullptr);
    EXPECT_EQ(ctx->contentLen, 0);
    EXPECT_EQ(ctx->contentType, nullptr);
  }
}

TEST(QnStackHttpOpen, PostAndPutKeepTheCallersBodyAndTheirOwnCopyOfItsType) {
  const char body[] = "hello";
  std::string type = "text/plain";
  const Context post(fnQNStack_Http_Open_Post("h/x", body, 5, type.c_str()));
  const Context put(fnQNStack_Http_Open_Put("h/x", body, 5, type.c_str()));
  type.assign(type.size(), '-');
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

TEST(QnStackHttpOpen, BodyAndLengthAreStoredAsGiven) {
  for (const int32_t length : {0, -1, INT32_MIN, INT32_MAX}) {
    const Context ctx(fnQNStack_Http_Open_Put("h", nullptr, length, nullptr));
    EXPECT_EQ(ctx->content, nullptr);
    EXPECT_EQ(ctx->contentLen, length);
  }
}

TEST(QnStackHttpOpen, ConnectTakesHostAndPortAsTheyAreAndHasNeitherUrlNorPath) {
  std::string host = "http://h:81/x";
  const Context ctx(fnQNStack_Http_Open_Connect(host.c_str(), -5));
  host.assign(host.size(), '-');
  EXPECT_STREQ(ctx->method, "CONNECT");
  EXPECT_STREQ(ctx->hostname, "http://h:81/x");
  EXPECT_EQ(ctx->port, -5);
  EXPECT_EQ(ctx->url, nullptr);
  EXPECT_EQ(ctx->path, nullptr);
  EXPECT_EQ(ctx->state, QN_HTTP_NEW);
  EXPECT_EQ(ctx->socket, -1);
}

// Opens with each allocation refused in turn; ends when none was. Beside the
// first five, which make the record and its buffers, one may be needed for it.
template <typename Open>
void RefuseEachAllocationOf(Open open, int also_needed = 0) {
  constexpr int kMostRefusals = 50;
  int refused = 0;
  bool hit = true;
  while (hit && ++refused < kMostRefusals) {
    QNHttpCtx *ctx = nullptr;
    hit = RefusalsIn([&] { ctx = open(); }, refused) > 0;
    const bool needed = refused <= 5 || refused == also_needed;
    EXPECT_EQ(ctx == nullptr, hit && needed) << "allocation " << refused;
    fnQNStack_Http_FreeCtx(ctx);
  }
  EXPECT_LT(refused, kMostRefusals);
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
