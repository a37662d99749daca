// SPDX-License-Identifier: MIT
// Exchanges with a real origin, direct and through two real gateways: bodies of
// all sizes arrive whole in both directions, and what an origin does besides
// (redirects, cookies, compression, slowness, refusals) is dealt with.
#include <gtest/gtest.h>
#include <zlib.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <string>
#include <tuple>

#include "integration/peers_exchange.h"
#include "integration/peers_servers.h"
#include "qnstack/qn_stack_http_head.h"

namespace qntest {
namespace {

class PeersOrigin : public ::testing::TestWithParam<Route> {
 protected:
  StackOnRoute stack_{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Route, PeersOrigin,
                         ::testing::Values(Route::kDirect, Route::kTinyproxy, Route::kSquid),
                         NameOfRoute);

std::string BytesOfFile(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// The text that a gzip stream holds; empty if it is damaged or cut.
std::string Unzipped(std::string zipped, size_t size) {
  std::string text(size + 1, '\0');
  z_stream stream{};
  stream.next_in = reinterpret_cast<Bytef *>(zipped.data());
  stream.avail_in = static_cast<uInt>(zipped.size());
  stream.next_out = reinterpret_cast<Bytef *>(text.data());
  stream.avail_out = static_cast<uInt>(text.size());
  constexpr int kGzip = 16 + MAX_WBITS;
  const bool complete =
      inflateInit2(&stream, kGzip) == Z_OK && inflate(&stream, Z_FINISH) == Z_STREAM_END;
  text.resize(complete ? stream.total_out : 0);
  inflateEnd(&stream);
  return text;
}

class PeersFile : public ::testing::TestWithParam<std::tuple<Route, std::string>> {
 protected:
  const std::string &file() const { return std::get<1>(GetParam()); }
  const std::string &content() const { return Peers::Get().Content(file()); }

  StackOnRoute stack_{std::get<0>(GetParam())};
};

INSTANTIATE_TEST_SUITE_P(
    Route, PeersFile,
    ::testing::Combine(::testing::Values(Route::kDirect, Route::kTinyproxy, Route::kSquid),
                       ::testing::Values(kEmptyFile, kSmallFile, kMediumFile, kLargeFile)),
    [](const auto &test) {
      return RouteName(std::get<0>(test.param)) + "_" + std::get<1>(test.param);
    });

TEST_P(PeersFile, GetDeliversItWhole) {
  const Answer answer = Get("/" + file());

  EXPECT_EQ(answer.result, 0);
  EXPECT_EQ(answer.state, QN_HTTP_COMPLETE);
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.type, "application/octet-stream");
  EXPECT_EQ(answer.length, static_cast<int32_t>(content().size()));
  EXPECT_EQ(answer.encoding, 0);
  EXPECT_TRUE(answer.body == content());
}

TEST_P(PeersFile, HeadTellsItsLengthWithoutIt) {
  const Answer answer = Head("/" + file());

  EXPECT_EQ(answer.result, 0);
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.length, static_cast<int32_t>(content().size()));
  EXPECT_EQ(answer.body, "");
}

TEST_P(PeersOrigin, GetsBodiesOfAllSizesWhole) {
  for (const char *file : {kSmallFile, kMediumFile, kLargeFile}) {
    SCOPED_TRACE(file);
    const std::string &content = Peers::Get().Content(file);
    const Answer answer = Post("/keep", content);

    EXPECT_EQ(answer.result, 0);
    EXPECT_EQ(answer.status, 200);
    EXPECT_TRUE(BytesOfFile(answer.body) == content);
  }
}

TEST_P(PeersOrigin, SeesTheHandset) {
  fnQNStack_Http_Head_Write("User-Agent", "TestHandset/1.0");
  fnQNStack_Http_Head_Write("Profile", "http://h.example/p.xml");

  const Answer answer = Get("/seen?a=1&b=%20");

  EXPECT_EQ(answer.body.substr(0, answer.body.find(" via=")),
            "GET /seen?a=1&b=%20 agent=TestHandset/1.0 profile=http://h.example/p.xml cookie=");
  EXPECT_EQ(answer.type, "text/plain");
  EXPECT_EQ(Post("/seen", "").body.substr(0, 11), "POST /seen ");
}

TEST_P(PeersOrigin, RefusalIsDeliveredWithItsBody) {
  const Answer answer = Get("/no-such-file");

  EXPECT_EQ(answer.result, 0);
  EXPECT_EQ(answer.state, QN_HTTP_COMPLETE);
  EXPECT_EQ(answer.status, 404);
  EXPECT_EQ(answer.body.size(), static_cast<size_t>(answer.length));
  EXPECT_NE(answer.body.find("404 Not Found"), std::string::npos);
}

TEST_P(PeersOrigin, RedirectsAreFollowed) {
  for (const std::string code : {"301", "302", "307"}) {
    SCOPED_TRACE(code);
    const Answer answer = Get("/moved/" + code + "/" + kSmallFile);

    EXPECT_EQ(answer.result, 0);
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.redirects, 1);
    EXPECT_EQ(answer.url, Peers::Get().Url(std::string("/") + kSmallFile));
    EXPECT_TRUE(answer.body == Peers::Get().Content(kSmallFile));
  }
}

TEST_P(PeersOrigin, RedirectedPostGoesOnAsGet) {
  const Answer answer = Post("/moved/307/seen", "a=1");

  EXPECT_EQ(answer.redirects, 1);
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body.substr(0, 10), "GET /seen ");
}

TEST_P(PeersOrigin, CookieOfARedirectIsSentBack) {
  const Answer answer = Get("/login");

  EXPECT_EQ(answer.redirects, 1);
  EXPECT_NE(answer.body.find(" cookie=sid=abc via="), std::string::npos) << answer.body;
}

TEST_P(PeersOrigin, CompressedBodyIsDeliveredAsItIs) {
  const std::string &text = Peers::Get().Content(kTextFile);

  const Answer answer = Get(std::string("/zipped/") + kTextFile);

  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.encoding, -1);
  EXPECT_LT(answer.body.size(), text.size());
  EXPECT_TRUE(Unzipped(answer.body, text.size()) == text);
}

TEST_P(PeersOrigin, SlowAnswerIsWaitedFor) {
  const auto start = std::chrono::steady_clock::now();

  const Answer answer = Get(std::string("/slow/") + kMediumFile);

  EXPECT_EQ(answer.result, 0);
  EXPECT_TRUE(answer.body == Peers::Get().Content(kMediumFile));
  EXPECT_GT(answer.deliveries, 1);
  // Faster, and the origin would not have been slow.
  EXPECT_GT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
}

}  // namespace
}  // namespace qntest
