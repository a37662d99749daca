// SPDX-License-Identifier: MIT
// Guards tunnels through gateways that refuse, dawdle, talk too much or vanish.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "hostile_test.h"
#include "support/captured_output.h"
#include "support/read_calls.h"

namespace {

using namespace qntest;

constexpr char kEstablished[] = "HTTP/1.1 200 Connection established\r\n\r\n";

class HostileGateway : public qntest::WatchedHostileTest {
 protected:
  // A tunnel whose request has been sent.
  Context OpenTunnel(std::vector<ConnectionScript> scripts) {
    Serve(std::move(scripts));
    Context ctx(fnQNStack_Http_Open_Connect("bank.test", 443));
    EXPECT_EQ(RunStep(ctx).state, QN_HTTP_SENDING);
    return ctx;
  }

  // Receives through the tunnel until its end; -1 or 0.
  static int32_t ReceiveToEnd(const Context &ctx, std::string &received) {
    char room[4096];
    for (;;) {
      const int32_t count = fnQNStack_Http_Socket_Recvata(ctx.get(), room, sizeof room);
      if (count <= 0) return count;
      received.append(room, static_cast<std::size_t>(count));
    }
  }
};

INSTANTIATE_TEST_SUITE_P(, HostileGateway, testing::Values(Route::kProxy), qntest::RouteName);

TEST_P(HostileGateway, AnswerByteByByteOpensTheTunnel) {
  Context ctx = OpenTunnel({ByteByByte(kEstablished, "pong")});

  std::string delivered;
  for (std::size_t i = 0; i < sizeof kEstablished - 1; ++i) {
    ASSERT_EQ(ReadOnce(ctx, delivered), (CallRow{-2, 4, 1, 0, 1})) << i;
    ASSERT_EQ(ctx->headParsed, i + 2 == sizeof kEstablished ? 1 : 0);
  }
  EXPECT_EQ(ctx->retValue, 200);
  EXPECT_EQ(ReceiveToEnd(ctx, delivered), 0);
  EXPECT_EQ(delivered, "pong");
  ctx.reset();
  EXPECT_EQ(server().Finish(), "");
}

TEST_P(HostileGateway, RefusalShowsInItsStatusAndItsBody) {
  for (const int status : {400, 403, 407, 500, 502, 503}) {
    const std::string answer = "HTTP/1.1 " + std::to_string(status) +
                               " No\r\nProxy-Authenticate: Basic\r\n\r\nyou may not";
    const Context ctx = OpenTunnel({{ReadHeader(), SendBytes(answer), HalfClose(), ReadToEnd()}});
    std::string delivered;
    EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{11, 4, 1, 0, 1}));
    EXPECT_EQ(ctx->retValue, status);
    EXPECT_EQ(delivered, "you may not");
    EXPECT_EQ(ReceiveToEnd(ctx, delivered), 0);
  }
}

// What stands right behind the header is the tunnel's, in order and whole.
TEST_P(HostileGateway, DataRightBehindTheHeaderIsDelivered) {
  std::string data;
  for (int i = 0; data.size() < 30000; ++i) data += std::to_string(i) + ' ';
  const Context ctx = OpenTunnel({{ReadHeader(), SendBytes(kEstablished + data), ReadToEnd()}});

  std::string delivered;
  while (delivered.size() < data.size()) {
    const CallRow row = ReadOnce(ctx, delivered, 1000);
    ASSERT_EQ(row.state, QN_HTTP_RECEIVING);
    ASSERT_GT(row.result, 0);
    // The tunnel waits for data once all is in; the rest stands in the buffer.
    if (ctx->recvBuf->total == data.size() + sizeof kEstablished - 1) break;
  }
  delivered += qntest::UnreadOf(ctx->recvBuf);
  EXPECT_EQ(delivered, data);
}

TEST_P(HostileGateway, WhateverItSendsComesThroughUpToTheEnd) {
  const std::string garbage("\0\r\n\xff garbage \r\n\r\n\0", 18);
  const std::tuple<ConnectionScript, int32_t, std::string> gateways[] = {
      {{ReadHeader(), Close()}, 0, ""},
      {{ReadHeader(), SendBytes("HTTP/1.1 20"), AwaitSignal(), Reset()}, -1, "HTTP/1.1 20"},
      {{ReadHeader(), SendBytes(garbage), HalfClose(), ReadToEnd()}, 0, garbage}};
  for (const auto &[script, end, sent] : gateways) {
    const Context ctx = OpenTunnel({script});
    std::string received;
    EXPECT_EQ(ReceiveToEnd(ctx, received), end);
    EXPECT_EQ(received, sent);
  }
}

TEST_P(HostileGateway, HeaderWithoutAnEndIsGivenUp) {
  const Context ctx =
      OpenTunnel({{ReadHeader(), SendBytes(std::string(1 << 20, 'h')), ReadToEnd()}});
  const qntest::DiscardedOutput no_trace;
  char room[64];
  int calls = 0;
  while (fnQNStack_Http_ReadRecvContext(ctx.get(), room, sizeof room) == -2 && calls < 10000) {
    ++calls;
  }
  EXPECT_EQ(ctx->state, QN_HTTP_GIVEN_UP);
  EXPECT_LT(calls, 10 + 3001 + 20480);  // pieces may be small, but not smaller than a byte
  EXPECT_LE(ctx->recvBuf->capacity, 20480U + 2 * 2048U);
}

}  // namespace
