// SPDX-License-Identifier: MIT
// The time limit of qnget: whatever it waits for, it ends with exit code 4,
// says what it waited for and leaves no file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <chrono>
#include <memory>

#include "qnget_program.h"
#include "support/loopback.h"
#include "support/process.h"
#include "support/scratch_folder.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

using Clock = std::chrono::steady_clock;

const char *const kTimeout = "--timeout=0.5";

std::string TimedOut(const std::string &doing) {
  return "timed out after 0.5 seconds, while " + doing;
}

struct Wait {
  Words arguments;
  std::string doing;
  ProcessOptions options = {};
};

// The waits last beside each other, so that the test waits once.
void ExpectTimeouts(const std::vector<Wait> &waits) {
  std::vector<std::unique_ptr<Process>> programs;
  for (const Wait &wait : waits) {
    programs.push_back(
        std::make_unique<Process>(QngetCommand(Joined({kTimeout}, wait.arguments)), wait.options));
  }
  for (std::size_t i = 0; i < waits.size(); ++i) {
    SCOPED_TRACE(testing::PrintToString(waits[i].arguments));
    EXPECT_THAT(programs[i]->wait(), FailsWith(4, TimedOut(waits[i].doing)));
  }
}

TEST(QngetTimeout, EndsTheWaitForAPeer) {
  const ScratchFolder folder;
  const FullPort full;
  const ConnectionScript silence{ReadHeader(), AwaitSignal()};
  ScriptedServer silent({silence, silence});
  const std::string url = LocalUrl(silent.port());
  // The library takes the interruption for the end of the answer.
  const ConnectionScript beginning{ReadHeader(), SendBytes("HTTP/1.0 200 OK\r\n\r\nabc"),
                                   AwaitSignal()};
  ScriptedServer begun({beginning, beginning, HalfABody()});
  const std::string begun_url = LocalUrl(begun.port());
  const std::string file = folder.path("f");

  ExpectTimeouts({
      {{LocalUrl(full.port())}, "connecting to server " + Loopback(full.port())},
      {{url}, "receiving from server " + Loopback(silent.port())},
      {{"-p", Loopback(silent.port()), "http://mms.invalid/"},
       "receiving from proxy " + Loopback(silent.port())},
      {{"-o", file, begun_url}, "receiving from server " + Loopback(begun.port())},
      {{"--raw", begun_url}, "receiving from server " + Loopback(begun.port())},
      {{"-o", file, begun_url}, "receiving from server " + Loopback(begun.port())},
  });

  EXPECT_EQ(folder.names(), Words{});
}

TEST(QngetTimeout, EndsTheWaitForAFile) {
  const ScratchFolder folder;
  const std::string fifo = folder.path("fifo");
  const std::string full_fifo = folder.path("full");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600) + mkfifo(full_fifo.c_str(), 0600), 0);
  const Descriptor reader(open(full_fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  ScriptedServer server({AnswerWith(Answer(std::string(300000, 'x')))});
  const std::string nowhere = "http://127.0.0.1:9/";

  ExpectTimeouts({
      {{"--data", "-", nowhere}, "reading the request body", {.keep_input_open = true}},
      {{"-o", fifo, nowhere}, "writing the output"},
      {{"--trace", fifo, nowhere}, "opening the trace file"},
      {{"-o", full_fifo, LocalUrl(server.port())}, "writing the output"},
  });
}

TEST(QngetTimeout, EndsTheWaitForAPeerThatDoesNotRead) {
  const ScratchFolder folder;
  const std::string body = folder.write("body", std::string(20000000, 'x'));

  EXPECT_THAT(RunOn({{ReadHeader(), AwaitSignal()}}, {"--timeout=1", "--data", body, kUrl}),
              FailsWith(4, "timed out after 1 second, while sending to server HOST:PORT"));
}

TEST(QngetTimeout, EndsThePauseBeforeARetry) {
  const RefusingPort port;

  const ProcessResult result = RunQnget({kTimeout, "--retry", "1", LocalUrl(port.port())});

  EXPECT_EQ(result.exit_code, 4);
  EXPECT_THAT(result.error, testing::EndsWith(Message(TimedOut("waiting to try again"))));
}

TEST(QngetTimeout, EndsTheResolverOneSecondLater) {
  const ScratchFolder folder;
  const std::string file = folder.write("kept", "old");
  const auto begin = Clock::now();

  const ProcessResult result = RunProgram(
      SlowResolverCommand({kTimeout, "-o", file, "-p", "1.2.3.4.5:80", "http://mms.invalid/"}));

  EXPECT_THAT(result, FailsWith(4, TimedOut("resolving proxy 1.2.3.4.5:80")));
  EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(1500));
  EXPECT_EQ(folder.read("kept"), "old");
  EXPECT_EQ(folder.names(), Words{"kept"});
}

TEST(QngetTimeout, DoesNothingToATransferThatIsQuickEnough) {
  EXPECT_THAT(RunOnAnswer(Answer("abc"), {"--timeout", "30", kUrl}), Delivers("abc"));
}

}  // namespace
}  // namespace qntest
