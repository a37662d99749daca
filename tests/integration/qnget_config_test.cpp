// SPDX-License-Identifier: MIT
// The settings of qnget: what is set counts as a default in later calls, per
// operator, and the file of them stays whole.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <memory>

#include "qnget_program.h"
#include "support/process.h"
#include "support/scratch_folder.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

class QngetConfig : public testing::Test {
 protected:
  ProcessResult Run(const std::vector<std::string> &arguments) const {
    std::vector<std::string> all{"--root", root_};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return RunQnget(all);
  }

  void Set(const std::string &key, const std::string &value) const {
    EXPECT_EQ(Run({"config", "set", key, value}).exit_code, 0);
  }

  // The request that a call makes, and the call's result.
  std::string Request(const std::vector<std::string> &arguments = {}) const {
    ScriptedServer server({AnswerWith(Answer("abc"))});
    std::vector<std::string> all = arguments;
    all.push_back(LocalUrl(server.port()));
    EXPECT_EQ(Run(all).exit_code, 0);
    return server.Received(0);
  }

  const ScratchFolder folder_;
  const std::string root_ = folder_.path("root");
};

TEST_F(QngetConfig, GivesBackWhatWasSet) {
  Set("user-agent", "Demo 1.0, \"quoted\"");

  const ProcessResult result = Run({"config", "get", "user-agent"});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "Demo 1.0, \"quoted\"\n");
  EXPECT_EQ(result.error, "");
}

TEST_F(QngetConfig, ReplacesInPlace) {
  Set("proxy", "127.0.0.1:1");
  Set("accept", "a/b");
  Set("proxy", "127.0.0.1:2");

  EXPECT_EQ(Run({"config", "list"}).output, "proxy: 127.0.0.1:2\naccept: a/b\n");
}

TEST_F(QngetConfig, ForgetsWhatIsUnset) {
  Set("proxy", "127.0.0.1:1");
  Set("accept", "a/b");
  EXPECT_EQ(Run({"config", "unset", "proxy"}).exit_code, 0);

  EXPECT_EQ(Run({"config", "list"}).output, "accept: a/b\n");
  EXPECT_EQ(folder_.read("root/settings.ini"), std::string("accept\0a/b\0\n", 12));
}

TEST_F(QngetConfig, SaysWhatIsNotSet) {
  const ProcessResult result = Run({"config", "get", "proxy"});

  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.error, Message("proxy is not set"));
}

TEST_F(QngetConfig, UnsetsWhatIsNotSetWithoutAFile) {
  EXPECT_EQ(Run({"config", "unset", "proxy"}).exit_code, 0);
  EXPECT_EQ(Run({"config", "list"}).output, "");

  EXPECT_FALSE(fs::exists(root_));
}

TEST_F(QngetConfig, UnsetsAKeyThatStandsTwice) {
  fs::create_directory(root_);
  folder_.write("root/settings.ini", std::string("accept\0a\0\naccept\0b\0\n", 20));

  Run({"config", "unset", "accept"});

  EXPECT_EQ(Run({"config", "get", "accept"}).exit_code, 1);
}

TEST_F(QngetConfig, KeepsItsFileForItsOwnerAlone) {
  Set("accept", "a/b");

  struct stat found {};
  ASSERT_EQ(stat((root_ + "/settings.ini").c_str(), &found), 0);
  EXPECT_EQ(found.st_mode & 07777, 0600u);
  ASSERT_EQ(stat(root_.c_str(), &found), 0);
  EXPECT_EQ(found.st_mode & 07777, 0700u);
}

TEST_F(QngetConfig, BringsBackWhatAnInterruptedWriteLeft) {
  fs::create_directory(root_);
  folder_.write("root/settings.ini.bak", std::string("accept\0a/b\0\n", 12));

  EXPECT_EQ(Run({"config", "get", "accept"}).output, "a/b\n");
}

TEST_F(QngetConfig, FailsWithAFileForARoot) {
  folder_.write("root", "");

  const ProcessResult result = Run({"config", "set", "accept", "a/b"});

  EXPECT_EQ(result.exit_code, 6);
  EXPECT_EQ(result.error, Message("could not open folder " + root_ + ": Not a directory"));
}

struct Default {
  const char *name;
  const char *key;
  const char *header;
};

void PrintTo(const Default &setting, std::ostream *out) { *out << setting.name; }

class QngetSettingOf : public QngetConfig, public testing::WithParamInterface<Default> {};

TEST_P(QngetSettingOf, IsADefault) {
  Set(GetParam().key, "set");

  EXPECT_THAT(Request(), HasSubstr(std::string(GetParam().header) + ": set\r\n"));
}

TEST_P(QngetSettingOf, IsOverriddenByTheOption) {
  Set(GetParam().key, "set");

  const std::string request = Request({std::string("--") + GetParam().key, "given"});

  EXPECT_THAT(request, HasSubstr(std::string(GetParam().header) + ": given\r\n"));
  EXPECT_THAT(request, Not(HasSubstr(": set\r\n")));
}

const Default kDefaults[] = {
    {"UserAgent", "user-agent", "User-Agent"},
    {"Profile", "profile", "Profile"},
    {"Accept", "accept", "Accept"},
    {"AcceptLanguage", "accept-language", "Accept-Language"},
};

INSTANTIATE_TEST_SUITE_P(Qnget, QngetSettingOf, testing::ValuesIn(kDefaults),
                         [](const auto &test) { return std::string(test.param.name); });

TEST_F(QngetConfig, SetsTheProxyOfLaterCalls) {
  ScriptedServer gateway({AnswerWith(Answer("abc"))});
  Set("proxy", Loopback(gateway.port()));

  EXPECT_EQ(Run({"http://mms.example.com/m"}).output, "abc");

  EXPECT_THAT(gateway.Received(0),
              testing::StartsWith("GET http://mms.example.com/m HTTP/1.0\r\n"));
}

TEST_F(QngetConfig, SetsAProxyThatAnOptionOverrides) {
  const RefusingPort nobody;
  ScriptedServer gateway({AnswerWith(Answer("abc"))});
  Set("proxy", Loopback(nobody.port()));

  EXPECT_EQ(Run({"-p", Loopback(gateway.port()), "http://mms.example.com/"}).output, "abc");
}

TEST_F(QngetConfig, SetsTheTimeOfLaterCalls) {
  ScriptedServer server({{ReadHeader(), ReadToEnd()}});
  Set("timeout", "0.05");

  const ProcessResult result = Run({LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 4);
  EXPECT_THAT(result.error, HasSubstr("timed out after 0.05 seconds"));
}

TEST_F(QngetConfig, RefusesAValueThatNoOptionWouldTake) {
  fs::create_directory(root_);
  folder_.write("root/settings.ini", std::string("proxy\0gateway\0\n", 15));

  const ProcessResult result = Run({"http://127.0.0.1:9/"});

  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(
      result.error,
      Message(
          "setting proxy: not HOST:PORT or http://HOST:PORT with a port from 1 to 65535: gateway"));
}

TEST_F(QngetConfig, IgnoresKeysThatItDoesNotKnow) {
  fs::create_directory(root_);
  folder_.write("root/settings.ini", std::string("colour\0red\0\naccept\0a/b\0\n", 24));

  EXPECT_THAT(Request(), HasSubstr("Accept: a/b\r\n"));
}

TEST_F(QngetConfig, SurvivesAFileOfScatteredBytes) {
  fs::create_directory(root_);
  folder_.write("root/settings.ini", ScatteredBytes(3000));

  EXPECT_THAT(Request(), testing::StartsWith("GET / HTTP/1.0\r\n"));
}

TEST_F(QngetConfig, NeedsAFolderOnlyToSet) {
  ScriptedServer server({AnswerWith(Answer("abc"))});
  const ProcessOptions homeless{.environment = {"XDG_CONFIG_HOME=relative", "HOME="}};

  const ProcessResult fetch = RunQnget({LocalUrl(server.port())}, homeless);
  const ProcessResult set = RunQnget({"config", "set", "accept", "a/b"}, homeless);

  EXPECT_EQ(fetch.output, "abc");
  EXPECT_EQ(fetch.error, "");
  EXPECT_EQ(set.exit_code, 6);
  EXPECT_EQ(set.error, Message("there is no folder of the user; give one by --root"));
}

TEST_F(QngetConfig, TakesItsNameForAnOptionsValue) {
  ScriptedServer server({AnswerWith(Answer("abc"))});

  RunQnget({"-o", "config", LocalUrl(server.port())}, {.folder = folder_.path()});

  EXPECT_EQ(folder_.read("config"), "abc");
}

TEST_F(QngetConfig, LosesNothingWhenManySetAtOnce) {
  const std::vector<std::pair<std::string, std::string>> all = {
      {"proxy", "127.0.0.1:1"}, {"user-agent", "agent"},   {"profile", "http://p/"},
      {"accept", "a/b"},        {"accept-language", "eo"}, {"timeout", "7"}};
  for (int round = 0; round < 5; ++round) {
    fs::remove_all(root_);
    std::vector<std::unique_ptr<Process>> programs;
    for (const auto &[key, value] : all) {
      programs.push_back(
          std::make_unique<Process>(QngetCommand({"--root", root_, "config", "set", key, value})));
    }
    for (const auto &program : programs) EXPECT_EQ(program->wait().exit_code, 0);

    const std::string list = Run({"config", "list"}).output;
    for (const auto &[key, value] : all) {
      EXPECT_THAT("\n" + list, HasSubstr("\n" + key + ": " + value + "\n"));
    }
  }
}

}  // namespace
}  // namespace qntest
