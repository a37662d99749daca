// SPDX-License-Identifier: MIT
// Guards redirects that lead round and round: ten are followed, the eleventh
// ends the transfer, and its own body is still delivered.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "hostile_test.h"

namespace {

using namespace qntest;

constexpr std::size_t kRequests = 11;  // the first one and ten redirects

// A place that a redirect leads to.
struct Place {
  std::string path;
  std::string host = "mmsc.test";
};

class HostileRedirect : public qntest::WatchedHostileTest {
 protected:
  // Asks for the first place, meets a redirect to the next at each, and looks
  // at what was asked for.
  void ExpectEndAfterTen(const std::vector<Place> &places) {
    std::vector<ConnectionScript> scripts;
    for (std::size_t i = 1; i <= kRequests; ++i) {
      scripts.push_back(
          AnswerWith("HTTP/1.0 302 Found\r\nLocation: " + Url(places[i].path, places[i].host) +
                     "\r\n\r\nbody " + std::to_string(i)));
    }
    scripts.push_back(AnswerWith("HTTP/1.0 200 OK\r\n\r\nnever asked for"));
    Serve(std::move(scripts));
    const Context ctx(fnQNStack_Http_Open_Get(Url(places[0].path, places[0].host).c_str()));

    EXPECT_EQ(ReadToEnding(ctx.get()), (Ending{-1, 5, 1, 302, ""}));

    EXPECT_EQ(ctx->redirectCount, 11);
    EXPECT_EQ(server().accepted(), kRequests);
    for (std::size_t i = 0; i < kRequests; ++i) {
      const std::string asked = server().Received(i);
      EXPECT_EQ(asked.substr(0, asked.find("\r\n")), FirstLine(places[i].path, places[i].host));
    }
    EXPECT_EQ(ReadToEnding(ctx.get()), (Ending{0, 5, 1, 302, "body 11"}));
    Measured("ended after 11 requests");
  }
};

INSTANTIATE_TEST_SUITE_P(, HostileRedirect, qntest::kRoutes, qntest::RouteName);

TEST_P(HostileRedirect, ToItselfAndBetweenTwoUrlsEndsAfterTen) {
  ExpectEndAfterTen(std::vector<Place>(kRequests + 1, {"/m"}));
  std::vector<Place> places;
  for (std::size_t i = 0; i <= kRequests; i += 2) {
    places.insert(places.end(), {{"/a"}, {"/b", "other.test"}});
  }
  ExpectEndAfterTen(places);
}

// The paths soon are longer than a request takes; they are cut there.
TEST_P(HostileRedirect, ToUrlsThatGrowEndsAfterTen) {
  std::vector<Place> places;
  for (std::size_t i = 0; i <= kRequests; ++i) {
    places.push_back({"/" + std::string(std::size_t{8} << i, 'x')});
  }
  ASSERT_GT(places.back().path.size(), 16000U);
  ExpectEndAfterTen(places);
}

// Without a location the same URL is asked again.
TEST_P(HostileRedirect, ToNowhereEndsAfterTen) {
  Serve(
      std::vector<ConnectionScript>(kRequests + 1, AnswerWith("HTTP/1.0 300 Choose\r\n\r\nhere")));
  const Context ctx(fnQNStack_Http_Open_Post(Url().c_str(), "x", 1, nullptr));

  EXPECT_EQ(ReadToEnding(ctx.get()), (Ending{-1, 5, 1, 300, ""}));

  EXPECT_EQ(server().accepted(), kRequests);
}

}  // namespace
