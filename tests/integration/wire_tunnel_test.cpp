// SPDX-License-Identifier: MIT
// Guards tunnels on the wire: the request to the gateway, its answer, and the
// application's own bytes in both directions.
#include <gtest/gtest.h>

#include <string>

#include "wire_exchange.h"

namespace {

using namespace qntest;

constexpr char kRequest[] =
    "CONNECT bank.test:443 HTTP/1.1\r\nProxy-Connection: Keep-Alive\r\n\r\n";
constexpr char kEstablished[] = "HTTP/1.1 200 Connection established\r\n\r\n";

class WireTunnel : public qntest::WireTest {
 protected:
  WireTunnel() { UseGateway(); }

  static Context OpenTunnel() { return Context(fnQNStack_Http_Open_Connect("bank.test", 443)); }

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
  Context ctx = OpenTunnel();
  EXPECT_EQ(RunStep(ctx), (Outcome{-2, 3, 0, 1,
                                   "create socket 1host:bank.test,443"
                                   "connet socket:1 result:1"
                                   "method  = CONNECThostname  = bank.testpath  = (null)"}));

  EXPECT_EQ(ReceiveBytes(ctx, sizeof kEstablished - 1), kEstablished);
  EXPECT_EQ(fnQNStack_Http_Socket_SendData(ctx.get(), "ping", 4), 4);
  EXPECT_EQ(ReceiveBytes(ctx, 4), "pong");
  EXPECT_EQ(fnQNStack_Http_Socket_SendData(ctx.get(), "bye", 3), 3);
  char byte = 0;
  EXPECT_EQ(fnQNStack_Http_Socket_Recvata(ctx.get(), &byte, 1), 0);

  EXPECT_EQ(ctx->state, QN_HTTP_SENDING);
  ctx.reset();
  EXPECT_EQ(gateway.Finish(), "");
  EXPECT_EQ(gateway.Received(0), std::string(kRequest) + "pingbye");
}

TEST_F(WireTunnel, AnswerCanBeReadAsBody) {
  Serve(kGateway, kGatewayPort,
        {{ReadHeader(), SendBytes(std::string(kEstablished) + "hi"), AwaitSignal(),
          SendBytes("more"), ReadToEnd()}});
  const Context ctx = OpenTunnel();
  std::string delivered;
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{-2, 3, 0, 0, 1}));
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{2, 4, 1, 0, 1}));
  EXPECT_EQ(ctx->retValue, 200);
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{4, 4, 1, 0, 1}));
  EXPECT_EQ(delivered, "himore");
}

TEST_F(WireTunnel, ResetShowsInThePassThroughs) {
  ScriptedServer &gateway = Serve(kGateway, kGatewayPort, {{ReadHeader(), Reset()}});
  const Context ctx = OpenTunnel();
  RunStep(ctx);
  EXPECT_EQ(gateway.Finish(), "");
  char byte = 0;
  EXPECT_EQ(fnQNStack_Http_Socket_Recvata(ctx.get(), &byte, 1), -1);
  EXPECT_EQ(fnQNStack_Http_Socket_SendData(ctx.get(), "x", 1), -1);
  EXPECT_EQ(fnQNStack_Http_Socket_SendData(ctx.get(), "x", 1), -1);
}

}  // namespace
