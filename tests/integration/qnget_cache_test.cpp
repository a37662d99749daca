// What qnget delivers from its cache, what it keeps there, and that a cache in
// any state does a transfer no harm.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "qnget_cache_folder.h"
#include "qnget_program.h"
#include "support/process.h"
#include "support/scratch_folder.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

using QngetCache = CacheFolder;

TEST_F(QngetCache, ServesTheSecondFetchWithTheServerStopped) {
  const std::string body = ScatteredBytes(100000);
  std::string url;
  {
    ScriptedServer server({AnswerWith(Answer(body, kFresh))});
    url = LocalUrl(server.port(), "/m?id=1");
    ASSERT_TRUE(Fetch({url}).output == body);
  }

  const ProcessResult result = Fetch({url});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_TRUE(result.output == body);
  EXPECT_EQ(result.error, "");
}

TEST_F(QngetCache, WritesAHitToAFile) {
  const ScratchFolder folder;
  Save("http://127.0.0.1:9/m", "body", kFarOff);

  const ProcessResult result = Fetch({"-o", folder.path("f"), "http://127.0.0.1:9/m"});

  EXPECT_EQ(result.output, "");
  EXPECT_EQ(folder.read("f"), "body");
}

TEST_F(QngetCache, ServesAnEmptyBody) {
  Save("http://127.0.0.1:9/m", "", kFarOff);

  EXPECT_EQ(Fetch({"http://127.0.0.1:9/m"}).exit_code, 0);
}

TEST_F(QngetCache, TellsOfAHit) {
  Save("http://127.0.0.1:9/m", "body", kFarOff);

  EXPECT_EQ(Fetch({"-i", "http://127.0.0.1:9/m"}).error,
            "status: 200\ntype: text/plain\nlength: 4\nencoding: unknown\n"
            "url: http://127.0.0.1:9/m\ncache: hit\n");
}

TEST_F(QngetCache, KeepsMediaTypeAndStatus) {
  ScriptedServer server({AnswerWith(Answer("b", "Content-Type: a/b; c=d\r\n" + kFresh))});
  const std::string url = LocalUrl(server.port());
  Fetch({url});

  EXPECT_THAT(Fetch({"-i", url}).error, HasSubstr("status: 200\ntype: a/b\n"));
}

TEST_F(QngetCache, TellsUntilWhenAnAnswerIsKept) {
  ScriptedServer server({AnswerWith(Answer("abc", "Cache-Control: max-age=604800\r\n"))});

  const ProcessResult result = Fetch({"-i", LocalUrl(server.port())});

  const std::string stored = "cache: stored until ";
  ASSERT_THAT(result.error, HasSubstr("\n" + stored));
  const std::string until = result.error.substr(result.error.find(stored) + stored.size());
  EXPECT_THAT(List(), HasSubstr("  " + until.substr(0, until.size() - 1) + "  fresh\n"));
}

TEST_F(QngetCache, ShowsTheSecondsOfADateAsTheyAre) {
  ScriptedServer server({AnswerWith(Answer("abc", kFresh))});

  EXPECT_THAT(Fetch({"-i", LocalUrl(server.port())}).error,
              EndsWith("\ncache: stored until 784166400\n"));
}

TEST_F(QngetCache, FetchesAStaleAnswerAgain) {
  ScriptedServer server({AnswerWith(Answer("new", kFresh))});
  const std::string url = LocalUrl(server.port());
  Save(url, "old", kLongAgo);

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
  Save(url, "old", kFarOff);

  EXPECT_EQ(RunQnget({"--root", root_, url}).output, "new");
}

struct Unkept {
  const char *name;
  std::string answer;
};

void PrintTo(const Unkept &unkept, std::ostream *out) { *out << unkept.name; }

class QngetCacheLeavesOut : public CacheFolder, public testing::WithParamInterface<Unkept> {};

TEST_P(QngetCacheLeavesOut, WhatMayNotBeKept) {
  ScriptedServer server({AnswerWith(GetParam().answer)});

  const ProcessResult result = Fetch({"-i", LocalUrl(server.port())});

  EXPECT_THAT(result.error, HasSubstr("\ncache: not stored\n"));
  EXPECT_THAT(result.error, Not(HasSubstr("qnget: no cache")));
  EXPECT_EQ(List(), kEmptyTable);
}

const Unkept kUnkept[] = {
    {"WithoutLifetime", Answer("abc")},
    {"WithNoCache", Answer("abc", "Cache-Control: max-age=600, no-cache\r\n")},
    {"WithNoCacheAheadOfALifetime", Answer("abc", "Pragma: no-cache\r\n" + kFresh)},
    {"WithAnErrorStatus", Answer("abc", kFresh, "404 Not Found")},
    {"WithAnotherStatus", Answer("abc", kFresh, "203 Partly")},
    {"WithABodyOf1MiB", Answer(std::string(1048576, 'x'), kFresh)},
    {"WithALargerBody", Answer(std::string(1500000, 'x'), kFresh)},
};

INSTANTIATE_TEST_SUITE_P(Qnget, QngetCacheLeavesOut, testing::ValuesIn(kUnkept),
                         [](const auto &test) { return std::string(test.param.name); });

TEST_F(QngetCache, KeepsABodyJustBelow1MiB) {
  const std::string body = ScatteredBytes(1048575);
  ScriptedServer server({AnswerWith(Answer(body, kFresh))});
  const std::string url = LocalUrl(server.port());
  Fetch({url});

  EXPECT_TRUE(Fetch({url}).output == body);
}

TEST_F(QngetCache, LeavesOutAnIncompleteBody) {
  ScriptedServer server(
      {AnswerWith("HTTP/1.0 200 OK\r\nContent-Length: 4\r\n" + kFresh + "\r\nabc")});

  EXPECT_EQ(Fetch({LocalUrl(server.port())}).exit_code, 4);

  EXPECT_EQ(List(), kEmptyTable);
}

TEST_F(QngetCache, LeavesOutABodyWhoseConnectionBroke) {
  ScriptedServer server(
      {{ReadHeader(), SendBytes("HTTP/1.0 200 OK\r\n" + kFresh + "\r\nabc"), Reset()}});

  EXPECT_EQ(Fetch({LocalUrl(server.port())}).exit_code, 4);

  EXPECT_EQ(List(), kEmptyTable);
}

struct Damage {
  const char *name;
  void (*inflict)(const std::string &root);
};

void PrintTo(const Damage &damage, std::ostream *out) { *out << damage.name; }

void Overwrite(const std::string &file, const std::string &bytes) {
  std::ofstream(file, std::ios::binary) << bytes;
}

class QngetDamagedCache : public CacheFolder, public testing::WithParamInterface<Damage> {};

TEST_P(QngetDamagedCache, IsAsGoodAsNone) {
  ScriptedServer server({AnswerWith(Answer("right", kFresh))});
  const std::string url = LocalUrl(server.port());
  Save(url, "wrong", kFarOff);
  GetParam().inflict(root_);

  const ProcessResult result = Fetch({url});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "right");
}

const Damage kDamages[] = {
    {"WithoutTheBody", [](const auto &root) { fs::remove(root + "/wap/ca/7"); }},
    {"WithHalfABody", [](const auto &root) { Overwrite(root + "/wap/ca/7", "wr"); }},
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

INSTANTIATE_TEST_SUITE_P(Qnget, QngetDamagedCache, testing::ValuesIn(kDamages),
                         [](const auto &test) { return std::string(test.param.name); });

TEST_F(QngetCache, DoesNoHarmWhereItCannotBe) {
  const ScratchFolder folder;
  const std::string file = folder.write("file", "");
  ScriptedServer server({AnswerWith(Answer("abc", kFresh))});

  const ProcessResult result =
      RunQnget({"--root", file + "/root", "--cache", "-i", LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "abc");
  EXPECT_THAT(result.error, HasSubstr(Message("no cache: could not create folder " + file +
                                              "/root: Not a directory")));
  EXPECT_THAT(result.error, EndsWith("\ncache: not stored\n"));
}

TEST_F(QngetCache, SaysWhenAnAnswerCannotBeWritten) {
  ScriptedServer server({AnswerWith(Answer("abc", kFresh))});
  fs::create_directories(root_ + "/wap/ca/ca.txt/in-the-way");

  const ProcessResult result = Fetch({"-i", LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "abc");
  EXPECT_THAT(result.error, EndsWith(Message("no cache: could not write the cache below " + root_) +
                                     "cache: not stored\n"));
}

TEST_F(QngetCache, IsForItsOwnerAlone) {
  ScriptedServer server({AnswerWith(Answer("abc", kFresh))});
  root_ += "/deep/er";

  Fetch({LocalUrl(server.port())});

  for (const std::string &folder : {folder_.path("root/deep"), root_}) {
    struct stat found {};
    ASSERT_EQ(stat(folder.c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 07777, 0700u);
  }
}

TEST_F(QngetCache, IsBelowTheUsersFolder) {
  ScriptedServer server({AnswerWith(Answer("a", kFresh)), AnswerWith(Answer("b", kFresh))});
  const std::string url = LocalUrl(server.port());

  RunQnget({"--cache", url}, {.environment = {"XDG_CACHE_HOME=" + folder_.path("caches")}});
  RunQnget({"--cache", url}, {.environment = {"XDG_CACHE_HOME=", "HOME=" + folder_.path("home")}});

  EXPECT_TRUE(fs::exists(folder_.path("caches/qnget/wap/ca/ca.txt")));
  EXPECT_TRUE(fs::exists(folder_.path("home/.cache/qnget/wap/ca/ca.txt")));
}

TEST_F(QngetCache, IsNotMadeByAPlainTransfer) {
  ScriptedServer server({AnswerWith(Answer("abc", kFresh))});

  RunQnget({"--root", root_, LocalUrl(server.port())});

  EXPECT_FALSE(fs::exists(root_));
}

TEST_F(QngetCache, IsListedAsATable) {
  Save("http://127.0.0.1:9/longer", "body", kFarOff);
  Save("http://127.0.0.1:9/m", "", kLongAgo, 8);

  EXPECT_EQ(List(),
            "URL                        SIZE  STORED      EXPIRES  STATE\n"
            "http://127.0.0.1:9/longer     4      -5   2000000000  fresh\n"
            "http://127.0.0.1:9/m          0      -5  -2000000000  stale\n");
}

TEST_F(QngetCache, IsListedWithoutBeingMade) {
  EXPECT_EQ(List(), kEmptyTable);

  EXPECT_FALSE(fs::exists(root_));
}

TEST_F(QngetCache, ListsNoControlCharacters) {
  Save("http://h/\x1b[2J", "", kFarOff);

  EXPECT_THAT(List(), HasSubstr("\nhttp://h/?[2J "));
}

TEST_F(QngetCache, IsEmptied) {
  Save("http://127.0.0.1:9/m", "body", kFarOff);

  EXPECT_EQ(RunQnget({"--root", root_, "--cache-clear"}).exit_code, 0);

  EXPECT_EQ(List(), kEmptyTable);
  EXPECT_FALSE(fs::exists(root_ + "/wap/ca/7"));
}

TEST_F(QngetCache, SaysWhenItCannotBeEmptied) {
  fs::create_directories(root_ + "/wap/ca/ca.txt/in-the-way");

  const ProcessResult result = RunQnget({"--root", root_, "--cache-clear"});

  EXPECT_EQ(result.exit_code, 6);
  EXPECT_EQ(result.error, Message("could not empty the cache below " + root_));
}

}  // namespace
}  // namespace qntest
