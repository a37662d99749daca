// SPDX-License-Identifier: MIT
// Guards answers that come byte by byte: what the client makes of them does not
// depend on how the network cut them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "hostile_test.h"

namespace {

using namespace qntest;

constexpr char kAnswer[] =
    "HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\nContent-Length: 26\r\n"
    "Set-Cookie: sid=42; Path=/m\r\n\r\nabcdefghijklmnopqrstuvwxyz";

class HostilePieces : public qntest::WatchedHostileTest {
 protected:
  // The received pieces that were one byte long.
  std::size_t SingleBytes() const {
    std::size_t count = 0;
    for (const auto &call : network_.CallsOf("recv")) count += call.result == 1 ? 1 : 0;
    return count;
  }
};

INSTANTIATE_TEST_SUITE_P(, HostilePieces, qntest::kRoutes, qntest::RouteName);

TEST_P(HostilePieces, AnswerByteByByteIsTheSameAnswer) {
  Serve({ByteByByte(kAnswer)});
  const Context ctx(fnQNStack_Http_Open_Get(Url().c_str()));

  EXPECT_EQ(ReadToEnding(ctx.get()), (Ending{0, 5, 1, 200, "abcdefghijklmnopqrstuvwxyz"}));

  EXPECT_EQ(SingleBytes(), sizeof kAnswer - 1);
  EXPECT_STREQ(ctx->retCtxType, "text/plain");
  EXPECT_EQ(ctx->retCtxLen, 26);
  EXPECT_EQ(server().Finish(), "");
}

TEST_P(HostilePieces, RawAnswerByteByByteIsDeliveredWhole) {
  Serve({ByteByByte(kAnswer)});
  const Context ctx(fnQNStack_Http_Open_Get(Url().c_str()));

  EXPECT_EQ(ReadToEnding(ctx.get(), fnQNStack_Http_ReadRecvData), (Ending{0, 5, 1, 0, kAnswer}));

  EXPECT_EQ(SingleBytes(), sizeof kAnswer - 1);
}

TEST_P(HostilePieces, RedirectByteByByteIsFollowed) {
  Serve({ByteByByte("HTTP/1.0 302 Found\r\nX: y\r\n\r\nelsewhere"), ByteByByte(kAnswer)});
  const Context ctx(fnQNStack_Http_Open_Post(Url().c_str(), "body", 4, nullptr));

  EXPECT_EQ(ReadToEnding(ctx.get()), (Ending{0, 5, 1, 200, "abcdefghijklmnopqrstuvwxyz"}));

  EXPECT_EQ(ctx->redirectCount, 1);
}

}  // namespace
