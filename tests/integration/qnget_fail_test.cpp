// SPDX-License-Identifier: MIT
// --fail keeps the body of an answer back whose status is 400 or above.
#include <gtest/gtest.h>

#include "qnget_program.h"
#include "support/process.h"
#include "support/scratch_folder.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

TEST(QngetFail, LeavesTheExitCodeAndOneLine) {
  ScriptedServer server({AnswerWith(Answer("sorry", "", "400 Bad Request"))});

  const ProcessResult result = RunQnget({"--fail", LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 22);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.error, Message("the answer has status 400"));
}

TEST(QngetFail, TellsOfTheAnswerAllTheSame) {
  ScriptedServer server({AnswerWith(Answer("sorry", "", "404 Not Found"))});

  const ProcessResult result = RunQnget({"-f", "-i", LocalUrl(server.port())});

  EXPECT_TRUE(result.error.starts_with("status: 404\n"));
}

TEST(QngetFail, ReplacesNoFile) {
  const ScratchFolder folder;
  const std::string file = folder.write("f", "old");
  ScriptedServer server({AnswerWith(Answer("sorry", "", "503 Later"))});

  EXPECT_EQ(RunQnget({"-f", "-o", file, LocalUrl(server.port())}).exit_code, 22);

  EXPECT_EQ(folder.read("f"), "old");
  EXPECT_EQ(folder.names(), std::vector<std::string>{"f"});
}

TEST(QngetFail, LetsAGoodAnswerPass) {
  ScriptedServer server({AnswerWith(Answer("fine"))});

  const ProcessResult result = RunQnget({"-f", LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "fine");
}

}  // namespace
}  // namespace qntest
