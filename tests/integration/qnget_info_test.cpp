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

using testing::HasSubstr;

struct Told {
  const char *name;
  const char *lines;  // of the header, and a body of 3 bytes
  const char *info;   // without the URL's line
};

void PrintTo(const Told &told, std::ostream *out) { *out << told.name; }

class QngetInfo : public testing::TestWithParam<Told> {};

TEST_P(QngetInfo, IsWrittenToStandardError) {
  ScriptedServer server(
      {AnswerWith("HTTP/1.0 200 OK\r\n" + std::string(GetParam().lines) + "\r\nabc")});
  const std::string url = LocalUrl(server.port(), "/m");

  const ProcessResult result = RunQnget({"-i", url});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "abc");
  EXPECT_EQ(result.error, "status: 200\n" + std::string(GetParam().info) + "url: " + url + "\n");
}

const Told kTold[] = {
    {"WithEverything",
     "Content-Type: application/vnd.wap.mms-message\r\nContent-Length: 3\r\n"
     "Content-Encoding: gzip\r\n",
     "type: application/vnd.wap.mms-message\nlength: 3\nencoding: gzip\n"},
    {"WithNothing", "", "type: unknown\nlength: unknown\nencoding: none\n"},
    {"WithATypeThatHasParameters", "Content-Type: text/html; charset=utf-8\r\n",
     "type: text/html\nlength: unknown\nencoding: none\n"},
    {"WithoutABlankBehindTheColon", "Content-Type:text/html\r\nContent-Encoding:gzip\r\n",
     "type: text/html\nlength: unknown\nencoding: gzip\n"},
    {"WithATypeThatATerminalObeys", "Content-Type: \x1B[2J\r\n",
     "type: \\x1b[2J\nlength: unknown\nencoding: none\n"},
    {"WithAnotherEncoding", "Content-Encoding: deflate\r\n",
     "type: unknown\nlength: unknown\nencoding: other\n"},
};

INSTANTIATE_TEST_SUITE_P(Qnget, QngetInfo, testing::ValuesIn(kTold),
                         [](const auto &test) { return std::string(test.param.name); });

TEST(QngetInfoOption, ComesBeforeTheMessageOfAnErrorStatus) {
  ScriptedServer server({AnswerWith(Answer("", "", "404 Not Found"))});

  const ProcessResult result = RunQnget({"--info", LocalUrl(server.port())});

  EXPECT_THAT(result.error, testing::StartsWith("status: 404\n"));
  EXPECT_THAT(result.error, testing::EndsWith(Message("the answer has status 404")));
}

TEST(QngetInfoOption, IsSilentWhenItIsNotGiven) {
  ScriptedServer server({AnswerWith(Answer("abc"))});

  EXPECT_EQ(RunQnget({LocalUrl(server.port())}).error, "");
}

TEST(QngetRaw, DeliversTheAnswerAsItCame) {
  const std::string answer = Answer("abc", "Content-Type: text/plain\r\n", "404 Not Found");
  ScriptedServer server({AnswerWith(answer)});

  const ProcessResult result = RunQnget({"--raw", LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, answer);
}

TEST(QngetRaw, DeliversALargeAnswer) {
  const std::string answer = Answer(ScatteredBytes(100000));
  ScriptedServer server({AnswerWith(answer)});

  EXPECT_TRUE(RunQnget({"--raw", LocalUrl(server.port())}).output == answer);
}

TEST(QngetRaw, DeliversChunksAsTheyCame) {
  const std::string answer =
      "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3;x\r\nabc\r\n0\r\nT: u\r\n\r\n";
  ScriptedServer server({{ReadHeader(), SendBytes(answer), AwaitSignal()}});

  const ProcessResult result = RunQnget({"--raw", LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, answer);
}

TEST(QngetRaw, DeliversInterimAnswersToo) {
  const std::string answer = "HTTP/1.1 100 Continue\r\n\r\n" + Answer("abc");
  ScriptedServer server({AnswerWith(answer)});

  EXPECT_EQ(RunQnget({"--raw", LocalUrl(server.port())}).output, answer);
}

TEST(QngetRaw, DeliversWhatIsNoAnswerAtAll) {
  ScriptedServer server({AnswerWith("hello")});

  const ProcessResult result = RunQnget({"--raw", LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "hello");
}

TEST(QngetRaw, FollowsNoRedirect) {
  const std::string answer = RedirectTo("http://mms.invalid/");
  ScriptedServer server({AnswerWith(answer)});

  const ProcessResult result = RunQnget({"--raw", LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, answer);
}

TEST(QngetRaw, KnowsNothingOfTheAnswer) {
  ScriptedServer server({AnswerWith(Answer("abc"))});
  const std::string url = LocalUrl(server.port());

  EXPECT_EQ(
      RunQnget({"--raw", "-i", url}).error,
      "status: unknown\ntype: unknown\nlength: unknown\nencoding: unknown\nurl: " + url + "\n");
}

TEST(QngetRaw, FailsWithoutAnAnswer) {
  ScriptedServer server({AnswerWith("")});

  const ProcessResult result = RunQnget({"--raw", LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 4);
  EXPECT_EQ(result.error, Message("no answer from server " + Loopback(server.port())));
}

TEST(QngetRaw, FailsWhereTheAnswerIsCut) {
  const std::string cut = "HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\nabc";
  const std::string open = "HTTP/1.0 200 OK\r\n\r\nabc";
  ScriptedServer server({AnswerWith(cut),
                         AnswerWith("HTTP/1.0 200 OK\r\nX: y"),
                         {ReadHeader(), SendBytes(open), Reset()}});
  const std::string answer = "the answer from server " + Loopback(server.port());
  const std::vector<std::string> arguments{"--raw", LocalUrl(server.port())};

  for (const std::string reason : {" ends after 3 of 5 bytes", " ends within its header",
                                   " ends after 22 bytes: Connection reset by peer"}) {
    const ProcessResult result = RunQnget(arguments);
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_EQ(result.error, Message(answer + reason));
  }
}

TEST(QngetRaw, FailsWithTheStatesExitCodes) {
  const RefusingPort port;
  ScriptedServer server({{ReadHeader(), Reset()}});

  EXPECT_EQ(RunQnget({"--raw", "http://1.2.3.4.5/"}).exit_code, 2);
  EXPECT_EQ(RunQnget({"--raw", LocalUrl(port.port())}).exit_code, 3);
  EXPECT_EQ(RunQnget({"--raw", LocalUrl(server.port())}).exit_code, 4);
}

TEST(QngetTrace, KeepsTheLibrarysLines) {
  const ScratchFolder folder;
  ScriptedServer server({AnswerWith(Answer("abc"))});

  const ProcessResult result = RunQnget({"--trace", folder.path("trace"), LocalUrl(server.port())});

  EXPECT_EQ(result.output, "abc");
  const std::string port = std::to_string(server.port());
  EXPECT_EQ(folder.read("trace"), "create socket 1host:127.0.0.1," + port +
                                      "connet socket:1 result:1hostname  = 127.0.0.1"
                                      "ParseAnswer HTTP/1.0 200 OK Ctx->retValue 200HTTP/1.0"
                                      "ParseAnswer Content-Length: 3Ctx->retCtxLen 3ParseAnswer ");
}

TEST(QngetTrace, GoesToStandardErrorForADash) {
  ScriptedServer server({AnswerWith(Answer("abc"))});

  const ProcessResult result = RunQnget({"--trace", "-", LocalUrl(server.port())});

  EXPECT_EQ(result.output, "abc");
  EXPECT_THAT(result.error, testing::StartsWith("create socket 1"));
  EXPECT_THAT(result.error, testing::EndsWith("ParseAnswer "));
}

TEST(QngetTrace, ReplacesTheFile) {
  const ScratchFolder folder;
  const std::string file = folder.write("trace", std::string(10000, 'o'));
  ScriptedServer server({AnswerWith(Answer("abc"))});

  RunQnget({"--trace", file, LocalUrl(server.port())});

  EXPECT_THAT(folder.read("trace"), testing::StartsWith("create socket 1"));
  EXPECT_THAT(folder.read("trace"), testing::EndsWith("ParseAnswer "));
}

TEST(QngetTrace, IsKeptOfATransferThatIsKilled) {
  const ScratchFolder folder;
  ScriptedServer server(
      {{ReadHeader(), SendBytes("HTTP/1.0 200 OK\r\n\r\n" + std::string(30000, 'x')),
        AwaitSignal()}});
  Process program(QngetCommand({"--trace", folder.path("trace"), "-i", LocalUrl(server.port())}));
  ASSERT_TRUE(program.WaitForError("url: "));

  program.SendSignal(SIGKILL);

  EXPECT_EQ(program.wait().signal, SIGKILL);
  EXPECT_THAT(folder.read("trace"), HasSubstr("ParseAnswer HTTP/1.0 200 OK"));
}

TEST(QngetTrace, IsExitCode6WhenItCannotBeOpened) {
  ScriptedServer server({AnswerWith(Answer("abc"))});

  const ProcessResult result =
      RunQnget({"--trace", "/no/such/folder/trace", LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 6);
  EXPECT_EQ(result.error, Message("could not open trace file /no/such/folder/trace: "
                                  "No such file or directory"));
  EXPECT_EQ(server.accepted(), 0u);
}

}  // namespace
}  // namespace qntest
