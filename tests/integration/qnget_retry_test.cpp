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
const ConnectionScript kDone = AnswerWith(Answer("done"));

ConnectionScript Busy(const std::string &lines, const std::string &status = "503 Busy") {
  return AnswerWith(Answer("busy", lines, status));
}

Words Retrying(const std::string &times, const Words &arguments) {
  return Joined({"--retry", times, "--retry-delay", "0.01"}, arguments);
}

TEST(QngetRetry, SaysEachTryAndDoublesThePause) {
  const RefusingPort port;
  const std::string failed =
      "no connection to server " + Loopback(port.port()) + ": Connection refused";
  const auto begin = Clock::now();

  const ProcessResult result = RunQnget(Retrying("3", {LocalUrl(port.port())}));

  EXPECT_EQ(result.exit_code, 3);
  EXPECT_EQ(result.error, Message(failed + "; retry 1 of 3 in 0.01 s") +
                              Message(failed + "; retry 2 of 3 in 0.02 s") +
                              Message(failed + "; retry 3 of 3 in 0.04 s") + Message(failed));
  EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(70));
}

TEST(QngetRetry, BeginsWithAPauseOfOneSecond) {
  const RefusingPort port;
  Process program(QngetCommand({"--retry", "1", LocalUrl(port.port())}));

  EXPECT_TRUE(program.WaitForError("; retry 1 of 1 in 1 s\n"));
}

TEST(QngetRetry, EndsWithTheFirstAnswer) {
  for (const Words &arguments : {Words{kUrl}, Words{"--raw", kUrl}}) {
    const Exchange result = RunOn({kNoAnswer, kNoAnswer, kDone}, Retrying("5", arguments));

    EXPECT_EQ(result.exit_code, 0);
    EXPECT_THAT(result.output, testing::EndsWith("done"));
    EXPECT_EQ(result.requests.size(), 3u);
  }
}

// What the server may have, it may have sent on.
TEST(QngetRetry, DoesNotPostAgainWhatMayHaveArrived) {
  for (const std::string method : {"POST", "PUT"}) {
    EXPECT_THAT(RunOn({kNoAnswer, kDone}, Retrying("1", {"-X", method, "--data", "-", kUrl}),
                      {.input = "a=b"}),
                FailsWith(4, "no answer from server HOST:PORT"));
  }
}

TEST(QngetRetry, PostsAgainWhereNobodyWasConnected) {
  const RefusingPort port;

  EXPECT_THAT(
      RunQnget(Retrying("1", {"--data", "-", LocalUrl(port.port())}), {.input = "a=b"}).error,
      HasSubstr("; retry 1 of 1 in 0.01 s\n"));
}

// A server that says when to come again has not taken the message.
TEST(QngetRetry, PostsAgainWhereTheUserOrABusyServerSaysSo) {
  const std::pair<ConnectionScript, Words> tries[] = {
      {kNoAnswer, {"--retry-all", "--data", "-", kUrl}},
      {Busy("Retry-After: 0\r\n"), {"--data", "-", kUrl}}};
  for (const auto &[first, arguments] : tries) {
    const Exchange result = RunOn({first, kDone}, Retrying("1", arguments), {.input = "a=b"});

    EXPECT_EQ(result.output, "done");
    ASSERT_EQ(result.requests.size(), 2u);
    EXPECT_EQ(result.requests[1], result.requests[0]);
    EXPECT_THAT(result.requests[1], testing::EndsWith("\r\n\r\na=b"));
  }
}

// It is not asked at once where it asks for no wait.
TEST(QngetRetry, WaitsAsLongAsABusyServerSays) {
  const auto begin = Clock::now();

  const Exchange result =
      RunOn({Busy("Retry-After: 1\r\n", "429 Too Many"), Busy("Retry-After: 0\r\n"), kDone},
            Retrying("2", {kUrl}));

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "done");
  EXPECT_EQ(result.error, Message("the answer has status 429; retry 1 of 2 in 1 s") +
                              Message("the answer has status 503; retry 2 of 2 in 0.02 s"));
  EXPECT_GE(Clock::now() - begin, std::chrono::seconds(1));
}

TEST(QngetRetry, DeliversTheLastBusyAnswer) {
  const ConnectionScript busy = Busy("Retry-After: 0\r\n");

  const Exchange result = RunOn({busy, busy}, Retrying("1", {kUrl}));

  EXPECT_EQ(result.exit_code, 22);
  EXPECT_EQ(result.output, "busy");
}

TEST(QngetRetry, TriesAnUnresolvedNameAgain) {
  const ProcessResult result = RunQnget(Retrying("1", {"http://1.2.3.4.5/"}));

  EXPECT_EQ(result.exit_code, 2);
  EXPECT_THAT(result.error, HasSubstr("; retry 1 of 1 in 0.01 s\n"));
}

TEST(QngetRetry, IsNotDoneAfterAFullOutput) {
  const Exchange result = RunOnAnswer(Answer("x"), Retrying("2", {kUrl}),
                                      {.output = Sink::kFile, .output_file = "/dev/full"});

  EXPECT_EQ(result.exit_code, 6);
  EXPECT_THAT(result.error, Not(HasSubstr("retry")));
}

struct NoRetry {
  const char *name;
  ConnectionScript script;
  Words arguments;
  int exit_code;
};

const NoRetry kNoRetries[] = {
    {"AfterAnErrorStatus", Busy(""), {kUrl}, 22},
    {"AfterAStatusOfNoBusyServer", Busy("Retry-After: 0\r\n", "500 Broken"), {kUrl}, 22},
    {"AfterAWaitBeyondAnHour", Busy("Retry-After: 3601\r\n"), {kUrl}, 22},
    {"AfterAWaitBeyondTheTimeLimit", Busy("Retry-After: 30\r\n"), {"--timeout=20", kUrl}, 22},
    {"AfterPartOfABody", AnswerWith("HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\nabc"), {kUrl}, 4},
    {"AfterPartOfAHeader", AnswerWith("HTTP/1.0 200 OK\r\nX: y"), {kUrl}, 4},
    {"AfterATimeout", {ReadHeader(), AwaitSignal()}, {"--timeout=0.1", kUrl}, 4},
    {"AfterARedirectThatFails", AnswerWith(RedirectTo("http://1.2.3.4.5/")), {kUrl}, 2},
};

TEST(QngetNoRetry, IsDone) {
  for (const NoRetry &row : kNoRetries) {
    SCOPED_TRACE(row.name);

    const Exchange result = RunOn({row.script, kDone}, Retrying("2", row.arguments));

    EXPECT_EQ(result.exit_code, row.exit_code);
    EXPECT_THAT(result.error, Not(HasSubstr("retry")));
  }
}

}  // namespace
}  // namespace qntest
