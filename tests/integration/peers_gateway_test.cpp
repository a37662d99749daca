// SPDX-License-Identifier: MIT
// What only a gateway brings: it puts itself into the request, answers for an
// origin that is not there, passes requests on that an origin alone would not
// take, and serves two exchanges that are driven in turns.
#include <gtest/gtest.h>

#include <string>

#include "integration/peers_exchange.h"
#include "integration/peers_servers.h"
#include "support/captured_output.h"
#include "support/loopback.h"

namespace qntest {
namespace {

class PeersGateway : public ::testing::TestWithParam<Route> {
 protected:
  StackOnRoute stack_{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Route, PeersGateway, ::testing::Values(Route::kTinyproxy, Route::kSquid),
                         NameOfRoute);

Answer GetUrl(const std::string &url) { return Finish(fnQNStack_Http_Open_Get(url.c_str())); }

TEST_P(PeersGateway, NamesItselfToTheOrigin) {
  const Answer answer = Get("/seen");

  const std::string name = GetParam() == Route::kSquid ? "big-gateway" : "small-gateway";
  EXPECT_NE(answer.body.find(" via=1.0 " + name), std::string::npos) << answer.body;
}

TEST_P(PeersGateway, AnswersForAnOriginThatRefuses) {
  const RefusingPort nobody;

  const Answer answer = GetUrl("http://127.0.0.1:" + std::to_string(nobody.port()) + "/");

  EXPECT_EQ(answer.result, 0);
  EXPECT_EQ(answer.state, QN_HTTP_COMPLETE);
  EXPECT_GE(answer.status, 500);
  EXPECT_LE(answer.status, 504);
  EXPECT_NE(answer.body, "");
}

TEST_P(PeersGateway, ServesTwoExchangesInTurns) {
  const std::string medium = Peers::Get().Url(std::string("/") + kMediumFile);
  const std::string small = Peers::Get().Url(std::string("/") + kSmallFile);
  QNHttpCtx *first = fnQNStack_Http_Open_Get(medium.c_str());
  QNHttpCtx *second = fnQNStack_Http_Open_Get(small.c_str());
  Answer of_first;
  Answer of_second;

  OutputOf([&] {
    bool more_of_first = true;
    bool more_of_second = true;
    while (more_of_first || more_of_second) {
      more_of_first = more_of_first && ReadOnce(first, of_first);
      more_of_second = more_of_second && ReadOnce(second, of_second);
    }
  });
  fnQNStack_Http_FreeCtx(first);
  fnQNStack_Http_FreeCtx(second);

  EXPECT_TRUE(of_first.body == Peers::Get().Content(kMediumFile));
  EXPECT_TRUE(of_second.body == Peers::Get().Content(kSmallFile));
}

TEST(PeersGatewayAbsence, ShowsAsAFailedSend) {
  const StackOnRoute stack(Route::kDirect);
  const RefusingPort nobody;
  fnQNStack_Http_SetProxy("127.0.0.1", nobody.port());

  const Answer answer = Get("/seen");

  EXPECT_EQ(answer.result, -1);
  EXPECT_EQ(answer.state, QN_HTTP_SEND_FAILED);
  EXPECT_EQ(answer.status, 0);
}

// The "Expect" line begins with a blank, so it continues the line before it.
// Squid joins the two; nginx and what passes the line on to it refuse it.
TEST(PeersGatewayPut, ReachesTheOriginWholeThroughSquid) {
  const StackOnRoute stack(Route::kSquid);

  const Answer put = Put("/put/message", Peers::Get().Content(kMediumFile));
  const Answer got = Get("/put/message");

  EXPECT_EQ(put.status, 201);
  EXPECT_TRUE(got.body == Peers::Get().Content(kMediumFile));
}

}  // namespace
}  // namespace qntest
