// SPDX-License-Identifier: MIT
// Tunnels through real gateways: the gateway's answer and then bytes in both
// directions are exchanged with the pass-throughs, up to the end.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "integration/peers_exchange.h"
#include "integration/peers_servers.h"
#include "qnstack/qn_stack_http.h"
#include "support/captured_output.h"
#include "support/loopback.h"

namespace qntest {
namespace {

// A tunnel whose request has been sent.
class Tunnel {
 public:
  explicit Tunnel(int port) : ctx_(fnQNStack_Http_Open_Connect("127.0.0.1", port)) {
    OutputOf([this] {
      do {
        run_result_ = fnQNStack_Http_Run(ctx_);
      } while (run_result_ == -2 && !RequestIsSent());
    });
  }
  ~Tunnel() { fnQNStack_Http_FreeCtx(ctx_); }
  Tunnel(const Tunnel &) = delete;
  Tunnel &operator=(const Tunnel &) = delete;

  int32_t run_result() const { return run_result_; }
  int32_t state() const { return fnQNStack_Http_getState(ctx_); }

  // Sends all of `bytes`; false when the tunnel refuses them.
  bool Send(std::string_view bytes) {
    while (!bytes.empty()) {
      const int32_t sent =
          fnQNStack_Http_Socket_SendData(ctx_, bytes.data(), static_cast<int32_t>(bytes.size()));
      if (sent <= 0) return false;
      bytes.remove_prefix(static_cast<size_t>(sent));
    }
    return true;
  }

  // Receives a header up to and with its empty line, and nothing behind it.
  std::string ReceiveHeader() {
    std::string header;
    while (!header.ends_with("\r\n\r\n") && ReceiveInto(header, 1) > 0) {
    }
    return header;
  }

  // Receives `count` bytes, or fewer at the end.
  std::string Receive(size_t count) {
    std::string bytes;
    while (bytes.size() < count && ReceiveInto(bytes, count - bytes.size()) > 0) {
    }
    return bytes;
  }

  // Receives to the end; `last_result` says what kind of end that was.
  std::string ReceiveAll() {
    std::string bytes;
    while (ReceiveInto(bytes, kPiece) > 0) {
    }
    return bytes;
  }

  int32_t last_result() const { return last_result_; }

 private:
  static constexpr size_t kPiece = 16384;

  bool RequestIsSent() const {
    return ctx_->state == QN_HTTP_SENDING && ctx_->sendBuf->cursor == ctx_->sendBuf->length;
  }

  int32_t ReceiveInto(std::string &bytes, size_t most) {
    char piece[kPiece];
    last_result_ = fnQNStack_Http_Socket_Recvata(
        ctx_, piece, static_cast<int32_t>(std::min(most, sizeof(piece))));
    if (last_result_ > 0) bytes.append(piece, static_cast<size_t>(last_result_));
    return last_result_;
  }

  QNHttpCtx *ctx_;
  int32_t run_result_ = 0;
  int32_t last_result_ = 0;
};

class PeersTunnel : public ::testing::TestWithParam<Route> {
 protected:
  StackOnRoute stack_{GetParam()};
  Tunnel tunnel_{Peers::Get().origin_port()};
};

INSTANTIATE_TEST_SUITE_P(Route, PeersTunnel, ::testing::Values(Route::kTinyproxy, Route::kSquid),
                         NameOfRoute);

// The status of an answer's header; 0 if it has none.
int StatusOf(const std::string &header) {
  return header.starts_with("HTTP/1.") ? std::atoi(header.c_str() + sizeof("HTTP/1.1")) : 0;
}

std::string RequestFor(const std::string &file, const std::string &version) {
  return "GET /" + file + " HTTP/" + version + "\r\nHost: origin.example\r\n\r\n";
}

TEST_P(PeersTunnel, BringsALargeBodyAndThenTheEnd) {
  EXPECT_EQ(tunnel_.run_result(), -2);
  EXPECT_EQ(tunnel_.state(), QN_HTTP_SENDING);
  EXPECT_EQ(StatusOf(tunnel_.ReceiveHeader()), 200);

  ASSERT_TRUE(tunnel_.Send(RequestFor(kLargeFile, "1.0")));
  const std::string header = tunnel_.ReceiveHeader();
  const std::string body = tunnel_.ReceiveAll();

  EXPECT_EQ(StatusOf(header), 200);
  EXPECT_TRUE(body == Peers::Get().Content(kLargeFile));
  EXPECT_EQ(tunnel_.last_result(), 0);
}

TEST_P(PeersTunnel, TakesALargeBody) {
  const std::string &content = Peers::Get().Content(kLargeFile);
  tunnel_.ReceiveHeader();

  ASSERT_TRUE(tunnel_.Send("PUT /put/tunnel HTTP/1.0\r\nContent-Length: " +
                           std::to_string(content.size()) + "\r\n\r\n"));
  ASSERT_TRUE(tunnel_.Send(content));
  const int status = StatusOf(tunnel_.ReceiveHeader());

  EXPECT_TRUE(status == 201 || status == 204) << status;
  Tunnel check(Peers::Get().origin_port());
  check.ReceiveHeader();
  ASSERT_TRUE(check.Send("GET /put/tunnel HTTP/1.0\r\n\r\n"));
  check.ReceiveHeader();
  EXPECT_TRUE(check.ReceiveAll() == content);
}

TEST_P(PeersTunnel, CarriesOneExchangeAfterTheOther) {
  tunnel_.ReceiveHeader();

  for (const char *file : {kSmallFile, kMediumFile, kSmallFile}) {
    const std::string &content = Peers::Get().Content(file);
    ASSERT_TRUE(tunnel_.Send(RequestFor(file, "1.1")));
    EXPECT_EQ(StatusOf(tunnel_.ReceiveHeader()), 200);
    EXPECT_TRUE(tunnel_.Receive(content.size()) == content);
  }
}

TEST_P(PeersTunnel, ToAPortThatRefusesIsAnsweredAndEnded) {
  const RefusingPort nobody;
  Tunnel tunnel(nobody.port());

  const int status = StatusOf(tunnel.ReceiveHeader());
  tunnel.ReceiveAll();

  EXPECT_GE(status, 500);
  EXPECT_LE(status, 504);
  EXPECT_EQ(tunnel.last_result(), 0);
}

}  // namespace
}  // namespace qntest
