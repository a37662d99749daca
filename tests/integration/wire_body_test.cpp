// SPDX-License-Identifier: MIT
// Guards large bodies in both directions and exchanges that take turns.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

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

struct ReadingRow {
  const char *topic;
  size_t body;
  int32_t capacity;
};

std::ostream &operator<<(std::ostream &out, const ReadingRow &row) { return out << row.topic; }

class WireBody : public qntest::WireTest, public testing::WithParamInterface<ReadingRow> {};

TEST_P(WireBody, ArrivesWholeHoweverItIsRead) {
  const std::string body = Pattern(GetParam().body);
  const int32_t capacity = GetParam().capacity;
  ScriptedServer &server =
      Serve("mmsc.test", 80, {AnswerWith("HTTP/1.0 200 OK\r\nX: y\r\n\r\n" + body)});
  Context ctx = OpenGet("http://mmsc.test/m");
  std::string room(static_cast<size_t>(capacity), '\0');
  std::string delivered;
  uint32_t most_waiting = 0;

  const std::string trace = qntest::OutputOf([&] {
    int32_t result = -2;
    while (result != 0 && result != -1) {
      result = fnQNStack_Http_ReadRecvContext(ctx.get(), room.data(), capacity);
      if (result > 0) delivered.append(room, 0, static_cast<size_t>(result));
      most_waiting = std::max(most_waiting, ctx->recvBuf->length - ctx->recvBuf->cursor);
    }
  });

  EXPECT_TRUE(delivered == body) << delivered.size() << " bytes";
  EXPECT_EQ(ctx->state, QN_HTTP_COMPLETE);
  EXPECT_LE(most_waiting, kMark + kPiece);
  EXPECT_EQ(ctx->retValue, 200);
  ctx.reset();
  EXPECT_EQ(server.Finish(), "");
}

constexpr ReadingRow kReading[] = {
    {"LargeInLargeReads", 5000000, 65536},
    {"LargeInSmallReads", 300000, 1000},
    {"ByteByByte", 30000, 1},
    {"ExactlyTheMark", kMark, 4096},
    {"OneAboveTheMark", kMark + 1, 4096},
    {"ReadsOfTheChunkSize", 100000, 2048},
    {"Empty", 0, 100},
};

INSTANTIATE_TEST_SUITE_P(Read, WireBody, testing::ValuesIn(kReading),
                         [](const testing::TestParamInfo<ReadingRow> &row) {
                           return row.param.topic;
                         });

using WireUpload = qntest::WireTest;
using WireTurns = qntest::WireTest;

// Every call before the last sends one chunk and asks for the next call.
TEST_F(WireUpload, LargeBodyGoesOutChunkByChunk) {
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

TEST_F(WireTurns, ContextsTakeThemCallByCall) {
  ScriptedServer &one = Serve("one.test", 80, {AnswerWith("HTTP/1.0 200 OK\r\n\r\nfirst")});
  ScriptedServer &two =
      Serve("two.test", 81, {AnswerBodyWith(3000, "HTTP/1.0 201 OK\r\n\r\nsecond")});
  const Asked asked = {"POST", "http://two.test:81/2", Pattern(3000), "t/t"};
  Context first = OpenGet("http://one.test/1");
  Context second = qntest::Open(asked);
  std::string got_first;
  std::string got_second;

  EXPECT_EQ(ReadOnce(first, got_first), (CallRow{-2, 3, 0, 0, 1}));
  EXPECT_EQ(ReadOnce(second, got_second), (CallRow{-2, 3, 0, 0, 2}));
  EXPECT_EQ(ReadOnce(first, got_first, 2), (CallRow{2, 5, 1, 0, 1}));
  EXPECT_EQ(ReadOnce(second, got_second), (CallRow{-2, 3, 0, 0, 2}));
  EXPECT_EQ(ReadOnce(first, got_first, 2), (CallRow{2, 5, 1, 0, 1}));
  EXPECT_EQ(ReadOnce(second, got_second, 4), (CallRow{4, 5, 1, 0, 2}));
  EXPECT_EQ(ReadOnce(first, got_first, 2), (CallRow{1, 5, 1, 0, 1}));
  EXPECT_EQ(ReadOnce(second, got_second, 4), (CallRow{2, 5, 1, 0, 2}));

  EXPECT_EQ(got_first, "first");
  EXPECT_EQ(got_second, "second");
  first.reset();
  second.reset();
  EXPECT_EQ(one.Received(0), RequestText("GET /1", "one.test:80"));
  EXPECT_TRUE(two.Received(0) ==
              RequestText("POST /2", "two.test:81", BodyHeaders("t/t", 3000)) + asked.body);
}

TEST_F(WireTurns, StoppedContextFreesItsSlotForTheNext) {
  ScriptedServer &server = Serve(
      "mmsc.test", 80,
      {{qntest::ReadHeader(), qntest::ReadToEnd()}, AnswerWith("HTTP/1.0 200 OK\r\n\r\nabc")});
  Context stopped = OpenGet("http://mmsc.test/1");
  std::string delivered;
  ReadOnce(stopped, delivered);
  fnQNStack_Http_Stop(stopped.get());
  EXPECT_EQ(ReadOnce(stopped, delivered), (CallRow{0, 6, 0, 0, -1}));

  const Context next = OpenGet("http://mmsc.test/2");
  EXPECT_EQ(ReadOnce(next, delivered), (CallRow{-2, 3, 0, 0, 1}));
  EXPECT_EQ(ReadOnce(next, delivered), (CallRow{3, 5, 1, 0, 1}));
  EXPECT_EQ(server.Finish(), "");
}

}  // namespace
