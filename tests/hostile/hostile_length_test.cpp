// SPDX-License-Identifier: MIT
// Guards the memory of answers that are long or never end: what waits to be
// read is bounded, whatever the server sends.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "hostile_report.h"
#include "hostile_test.h"
#include "support/captured_output.h"
#include "support/process_figures.h"

namespace {

using namespace qntest;

constexpr std::size_t kBlock = 65536;
constexpr std::int32_t kRoom = 4096;
constexpr long kMostKilobytes = 1024;
// Receiving pauses above 20480 unread bytes, and comes in pieces of 2048.
constexpr std::uint32_t kMostBuffered = 20480 + 2 * 2048;

// A block in which each byte tells its place, but for whole turns of 251.
std::string Numbered(std::size_t size) {
  std::string block(size, '\0');
  for (std::size_t i = 0; i < size; ++i) block[i] = static_cast<char>(i % 251);
  return block;
}

class HostileLength : public qntest::HostileTest {};

INSTANTIATE_TEST_SUITE_P(, HostileLength, qntest::kRoutes, qntest::RouteName);

TEST_P(HostileLength, GigabyteIsReadInLessThanAMegabyte) {
  const auto times = static_cast<std::size_t>(Amount(1 << 30, 1 << 26)) / kBlock;
  const std::string block = Numbered(kBlock);
  Serve(
      {{ReadHeader(), SendBytes(kOk), SendTimes(block, times), qntest::HalfClose(), ReadToEnd()}});
  const Context ctx(fnQNStack_Http_Open_Get(Url().c_str()));
  qntest::ForgetPeak();
  const long before = qntest::ResidentKilobytes();
  std::size_t delivered = 0;
  std::size_t wrong = 0;

  const Passage passage = PassToEnding(ctx.get(), kRoom, [&](const char *bytes, int32_t count) {
    const auto size = static_cast<std::size_t>(count);
    const std::size_t place = delivered % kBlock;
    const std::size_t straight = std::min(size, kBlock - place);
    wrong += block.compare(place, straight, bytes, straight) == 0 ? 0 : 1;
    wrong += block.compare(0, size - straight, bytes + straight, size - straight) == 0 ? 0 : 1;
    delivered += size;
  });

  const long peak = qntest::PeakResidentKilobytes() - before;
  EXPECT_EQ(passage.result, 0);
  EXPECT_EQ(delivered, times * kBlock);
  EXPECT_EQ(wrong, 0U);
  EXPECT_LE(ctx->recvBuf->capacity, kMostBuffered);
  EXPECT_LT(peak, kMostKilobytes);
  Measured(std::to_string(delivered) + " bytes in " + std::to_string(passage.calls) +
           " calls; while reading peak +" + std::to_string(peak) + " KiB");
}

TEST_P(HostileLength, EndlessAnswerEndsWithItsContext) {
  constexpr std::size_t kEnough = 10 << 20;
  Serve({{ReadHeader(), SendBytes(kOk), SendUntilGone(std::string(kBlock, 'x'))}});
  Context ctx(fnQNStack_Http_Open_Get(Url().c_str()));
  std::size_t delivered = 0;
  {
    const DiscardedOutput no_trace;
    char room[kRoom];
    while (delivered < kEnough) {
      const int32_t count = fnQNStack_Http_ReadRecvContext(ctx.get(), room, kRoom);
      ASSERT_TRUE(count > 0 || count == -2) << count;
      if (count > 0) delivered += static_cast<std::size_t>(count);
    }
  }
  EXPECT_LE(ctx->recvBuf->capacity, kMostBuffered);

  ctx.reset();

  EXPECT_EQ(server().Finish(), "");  // it has seen the client go
  Measured("let go after " + std::to_string(delivered) + " bytes");
}

TEST_P(HostileLength, EndlessAnswerEndsWithAStop) {
  Serve({{ReadHeader(), SendBytes(kOk), SendUntilGone(std::string(kBlock, 'x'))}});
  const Context ctx(fnQNStack_Http_Open_Get(Url().c_str()));
  const DiscardedOutput no_trace;
  char room[kRoom];
  int32_t count = -2;
  while (count == -2) count = fnQNStack_Http_ReadRecvContext(ctx.get(), room, kRoom);
  ASSERT_EQ(count, kRoom);

  fnQNStack_Http_Stop(ctx.get());

  EXPECT_EQ(server().Finish(), "");
  std::size_t rest = 0;
  while ((count = fnQNStack_Http_ReadRecvContext(ctx.get(), room, kRoom)) > 0) {
    rest += static_cast<std::size_t>(count);
  }
  EXPECT_EQ(count, 0);
  EXPECT_LE(rest, kMostBuffered);
  EXPECT_EQ(ctx->state, QN_HTTP_STOPPED);
}

// Nobody takes the body out: the client stops receiving and then gives up.
TEST_P(HostileLength, EndlessAnswerThatNobodyReadsIsGivenUp) {
  Serve({{ReadHeader(), SendBytes(kOk), SendUntilGone(std::string(kBlock, 'x'))}});
  Context ctx(fnQNStack_Http_Open_Get(Url().c_str()));
  int calls = 0;
  {
    const DiscardedOutput no_trace;
    while (fnQNStack_Http_Run(ctx.get()) == -2) ++calls;
  }

  EXPECT_EQ(calls, 1 + 3001);
  EXPECT_EQ(ctx->state, QN_HTTP_GIVEN_UP);
  EXPECT_LE(ctx->recvBuf->capacity, kMostBuffered);
  ctx.reset();
  EXPECT_EQ(server().Finish(), "");
}

}  // namespace
