// SPDX-License-Identifier: MIT
// The time limit of qnget: whatever it waits for, it ends with exit code 4,
// says what it waited for and leaves no file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>

#include "qnget_program.h"
#include "support/loopback.h"
#include "support/process.h"
#include "support/scratch_folder.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMoreThanWaitsUnread = 30000;  // so that the library hands some out
const char *const kTimeout = "--timeout=0.5";

std::string TimedOut(const std::string &doing) {
  return Message("timed out after 0.5 seconds, while " + doing);
}

TEST(QngetTimeout, EndsTheWaitForAConnection) {
  const FullPort port;

  const ProcessResult result = RunQnget({kTimeout, LocalUrl(port.port())});

  EXPECT_EQ(result.exit_code, 4);
  EXPECT_EQ(result.error, TimedOut("connecting to server " + Loopback(port.port())));
}

TEST(QngetTimeout, EndsTheWaitForAnAnswer) {
  ScriptedServer server({{ReadHeader(), AwaitSignal()}});

  const ProcessResult result = RunQnget({kTimeout, LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 4);
  EXPECT_EQ(result.error, TimedOut("receiving from server " + Loopback(server.port())));
}

TEST(QngetTimeout, NamesTheProxyWhenOneIsSet) {
  ScriptedServer proxy({{ReadHeader(), AwaitSignal()}});

  const ProcessResult result =
      RunQnget({kTimeout, "-p", Loopback(proxy.port()), "http://mms.invalid/"});

  EXPECT_EQ(result.error, TimedOut("receiving from proxy " + Loopback(proxy.port())));
}

TEST(QngetTimeout, EndsTheWaitForTheRestOfABody) {
  const std::string most(kMoreThanWaitsUnread, 'x');
  ScriptedServer server(
      {{ReadHeader(), SendBytes("HTTP/1.0 200 OK\r\n\r\n" + most), AwaitSignal()}});

  const ProcessResult result = RunQnget({kTimeout, LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 4);
  EXPECT_EQ(result.error, TimedOut("receiving from server " + Loopback(server.port())));
}

// The library takes the interruption for the end of the answer.
TEST(QngetTimeout, IsNotTakenForTheEndOfTheAnswer) {
  const ScratchFolder folder;
  ScriptedServer server({{ReadHeader(), SendBytes("HTTP/1.0 200 OK\r\n\r\nabc"), AwaitSignal()}});

  EXPECT_EQ(RunQnget({kTimeout, "-o", folder.path("f"), LocalUrl(server.port())}).exit_code, 4);

  EXPECT_EQ(folder.names(), std::vector<std::string>{});
}

TEST(QngetTimeout, EndsARawTransferToo) {
  ScriptedServer server({{ReadHeader(), SendBytes("HTTP/1.0 200 OK\r\n\r\nabc"), AwaitSignal()}});

  EXPECT_EQ(RunQnget({kTimeout, "--raw", LocalUrl(server.port())}).exit_code, 4);
}

TEST(QngetTimeout, EndsTheWaitForAPeerThatDoesNotRead) {
  ScriptedServer server({{ReadHeader(), AwaitSignal()}});

  const ProcessResult result = RunQnget({"--timeout=1", "--data", "-", LocalUrl(server.port())},
                                        {.input = std::string(20000000, 'x')});

  EXPECT_EQ(result.exit_code, 4);
  EXPECT_EQ(result.error, Message("timed out after 1 second, while sending to server " +
                                  Loopback(server.port())));
}

TEST(QngetTimeout, EndsTheWaitForTheInput) {
  const RefusingPort port;

  Process program(QngetCommand({kTimeout, "--data", "-", LocalUrl(port.port())}),
                  {.keep_input_open = true});
  const ProcessResult result = program.wait();

  EXPECT_EQ(result.exit_code, 4);
  EXPECT_EQ(result.error, TimedOut("reading the request body"));
}

TEST(QngetTimeout, EndsTheWaitForAReaderOfTheOutput) {
  const ScratchFolder folder;
  const std::string fifo = folder.path("fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);

  const ProcessResult result = RunQnget({kTimeout, "-o", fifo, "http://127.0.0.1:9/"});

  EXPECT_EQ(result.exit_code, 4);
  EXPECT_EQ(result.error, TimedOut("writing the output"));
}

TEST(QngetTimeout, EndsTheWaitForAReaderOfTheTrace) {
  const ScratchFolder folder;
  const std::string fifo = folder.path("fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);

  const ProcessResult result = RunQnget({kTimeout, "--trace", fifo, "http://127.0.0.1:9/"});

  EXPECT_EQ(result.exit_code, 4);
  EXPECT_EQ(result.error, TimedOut("opening the trace file"));
}

TEST(QngetTimeout, EndsTheWaitForRoomInTheOutput) {
  const ScratchFolder folder;
  const std::string fifo = folder.path("fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const int reader = open(fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  ScriptedServer server({AnswerWith(Answer(std::string(300000, 'x')))});

  const ProcessResult result = RunQnget({kTimeout, "-o", fifo, LocalUrl(server.port())});
  close(reader);

  EXPECT_EQ(result.exit_code, 4);
  EXPECT_EQ(result.error, TimedOut("writing the output"));
}

TEST(QngetTimeout, EndsThePauseBeforeARetry) {
  const RefusingPort port;

  const ProcessResult result = RunQnget({kTimeout, "--retry", "1", LocalUrl(port.port())});

  EXPECT_EQ(result.exit_code, 4);
  EXPECT_THAT(result.error, testing::EndsWith(TimedOut("waiting to try again")));
}

TEST(QngetTimeout, EndsTheResolverOneSecondLater) {
  const ScratchFolder folder;
  const std::string file = folder.write("kept", "old");
  const auto begin = Clock::now();

  const ProcessResult result = RunProgram(
      SlowResolverCommand({kTimeout, "-o", file, "-p", "1.2.3.4.5:80", "http://mms.invalid/"}));

  EXPECT_EQ(result.exit_code, 4);
  EXPECT_EQ(result.error, TimedOut("resolving proxy 1.2.3.4.5:80"));
  EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(1500));
  EXPECT_EQ(folder.read("kept"), "old");
  EXPECT_EQ(folder.names(), std::vector<std::string>{"kept"});
}

TEST(QngetTimeout, DoesNothingToATransferThatIsQuickEnough) {
  ScriptedServer server({AnswerWith(Answer("abc"))});

  const ProcessResult result = RunQnget({"--timeout", "30", LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "abc");
}

}  // namespace
}  // namespace qntest
