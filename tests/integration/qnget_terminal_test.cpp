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

using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

struct ProgressLine {
  int64_t count;
  int64_t expected;
  double seconds;
  const char *text;
};

TEST(QngetProgressText, TellsBytesPercentAndRate) {
  const ProgressLine lines[] = {
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
  for (const ProgressLine &line : lines) {
    EXPECT_EQ(qnget::ProgressText(line.count, line.expected, line.seconds), line.text);
  }
}

const Words kPost{"--data", "-", kUrl};
const std::string kBody(300000, 'x');
const ProcessOptions kErrorOnTerminal{.error = Sink::kTerminal};
const ProcessOptions kUploadOnTerminal{.input = kBody, .error = Sink::kTerminal};

// An answer of which half comes.
const std::string kHalf =
    "HTTP/1.0 200 OK\r\nContent-Length: 60000\r\n\r\n" + std::string(30000, 'x');

TEST(QngetProgress, IsShownOnATerminalWhileTheBodyGoesToAFile) {
  const ScratchFolder folder;

  const Exchange result = RunOnAnswer(Answer(kBody), {"-o", folder.path("f"), kUrl},
                                      {.output = Sink::kTerminal, .error = Sink::kTerminal});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_THAT(result.output, StartsWith("\r"));
  EXPECT_THAT(result.output, HasSubstr("\r300.0 kB of 300.0 kB, 100 %, "));
  EXPECT_THAT(result.output, EndsWith("/s\n"));
}

TEST(QngetProgress, IsShownOnATerminalWhileTheBodyGoesToAPipe) {
  const Exchange result = RunOnAnswer(Answer(kBody), {kUrl}, kErrorOnTerminal);

  EXPECT_EQ(result.output.size(), kBody.size());
  EXPECT_THAT(result.error, HasSubstr("\r300.0 kB of 300.0 kB, 100 %, "));
}

TEST(QngetProgress, TellsNoPercentOfAnUnknownLength) {
  const std::string shown =
      RunOnAnswer("HTTP/1.0 200 OK\r\n\r\nabc", {kUrl}, kErrorOnTerminal).error;

  EXPECT_THAT(shown, StartsWith("\r3 B, "));
  EXPECT_THAT(shown, Not(HasSubstr("%")));
}

TEST(QngetProgress, IsNotShownWhereNobodyWouldSeeItOrItIsNotWanted) {
  const ScratchFolder folder;
  const std::string file = folder.path("f");
  const ProcessOptions terminal{.output = Sink::kTerminal, .error = Sink::kTerminal};

  EXPECT_EQ(RunOnAnswer(Answer("abc"), {kUrl}, terminal).output, "abc") << "the body's terminal";
  EXPECT_THAT(RunOnAnswer(Answer(kBody), {"-o", file, kUrl}, {.output = Sink::kTerminal}),
              Delivers(""));
  EXPECT_EQ(RunOnAnswer(Answer(kBody), {"-s", kUrl}, kErrorOnTerminal).error, "");
  EXPECT_EQ(RunOnAnswer(Answer(""), {kUrl}, kErrorOnTerminal).error, "") << "no body";
  EXPECT_EQ(RunOnAnswer(Answer("x"), kPost, {.input = kBody}).error, "") << "an upload in a pipe";
}

TEST(QngetProgress, LeavesALineOfItsOwnToAMessage) {
  const Exchange result = RunOnAnswer(kHalf, {kUrl}, kErrorOnTerminal);

  EXPECT_EQ(result.exit_code, 4);
  EXPECT_THAT(result.error, HasSubstr(", 50 %, "));
  // A line that is shorter than the one before it is padded.
  EXPECT_THAT(result.error, ContainsRegex("/s *\nqnget: the answer from server "));
  EXPECT_THAT(RunOn({{ReadHeader(), SendBytes(kHalf), AwaitSignal()}}, {"--timeout=0.5", kUrl},
                    kErrorOnTerminal)
                  .error,
              testing::MatchesRegex("\r.* %, .*/s *\nqnget: timed out .*\n"));
}

// Each of a hundred pieces of the answer comes out of the library by itself.
TEST(QngetProgress, IsWrittenAtMostTenTimesASecond) {
  const Exchange result =
      RunOnAnswer(Answer(std::string(100 * 20480, 'x')), {kUrl}, kErrorOnTerminal);

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_LT(std::count(result.error.begin(), result.error.end(), '\r'), 50);
}

TEST(QngetSilence, HoldsNoErrorsBack) {
  const RefusingPort port;

  EXPECT_THAT(RunQnget({"--silent", LocalUrl(port.port())}).error, StartsWith("qnget: "));
}

TEST(QngetUpload, HasALineOfItsOwnBeforeThatOfTheAnswer) {
  const std::string shown = RunOnAnswer(Answer("taken"), kPost, kUploadOnTerminal).error;

  EXPECT_THAT(shown, StartsWith("\rsent "));
  EXPECT_THAT(shown, ContainsRegex("\rsent 300.0 kB of 300.0 kB, 100 %, [^/]*/s *\n\r5 B of 5 B"));
  EXPECT_THAT(RunOnAnswer(Answer("x"), Joined({"--raw"}, kPost), kUploadOnTerminal).error,
              HasSubstr("\rsent 300.0 kB of 300.0 kB, 100 %, "));
}

TEST(QngetUpload, IsOverBeforeAnythingIsSaidOfTheAnswer) {
  EXPECT_THAT(RunOnAnswer(Answer("x"), Joined({"-i"}, kPost), kUploadOnTerminal).error,
              HasSubstr("\nstatus: 200\n"));
  EXPECT_THAT(RunOn({{ReadHeader(), Reset()}}, kPost,
                    {.input = std::string(20000000, 'x'), .error = Sink::kTerminal})
                  .error,
              ContainsRegex("/s *\nqnget: "));
}

const std::string kBinary("MMS\0x", 5);

// On a terminal.
Exchange Show(const std::string &body, const Words &arguments = {kUrl}) {
  return RunOnAnswer(Answer(body), arguments, {.output = Sink::kTerminal});
}

TEST(QngetBinary, IsKeptFromATerminalUnlessItIsAskedFor) {
  const Exchange result = Show(kBinary);

  EXPECT_EQ(result.output, "");
  EXPECT_THAT(result, FailsWith(6,
                                "the body is binary and would spoil the terminal; -o FILE keeps "
                                "it, -o - shows it all the same"));
  EXPECT_EQ(Show(kBinary, {"-o", "-", kUrl}).output, kBinary);
  EXPECT_EQ(RunOnAnswer(Answer(kBinary)).output, kBinary) << "in a pipe";
}

TEST(QngetBinary, IsWhatHasAZeroAmongItsFirstBytes) {
  const std::string zero(1, '\0');

  EXPECT_EQ(Show(std::string(1999, 'x') + zero).exit_code, 6);
  EXPECT_EQ(Show(std::string(2000, 'x') + zero).exit_code, 0);
}

}  // namespace
}  // namespace qntest
