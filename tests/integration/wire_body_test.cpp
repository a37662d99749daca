// SPDX-License-Identifier: MIT
// Guards large bodies in both directions.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>

#include "support/captured_output.h"
#include "wire_exchange.h"

namespace {

using namespace qntest;

constexpr uint32_t kMark = 20480;
constexpr uint32_t kPiece = 2048;

// Bytes that show where they belong.
std::string Pattern(size_t length) {
  std::string bytes(length, '\0');
  uint32_t value = 1;
  for (char &byte : bytes) {
    value = value * 1664525 + 1013904223;
    byte = static_cast<char>(value >> 24);
  }
  return bytes;
}

using WireBody = qntest::WireTest;

TEST_F(WireBody, ArrivesWholeHoweverItIsRead) {
  struct Case {
    const char *what;
    size_t body;
    int32_t capacity;
  };
  constexpr Case kCases[] = {
      {"large, in large reads", 5000000, 65536},
      {"large, in small reads", 300000, 1000},
      {"byte by byte", 30000, 1},
      {"as long as the mark", kMark, 4096},
      {"one byte longer", kMark + 1, 4096},
      {"in reads of the chunk size", 100000, 2048},
      {"empty", 0, 100},
  };
  for (const Case &c : kCases) {
    SCOPED_TRACE(c.what);
    const std::string body = Pattern(c.body);
    Serve("mmsc.test", 80, {AnswerWith("HTTP/1.0 200 OK\r\nX: y\r\n\r\n" + body)});
    const Context ctx = OpenGet("http://mmsc.test/m");
    std::string room(static_cast<size_t>(c.capacity), '\0');
    std::string delivered;
    uint32_t most_waiting = 0;

    OutputOf([&] {
      int32_t result = -2;
      while (result != 0 && result != -1) {
        result = fnQNStack_Http_ReadRecvContext(ctx.get(), room.data(), c.capacity);
        if (result > 0) delivered.append(room, 0, static_cast<size_t>(result));
        most_waiting = std::max(most_waiting, ctx->recvBuf->length - ctx->recvBuf->cursor);
      }
    });

    EXPECT_TRUE(delivered == body) << delivered.size() << " bytes";
    EXPECT_EQ(ctx->state, QN_HTTP_COMPLETE);
    EXPECT_LE(most_waiting, kMark + kPiece);
  }
}

// Every call before the last sends one chunk and asks for the next call.
TEST_F(WireBody, GoesOutChunkByChunk) {
  const Asked asked = {"POST", "http://mmsc.test/m", Pattern(300000), "t/t"};
  const std::string request =
      RequestText("POST /m", "mmsc.test:80", BodyHeaders("t/t", 300000)) + asked.body;
  ScriptedServer &server =
      Serve("mmsc.test", 80, {AnswerBodyWith(300000, "HTTP/1.0 200 OK\r\n\r\nabc")});
  Context ctx = qntest::Open(asked);
  std::string delivered;

  const size_t chunks = (request.size() + kPiece - 1) / kPiece;
  for (size_t i = 0; i < chunks; ++i) {
    ASSERT_EQ(ReadOnce(ctx, delivered), (CallRow{-2, 3, 0, 0, 1})) << "chunk " << i;
  }
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{3, 5, 1, 0, 1}));

  EXPECT_EQ(network_.Count("send"), chunks);
  EXPECT_EQ(delivered, "abc");
  ctx.reset();
  EXPECT_TRUE(server.Received(0) == request);
}

}  // namespace
