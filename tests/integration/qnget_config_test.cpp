// SPDX-License-Identifier: MIT
// The settings of qnget: what is set counts as a default in later calls, and the
// file of them stays whole.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

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

using QngetConfig = RootFolder;

TEST_F(QngetConfig, GivesBackWhatWasSet) {
  Set("user-agent", "Demo 1.0, \"quoted\"");

  EXPECT_THAT(Run({"config", "get", "user-agent"}), Delivers("Demo 1.0, \"quoted\"\n"));
}

TEST_F(QngetConfig, ReplacesInPlaceAndForgetsWhatIsUnset) {
  Set("proxy", "127.0.0.1:1");
  Set("accept", "a/b");
  Set("proxy", "127.0.0.1:2");
  EXPECT_EQ(Run({"config", "list"}).output, "proxy: 127.0.0.1:2\naccept: a/b\n");

  EXPECT_EQ(Run({"config", "unset", "proxy"}).exit_code, 0);

  EXPECT_EQ(Run({"config", "list"}).output, "accept: a/b\n");
  EXPECT_EQ(folder_.read("root/settings.ini"), SettingLine("accept", "a/b"));
}

TEST_F(QngetConfig, SaysWhatIsNotSet) {
  const ProcessResult result = Run({"config", "get", "proxy"});

  EXPECT_THAT(result, FailsWith(1, "proxy is not set"));
  EXPECT_EQ(result.output, "");
}

TEST_F(QngetConfig, UnsetsWhatIsNotSetWithoutAFile) {
  EXPECT_EQ(Run({"config", "unset", "proxy"}).exit_code, 0);
  EXPECT_EQ(Run({"config", "list"}).output, "");

  EXPECT_FALSE(fs::exists(root_));
}

TEST_F(QngetConfig, UnsetsAKeyThatStandsTwice) {
  WriteSettings(SettingLine("accept", "a") + SettingLine("accept", "b"));

  Run({"config", "unset", "accept"});

  EXPECT_EQ(Run({"config", "get", "accept"}).exit_code, 1);
}

TEST_F(QngetConfig, KeepsItsFileForItsOwnerAlone) {
  Set("accept", "a/b");

  EXPECT_EQ(fs::status(root_ + "/settings.ini").permissions(), fs::perms(0600));
  EXPECT_EQ(fs::status(root_).permissions(), fs::perms(0700));
}

TEST_F(QngetConfig, BringsBackWhatAnInterruptedWriteLeft) {
  fs::create_directory(root_);
  folder_.write("root/settings.ini.bak", SettingLine("accept", "a/b"));

  EXPECT_EQ(Run({"config", "get", "accept"}).output, "a/b\n");
}

TEST_F(QngetConfig, SetsDefaultsThatOptionsOverride) {
  const std::pair<const char *, const char *> settings[] = {{"user-agent", "User-Agent"},
                                                            {"profile", "Profile"},
                                                            {"accept", "Accept"},
                                                            {"accept-language", "Accept-Language"}};
  for (const auto &[key, header] : settings) {
    SCOPED_TRACE(key);
    const std::string line = std::string("\r\n") + header;
    Set(key, "set");

    EXPECT_THAT(RequestOf(Rooted({kUrl})), HasSubstr(line + ": set\r\n"));
    const std::string request = RequestOf(Rooted({std::string("--") + key, "given", kUrl}));

    EXPECT_THAT(request, HasSubstr(line + ": given\r\n"));
    EXPECT_THAT(request, Not(HasSubstr(line + ": set\r\n")));
  }
}

TEST_F(QngetConfig, SetsTheProxyOfLaterCalls) {
  ScriptedServer gateway({AnswerWith(Answer("abc")), AnswerWith(Answer("abc"))});
  Set("proxy", Loopback(gateway.port()));

  EXPECT_EQ(Run({"http://mms.example.com/m"}).output, "abc");
  EXPECT_THAT(gateway.Received(0),
              testing::StartsWith("GET http://mms.example.com/m HTTP/1.0\r\n"));

  const RefusingPort nobody;
  Set("proxy", Loopback(nobody.port()));
  EXPECT_EQ(Run({"-p", Loopback(gateway.port()), "http://mms.example.com/"}).output, "abc");
}

TEST_F(QngetConfig, SetsTheTimeOfLaterCalls) {
  Set("timeout", "0.05");

  const Exchange result = RunOn({{ReadHeader(), AwaitSignal()}}, Rooted({kUrl}));

  EXPECT_EQ(result.exit_code, 4);
  EXPECT_THAT(result.error, HasSubstr("timed out after 0.05 seconds"));
}

TEST_F(QngetConfig, RefusesAValueThatNoOptionWouldTake) {
  WriteSettings(SettingLine("proxy", "gateway"));

  EXPECT_THAT(Run({"http://127.0.0.1:9/"}),
              FailsWith(1,
                        "setting proxy: not HOST:PORT or http://HOST:PORT with a port from 1 to "
                        "65535: gateway"));
}

TEST_F(QngetConfig, PassesOverWhatItDoesNotKnow) {
  WriteSettings(SettingLine("colour", "red") + SettingLine("accept", "a/b"));
  EXPECT_THAT(RequestOf(Rooted({kUrl})), HasSubstr("Accept: a/b\r\n"));

  WriteSettings(ScatteredBytes(3000));
  EXPECT_THAT(RequestOf(Rooted({kUrl})), testing::StartsWith("GET / HTTP/1.0\r\n"));
}

TEST_F(QngetConfig, NeedsAFolderOnlyToSet) {
  const ProcessOptions homeless{.environment = {"XDG_CONFIG_HOME=relative", "HOME="}};

  EXPECT_THAT(RunOnAnswer(Answer("abc"), {kUrl}, homeless), Delivers("abc"));
  EXPECT_THAT(RunQnget({"config", "set", "accept", "a/b"}, homeless),
              FailsWith(6, "there is no folder of the user; give one by --root"));
}

TEST_F(QngetConfig, TakesItsNameForAnOptionsValue) {
  RunOnAnswer(Answer("abc"), {"-o", "config", kUrl}, {.folder = folder_.path()});

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
          std::make_unique<Process>(QngetCommand(Rooted({"config", "set", key, value}))));
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
