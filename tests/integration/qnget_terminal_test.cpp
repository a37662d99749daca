// SPDX-License-Identifier: MIT
// qnget on a terminal: its progress line, where the terminal does not show the
// body, and what becomes of a body that it shows.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "progress.h"
#include "qnget_program.h"
#include "support/process.h"
#include "support/scratch_folder.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

struct Line {
  int64_t count;
  int64_t expected;
  double seconds;
  const char *text;
};

TEST(QngetProgressText, TellsBytesPercentAndRate) {
  const Line lines[] = {
      {0, -1, 1, "0 B, 0 B/s"},
      {0, 0, 1, "0 B, 0 B/s"},
      {999, -1, 1, "999 B, 999 B/s"},
      {1000, -1, 2, "1.0 kB, 500 B/s"},
      {999949, -1, 1, "999.9 kB, 999.9 kB/s"},
      {999950, -1, 1, "1.0 MB, 1.0 MB/s"},
      {2500000000, -1, 10, "2.5 GB, 250.0 MB/s"},
      {1000, 3000, 1, "1.0 kB of 3.0 kB, 33 %, 1.0 kB/s"},
      {2999, 3000, 1, "3.0 kB of 3.0 kB, 99 %, 3.0 kB/s"},
      {3000, 3000, 1, "3.0 kB of 3.0 kB, 100 %, 3.0 kB/s"},
      {4000, 3000, 1, "4.0 kB of 3.0 kB, 100 %, 4.0 kB/s"},
      {5, -1, 0, "5 B, 5.0 kB/s"},
  };
  for (const Line &line : lines) {
    EXPECT_EQ(qnget::ProgressText(line.count, line.expected, line.seconds), line.text);
  }
}

class QngetProgress : public testing::Test {
 protected:
  std::string url() const { return LocalUrl(server_.port()); }

  const ScratchFolder folder_;
  const std::string file_ = folder_.path("f");
  ScriptedServer server_{{AnswerWith(Answer(std::string(300000, 'x')))}};
};

TEST_F(QngetProgress, IsShownOnATerminalWhileTheBodyGoesToAFile) {
  const ProcessResult result =
      RunQnget({"-o", file_, url()}, {.output = Sink::kTerminal, .error = Sink::kTerminal});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_THAT(result.output, StartsWith("\r"));
  EXPECT_THAT(result.output, HasSubstr("\r300.0 kB of 300.0 kB, 100 %, "));
  EXPECT_THAT(result.output, EndsWith("/s\n"));
}

TEST_F(QngetProgress, IsShownOnATerminalWhileTheBodyGoesToAPipe) {
  const ProcessResult result = RunQnget({url()}, {.error = Sink::kTerminal});

  EXPECT_EQ(result.output.size(), 300000u);
  EXPECT_THAT(result.error, HasSubstr("\r300.0 kB of 300.0 kB, 100 %, "));
}

TEST_F(QngetProgress, TellsNoPercentOfAnUnknownLength) {
  ScriptedServer server({AnswerWith("HTTP/1.0 200 OK\r\n\r\nabc")});

  const ProcessResult result = RunQnget({LocalUrl(server.port())}, {.error = Sink::kTerminal});

  EXPECT_THAT(result.error, StartsWith("\r3 B, "));
  EXPECT_THAT(result.error, Not(HasSubstr("%")));
}

TEST_F(QngetProgress, IsNotShownOnTheTerminalOfTheBody) {
  ScriptedServer server({AnswerWith(Answer("abc"))});

  const ProcessResult result =
      RunQnget({LocalUrl(server.port())}, {.output = Sink::kTerminal, .error = Sink::kTerminal});

  EXPECT_EQ(result.output, "abc");
}

TEST_F(QngetProgress, IsNotShownInAPipe) {
  const ProcessResult result = RunQnget({"-o", file_, url()}, {.output = Sink::kTerminal});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output + result.error, "");
}

TEST_F(QngetProgress, IsNotShownWhereSilenceIsWanted) {
  const ProcessResult result = RunQnget({"-s", url()}, {.error = Sink::kTerminal});

  EXPECT_EQ(result.output.size(), 300000u);
  EXPECT_EQ(result.error, "");
}

TEST_F(QngetProgress, IsNotShownWithoutABody) {
  ScriptedServer server({AnswerWith(Answer(""))});

  EXPECT_EQ(RunQnget({LocalUrl(server.port())}, {.error = Sink::kTerminal}).error, "");
}

TEST_F(QngetProgress, LeavesALineOfItsOwnToAMessage) {
  const std::string half = "HTTP/1.0 200 OK\r\nContent-Length: 60000\r\n\r\n";
  ScriptedServer server({AnswerWith(half + std::string(30000, 'x'))});

  const ProcessResult result = RunQnget({LocalUrl(server.port())}, {.error = Sink::kTerminal});

  EXPECT_EQ(result.exit_code, 4);
  EXPECT_THAT(result.error, HasSubstr(", 50 %, "));
  // A line that is shorter than the one before it is padded.
  EXPECT_THAT(result.error, testing::ContainsRegex("/s *\nqnget: the answer from server "));
}

TEST_F(QngetProgress, EndsItsLineWhenTheTransferBreaksOff) {
  const std::string half = "HTTP/1.0 200 OK\r\nContent-Length: 60000\r\n\r\n";
  ScriptedServer server({{ReadHeader(), SendBytes(half + std::string(30000, 'x')), AwaitSignal()}});

  const ProcessResult result =
      RunQnget({"--timeout=0.5", LocalUrl(server.port())}, {.error = Sink::kTerminal});

  EXPECT_THAT(result.error, testing::MatchesRegex("\r.* %, .*/s *\nqnget: timed out .*\n"));
}

TEST(QngetSilence, HoldsNoErrorsBack) {
  const RefusingPort port;

  EXPECT_THAT(RunQnget({"--silent", LocalUrl(port.port())}).error, StartsWith("qnget: "));
}

class QngetUpload : public testing::Test {
 protected:
  const std::string body_ = std::string(300000, 'x');
  ScriptedServer server_{{AnswerBodyWith(body_.size(), Answer("taken"))}};
  const std::string url_ = LocalUrl(server_.port());
};

TEST_F(QngetUpload, HasALineOfItsOwnBeforeThatOfTheAnswer) {
  const ProcessResult result =
      RunQnget({"--data", "-", url_}, {.input = body_, .error = Sink::kTerminal});

  EXPECT_THAT(result.error, StartsWith("\rsent "));
  EXPECT_THAT(result.error, testing::ContainsRegex(
                                "\rsent 300.0 kB of 300.0 kB, 100 %, [^/]*/s *\n\r5 B of 5 B"));
}

TEST_F(QngetUpload, IsOverBeforeAnythingIsSaidOfTheAnswer) {
  const ProcessResult result =
      RunQnget({"--data", "-", "-i", url_}, {.input = body_, .error = Sink::kTerminal});

  EXPECT_THAT(result.error, HasSubstr("\nstatus: 200\n"));
}

TEST_F(QngetUpload, IsShownOfARawExchangeToo) {
  const ProcessResult result =
      RunQnget({"--data", "-", "--raw", url_}, {.input = body_, .error = Sink::kTerminal});

  EXPECT_THAT(result.error, HasSubstr("\rsent 300.0 kB of 300.0 kB, 100 %, "));
}

TEST_F(QngetUpload, IsNotShownInAPipe) {
  EXPECT_EQ(RunQnget({"--data", "-", url_}, {.input = body_}).error, "");
}

TEST(QngetUploadThatFails, LeavesALineOfItsOwnToAMessage) {
  ScriptedServer server({{ReadHeader(), Reset()}});

  const ProcessResult result =
      RunQnget({"--data", "-", LocalUrl(server.port())},
               {.input = std::string(20000000, 'x'), .error = Sink::kTerminal});

  EXPECT_THAT(result.error, testing::ContainsRegex("/s *\nqnget: "));
}

class QngetBinary : public testing::Test {
 protected:
  // Runs qnget on a terminal against a server that gives such a body.
  static ProcessResult Show(const std::string &body, std::vector<std::string> arguments = {}) {
    ScriptedServer server({AnswerWith(Answer(body))});
    arguments.push_back(LocalUrl(server.port()));
    return RunQnget(arguments, {.output = Sink::kTerminal});
  }

  const std::string binary_{"MMS\0x", 5};
};

TEST_F(QngetBinary, IsKeptFromATerminal) {
  const ProcessResult result = Show(binary_);

  EXPECT_EQ(result.exit_code, 6);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.error, Message("the body is binary and would spoil the terminal; -o FILE keeps "
                                  "it, -o - shows it all the same"));
}

TEST_F(QngetBinary, IsShownToWhomAsksForIt) {
  EXPECT_EQ(Show(binary_, {"-o", "-"}).output, binary_);
}

TEST_F(QngetBinary, IsWhatHasAZeroAmongItsFirstBytes) {
  const std::string zero(1, '\0');

  EXPECT_EQ(Show(std::string(1999, 'x') + zero).exit_code, 6);
  EXPECT_EQ(Show(std::string(2000, 'x') + zero).exit_code, 0);
}

TEST_F(QngetBinary, GoesIntoAPipe) {
  ScriptedServer server({AnswerWith(Answer(binary_))});

  EXPECT_EQ(RunQnget({LocalUrl(server.port())}).output, binary_);
}

// Each of a hundred pieces of the answer comes out of the library by itself.
TEST_F(QngetProgress, IsWrittenAtMostTenTimesASecond) {
  ScriptedServer server({AnswerWith(Answer(std::string(100 * 20480, 'x')))});

  const ProcessResult result = RunQnget({LocalUrl(server.port())}, {.error = Sink::kTerminal});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_LT(std::count(result.error.begin(), result.error.end(), '\r'), 50);
}

}  // namespace
}  // namespace qntest
