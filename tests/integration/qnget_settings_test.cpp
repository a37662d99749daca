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

class QngetSettings : public testing::Test {
 protected:
  ProcessResult Run(const std::vector<std::string> &arguments) const {
    return RunQnget(Rooted(arguments));
  }

  std::vector<std::string> Rooted(const std::vector<std::string> &arguments) const {
    std::vector<std::string> all{"--root", root_};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return all;
  }

  void Set(const std::string &key, const std::string &value,
           const std::string &operator_name = {}) const {
    std::vector<std::string> words{"config", "set", key, value};
    if (!operator_name.empty()) words.insert(words.end(), {"--operator", operator_name});
    EXPECT_EQ(Run(words).exit_code, 0);
  }

  // The request that a call makes straight to a server.
  std::string Request(std::vector<std::string> words = {}) const {
    ScriptedServer server({AnswerWith(Answer("abc"))});
    words.push_back(LocalUrl(server.port()));
    EXPECT_EQ(Run(words).exit_code, 0);
    return server.Received(0);
  }

  const ScratchFolder folder_;
  const std::string root_ = folder_.path("root");
};

TEST_F(QngetSettings, AreTheGeneralOnesWithTheOperatorsOverThem) {
  Set("user-agent", "anybody's");
  Set("accept", "a/b");
  Set("user-agent", "red's", "red");

  EXPECT_THAT(Request(), HasSubstr("User-Agent: anybody's\r\n"));
  const std::string red = Request({"--operator", "red"});
  EXPECT_THAT(red, HasSubstr("User-Agent: red's\r\n"));
  EXPECT_THAT(red, HasSubstr("Accept: a/b\r\n"));
}

TEST_F(QngetSettings, OfSeveralOperatorsStandApart) {
  Set("user-agent", "red's", "red");
  Set("user-agent", "blue's", "blue-2_x");

  EXPECT_THAT(Request({"--operator", "red"}), HasSubstr("User-Agent: red's\r\n"));
  EXPECT_THAT(Request({"--operator", "blue-2_x"}), HasSubstr("User-Agent: blue's\r\n"));
  EXPECT_EQ(Run({"--operator", "red", "config", "list"}).output, "user-agent: red's\n");
  EXPECT_TRUE(fs::exists(root_ + "/operator-red.ini"));
}

TEST_F(QngetSettings, OfAnOperatorMustBeThere) {
  const ProcessResult result = Run({"--operator", "green", "http://127.0.0.1:9/"});

  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.error, Message("there are no settings of operator green"));
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
  Set("proxy", "", "red");

  EXPECT_THAT(Request({"--operator", "red"}), StartsWith("GET / HTTP/1.0\r\n"));
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
  std::string reason;  // behind the root's name
};

void PrintTo(const Unreadable &unreadable, std::ostream *out) { *out << unreadable.name; }

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

class QngetUnreadableSettings : public QngetSettings,
                                public testing::WithParamInterface<Unreadable> {
 protected:
  void SetUp() override {
    fs::create_directory(root_);
    GetParam().make(root_);
  }

  // As a user whom permissions concern.
  ProcessResult RunAsUser(const std::vector<std::string> &arguments) const {
    std::vector<std::string> command = QngetCommand(Rooted(arguments));
    if (geteuid() == 0) {
      const std::string none = "-dac_override,-dac_read_search";
      command.insert(command.begin(),
                     {"/usr/bin/setpriv", "--bounding-set=" + none, "--inh-caps=" + none, "--"});
    }
    return RunProgram(command);
  }

  void ExpectRefused(const std::vector<std::string> &arguments) const {
    SCOPED_TRACE(testing::PrintToString(arguments));
    const ProcessResult result = RunAsUser(arguments);

    EXPECT_EQ(result.exit_code, 6);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, Message("could not read " + root_ + GetParam().reason));
  }
};

INSTANTIATE_TEST_SUITE_P(Qnget, QngetUnreadableSettings, testing::ValuesIn(kUnreadables),
                         [](const auto &test) { return std::string(test.param.name); });

TEST_P(QngetUnreadableSettings, LetNoRequestGoOut) {
  ScriptedServer server({});

  ExpectRefused({LocalUrl(server.port())});
  ExpectRefused({"--cache", LocalUrl(server.port())});
  EXPECT_EQ(server.accepted(), 0u);
}

TEST_P(QngetUnreadableSettings, AreNeitherShownNorChanged) {
  ExpectRefused({"config", "get", "proxy"});
  ExpectRefused({"config", "list"});
  ExpectRefused({"config", "set", "accept", "a/b"});
  ExpectRefused({"config", "unset", "proxy"});
}

TEST_F(QngetSettings, BelowAFolderThatCannotBeOpenedLetNoRequestGoOut) {
  folder_.write("root", "");
  ScriptedServer server({});

  const ProcessResult result = Run({LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 6);
  EXPECT_EQ(result.error, Message("could not open folder " + root_ + ": Not a directory"));
  EXPECT_EQ(server.accepted(), 0u);
}

TEST_F(QngetSettings, OfAnOperatorMustBeReadableToo) {
  fs::create_directories(root_ + "/operator-red.ini");

  const ProcessResult result = Run({"--operator", "red", "http://127.0.0.1:9/"});

  EXPECT_EQ(result.exit_code, 6);
  EXPECT_EQ(result.error, Message("could not read " + root_ + "/operator-red.ini: not a file"));
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
  for (const std::vector<std::string> &words : {std::vector<std::string>{"http://127.0.0.1:9/"},
                                                {"config", "list"},
                                                {"config", "set", "accept", "a/b"}}) {
    SCOPED_TRACE(testing::PrintToString(words));
    std::vector<std::string> all{"--timeout", "0.05"};
    all.insert(all.end(), words.begin(), words.end());

    const ProcessResult result = Run(all);

    EXPECT_EQ(result.exit_code, 6);
    EXPECT_EQ(result.error, Message("folder " + root_ + " is in use by another qnget"));
  }
}

TEST_F(QngetSettings, AreLockedByAFileThatReadingDoesNotMake) {
  fs::create_directory(root_);
  folder_.write("root/settings.ini", std::string("accept\0a/b\0\n", 12));

  EXPECT_EQ(Run({"config", "get", "accept"}).output, "a/b\n");
  EXPECT_FALSE(fs::exists(root_ + kLockFile));

  EXPECT_EQ(Run({"config", "unset", "accept"}).exit_code, 0);
  EXPECT_TRUE(fs::exists(root_ + kLockFile));
}

TEST_F(QngetSettings, AreNotLockedByWhatIsNoFile) {
  fs::create_directories(root_ + kLockFile);

  const ProcessResult result = Run({"config", "set", "accept", "a/b"});

  EXPECT_EQ(result.exit_code, 6);
  EXPECT_EQ(result.error, Message("could not lock folder " + root_ + ": Is a directory"));
}

TEST_F(QngetLockedSettings, CountWhenTheyAreLetGo) {
  folder_.write("root/settings.ini", std::string("accept\0a/b\0\n", 12));
  Process program(QngetCommand(Rooted({"config", "get", "accept"})));
  EXPECT_FALSE(program.WaitForOutput("a/b", std::chrono::milliseconds(50)));
  close(lock_);
  lock_ = -1;

  EXPECT_EQ(program.wait().output, "a/b\n");
}

}  // namespace
}  // namespace qntest
