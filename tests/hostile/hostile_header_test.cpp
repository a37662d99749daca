// SPDX-License-Identifier: MIT
// Guards headers that are meant to be dear: what they cost grows with their
// length and no faster, in calls, in memory asked for and in processor time.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <string>
#include <utility>

#include "hostile_report.h"
#include "hostile_test.h"
#include "qnstack/qn_stack_http_cookie.h"
#include "support/captured_output.h"
#include "support/cookie_jar.h"
#include "support/process_figures.h"

namespace {

using namespace qntest;
using std::chrono::nanoseconds;
using testing::SizeIs;

const std::string kStatus = "HTTP/1.0 200 OK\r\n";

// Lines with their numbers in them: `start` and 0, 1, 2 ...
std::string Lines(const std::string &start, int count) {
  std::string lines;
  for (int i = 0; i < count; ++i) lines += start + std::to_string(i) + "=v\r\n";
  return lines;
}

struct Cost {
  long allocations = 0;
  long bytes_asked = 0;
  nanoseconds time{};
};

class HostileHeader : public qntest::HostileTest {
 protected:
  // What it costs to read an answer with that header to its end; of the time
  // the least of three, so that what else goes on does not count.
  Cost CostOf(const std::string &header) {
    Cost cost{.time = nanoseconds::max()};
    for (int i = 0; i < 3; ++i) {
      Serve({AnswerWith(kStatus + header + "\r\nabc")});
      Context ctx(fnQNStack_Http_Open_Get(Url().c_str()));
      const int allocations = heap().Allocations();
      const std::size_t bytes = heap().BytesAsked();
      const nanoseconds start = qntest::ThreadTime();
      const Ending ending = ReadToEnding(ctx.get());
      cost.time = std::min(cost.time, qntest::ThreadTime() - start);
      cost.allocations = heap().Allocations() - allocations;
      cost.bytes_asked = static_cast<long>(heap().BytesAsked() - bytes);
      EXPECT_EQ(ending, (Ending{0, 5, 1, 200, "abc"}));
      fnQNStack_Http_Cookie_FreeAll();
    }
    return cost;
  }

  // Four times the lines must cost about four times as much; with costs that
  // grow by the square it would be sixteen times. Returns what they cost.
  std::string ExpectLinear(const std::string &start, int count) {
    const Cost quarter = CostOf(Lines(start, count / 4));
    const Cost whole = CostOf(Lines(start, count));
    EXPECT_LE(whole.allocations, 4 * quarter.allocations + 100);
    EXPECT_LE(whole.bytes_asked, 5 * quarter.bytes_asked + 100000);
    EXPECT_LT(whole.time, 9 * quarter.time);
    const auto in_microseconds = [](nanoseconds time) {
      return std::to_string(std::chrono::duration_cast<std::chrono::microseconds>(time).count());
    };
    return in_microseconds(quarter.time) + " us for a quarter, " + in_microseconds(whole.time) +
           " us for all, " + std::to_string(whole.allocations) + " allocations";
  }
};

INSTANTIATE_TEST_SUITE_P(, HostileHeader, qntest::kRoutes, qntest::RouteName);

TEST_P(HostileHeader, CostsInProportionToItsLines) {
  const std::pair<const char *, int> lines[] = {{"X-Line-", Amount(100000, 10000)},
                                                {"Set-Cookie: c", Amount(10000, 4000)},
                                                {"HTTP/1.0 200 ", Amount(100000, 10000)},
                                                {"Location: http://h/", Amount(100000, 10000)}};
  std::string costs;
  for (const auto &[start, count] : lines) {
    SCOPED_TRACE(start);
    costs += std::string(costs.empty() ? "" : "; ") + start + ": " + ExpectLinear(start, count);
  }
  Measured(costs);
}

TEST_P(HostileHeader, OfTenThousandCookiesTheNewestFiftyStay) {
  Serve({AnswerWith(kStatus + Lines("Set-Cookie: c", 10000) + "\r\n")});
  const Context ctx(fnQNStack_Http_Open_Get(Url().c_str()));

  EXPECT_EQ(ReadToEnding(ctx.get()), (Ending{0, 5, 1, 200, ""}));

  const auto cookies = CookiesInJar();
  ASSERT_THAT(cookies, SizeIs(50));
  EXPECT_EQ(cookies.front().name, "c9999");
  EXPECT_EQ(cookies.back().name, "c9950");
}

// The line never gets complete: receiving pauses at its bound, and after 3001
// calls without progress the client gives up.
void ExpectStall(qntest::Context &ctx) {
  const DiscardedOutput no_trace;
  char room[64];
  int calls = 1;
  while (fnQNStack_Http_ReadRecvContext(ctx.get(), room, sizeof room) == -2) ++calls;
  EXPECT_EQ(calls, 1 + 3001 + 1);
  EXPECT_EQ(ctx->state, QN_HTTP_GIVEN_UP);
  EXPECT_EQ(ctx->headParsed, 0);
  EXPECT_LE(ctx->recvBuf->capacity, 20480U + 2 * 2048U);
}

TEST_P(HostileHeader, MegabyteWithoutALineEndStallsAndIsGivenUp) {
  Serve({{ReadHeader(), SendBytes(std::string(1 << 20, 'h')), HalfClose(), ReadToEnd()}});
  Context ctx(fnQNStack_Http_Open_Get(Url().c_str()));
  const nanoseconds start = qntest::ThreadTime();

  ExpectStall(ctx);

  const auto time =
      std::chrono::duration_cast<std::chrono::milliseconds>(qntest::ThreadTime() - start);
  Measured("given up after 3003 calls and " + std::to_string(time.count()) +
           " ms of processor time");
}

TEST_P(HostileHeader, MegabyteLineBehindOthersStallsAndKeepsWhatCameBefore) {
  Serve({{ReadHeader(), SendBytes(kStatus + "Content-Length: 5\r\nX: " + std::string(1 << 20, 'h')),
          HalfClose(), ReadToEnd()}});
  Context ctx(fnQNStack_Http_Open_Get(Url().c_str()));

  ExpectStall(ctx);

  EXPECT_EQ(ctx->retValue, 200);
  EXPECT_EQ(ctx->retCtxLen, 5);
}

// Nothing is delivered, so only the count of what came shows how much that is.
TEST_P(HostileHeader, WithoutAnEndGivesNothingAndShowsInTheTotal) {
  constexpr uint32_t kEnough = 1 << 20;
  Serve({{ReadHeader(), SendBytes(kStatus), SendUntilGone(Lines("X-Line-", 1000))}});
  const Context ctx(fnQNStack_Http_Open_Get(Url().c_str()));
  {
    const DiscardedOutput no_trace;
    char room[64];
    while (ctx->recvBuf->total < kEnough) {
      ASSERT_EQ(fnQNStack_Http_ReadRecvContext(ctx.get(), room, sizeof room), -2);
    }
  }
  EXPECT_EQ(ctx->headParsed, 0);
  EXPECT_LE(ctx->recvBuf->capacity, 20480U + 2 * 2048U);

  fnQNStack_Http_Stop(ctx.get());

  EXPECT_EQ(server().Finish(), "");
}

TEST_P(HostileHeader, LineBelowTheBoundIsTaken) {
  const std::string value(20000, 'v');
  Serve({AnswerWith(kStatus + "Content-Type: " + value + "\r\n\r\nabc")});
  const Context ctx(fnQNStack_Http_Open_Get(Url().c_str()));

  EXPECT_EQ(ReadToEnding(ctx.get()), (Ending{0, 5, 1, 200, "abc"}));

  EXPECT_EQ(ctx->retCtxType, value);
}

}  // namespace
