// SPDX-License-Identifier: MIT
// Ctrl-C and its kin: qnget dies of the signal and leaves no half file.
#include <gtest/gtest.h>

#include <signal.h>

#include "qnget_program.h"
#include "qnget_traced.h"
#include "support/process.h"
#include "support/scratch_folder.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

// Enough of a body that the library hands some of it out, and a rest that waits.
ConnectionScript HalfABody() {
  return {ReadHeader(),  SendBytes("HTTP/1.0 200 OK\r\n\r\n" + std::string(30000, 'x')),
          AwaitSignal(), SendBytes("the rest"),
          HalfClose(),   ReadToEnd()};
}

class QngetSignal : public testing::TestWithParam<int> {
 protected:
  const ScratchFolder folder_;
  ScriptedServer server_{{HalfABody()}};
};

TEST_P(QngetSignal, EndsTheProgramAndItsHalfFile) {
  const std::string file = folder_.write("kept", "old");
  Process program(QngetCommand({"-i", "-o", file, LocalUrl(server_.port())}));
  ASSERT_TRUE(program.WaitForError("url: "));

  program.SendSignal(GetParam());

  EXPECT_EQ(program.wait().signal, GetParam());
  EXPECT_EQ(folder_.names(), std::vector<std::string>{"kept"});
  EXPECT_EQ(folder_.read("kept"), "old");
}

// There the half file has a name while it grows.
TEST_P(QngetSignal, EndsTheHalfFileOfAMediumWithoutUnnamedOnes) {
  if (const std::string problem = ProblemOfTracing(); !problem.empty()) GTEST_SKIP() << problem;
  const std::string file = folder_.write("kept", "old");
  std::vector<std::string> strace = NoUnnamedFilesIn(folder_.path());
  strace.push_back("-D");  // the tracer is not what a signal reaches
  Process program(TracedCommand(strace, {"-i", "-o", file, LocalUrl(server_.port())}),
                  {.environment = kTracedEnvironment});
  ASSERT_TRUE(program.WaitForError("url: "));
  ASSERT_EQ(folder_.names().size(), 2u);

  program.SendSignal(GetParam());

  EXPECT_EQ(program.wait().signal, GetParam());
  EXPECT_EQ(folder_.names(), std::vector<std::string>{"kept"});
  EXPECT_EQ(folder_.read("kept"), "old");
}

TEST_P(QngetSignal, EndsAPauseBeforeARetry) {
  const RefusingPort port;
  Process program(QngetCommand({"--retry", "1", "-o", folder_.path("f"), LocalUrl(port.port())}));
  ASSERT_TRUE(program.WaitForError("; retry 1 of 1"));

  program.SendSignal(GetParam());

  EXPECT_EQ(program.wait().signal, GetParam());
  EXPECT_EQ(folder_.names(), std::vector<std::string>{});
}

TEST_P(QngetSignal, IsIgnoredWhereTheCallerIgnoresIt) {
  std::vector<std::string> command{"sh", "-c", "trap '' HUP INT TERM; exec \"$@\"", "sh"};
  const std::vector<std::string> qnget =
      QngetCommand({"-i", "-o", folder_.path("f"), LocalUrl(server_.port())});
  command.insert(command.end(), qnget.begin(), qnget.end());
  Process program(command);
  ASSERT_TRUE(program.WaitForError("url: "));

  program.SendSignal(GetParam());
  server_.Signal();

  EXPECT_EQ(program.wait().exit_code, 0);
  EXPECT_EQ(folder_.read("f"), std::string(30000, 'x') + "the rest");
}

INSTANTIATE_TEST_SUITE_P(Qnget, QngetSignal, testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](const auto &test) { return std::string(sigabbrev_np(test.param)); });

}  // namespace
}  // namespace qntest
