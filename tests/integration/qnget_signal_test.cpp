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

class QngetSignal : public testing::TestWithParam<int> {
 protected:
  Words ToOldFile() const {
    return {"-i", "-o", folder_.write("kept", "old"), LocalUrl(server_.port())};
  }

  // The signal comes when there are so many files.
  void ExpectEndsWithItsHalfFile(Process &program, std::size_t files) const {
    ASSERT_TRUE(program.WaitForError("url: "));
    ASSERT_EQ(folder_.names().size(), files);

    program.SendSignal(GetParam());

    EXPECT_EQ(program.wait().signal, GetParam());
    EXPECT_EQ(folder_.names(), Words{"kept"});
    EXPECT_EQ(folder_.read("kept"), "old");
  }

  const ScratchFolder folder_;
  ScriptedServer server_{{HalfABody()}};
};

TEST_P(QngetSignal, EndsTheProgramAndItsHalfFile) {
  Process program(QngetCommand(ToOldFile()));

  ExpectEndsWithItsHalfFile(program, 1);
}

// There the half file has a name while it grows.
TEST_P(QngetSignal, EndsTheHalfFileOfAMediumWithoutUnnamedOnes) {
  if (const std::string problem = ProblemOfTracing(); !problem.empty()) GTEST_SKIP() << problem;
  // The tracer is not what a signal reaches.
  Process program(TracedCommand(Joined(NoUnnamedFilesIn(folder_.path()), {"-D"}), ToOldFile()),
                  {.environment = kTracedEnvironment});

  ExpectEndsWithItsHalfFile(program, 2);
}

TEST_P(QngetSignal, EndsAPauseBeforeARetry) {
  const RefusingPort port;
  Process program(QngetCommand({"--retry", "1", "-o", folder_.path("f"), LocalUrl(port.port())}));
  ASSERT_TRUE(program.WaitForError("; retry 1 of 1"));

  program.SendSignal(GetParam());

  EXPECT_EQ(program.wait().signal, GetParam());
  EXPECT_EQ(folder_.names(), Words{});
}

TEST_P(QngetSignal, IsIgnoredWhereTheCallerIgnoresIt) {
  Process program(InShell("trap '' HUP INT TERM; exec \"$@\"",
                          QngetCommand({"-i", "-o", folder_.path("f"), LocalUrl(server_.port())})));
  ASSERT_TRUE(program.WaitForError("url: "));

  program.SendSignal(GetParam());
  server_.Signal();

  EXPECT_EQ(program.wait().exit_code, 0);
  EXPECT_EQ(folder_.read("f"), kHalfABody + kRest);
}

INSTANTIATE_TEST_SUITE_P(Qnget, QngetSignal, testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](const auto &test) { return std::string(sigabbrev_np(test.param)); });

}  // namespace
}  // namespace qntest
