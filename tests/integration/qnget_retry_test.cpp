// SPDX-License-Identifier: MIT
// The retries of qnget: how many, after which pauses, and that nothing is tried
// again that has an answer, nor posted again that may have arrived.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "qnget_program.h"
#include "support/process.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

using Clock = std::chrono::steady_clock;
using testing::HasSubstr;
using testing::Not;

const ConnectionScript kNoAnswer = AnswerWith("");

std::vector<std::string> Retrying(const std::string &times, const std::string &url) {
  return {"--retry", times, "--retry-delay", "0.01", url};
}

TEST(QngetRetry, SaysEachTryAndDoublesThePause) {
  const RefusingPort port;
  const std::string failed =
      "no connection to server " + Loopback(port.port()) + ": Connection refused";

  const ProcessResult result = RunQnget(Retrying("3", LocalUrl(port.port())));

  EXPECT_EQ(result.exit_code, 3);
  EXPECT_EQ(result.error, Message(failed + "; retry 1 of 3 in 0.01 s") +
                              Message(failed + "; retry 2 of 3 in 0.02 s") +
                              Message(failed + "; retry 3 of 3 in 0.04 s") + Message(failed));
}

TEST(QngetRetry, Pauses) {
  const RefusingPort port;
  const auto begin = Clock::now();

  RunQnget({"--retry", "2", "--retry-delay", "0.1", LocalUrl(port.port())});

  EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(300));
}

TEST(QngetRetry, BeginsWithAPauseOfOneSecond) {
  const RefusingPort port;
  Process program(QngetCommand({"--retry", "1", LocalUrl(port.port())}));

  EXPECT_TRUE(program.WaitForError("; retry 1 of 1 in 1 s\n"));
}

TEST(QngetRetry, EndsWithTheFirstAnswer) {
  ScriptedServer server({kNoAnswer, kNoAnswer, AnswerWith(Answer("third"))});

  const ProcessResult result = RunQnget(Retrying("5", LocalUrl(server.port())));

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "third");
  EXPECT_EQ(server.Finish(), "");
}

// What the server may have, it may have sent on.
TEST(QngetRetry, DoesNotPostAgainWhatMayHaveArrived) {
  for (const std::string method : {"POST", "PUT"}) {
    ScriptedServer server({AnswerBodyWith(3, "")});
    std::vector<std::string> arguments = Retrying("1", LocalUrl(server.port()));
    arguments.insert(arguments.begin(), {"-X", method, "--data", "-"});

    const ProcessResult result = RunQnget(arguments, {.input = "a=b"});

    EXPECT_EQ(result.exit_code, 4);
    EXPECT_EQ(result.error, Message("no answer from server " + Loopback(server.port())));
  }
}

TEST(QngetRetry, PostsAgainWhereNobodyWasConnected) {
  const RefusingPort port;
  std::vector<std::string> arguments = Retrying("1", LocalUrl(port.port()));
  arguments.insert(arguments.begin(), {"--data", "-"});

  EXPECT_THAT(RunQnget(arguments, {.input = "a=b"}).error, HasSubstr("; retry 1 of 1 in 0.01 s\n"));
}

TEST(QngetRetry, PostsAgainWhereTheUserSaysSo) {
  ScriptedServer server({AnswerBodyWith(3, ""), AnswerBodyWith(3, Answer("x"))});
  std::vector<std::string> arguments = Retrying("1", LocalUrl(server.port()));
  arguments.insert(arguments.begin(), {"--retry-all", "--data", "-"});

  EXPECT_EQ(RunQnget(arguments, {.input = "a=b"}).exit_code, 0);

  EXPECT_EQ(server.Finish(), "");
  EXPECT_EQ(server.Received(1), server.Received(0));
  EXPECT_THAT(server.Received(1), testing::EndsWith("\r\n\r\na=b"));
}

TEST(QngetRetry, WaitsAsLongAsABusyServerSays) {
  for (const std::string status : {"503 Busy", "429 Too Many"}) {
    ScriptedServer server(
        {AnswerWith(Answer("busy", "Retry-After: 1\r\n", status)), AnswerWith(Answer("done"))});
    const auto begin = Clock::now();

    const ProcessResult result = RunQnget(Retrying("1", LocalUrl(server.port())));

    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.output, "done");
    EXPECT_EQ(result.error,
              Message("the answer has status " + status.substr(0, 3) + "; retry 1 of 1 in 1 s"));
    EXPECT_GE(Clock::now() - begin, std::chrono::seconds(1));
  }
}

// A server that says when to come again has not taken the message.
TEST(QngetRetry, PostsAgainToABusyServer) {
  ScriptedServer server({AnswerBodyWith(3, Answer("busy", "Retry-After: 0\r\n", "503 Busy")),
                         AnswerBodyWith(3, Answer("done"))});
  std::vector<std::string> arguments = Retrying("1", LocalUrl(server.port()));
  arguments.insert(arguments.begin(), {"--data", "-"});

  EXPECT_EQ(RunQnget(arguments, {.input = "a=b"}).output, "done");

  EXPECT_EQ(server.Received(1), server.Received(0));
}

TEST(QngetRetry, WaitsUntilTheDateThatABusyServerSays) {
  const std::string lines =
      "Date: Sun, 06 Nov 1994 08:49:37 GMT\r\nRetry-After: Sun, 06 Nov 1994 08:49:38 GMT\r\n";
  ScriptedServer server(
      {AnswerWith(Answer("busy", lines, "503 Busy")), AnswerWith(Answer("done"))});

  const ProcessResult result = RunQnget(Retrying("1", LocalUrl(server.port())));

  EXPECT_EQ(result.output, "done");
  EXPECT_THAT(result.error, HasSubstr("; retry 1 of 1 in 1 s\n"));
}

TEST(QngetRetry, DoesNotAskABusyServerAtOnce) {
  ScriptedServer server(
      {AnswerWith(Answer("busy", "Retry-After: 0\r\n", "503 Busy")), AnswerWith(Answer("done"))});

  EXPECT_THAT(RunQnget(Retrying("1", LocalUrl(server.port()))).error,
              HasSubstr("; retry 1 of 1 in 0.01 s\n"));
}

TEST(QngetRetry, DeliversTheLastBusyAnswer) {
  const ConnectionScript busy = AnswerWith(Answer("busy", "Retry-After: 0\r\n", "503 Busy"));
  ScriptedServer server({busy, busy});

  const ProcessResult result = RunQnget(Retrying("1", LocalUrl(server.port())));

  EXPECT_EQ(result.exit_code, 22);
  EXPECT_EQ(result.output, "busy");
}

TEST(QngetRetry, TriesAnUnresolvedNameAgain) {
  const ProcessResult result = RunQnget(Retrying("1", "http://1.2.3.4.5/"));

  EXPECT_EQ(result.exit_code, 2);
  EXPECT_THAT(result.error, HasSubstr("; retry 1 of 1 in 0.01 s\n"));
}

TEST(QngetRetry, TriesARawTransferAgain) {
  ScriptedServer server({kNoAnswer, AnswerWith(Answer("x"))});
  std::vector<std::string> arguments = Retrying("1", LocalUrl(server.port()));
  arguments.insert(arguments.begin(), "--raw");

  EXPECT_EQ(RunQnget(arguments).exit_code, 0);
  EXPECT_EQ(server.Finish(), "");
}

TEST(QngetRetry, IsNotDoneByDefault) {
  const RefusingPort port;

  EXPECT_THAT(RunQnget({LocalUrl(port.port())}).error, Not(HasSubstr("retry")));
}

TEST(QngetRetry, IsNotDoneAfterAFullOutput) {
  ScriptedServer server({AnswerWith(Answer("x"))});

  const ProcessResult result = RunQnget(Retrying("2", LocalUrl(server.port())),
                                        {.output = Sink::kFile, .output_file = "/dev/full"});

  EXPECT_EQ(result.exit_code, 6);
  EXPECT_THAT(result.error, Not(HasSubstr("retry")));
}

// A server for one connection: a second one would show as another exit code.
struct NoRetry {
  const char *name;
  ConnectionScript script;
  std::vector<std::string> arguments;
  int exit_code;
};

void PrintTo(const NoRetry &no_retry, std::ostream *out) { *out << no_retry.name; }

class QngetNoRetry : public testing::TestWithParam<NoRetry> {};

TEST_P(QngetNoRetry, IsDone) {
  ScriptedServer server({GetParam().script});
  std::vector<std::string> arguments = Retrying("2", LocalUrl(server.port()));
  arguments.insert(arguments.begin(), GetParam().arguments.begin(), GetParam().arguments.end());

  const ProcessResult result = RunQnget(arguments);

  EXPECT_EQ(result.exit_code, GetParam().exit_code);
  EXPECT_THAT(result.error, Not(HasSubstr("retry")));
}

const NoRetry kNoRetries[] = {
    {"AfterAnErrorStatus", AnswerWith(Answer("", "", "503 Busy")), {}, 22},
    {"AfterAStatusOfNoBusyServer",
     AnswerWith(Answer("", "Retry-After: 0\r\n", "500 Broken")),
     {},
     22},
    {"AfterAWaitBeyondAnHour", AnswerWith(Answer("", "Retry-After: 3601\r\n", "503 Busy")), {}, 22},
    {"AfterAWaitBeyondTheTimeLimit",
     AnswerWith(Answer("", "Retry-After: 30\r\n", "503 Busy")),
     {"--timeout=20"},
     22},
    {"AfterPartOfABody", AnswerWith("HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\nabc"), {}, 4},
    {"AfterPartOfAHeader", AnswerWith("HTTP/1.0 200 OK\r\nX: y"), {}, 4},
    {"AfterATimeout", {ReadHeader(), AwaitSignal()}, {"--timeout=0.5"}, 4},
    {"AfterARedirectThatFails", AnswerWith(RedirectTo("http://1.2.3.4.5/")), {}, 2},
};

INSTANTIATE_TEST_SUITE_P(Qnget, QngetNoRetry, testing::ValuesIn(kNoRetries),
                         [](const auto &test) { return std::string(test.param.name); });

}  // namespace
}  // namespace qntest
