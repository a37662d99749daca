// SPDX-License-Identifier: MIT
// To whom qnget gives what it has kept: nobody but the one it was made for, as
// far as gateway, handset and the answer's "Vary" tell. And how a call asks past
// what is kept.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "qnget_program.h"
#include "qnget_root_folder.h"
#include "support/process.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;

class QngetCacheIdentity : public CacheFolder {
 protected:
  // What the second of two calls delivers, when the first one's answer is "first"
  // with such lines and a server would now say "second".
  std::string Second(const std::vector<std::string> &first_options,
                     const std::vector<std::string> &second_options,
                     const std::string &lines = {}) const {
    ScriptedServer server({AnswerWith(Answer("first", kFresh + lines)),
                           AnswerWith(Answer("second", kFresh + lines))});
    const auto fetch = [&](std::vector<std::string> words) {
      words.push_back(LocalUrl(server.port()));
      return Fetch(words).output;
    };
    EXPECT_EQ(fetch(first_options), "first");
    return fetch(second_options);
  }
};

TEST_F(QngetCacheIdentity, IsThatOfACallLikeTheFirst) {
  const std::vector<std::string> options{"--user-agent", "A B=%", "--accept", "a/b"};

  EXPECT_EQ(Second(options, options, "Vary: Accept, User-Agent\r\nVary: X-Other\r\n"), "first");
}

TEST_F(QngetCacheIdentity, IsNotThatOfAnotherHandset) {
  EXPECT_EQ(Second({"--user-agent", "A"}, {"--user-agent", "B"}), "second");
  EXPECT_EQ(Second({"--user-agent", "A"}, {}), "second");
  EXPECT_EQ(Second({"--profile", "http://p/"}, {"--profile", "http://q/"}), "second");
}

TEST_F(QngetCacheIdentity, LeavesAloneWhatTheAnswerDoesNotVaryWith) {
  EXPECT_EQ(Second({"--accept", "a/b"}, {"--accept", "c/d"}), "first");
}

TEST_F(QngetCacheIdentity, IsWhatTheAnswerVariesWith) {
  EXPECT_EQ(Second({"--accept", "a/b"}, {"--accept", "c/d"}, "Vary: ACCEPT\r\n"), "second");
  EXPECT_EQ(Second({"--accept-language", "eo"}, {}, "Vary: X, Accept-Language\r\n"), "second");
}

TEST_F(QngetCacheIdentity, IsThatOfOneGateway) {
  ScriptedServer one({AnswerWith(Answer("first", kFresh))});
  ScriptedServer other({AnswerWith(Answer("second", kFresh)), AnswerWith(Answer("", kFresh))});
  const std::string url = "http://mms.invalid/m";

  EXPECT_EQ(Fetch({"-p", Loopback(one.port()), url}).output, "first");
  EXPECT_EQ(Fetch({"-p", Loopback(one.port()), url}).output, "first");
  EXPECT_EQ(Fetch({"-p", Loopback(other.port()), url}).output, "second");
  EXPECT_EQ(Fetch({"-p", Loopback(other.port()), url}).output, "second");
}

// A label may be missing: of another version of qnget, or of another program.
TEST_F(QngetCacheIdentity, IsNotThatOfAClockSetBackNorKnownWithoutALabel) {
  for (const Kept &kept : {Kept{.label = "text/plain"}, Kept{.age = -60}}) {
    ScriptedServer server({AnswerWith(Answer("new", kFresh))});
    const std::string url = LocalUrl(server.port());
    Save(url, "old", kept);

    EXPECT_EQ(Fetch({url}).output, "new");
  }
}

using QngetCacheRefresh = CacheFolder;

TEST_F(QngetCacheRefresh, AsksAnewAndReplaces) {
  ScriptedServer server({AnswerWith(Answer("new", kFresh))});
  const std::string url = LocalUrl(server.port());
  Save(url, "old");

  const ProcessResult result = RunQnget({"--root", root_, "--refresh", "-i", url});

  EXPECT_EQ(result.output, "new");
  EXPECT_THAT(result.error, HasSubstr("\ncache: stored, fresh until "));
  EXPECT_EQ(Fetch({url}).output, "new");
}

TEST_F(QngetCacheRefresh, RemovesWhatMayNotBeKeptAnyMore) {
  ScriptedServer server({AnswerWith(Answer("new", "Cache-Control: no-store\r\n")),
                         AnswerWith(Answer("newer", "Cache-Control: no-store\r\n"))});
  const std::string url = LocalUrl(server.port());
  Save(url, "old");

  const ProcessResult result = Fetch({"--refresh", "-i", url});

  EXPECT_EQ(result.output, "new");
  EXPECT_THAT(result.error, EndsWith("\ncache: not stored: no-store\n"));
  EXPECT_EQ(List(), kEmptyTable);
  EXPECT_EQ(Fetch({url}).output, "newer");
}

TEST_F(QngetCacheRefresh, LeavesWhatIsKeptWhereNoAnswerComes) {
  const RefusingPort nobody;
  const std::string url = LocalUrl(nobody.port());
  Save(url, "old");

  EXPECT_EQ(Fetch({"--refresh", url}).exit_code, 3);

  EXPECT_EQ(Fetch({url}).output, "old");
}

TEST_F(QngetCacheRefresh, LeavesAnswersToOtherUrlsAlone) {
  ScriptedServer server({AnswerWith(Answer("new"))});
  Save("http://127.0.0.1:9/m", "other");

  Fetch({"--refresh", LocalUrl(server.port())});

  EXPECT_EQ(Fetch({"http://127.0.0.1:9/m"}).output, "other");
}

using QngetCacheRoom = CacheFolder;

// Each body is a file; what is replaced or of no more use leaves none behind.
TEST_F(QngetCacheRoom, IsNotTakenByWhatIsReplacedOrStale) {
  ScriptedServer server({AnswerWith(Answer("1", kFresh)), AnswerWith(Answer("2", kFresh)),
                         AnswerWith(Answer("3", kFresh))});
  const std::string url = LocalUrl(server.port());
  Save("http://127.0.0.1:9/stale", "body", {.seconds_left = -5});
  Save("http://127.0.0.1:9/old", "body", {.file_no = 8, .label = "text/plain"});
  Save("http://127.0.0.1:9/fresh", "body", {.file_no = 9});

  for (int i = 0; i < 3; ++i) Fetch({"--refresh", url});

  const auto files = std::distance(fs::directory_iterator(root_ + "/wap/ca"), {});
  EXPECT_EQ(files, 3) << "the index and two bodies";
  EXPECT_EQ(Fetch({url}).output, "3");
  EXPECT_EQ(Fetch({"http://127.0.0.1:9/fresh"}).output, "body");
}

}  // namespace
}  // namespace qntest
