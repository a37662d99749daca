// SPDX-License-Identifier: MIT
// Which settings of qnget count: those of an operator over the general ones,
// none where a call says so, and all of them or no call at all.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

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
using testing::Not;
using testing::StartsWith;

// By it one qnget at a time works in a root.
constexpr const char *kLockFile = "/.qnget.lock";

class QngetSettings : public RootFolder {
 protected:
  // The request that a call makes straight to a server.
  std::string Request(const Words &words = {}) const {
    return RequestOf(Rooted(Joined(words, {kUrl})));
  }
};

const Words kOfRed{"--operator", "red"};

TEST_F(QngetSettings, AreTheGeneralOnesWithTheOperatorsOverThem) {
  Set("user-agent", "anybody's");
  Set("accept", "a/b");
  Set("user-agent", "red's", kOfRed);

  EXPECT_THAT(Request(), HasSubstr("User-Agent: anybody's\r\n"));
  const std::string red = Request(kOfRed);
  EXPECT_THAT(red, HasSubstr("User-Agent: red's\r\n"));
  EXPECT_THAT(red, HasSubstr("Accept: a/b\r\n"));
}

TEST_F(QngetSettings, OfSeveralOperatorsStandApart) {
  Set("user-agent", "red's", kOfRed);
  Set("user-agent", "blue's", {"--operator", "blue-2_x"});

  EXPECT_THAT(Request(kOfRed), HasSubstr("User-Agent: red's\r\n"));
  EXPECT_THAT(Request({"--operator", "blue-2_x"}), HasSubstr("User-Agent: blue's\r\n"));
  EXPECT_EQ(Run({"--operator", "red", "config", "list"}).output, "user-agent: red's\n");
  EXPECT_TRUE(fs::exists(root_ + "/operator-red.ini"));
}

TEST_F(QngetSettings, OfAnOperatorMustBeThere) {
  EXPECT_THAT(Run({"--operator", "green", "http://127.0.0.1:9/"}),
              FailsWith(1, "there are no settings of operator green"));
  EXPECT_FALSE(fs::exists(root_));
}

TEST_F(QngetSettings, AreOverriddenByAnEmptyProxy) {
  const RefusingPort nobody;
  Set("proxy", Loopback(nobody.port()));

  EXPECT_THAT(Request({"--proxy", ""}), StartsWith("GET / HTTP/1.0\r\n"));
  EXPECT_THAT(Request({"--proxy="}), StartsWith("GET / HTTP/1.0\r\n"));
}

TEST_F(QngetSettings, AreOverriddenByAnEmptyHeaderValue) {
  for (const char *key : {"user-agent", "profile", "accept", "accept-language"}) {
    Set(key, "set");
  }

  const std::string request =
      Request({"--user-agent", "", "--profile", "", "--accept", "", "--accept-language", ""});

  EXPECT_THAT(request, HasSubstr("User-Agent: MRV-WIN"));
  EXPECT_THAT(request, HasSubstr("Accept-Language: en\r\n"));
  EXPECT_THAT(request, Not(HasSubstr(": set\r\n")));
  EXPECT_THAT(request, Not(HasSubstr(": \r\n")));
}

// No call is so quick.
TEST_F(QngetSettings, AreOverriddenByAnEmptyTimeout) {
  Set("timeout", "0.001");

  EXPECT_THAT(Request({"--timeout", ""}), StartsWith("GET / HTTP/1.0\r\n"));
}

TEST_F(QngetSettings, OfAnOperatorCanUndoAGeneralOne) {
  const RefusingPort nobody;
  Set("proxy", Loopback(nobody.port()));
  Set("proxy", "", kOfRed);

  EXPECT_THAT(Request(kOfRed), StartsWith("GET / HTTP/1.0\r\n"));
}

TEST_F(QngetSettings, StandInTheUsersConfigurationFolder) {
  const auto set = [](const std::vector<std::string> &environment) {
    return RunQnget({"config", "set", "accept", "a/b"}, {.environment = environment}).exit_code;
  };

  EXPECT_EQ(set({"XDG_CONFIG_HOME=" + folder_.path("conf")}), 0);
  EXPECT_EQ(set({"XDG_CONFIG_HOME=relative", "HOME=" + folder_.path("home")}), 0);

  EXPECT_TRUE(fs::exists(folder_.path("conf/qnget/settings.ini")));
  EXPECT_TRUE(fs::exists(folder_.path("home/.config/qnget/settings.ini")));
}

// What makes a file of settings one that cannot be read.
struct Unreadable {
  const char *name;
  void (*make)(const std::string &root);
  const char *reason;  // behind the root's name
};

void Write(const std::string &file) {
  EXPECT_EQ(RunProgram({"cp", "/dev/null", file}).exit_code, 0);
}

const Unreadable kUnreadables[] = {
    {"ThatIsAFolder", [](const auto &root) { fs::create_directory(root + "/settings.ini"); },
     "/settings.ini: not a file"},
    {"ThatIsALinkOutOfTheRoot",
     [](const auto &root) {
       Write(root + "/../elsewhere.ini");
       fs::create_symlink("../elsewhere.ini", root + "/settings.ini");
     },
     "/settings.ini: a link that leads to no file below this folder"},
    {"ThatIsALinkToNothing",
     [](const auto &root) { fs::create_symlink("nothing", root + "/settings.ini"); },
     "/settings.ini: a link that leads to no file below this folder"},
    {"ThatMayNotBeRead",
     [](const auto &root) {
       Write(root + "/settings.ini");
       fs::permissions(root + "/settings.ini", fs::perms::none);
     },
     "/settings.ini: Permission denied"},
    {"WhoseBackupMayNotBeRead",
     [](const auto &root) {
       Write(root + "/settings.ini");
       Write(root + "/settings.ini.bak");
       fs::permissions(root + "/settings.ini.bak", fs::perms::none);
     },
     "/settings.ini.bak: Permission denied"},
    {"WhoseBackupIsAFolder",
     [](const auto &root) { fs::create_directory(root + "/settings.ini.bak"); },
     "/settings.ini.bak: not a file"},
};

// A command as a user whom permissions concern.
Words AsUser(const Words &command) {
  const std::string none = "-dac_override,-dac_read_search";
  if (geteuid() != 0) return command;
  return Joined({"/usr/bin/setpriv", "--bounding-set=" + none, "--inh-caps=" + none, "--"},
                command);
}

TEST_F(QngetSettings, ThatCannotBeReadLetNoRequestGoOutAndAreNeitherShownNorChanged) {
  ScriptedServer server({});
  for (const Unreadable &row : kUnreadables) {
    SCOPED_TRACE(row.name);
    fs::remove_all(root_);
    fs::create_directory(root_);
    row.make(root_);
    for (const Words &arguments : {Words{LocalUrl(server.port())},
                                   {"--cache", LocalUrl(server.port())},
                                   {"config", "get", "proxy"},
                                   {"config", "list"},
                                   {"config", "set", "accept", "a/b"},
                                   {"config", "unset", "proxy"}}) {
      SCOPED_TRACE(testing::PrintToString(arguments));
      const ProcessResult result = RunProgram(AsUser(QngetCommand(Rooted(arguments))));

      EXPECT_THAT(result, FailsWith(6, "could not read " + root_ + row.reason));
      EXPECT_EQ(result.output, "");
    }
  }
  EXPECT_EQ(server.accepted(), 0u);
}

TEST_F(QngetSettings, BelowAFolderThatCannotBeOpenedLetNoRequestGoOut) {
  folder_.write("root", "");
  ScriptedServer server({});

  for (const Words &arguments :
       {Words{LocalUrl(server.port())}, {"config", "set", "accept", "a/b"}}) {
    EXPECT_THAT(Run(arguments),
                FailsWith(6, "could not open folder " + root_ + ": Not a directory"));
  }
  EXPECT_EQ(server.accepted(), 0u);
}

TEST_F(QngetSettings, OfAnOperatorMustBeReadableToo) {
  fs::create_directories(root_ + "/operator-red.ini");

  EXPECT_THAT(Run({"--operator", "red", "http://127.0.0.1:9/"}),
              FailsWith(6, "could not read " + root_ + "/operator-red.ini: not a file"));
}

// The folder of the settings in the hand of another qnget.
class QngetLockedSettings : public QngetSettings {
 protected:
  QngetLockedSettings() {
    fs::create_directory(root_);
    lock_ = open((root_ + kLockFile).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    EXPECT_EQ(flock(lock_, LOCK_EX), 0);
  }
  ~QngetLockedSettings() override { close(lock_); }

  int lock_ = -1;
};

TEST_F(QngetLockedSettings, AreWaitedForAsLongAsTheTimeLasts) {
  for (const Words &words :
       {Words{"http://127.0.0.1:9/"}, {"config", "list"}, {"config", "set", "accept", "a/b"}}) {
    SCOPED_TRACE(testing::PrintToString(words));
    EXPECT_THAT(Run(Joined({"--timeout", "0.05"}, words)),
                FailsWith(6, "folder " + root_ + " is in use by another qnget"));
  }
}

TEST_F(QngetSettings, AreLockedByAFileThatReadingDoesNotMake) {
  WriteSettings(SettingLine("accept", "a/b"));

  EXPECT_EQ(Run({"config", "get", "accept"}).output, "a/b\n");
  EXPECT_FALSE(fs::exists(root_ + kLockFile));

  EXPECT_EQ(Run({"config", "unset", "accept"}).exit_code, 0);
  EXPECT_TRUE(fs::exists(root_ + kLockFile));
}

TEST_F(QngetSettings, AreNotLockedByWhatIsNoFile) {
  fs::create_directories(root_ + kLockFile);

  EXPECT_THAT(Run({"config", "set", "accept", "a/b"}),
              FailsWith(6, "could not lock folder " + root_ + ": Is a directory"));
}

TEST_F(QngetLockedSettings, CountWhenTheyAreLetGo) {
  WriteSettings(SettingLine("accept", "a/b"));
  Process program(QngetCommand(Rooted({"config", "get", "accept"})));
  EXPECT_FALSE(program.WaitForOutput("a/b", std::chrono::milliseconds(50)));
  close(lock_);
  lock_ = -1;

  EXPECT_EQ(program.wait().output, "a/b\n");
}

}  // namespace
}  // namespace qntest
