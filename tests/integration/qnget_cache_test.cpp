// SPDX-License-Identifier: MIT
// What qnget delivers from its cache, what it keeps there, and that a cache in
// any state does a transfer no harm.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
#include <fstream>

#include "qnget_program.h"
#include "qnget_root_folder.h"
#include "support/process.h"
#include "support/scratch_folder.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

namespace fs = std::filesystem;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

const std::string kDate = "20[0-9]{2}-[01][0-9]-[0-3][0-9] [0-2][0-9]:[0-5][0-9]";

using QngetCache = CacheFolder;

TEST_F(QngetCache, ServesTheSecondFetchWithTheServerStopped) {
  const std::string body = ScatteredBytes(100000);
  std::string url;
  {
    ScriptedServer server({AnswerWith(Answer(body, kFresh))});
    url = LocalUrl(server.port(), "/m?id=1");
    ASSERT_TRUE(Fetch({url}).output == body);
  }

  EXPECT_THAT(Fetch({url}), Delivers(body));
}

TEST_F(QngetCache, WritesAHitToAFileAndServesAnEmptyBody) {
  Save("http://127.0.0.1:9/m", "body");
  Save("http://127.0.0.1:9/empty", "", {.file_no = 8});

  EXPECT_EQ(Fetch({"-o", folder_.path("f"), "http://127.0.0.1:9/m"}).output, "");
  EXPECT_EQ(folder_.read("f"), "body");
  EXPECT_THAT(Fetch({"http://127.0.0.1:9/empty"}), Delivers(""));
}

TEST_F(QngetCache, TellsOfAHit) {
  Save("http://127.0.0.1:9/m", "body");

  const std::string error = Fetch({"-i", "http://127.0.0.1:9/m"}).error;

  EXPECT_THAT(error, MatchesRegex("status: 200\ntype: text/plain\nlength: 4\nencoding: unknown\n"
                                  "url: http://127.0.0.1:9/m\n"
                                  "cache: hit, age 16 min, fresh until " +
                                  kDate + "\n"));
}

TEST_F(QngetCache, KeepsMediaTypeAndStatus) {
  ScriptedServer server({AnswerWith(Answer("b", "Content-Type: a/b; c=d\r\n" + kFresh))});
  const std::string url = LocalUrl(server.port());
  Fetch({url});

  EXPECT_THAT(Fetch({"-i", url}).error, HasSubstr("status: 200\ntype: a/b\n"));
}

TEST_F(QngetCache, TellsUntilWhenAnAnswerIsKept) {
  const std::string told = ToldOf({AnswerWith(Answer("abc", kFresh))});

  EXPECT_THAT(told, ContainsRegex("\ncache: stored, fresh until " + kDate + "\n$"));
  const std::string until = told.substr(told.size() - 17, 16);
  EXPECT_THAT(List(), HasSubstr("  " + until + "  fresh\n"));
}

TEST_F(QngetCache, FetchesAStaleAnswerAgain) {
  ScriptedServer server({AnswerWith(Answer("new", kFresh))});
  const std::string url = LocalUrl(server.port());
  Save(url, "old", {.seconds_left = 0});

  EXPECT_EQ(Fetch({url}).output, "new");
  EXPECT_EQ(Fetch({url}).output, "new");
  EXPECT_EQ(server.accepted(), 1u);
}

TEST_F(QngetCache, DistinguishesUrlsAsTheyAreGiven) {
  ScriptedServer server({AnswerWith(Answer("one", kFresh)), AnswerWith(Answer("two", kFresh))});
  Fetch({LocalUrl(server.port(), "/m")});

  EXPECT_EQ(Fetch({LocalUrl(server.port(), "/M")}).output, "two");
}

TEST_F(QngetCache, IsNotLookedAtWithoutItsOption) {
  ScriptedServer server({AnswerWith(Answer("new", kFresh))});
  const std::string url = LocalUrl(server.port());
  Save(url, "old");

  EXPECT_EQ(Run({url}).output, "new");
}

TEST_F(QngetCache, LeavesOutWhatMayNotBeKept) {
  const std::pair<std::string, const char *> unkept[] = {
      {Answer("abc"), "it has no lifetime"},
      {Answer("abc", "Cache-Control: max-age=600, no-store\r\n"), "no-store"},
      {Answer("abc", kFresh, "404 Not Found"), "it has status 404"},
      {Answer("abc", kFresh, "203 Partly"), "it has status 203"},
      {Answer("abc", kFresh + "Vary: Accept, *\r\n"), "Vary: *"},
      {Answer(std::string(1048576, 'x'), kFresh), "it has 1 MiB or more"},
      {Answer("abc", "Vary: " + std::string(9000, 'x') + "\r\n" + kFresh),
       "its URL and what it varies with are too long for the index"},
  };
  for (const auto &[answer, reason] : unkept) {
    const std::string told = ToldOf({AnswerWith(answer)});

    EXPECT_THAT(told, HasSubstr(std::string("\ncache: not stored: ") + reason + "\n"));
    EXPECT_THAT(told, Not(HasSubstr("qnget: no cache")));
    EXPECT_EQ(List(), kEmptyTable);
  }
}

TEST_F(QngetCache, KeepsABodyJustBelow1MiB) {
  const std::string body = ScatteredBytes(1048575);
  ScriptedServer server({AnswerWith(Answer(body, kFresh))});
  const std::string url = LocalUrl(server.port());
  Fetch({url});

  EXPECT_TRUE(Fetch({url}).output == body);
}

TEST_F(QngetCache, LeavesOutABodyThatIsNotWhole) {
  const std::string length = "HTTP/1.0 200 OK\r\nContent-Length: 4\r\n" + kFresh + "\r\nabc";
  const std::string none = "HTTP/1.0 200 OK\r\n" + kFresh + "\r\nabc";
  for (const ConnectionScript &script :
       {AnswerWith(length), ConnectionScript{ReadHeader(), SendBytes(none), Reset()}}) {
    EXPECT_EQ(RunOn({script}, Rooted({"--cache", kUrl})).exit_code, 4);

    EXPECT_EQ(List(), kEmptyTable);
  }
}

struct Damage {
  const char *name;
  void (*inflict)(const std::string &root);
};

void Overwrite(const std::string &file, const std::string &bytes) {
  std::ofstream(file, std::ios::binary) << bytes;
}

const Damage kDamages[] = {
    {"WithoutTheBody", [](const auto &root) { fs::remove(root + "/wap/ca/7"); }},
    {"WithHalfABody", [](const auto &root) { Overwrite(root + "/wap/ca/7", "wr"); }},
    {"WithAnotherBodyOfThatLength",
     [](const auto &root) { Overwrite(root + "/wap/ca/7", "wrung"); }},
    {"WithMoreThanTheBody", [](const auto &root) { Overwrite(root + "/wap/ca/7", "wrong!"); }},
    {"WithAFolderForABody",
     [](const auto &root) {
       fs::remove(root + "/wap/ca/7");
       fs::create_directory(root + "/wap/ca/7");
     }},
    {"WithoutTheIndex", [](const auto &root) { fs::remove(root + "/wap/ca/ca.txt"); }},
    {"WithScatteredBytesForAnIndex",
     [](const auto &root) { Overwrite(root + "/wap/ca/ca.txt", ScatteredBytes(5000)); }},
    {"WithHalfAnIndex", [](const auto &root) { fs::resize_file(root + "/wap/ca/ca.txt", 12); }},
};

TEST_F(QngetCache, IsAsGoodAsNoneWhereItIsDamaged) {
  for (const Damage &damage : kDamages) {
    SCOPED_TRACE(damage.name);
    fs::remove_all(root_);
    ScriptedServer server({AnswerWith(Answer("right", kFresh))});
    const std::string url = LocalUrl(server.port());
    Save(url, "wrong");
    damage.inflict(root_);

    const ProcessResult result = Fetch({url});

    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.output, "right");
  }
}

TEST_F(QngetCache, DoesNoHarmWhereItCannotBe) {
  const ScratchFolder folder;
  const std::string caches = folder.write("file", "") + "/caches";

  const Exchange result = RunOnAnswer(Answer("abc", kFresh), {"--cache", "-i", kUrl},
                                      {.environment = {"XDG_CACHE_HOME=" + caches}});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "abc");
  EXPECT_THAT(result.error, HasSubstr(Message("no cache: could not create folder " + caches +
                                              "/qnget: Not a directory")));
  EXPECT_THAT(result.error, EndsWith("\ncache: not stored\n"));
}

TEST_F(QngetCache, SaysWhenAnAnswerCannotBeWritten) {
  fs::create_directories(root_ + "/wap/ca/ca.txt/in-the-way");

  const Exchange result = RunOnAnswer(Answer("abc", kFresh), Rooted({"--cache", "-i", kUrl}));

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "abc");
  EXPECT_THAT(result.error, EndsWith(Message("no cache: could not write the cache below " + root_) +
                                     "cache: not stored\n"));
}

TEST_F(QngetCache, IsForItsOwnerAlone) {
  root_ += "/deep/er";

  ToldOf({AnswerWith(Answer("abc", kFresh))});

  for (const std::string &folder : {folder_.path("root/deep"), root_}) {
    EXPECT_EQ(fs::status(folder).permissions(), fs::perms(0700)) << folder;
  }
}

TEST_F(QngetCache, IsBelowTheUsersFolder) {
  const auto fetch = [](const Words &environment) {
    RunOnAnswer(Answer("a", kFresh), {"--cache", kUrl}, {.environment = environment});
  };
  fetch({"XDG_CACHE_HOME=" + folder_.path("caches")});
  fetch({"XDG_CACHE_HOME=", "HOME=" + folder_.path("home")});

  EXPECT_TRUE(fs::exists(folder_.path("caches/qnget/wap/ca/ca.txt")));
  EXPECT_TRUE(fs::exists(folder_.path("home/.cache/qnget/wap/ca/ca.txt")));
}

TEST_F(QngetCache, IsMadeNeitherByAPlainTransferNorByItsList) {
  RunOnAnswer(Answer("abc", kFresh), Rooted({kUrl}));
  EXPECT_EQ(List(), kEmptyTable);

  EXPECT_FALSE(fs::exists(root_));
}

TEST_F(QngetCache, IsListedAsATable) {
  Save("http://127.0.0.1:9/longer", "body", {.age = 3 * 86400 + 5, .seconds_left = -5});
  Save("http://127.0.0.1:9/m", "", {.age = 185, .seconds_left = 86400, .file_no = 8});
  Save("http://127.0.0.1:9/other", "", {.file_no = 9, .label = "text/plain"});

  EXPECT_THAT(List(),
              MatchesRegex("URL                        SIZE     AGE           EXPIRES  STATE\n"
                           "http://127.0.0.1:9/longer     4  3 days  " +
                           kDate +
                           "  stale\n"
                           "http://127.0.0.1:9/m          0   3 min  " +
                           kDate +
                           "  fresh\n"
                           "http://127.0.0.1:9/other      0       -                 -  stale\n"));
}

TEST_F(QngetCache, ListsLocalTimes) {
  const int64_t now = time(nullptr);
  Save("http://127.0.0.1:9/m", "", {.age = now, .seconds_left = 1793000000 - now});

  const auto list = [&](const std::string &zone) {
    return RunQnget({"--root", root_, "--cache-list"}, {.environment = {"TZ=" + zone}}).output;
  };

  EXPECT_THAT(list("UTC"), HasSubstr(" 2026-10-26 07:33  "));
  EXPECT_THAT(list("EST5EDT"), HasSubstr(" 2026-10-26 03:33  "));
}

TEST_F(QngetCache, ListsNoControlCharacters) {
  Save("http://h/\x1b[2J", "");

  EXPECT_THAT(List(), HasSubstr("\nhttp://h/\\x1b[2J "));
}

TEST_F(QngetCache, IsEmptied) {
  Save("http://127.0.0.1:9/m", "body");

  EXPECT_EQ(Run({"--cache-clear"}).exit_code, 0);

  EXPECT_EQ(List(), kEmptyTable);
  EXPECT_FALSE(fs::exists(root_ + "/wap/ca/7"));
}

TEST_F(QngetCache, SaysWhenItCannotBeEmptied) {
  fs::create_directories(root_ + "/wap/ca/ca.txt/in-the-way");

  EXPECT_THAT(Run({"--cache-clear"}), FailsWith(6, "could not empty the cache below " + root_));
}

}  // namespace
}  // namespace qntest
