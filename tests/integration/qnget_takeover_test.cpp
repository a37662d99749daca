// SPDX-License-Identifier: MIT
// That qnget moves the settings which still stand in the folder of the cache,
// once, and loses nothing where that is interrupted.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "qnget_program.h"
#include "qnget_root_folder.h"
#include "support/process.h"
#include "support/scratch_folder.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

const std::string kMark = "conf/qnget/settings-are-being-taken-over";

class QngetTakeover : public testing::Test {
 protected:
  QngetTakeover() {
    fs::create_directories(folder_.path("old/qnget"));
    fs::create_directories(folder_.path("conf"));
  }

  ProcessOptions InFolders() const {
    return {.environment = {"XDG_CACHE_HOME=" + folder_.path("old"),
                            "XDG_CONFIG_HOME=" + folder_.path("conf")}};
  }

  ProcessResult Run(const Words &arguments) const { return RunQnget(arguments, InFolders()); }

  std::string Said() const {
    return Message("settings have moved from " + folder_.path("old/qnget") + " to " +
                   folder_.path("conf/qnget"));
  }

  const ScratchFolder folder_;
};

TEST_F(QngetTakeover, MovesAllSettingsOnce) {
  folder_.write("old/qnget/settings.ini", SettingLine("accept", "a/b"));
  folder_.write("old/qnget/operator-red.ini", SettingLine("accept", "c/d"));
  folder_.write("old/qnget/notes.ini", "mine");

  const ProcessResult first = Run({"config", "get", "accept"});
  const ProcessResult second = Run({"--operator", "red", "config", "get", "accept"});

  EXPECT_EQ(first.output, "a/b\n");
  EXPECT_EQ(first.error, Said());
  EXPECT_EQ(second.output, "c/d\n");
  EXPECT_EQ(second.error, "");
  EXPECT_EQ(folder_.read("conf/qnget/settings.ini"), SettingLine("accept", "a/b"));
  EXPECT_EQ(fs::status(folder_.path("conf/qnget/settings.ini")).permissions(), fs::perms(0600));
  EXPECT_FALSE(fs::exists(folder_.path("old/qnget/settings.ini")));
  EXPECT_FALSE(fs::exists(folder_.path("old/qnget/operator-red.ini")));
  EXPECT_FALSE(fs::exists(folder_.path(kMark)));
  EXPECT_EQ(folder_.read("old/qnget/notes.ini"), "mine");
}

TEST_F(QngetTakeover, ComesBeforeATransfer) {
  ScriptedServer gateway({AnswerWith(Answer("abc"))});
  folder_.write("old/qnget/settings.ini", SettingLine("proxy", Loopback(gateway.port())));

  const ProcessResult result = Run({"http://mms.invalid/m"});

  EXPECT_EQ(result.output, "abc");
  EXPECT_EQ(result.error, Said());
}

TEST_F(QngetTakeover, BringsTheBackupOfAnInterruptedSave) {
  folder_.write("old/qnget/settings.ini.bak", SettingLine("accept", "a/b"));

  EXPECT_EQ(Run({"config", "get", "accept"}).output, "a/b\n");
  EXPECT_FALSE(fs::exists(folder_.path("old/qnget/settings.ini.bak")));
}

TEST_F(QngetTakeover, LeavesSettingsThatAreThereAlone) {
  fs::create_directories(folder_.path("conf/qnget"));
  folder_.write("conf/qnget/operator-red.ini", SettingLine("accept", "new"));
  folder_.write("old/qnget/settings.ini", SettingLine("accept", "old"));

  EXPECT_THAT(Run({"config", "list"}), Delivers(""));
  EXPECT_TRUE(fs::exists(folder_.path("old/qnget/settings.ini")));
}

// As after a crash between two of the copies.
TEST_F(QngetTakeover, BeginsAgainWhereItWasInterrupted) {
  fs::create_directories(folder_.path("conf/qnget"));
  folder_.write(kMark, "");
  folder_.write("conf/qnget/operator-red.ini", SettingLine("accept", "c/"));
  folder_.write("old/qnget/operator-red.ini", SettingLine("accept", "c/d"));
  folder_.write("old/qnget/settings.ini", SettingLine("accept", "a/b"));

  EXPECT_EQ(Run({"config", "get", "accept"}).output, "a/b\n");
  EXPECT_EQ(Run({"--operator", "red", "config", "get", "accept"}).output, "c/d\n");
  EXPECT_FALSE(fs::exists(folder_.path(kMark)));
}

// As after a crash behind the last of the copies.
TEST_F(QngetTakeover, EndsWhereOnlyItsMarkIsLeft) {
  fs::create_directories(folder_.path("conf/qnget"));
  folder_.write(kMark, "");
  folder_.write("conf/qnget/settings.ini", SettingLine("accept", "a/b"));

  EXPECT_THAT(Run({"config", "get", "accept"}), Delivers("a/b\n"));
  EXPECT_FALSE(fs::exists(folder_.path(kMark)));
}

TEST_F(QngetTakeover, LosesNothingWhereItCannotBeDone) {
  folder_.write("old/qnget/settings.ini", SettingLine("accept", "a/b"));
  folder_.write("conf/qnget", "in the way");
  ScriptedServer server({});

  const ProcessResult result = Run({LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 6);
  EXPECT_THAT(result.error, HasSubstr(folder_.path("conf/qnget") + ": Not a directory"));
  EXPECT_EQ(server.accepted(), 0u);
  EXPECT_EQ(folder_.read("old/qnget/settings.ini"), SettingLine("accept", "a/b"));
}

TEST_F(QngetTakeover, NeverLeavesOutWhatItCannotRead) {
  fs::create_directories(folder_.path("old/qnget/settings.ini"));

  EXPECT_THAT(
      Run({"http://127.0.0.1:9/"}),
      FailsWith(6, "could not read " + folder_.path("old/qnget/settings.ini") + ": not a file"));
}

TEST_F(QngetTakeover, IsNoneWhereBothFoldersAreOne) {
  folder_.write("old/qnget/settings.ini", SettingLine("accept", "a/b"));

  EXPECT_THAT(RunQnget({"config", "get", "accept"},
                       {.environment = {"XDG_CACHE_HOME=" + folder_.path("old"),
                                        "XDG_CONFIG_HOME=" + folder_.path("old")}}),
              Delivers("a/b\n"));
}

TEST_F(QngetTakeover, IsNoneBelowAGivenRoot) {
  folder_.write("old/qnget/settings.ini", SettingLine("accept", "a/b"));

  EXPECT_THAT(Run({"--root", folder_.path("own"), "config", "list"}), Delivers(""));
  EXPECT_TRUE(fs::exists(folder_.path("old/qnget/settings.ini")));
}

// Each of many calls at once finds the settings, and one of them says that they moved.
TEST_F(QngetTakeover, IsDoneByOneOfManyCalls) {
  folder_.write("old/qnget/settings.ini", SettingLine("accept", "a/b"));
  std::vector<std::unique_ptr<Process>> programs;
  for (int i = 0; i < 8; ++i) {
    programs.push_back(
        std::make_unique<Process>(QngetCommand({"config", "get", "accept"}), InFolders()));
  }

  std::string said;
  for (const auto &program : programs) {
    const ProcessResult result = program->wait();
    EXPECT_EQ(result.output, "a/b\n");
    said += result.error;
  }
  EXPECT_EQ(said, Said());
}

}  // namespace
}  // namespace qntest
