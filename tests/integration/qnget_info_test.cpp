// SPDX-License-Identifier: MIT
// What qnget tells about an answer: the lines of -i on standard error, the raw
// answer, and the library's trace.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <signal.h>

#include "qnget_program.h"
#include "support/process.h"
#include "support/scratch_folder.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

using testing::EndsWith;
using testing::StartsWith;

TEST(QngetInfo, IsWrittenToStandardError) {
  // The lines of the header before a body of 3 bytes, and what is said of them.
  const std::pair<const char *, const char *> told[] = {
      {"Content-Type: application/vnd.wap.mms-message\r\nContent-Length: 3\r\n"
       "Content-Encoding: gzip\r\n",
       "type: application/vnd.wap.mms-message\nlength: 3\nencoding: gzip\n"},
      {"", "type: unknown\nlength: unknown\nencoding: none\n"},
      {"Content-Type:text/html; charset=utf-8\r\nContent-Encoding:gzip\r\n",
       "type: text/html\nlength: unknown\nencoding: gzip\n"},
      {"Content-Type: \x1B[2J\r\n", "type: \\x1b[2J\nlength: unknown\nencoding: none\n"},
      {"Content-Encoding: deflate\r\n", "type: unknown\nlength: unknown\nencoding: other\n"},
  };
  for (const auto &[lines, info] : told) {
    SCOPED_TRACE(lines);
    const Exchange result = RunOnAnswer("HTTP/1.0 200 OK\r\n" + std::string(lines) + "\r\nabc",
                                        {"--info", "http://HOST:PORT/m"});

    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.output, "abc");
    EXPECT_EQ(result.error, "status: 200\n" + std::string(info) + "url: http://HOST:PORT/m\n");
  }
}

TEST(QngetInfo, HasNoLengthForChunks) {
  const std::string lines = "Content-Length: 7\r\nTransfer-Encoding: chunked\r\n";

  EXPECT_THAT(RunOnAnswer("HTTP/1.1 200 OK\r\n" + lines + "\r\n0\r\n\r\n", {"-i", kUrl}).error,
              testing::HasSubstr("\nlength: unknown\n"));
}

TEST(QngetRaw, DeliversTheAnswerAsItCame) {
  const std::string answers[] = {
      Answer("abc", "Content-Type: text/plain\r\n", "404 Not Found"),
      Answer(ScatteredBytes(100000)),
      "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3;x\r\nabc\r\n0\r\nT: u\r\n\r\n",
      "HTTP/1.1 100 Continue\r\n\r\n" + Answer("abc"),
      "hello",
      RedirectTo("http://mms.invalid/"),
  };
  for (const std::string &answer : answers) {
    SCOPED_TRACE(answer.substr(0, 100));
    EXPECT_THAT(RunOnAnswer(answer, {"--raw", kUrl}), Delivers(answer));
  }
}

TEST(QngetRaw, KnowsNothingOfTheAnswer) {
  EXPECT_EQ(
      RunOnAnswer(Answer("abc"), {"--raw", "-i", kUrl}).error,
      "status: unknown\ntype: unknown\nlength: unknown\nencoding: unknown\nurl: " + kUrl + "\n");
}

TEST(QngetRaw, FailsWhereTheAnswerIsCut) {
  const std::pair<ConnectionScript, const char *> cuts[] = {
      {AnswerWith("HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\nabc"), "ends after 3 of 5 bytes"},
      {AnswerWith("HTTP/1.0 200 OK\r\nX: y"), "ends within its header"},
      {{ReadHeader(), SendBytes("HTTP/1.0 200 OK\r\n\r\nabc"), Reset()},
       "ends after 22 bytes: Connection reset by peer"}};
  for (const auto &[script, reason] : cuts) {
    EXPECT_THAT(RunOn({script}, {"--raw", kUrl}),
                FailsWith(4, "the answer from server HOST:PORT " + std::string(reason)));
  }
}

TEST(QngetRaw, FailsWithTheStatesExitCodes) {
  const RefusingPort port;

  EXPECT_EQ(RunQnget({"--raw", "http://1.2.3.4.5/"}).exit_code, 2);
  EXPECT_EQ(RunQnget({"--raw", LocalUrl(port.port())}).exit_code, 3);
  EXPECT_EQ(RunOn({{ReadHeader(), Reset()}}, {"--raw", kUrl}).exit_code, 4);
  EXPECT_THAT(RunOnAnswer("", {"--raw", kUrl}), FailsWith(4, "no answer from server HOST:PORT"));
}

// It replaces what a file had.
TEST(QngetTrace, KeepsTheLibrarysLines) {
  const ScratchFolder folder;
  const std::string file = folder.write("trace", std::string(10000, 'o'));

  const Exchange result = RunOnAnswer(Answer("abc"), {"--trace", file, kUrl});

  EXPECT_THAT(result, Delivers("abc"));
  EXPECT_THAT(folder.read("trace"),
              testing::MatchesRegex("create socket 1host:127.0.0.1,[0-9]+"
                                    "connet socket:1 result:1hostname  = 127.0.0.1"
                                    "ParseAnswer HTTP/1.0 200 OK Ctx->retValue 200HTTP/1.0"
                                    "ParseAnswer Content-Length: 3Ctx->retCtxLen 3ParseAnswer "));
}

TEST(QngetTrace, GoesToStandardErrorForADash) {
  const Exchange result = RunOnAnswer(Answer("abc"), {"--trace", "-", kUrl});

  EXPECT_EQ(result.output, "abc");
  EXPECT_THAT(result.error, StartsWith("create socket 1"));
  EXPECT_THAT(result.error, EndsWith("ParseAnswer "));
}

TEST(QngetTrace, IsKeptOfATransferThatIsKilled) {
  const ScratchFolder folder;
  ScriptedServer server({HalfABody()});
  Process program(QngetCommand({"--trace", folder.path("trace"), "-i", LocalUrl(server.port())}));
  ASSERT_TRUE(program.WaitForError("url: "));

  program.SendSignal(SIGKILL);

  EXPECT_EQ(program.wait().signal, SIGKILL);
  EXPECT_THAT(folder.read("trace"), testing::HasSubstr("ParseAnswer HTTP/1.0 200 OK"));
}

TEST(QngetTrace, IsExitCode6WhenItCannotBeOpened) {
  const Exchange result = RunOnAnswer("", {"--trace", "/no/such/folder/trace", kUrl});

  EXPECT_THAT(result, FailsWith(6,
                                "could not open trace file /no/such/folder/trace: "
                                "No such file or directory"));
  EXPECT_EQ(result.requests, Words{});
}

}  // namespace
}  // namespace qntest
