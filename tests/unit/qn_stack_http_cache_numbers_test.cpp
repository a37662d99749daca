// SPDX-License-Identifier: MIT
// Guards the numbers of body files: no index that a program may find when it
// starts gives a URL the body of another, whatever failed or ended before.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "qn_stack_http_cache_internal.h"
#include "support/cache_test.h"
#include "support/chooser.h"

namespace {

using namespace qntest;
using testing::IsEmpty;

constexpr int32_t kHighestNoted = 22768;  // numbers above it are noted together

class QnCacheNumbers : public qntest::CacheTest {
 protected:
  // Saves the body that Start() writes for a URL.
  static int32_t Save(const std::string &url, int32_t expires = kFresh) {
    const std::string body = "body of " + url;
    return fnQNStack_Cache_Save(url.c_str(), nullptr, body.data(),
                                static_cast<int32_t>(body.size()), expires, 0);
  }

  // The number of the entry in front.
  static int32_t FirstNumber() { return Held().empty() ? 0 : Held().front().file_no; }

  // What the program would find if it started anew: no body of another URL.
  static void ExpectOwnBodiesAtAStart() {
    FilePort().ClearFailures();
    fnQNStack_Cache_Free();
    fnQNStack_Cache_Init();
    for (const CachedAnswer &answer : Held()) {
      const auto body = FilePort().files().Content("/wap/ca/" + std::to_string(answer.file_no));
      EXPECT_EQ(body.value_or("body of " + answer.url), "body of " + answer.url);
    }
  }

  static void StartWithAStaleEntryOfTheNextNumber() {
    Start({{.url = "stale", .file_no = kFileNoOfNow, .expires = kNow}});
  }
};

TEST_F(QnCacheNumbers, AreNotUsedInTheSaveThatFreesThem) {
  Start({{.url = "stale", .file_no = kFileNoOfNow, .expires = kNow},
         {.url = "stale too", .file_no = kFileNoOfNow + 1, .expires = kNow}});

  EXPECT_EQ(Save("u"), 1);

  EXPECT_EQ(FirstNumber(), kFileNoOfNow + 2);
}

TEST_F(QnCacheNumbers, AreFreeOnceTheIndexIsWritten) {
  StartWithAStaleEntryOfTheNextNumber();

  EXPECT_EQ(Save("u"), 1);
  EXPECT_EQ(Save("v"), 1);

  EXPECT_EQ(FirstNumber(), kFileNoOfNow);
}

TEST_F(QnCacheNumbers, StayTakenWhileTheIndexCannotBeWritten) {
  StartWithAStaleEntryOfTheNextNumber();
  for (const char *url : {"u", "v", "w"}) {
    FilePort().Fail("WriteToFile", 2);
    EXPECT_EQ(Save(url), 1);
    EXPECT_NE(FirstNumber(), kFileNoOfNow);
  }

  ExpectOwnBodiesAtAStart();
}

TEST_F(QnCacheNumbers, StayTakenAfterACallThatEmptiedTheListAndNotTheIndex) {
  const std::pair<const char *, std::function<void()>> calls[] = {
      {"a save that could not write its body",
       [] {
         StartWithAStaleEntryOfTheNextNumber();
         FilePort().Fail("WriteToFile");
         EXPECT_EQ(Save("u"), 0);
       }},
      {"a save that found no room",
       [] {
         Start({{.url = "old", .file_no = kFileNoOfNow, .expires = kFresh}});
         EXPECT_EQ(fnQNStack_Cache_Save("large", nullptr, "b", kMebibyte, kFresh, 0), 0);
       }},
      {"a deletion that failed",
       [] {
         Start({{.url = "old", .file_no = kFileNoOfNow, .expires = kFresh}});
         FilePort().Fail("DelAllFiles");
         FilePort().Fail("WriteToFile");
         EXPECT_EQ(fnQNStack_Cache_Delete_All(), 0);
       }},
  };
  for (const auto &[what, call] : calls) {
    SCOPED_TRACE(what);
    ResetCache();
    call();
    EXPECT_THAT(Held(), IsEmpty());

    FilePort().FailFrom(2);  // the program ends when the body is written
    Save("v");

    EXPECT_EQ(FirstNumber(), kFileNoOfNow + 1);
    ExpectOwnBodiesAtAStart();
  }
}

TEST_F(QnCacheNumbers, StayTakenOfEntriesThatTheProgramTookOut) {
  Start({{.url = "old", .file_no = kFileNoOfNow, .expires = kFresh}});
  fnQNList_Clear(fnQNFS_http_cache_list(), qn::FreeCacheEntry);

  Save("u");

  EXPECT_EQ(FirstNumber(), kFileNoOfNow + 1);
}

// The medium takes the index whole, says that it did not, and does nothing more.
TEST_F(QnCacheNumbers, StayTakenOfAnIndexThatWasWrittenAfterAll) {
  FilePort().Tear("WriteToFile", IndexOf(Answers(1, kNow)).size() * 10, 2);
  FilePort().Fail("DeleteFile", 2);
  EXPECT_EQ(Save("stale", kNow), 1);
  ASSERT_EQ(IndexFile(), IndexOf(Held()));

  FilePort().FailFrom(3);  // the old body goes, the new one is written
  Save("u");

  EXPECT_EQ(FirstNumber(), kFileNoOfNow + 1);
  ExpectOwnBodiesAtAStart();
}

TEST_F(QnCacheNumbers, AreFreeOnceAHitHasWrittenTheIndex) {
  Start({{.url = "hit", .file_no = 7, .expires = kFresh},
         {.url = "stale", .file_no = kFileNoOfNow, .expires = kNow}});
  FilePort().Fail("WriteToFile");
  EXPECT_EQ(Save("u"), 0);
  ASSERT_NE(fnQNStack_Cache_FindbyUrl_NoExpired("hit"), nullptr);

  EXPECT_EQ(Save("u"), 1);

  EXPECT_EQ(FirstNumber(), kFileNoOfNow);
}

TEST_F(QnCacheNumbers, AreThoseOfTheIndexThatWasLoadedLast) {
  StartWithAStaleEntryOfTheNextNumber();
  fnQNStack_Cache_Free();
  Start({});

  EXPECT_EQ(Save("u"), 1);

  EXPECT_EQ(FirstNumber(), kFileNoOfNow);
}

TEST_F(QnCacheNumbers, AboveThoseThatAreNotedOneByOneAreFreeUnlessTheIndexNamesOne) {
  for (const bool names_one : {false, true}) {
    SCOPED_TRACE(names_one);
    ResetCache();
    std::vector<CachedAnswer> many =
        Answers(kHighestNoted - kFileNoOfNow + 1, kFresh, 0, kFileNoOfNow);
    if (names_one) many.push_back({.url = "far", .file_no = 1000000, .expires = kFresh});
    Start(many);
    fnQNList_Clear(fnQNFS_http_cache_list(), qn::FreeCacheEntry);
    SetCounters(0, 0);

    EXPECT_EQ(Save("u"), names_one ? 0 : 1);

    EXPECT_EQ(FirstNumber(), names_one ? 0 : kHighestNoted + 1);
    EXPECT_EQ(FilePort().CountOf("WriteToFile") == 0, names_one);
  }
}

TEST_F(QnCacheNumbers, AreSearchedOnBehindOneThatIsTakenWhereTheIndexNamesAFarOne) {
  Start({{.url = "old", .file_no = kFileNoOfNow, .expires = kFresh},
         {.url = "far", .file_no = 1000000, .expires = kFresh}});

  EXPECT_EQ(Save("u"), 1);

  EXPECT_EQ(FirstNumber(), kFileNoOfNow + 1);
}

TEST_F(QnCacheNumbers, AreNotedOneByOneFromTheLowestOn) {
  clock_.SetLocal({.year = 2009, .month = 6, .day = 15, .hour = 10, .minute = 35, .second = 29});
  Start({{.url = "old", .file_no = -9999, .expires = kFresh}});

  EXPECT_EQ(Save("u"), 1);

  EXPECT_EQ(FirstNumber(), -9998);
}

TEST_F(QnCacheNumbers, AreNotKnownOfAnIndexThatCannotBeRead) {
  FilePort().Fail("ReadFromFile");
  fnQNStack_Cache_Init();
  EXPECT_EQ(Save("u"), 1) << "the index is not there";

  ResetCache();
  WriteIndex(Answers(2, kFresh));
  FilePort().Fail("ReadFromFile");
  fnQNStack_Cache_Init();
  EXPECT_EQ(Save("u"), 0);
  EXPECT_EQ(FilePort().CountOf("WriteToFile"), 0);
  fnQNStack_Cache_Free();
  EXPECT_EQ(Save("u"), 1);
  EXPECT_THAT(HeldUrls(), testing::ElementsAre("u", "u0", "u1"));

  fnQNStack_Cache_Free();
  FilePort().Fail("ReadFromFile");
  fnQNStack_Cache_Init();
  EXPECT_EQ(fnQNStack_Cache_Delete_All(), 1);
  EXPECT_EQ(Save("u"), 1);
}

// A program at random. The clock stands still, so that all its saves begin with
// the same number.
class RandomProgram {
 public:
  explicit RandomProgram(unsigned seed) : choose_(qntest::SeededChooser(seed)) {
    fnQNStack_Cache_Init();
  }

  // One use of the cache, perhaps with a failure before or in it.
  void Step(const std::function<int32_t(const std::string &url, int32_t expires)> &save) {
    if (choose_(3) == 0) Break();
    const std::string url = "u" + std::to_string(choose_(4));
    switch (choose_(8)) {
      case 0:
        fnQNStack_Cache_Delete_All();
        break;
      case 1:
        fnQNStack_Cache_FindbyUrl_NoExpired(url.c_str());
        break;
      case 2:
        Reload();
        break;
      default:
        save(url, choose_(2) == 0 ? kNow : kFresh);
    }
  }

  // Whether it ends here. What has ended starts anew.
  bool Ends() {
    const bool ends = choose_(4) == 0;
    medium_is_gone_ = medium_is_gone_ && !ends;
    return ends;
  }

 private:
  // Deletions fail with everything else or not at all: a backup that stayed beside
  // a written index would be put in its place at the next start.
  void Break() {
    if (medium_is_gone_) return;
    constexpr const char *kCalls[] = {"WriteToFile", "ReadFromFile", "MoveFile", "CopyFile"};
    const auto nth = static_cast<int>(1 + choose_(12));
    switch (choose_(4)) {
      case 0:  // as if the program ended there
        FilePort().FailFrom(nth);
        medium_is_gone_ = true;
        break;
      case 1:
        FilePort().Tear("WriteToFile", choose_(200), nth);
        break;
      default:
        FilePort().Fail(kCalls[choose_(std::size(kCalls))], nth);
    }
  }

  // A port of this kind gives no size for a file that is not there, and for no
  // other reason; so nothing is loaded from a medium that is gone.
  void Reload() {
    if (medium_is_gone_) return;
    fnQNStack_Cache_Free();
    fnQNStack_Cache_Init();
  }

  qntest::Chooser choose_;
  bool medium_is_gone_ = false;
};

TEST_F(QnCacheNumbers, NeverGiveAUrlTheBodyOfAnother) {
  for (unsigned seed = 0; seed < 1000 && !HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    ResetCache();
    RandomProgram program(seed);
    for (int step = 0; step < 12; ++step) {
      program.Step(Save);
      if (program.Ends()) ExpectOwnBodiesAtAStart();
    }
    ExpectOwnBodiesAtAStart();
  }
}

}  // namespace
