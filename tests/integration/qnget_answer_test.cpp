// SPDX-License-Identifier: MIT
// Where an answer ends for qnget: at its own end, though the server keeps the
// connection, and never beyond it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qnget_program.h"
#include "support/process.h"
#include "support/scratch_folder.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

// A server that sends this and then keeps the connection until the client closes.
ConnectionScript Keeping(const std::string &answer) {
  return {ReadHeader(), SendBytes(answer), ReadToEnd()};
}

struct Kept {
  const char *name;
  std::string answer;
  const char *body;
};

void PrintTo(const Kept &kept, std::ostream *out) { *out << kept.name; }

class QngetKeptConnection : public testing::TestWithParam<Kept> {};

TEST_P(QngetKeptConnection, IsNotWaitedFor) {
  const ScratchFolder folder;
  ScriptedServer server({Keeping(GetParam().answer)}, std::chrono::seconds(20));

  const ProcessResult result =
      RunQnget({"--timeout=15", "-o", folder.path("f"), LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(folder.read("f"), GetParam().body);
  EXPECT_EQ(server.Finish(), "");
}

const Kept kKept[] = {
    {"BehindALength", Answer("abc"), "abc"},
    {"BehindALengthOf0", Answer(""), ""},
    {"BehindTheLastChunk",
     "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n\r\n", "abc"},
    {"BehindNoContent", "HTTP/1.1 204 No Content\r\nContent-Length: 5\r\n\r\n", ""},
    {"BehindNothingModified", "HTTP/1.1 304 Not Modified\r\nContent-Length: 5\r\n\r\n", ""},
};

INSTANTIATE_TEST_SUITE_P(Qnget, QngetKeptConnection, testing::ValuesIn(kKept),
                         [](const auto &test) { return std::string(test.param.name); });

TEST(QngetKeptConnectionAfterHead, IsNotWaitedFor) {
  ScriptedServer server({Keeping("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n")},
                        std::chrono::seconds(20));

  EXPECT_EQ(RunQnget({"-X", "HEAD", "--timeout=15", LocalUrl(server.port())}).exit_code, 0);
  EXPECT_EQ(server.Finish(), "");
}

struct Excess {
  const char *name;
  std::vector<std::string> options;
  std::string answer;
  std::string output;
};

void PrintTo(const Excess &excess, std::ostream *out) { *out << excess.name; }

class QngetExcess : public testing::TestWithParam<Excess> {};

TEST_P(QngetExcess, IsLeftOutAndSaid) {
  ScriptedServer server({AnswerWith(GetParam().answer + "MORE")});
  std::vector<std::string> arguments = GetParam().options;
  arguments.push_back(LocalUrl(server.port()));

  const ProcessResult result = RunQnget(arguments);

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, GetParam().output);
  EXPECT_EQ(result.error, Message("4 bytes behind the end of the answer from server " +
                                  Loopback(server.port()) + " are left out"));
}

const std::string kChunked =
    "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n\r\n";

const Excess kExcesses[] = {
    {"BehindALength", {}, Answer("abc"), "abc"},
    {"BehindTheLastChunk", {}, kChunked, "abc"},
    {"BehindNoContent", {}, "HTTP/1.0 204 No Content\r\n\r\n", ""},
    {"BehindTheHeaderAlone", {"-X", "HEAD"}, "HTTP/1.0 200 OK\r\n\r\n", ""},
    {"BehindARawAnswer", {"--raw"}, kChunked, kChunked},
};

INSTANTIATE_TEST_SUITE_P(Qnget, QngetExcess, testing::ValuesIn(kExcesses),
                         [](const auto &test) { return std::string(test.param.name); });

TEST(QngetChunked, DeliversALargeBodyWhole) {
  const std::string piece = ScatteredBytes(70000);
  std::string answer = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
  std::string body;
  for (int i = 0; i < 10; ++i) {
    answer += "11170\r\n" + piece + "\r\n";
    body += piece;
  }
  ScriptedServer server({AnswerWith(answer + "0\r\n\r\n")});

  EXPECT_TRUE(RunQnget({LocalUrl(server.port())}).output == body);
}

TEST(QngetChunked, HasNoLengthForInfo) {
  const std::string lines = "Content-Length: 7\r\nTransfer-Encoding: chunked\r\n";
  ScriptedServer server({AnswerWith("HTTP/1.1 200 OK\r\n" + lines + "\r\n0\r\n\r\n")});

  EXPECT_THAT(RunQnget({"-i", LocalUrl(server.port())}).error,
              testing::HasSubstr("\nlength: unknown\n"));
}

TEST(QngetLength, BeyondAllNumbersIsSaidNotToBeChecked) {
  const std::string length = "99999999999999999999";
  ScriptedServer server(
      {AnswerWith("HTTP/1.0 200 OK\r\nContent-Length: " + length + "\r\n\r\nabc")});

  const ProcessResult result = RunQnget({LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "abc");
  EXPECT_EQ(result.error, Message("a length of " + length + " bytes cannot be checked"));
}

}  // namespace
}  // namespace qntest
