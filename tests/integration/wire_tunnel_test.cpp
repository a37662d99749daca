// SPDX-License-Identifier: MIT
// Guards a tunnel on the wire: the request to the gateway, its answer, and the
// application's own bytes in both directions.
#include <gtest/gtest.h>

#include <string>

#include "wire_exchange.h"

namespace {

using namespace qntest;

constexpr char kEstablished[] = "HTTP/1.1 200 Connection established\r\n\r\n";

class WireTunnel : public qntest::WireTest {
 protected:
  // Receives through the tunnel until so many bytes have come.
  static std::string ReceiveBytes(const Context &ctx, size_t count) {
    std::string received;
    char piece[64];
    while (received.size() < count) {
      const int32_t result = fnQNStack_Http_Socket_Recvata(ctx.get(), piece, sizeof piece);
      if (result <= 0) break;
      received.append(piece, static_cast<size_t>(result));
    }
    return received;
  }
};

TEST_F(WireTunnel, CarriesTheApplicationsBytesBothWays) {
  ScriptedServer &gateway = Serve(kGateway, kGatewayPort,
                                  {{ReadHeader(), SendBytes(kEstablished), ReadBytes(4),
                                    SendBytes("pong"), ReadBytes(3), HalfClose(), ReadToEnd()}});
  UseGateway();
  Context ctx(fnQNStack_Http_Open_Connect("bank.test", 443));
  EXPECT_EQ(RunStep(ctx).state, QN_HTTP_SENDING);

  EXPECT_EQ(ReceiveBytes(ctx, sizeof kEstablished - 1), kEstablished);
  EXPECT_EQ(fnQNStack_Http_Socket_SendData(ctx.get(), "ping", 4), 4);
  EXPECT_EQ(ReceiveBytes(ctx, 4), "pong");
  EXPECT_EQ(fnQNStack_Http_Socket_SendData(ctx.get(), "bye", 3), 3);
  EXPECT_EQ(ReceiveBytes(ctx, 1), "");

  EXPECT_EQ(ctx->state, QN_HTTP_SENDING);
  ctx.reset();
  EXPECT_EQ(gateway.Finish(), "");
  EXPECT_EQ(gateway.Received(0),
            "CONNECT bank.test:443 HTTP/1.1\r\nProxy-Connection: Keep-Alive\r\n\r\npingbye");
}

}  // namespace
