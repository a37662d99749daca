// SPDX-License-Identifier: MIT
// Guards saving into the cache: what is written in which order, what a failing
// write, heap or collision does, and what becomes of a URL that is saved again.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "qn_stack_http_cache_internal.h"
#include "support/cache_test.h"
#include "support/failing_heap.h"

namespace {

using namespace qntest;
using testing::ElementsAre;
using testing::ElementsAreArray;

class QnCacheSave : public qntest::CacheTest {
 protected:
  // What is in the file of that number; "none" if it is not there.
  static std::string Body(int32_t file_no) {
    return FilePort().files().Content("/wap/ca/" + std::to_string(file_no)).value_or("none");
  }
  static int32_t Save(const std::string &url, const std::string &body, int32_t expires = kFresh) {
    return fnQNStack_Cache_Save(url.c_str(), nullptr, body.data(),
                                static_cast<int32_t>(body.size()), expires, 0);
  }
  // An answer as Save() stores it.
  static CachedAnswer Saved(const std::string &url, int32_t size, int32_t file_no = kFileNoOfNow) {
    return {url, "NULL", file_no, size, kFresh, kNow, 0};
  }
};

TEST_F(QnCacheSave, WritesTheBodyThenTheIndex) {
  const std::string index = IndexOf({Saved("http://a/", 4)});

  EXPECT_EQ(Save("http://a/", "body"), 1);

  EXPECT_THAT(
      FilePort().Calls(),
      ElementsAreArray(InARow(
          {{"MkDir(/wap/ca/)", "getFileSize(/wap/ca/ca.txt)", "isFileExisted(/wap/ca/ca.txt.bak)",
            "getFileSize(/wap/ca/ca.txt)", "WriteToFile(4 bytes, /wap/ca/-4928)"},
           IndexRewrite(index.size())})));
  EXPECT_EQ(Body(kFileNoOfNow), "body");
  EXPECT_EQ(IndexFile(), index);
}

TEST_F(QnCacheSave, KeepsEveryArgumentAndACopyOfItsStrings) {
  const std::string body("a\0\nb", 4);
  std::string url = "url";
  std::string label = "image/gif";
  EXPECT_EQ(fnQNStack_Cache_Save(url.c_str(), label.c_str(), body.data(), 4, kFresh, -200), 1);
  EXPECT_EQ(fnQNStack_Cache_Save("empty", "", "", 0, kFresh, 0), 1);
  url = label = "?????????";
  EXPECT_EQ(Held(),
            (std::vector<CachedAnswer>{{"empty", "", kFileNoOfNow + 1, 0, kFresh, kNow, 0},
                                       {"url", "image/gif", kFileNoOfNow, 4, kFresh, kNow, -200}}));
  EXPECT_EQ(Body(kFileNoOfNow), body);
  EXPECT_EQ(Body(kFileNoOfNow + 1), "");
}

TEST_F(QnCacheSave, RefusesAnAnswerWithoutAUrlAndThrowsNothingOut) {
  const std::vector<CachedAnswer> stale = Answers(1, kNow - 1);
  Start(stale);
  EXPECT_EQ(fnQNStack_Cache_Save(nullptr, nullptr, "body", 4, kFresh, 0), 0);
  EXPECT_EQ(Held(), stale);
  EXPECT_THAT(FilePort().Calls(), testing::IsEmpty());
}

TEST_F(QnCacheSave, PutsTheNewEntryInFrontAndCountsItAlone) {
  const std::vector<CachedAnswer> old = Answers(2, kFresh, 10);
  for (const bool loaded : {true, false}) {
    SCOPED_TRACE(loaded);
    ResetCache();
    fnQNStack_Cache_setMode(0);  // nobody heeds it here, nor the facts of an answer
    qn::cache_time.cacheable = 0;
    if (loaded) {
      Start(old);
    } else {
      WriteIndex(old);
    }
    EXPECT_EQ(Save("new", "body"), 1);
    EXPECT_EQ(Held(), (std::vector<CachedAnswer>{Saved("new", 4), old[0], old[1]}));
    EXPECT_EQ(IndexFile(), IndexOf(Held()));
    ExpectCounters(loaded ? 3 : 1, loaded ? 24 : 4);
  }
}

TEST_F(QnCacheSave, DeletesTheOldBodyOfItsUrlFirst) {
  const CachedAnswer old = {.url = "u", .file_no = 7, .size = 100, .expires = kFresh};
  Start({old});
  const std::vector<CachedAnswer> both = {Saved("u", 4), old};

  EXPECT_EQ(Save("u", "body"), 1);

  EXPECT_THAT(
      FilePort().Calls(),
      ElementsAreArray(InARow({{"DeleteFile(/wap/ca/7)", "WriteToFile(4 bytes, /wap/ca/-4928)"},
                               IndexRewrite(IndexOf(both).size())})));
  EXPECT_EQ(Held(), both);
  EXPECT_EQ(fnQNStack_Cache_FindbyUrl("u")->file_no, kFileNoOfNow);
  ExpectCounters(1, 4);
}

TEST_F(QnCacheSave, TakesTheOldEntryOfAUrlOffTwiceInTheEnd) {
  Start({{.url = "u", .file_no = 7, .size = 100, .expires = kNow + 200}});
  FilePort().Fail("DeleteFile");  // the old body is not there
  EXPECT_EQ(Save("u", "body"), 1);
  clock_.SetLocal({.year = 2009, .month = 6, .day = 15, .hour = 12, .minute = 5});

  EXPECT_EQ(Save("other", "x", kNow + 10000), 1);

  EXPECT_THAT(HeldUrls(), ElementsAre("other", "u"));
  ExpectCounters(1, 4 - 100 + 1);
}

TEST_F(QnCacheSave, TakesAStaleEntryOfItsUrlOffTwiceAtOnce) {
  Start({{.url = "u", .file_no = 7, .size = 100, .expires = kNow}});

  EXPECT_EQ(Save("u", "body"), 1);

  EXPECT_EQ(FilePort().Calls()[0], "DeleteFile(/wap/ca/7)");
  EXPECT_EQ(FilePort().Calls()[1], "DeleteFile(/wap/ca/7)");
  EXPECT_EQ(Held(), (std::vector<CachedAnswer>{Saved("u", 4)}));
  ExpectCounters(0, -96);
}

TEST_F(QnCacheSave, FailsWhenTheBodyCannotBeWritten) {
  std::vector<CachedAnswer> answers = {{.url = "u", .file_no = 7, .size = 100, .expires = kFresh},
                                       {.url = "stale", .file_no = 8, .size = 10, .expires = kNow}};
  Start(answers);
  FilePort().Fail("WriteToFile");

  EXPECT_EQ(Save("u", "body"), 0);

  EXPECT_THAT(FilePort().Calls(), ElementsAre("DeleteFile(/wap/ca/7)", "DeleteFile(/wap/ca/8)",
                                              "WriteToFile(4 bytes, /wap/ca/-4928)"));
  EXPECT_THAT(HeldUrls(), ElementsAre("u"));
  EXPECT_EQ(IndexFile(), IndexOf(answers));
  ExpectCounters(0, 0);
}

TEST_F(QnCacheSave, TakesAnyAnswerButMinusOneOfTheBodysWriteForSuccess) {
  for (const int32_t answer : {0, 1, -2}) {
    ResetCache();
    FilePort().Answer("WriteToFile", answer);

    EXPECT_EQ(Save("u", "body"), 1) << answer;
  }
}

TEST_F(QnCacheSave, RefusesANegativeLength) {
  Start(Answers(1, kFresh));

  EXPECT_EQ(fnQNStack_Cache_Save("u", nullptr, "body", -1, kFresh, 0), 0);

  EXPECT_THAT(HeldUrls(), ElementsAre("u0"));
  EXPECT_EQ(qn::http_cache_size, 1);
}

TEST_F(QnCacheSave, SucceedsWhenTheIndexCannotBeWritten) {
  const std::vector<CachedAnswer> old = Answers(1, kFresh);
  Start(old);
  FilePort().Fail("WriteToFile", 2);

  EXPECT_EQ(Save("u", "body"), 1);

  EXPECT_THAT(HeldUrls(), ElementsAre("u", "u0"));
  EXPECT_EQ(IndexFile(), IndexOf(old));
  EXPECT_EQ(qn::http_cache_items, 2);
}

TEST_F(QnCacheSave, GivesTheBodyTheNextNumberThatNoEntryHas) {
  const auto with_number = [](const char *url, int32_t file_no) {
    return CachedAnswer{.url = url, .file_no = file_no, .expires = kFresh};
  };
  Start({with_number("a", -4927), with_number("b", -4925), with_number("u", kFileNoOfNow)});

  Save("u", "body");

  EXPECT_EQ(Held().front().file_no, -4926) << "the number of its old entry is taken too";
  EXPECT_EQ(Body(-4926), "body");
  EXPECT_EQ(Body(kFileNoOfNow), "none");
}

TEST_F(QnCacheSave, TakesTheStringsOfAnEntryThatIsThrownOut) {
  for (const bool is_purged : {true, false}) {
    SCOPED_TRACE(is_purged ? "purged" : "evicted");
    ResetCache();
    Start({{.url = "url", .label = "label", .file_no = 7, .expires = is_purged ? kNow : kFresh}});
    if (!is_purged) qn::http_cache_items = 200;  // its old body is taken off first
    const QNCacheEntry *entry = fnQNStack_Cache_FindbyUrl("url");
    EXPECT_EQ(fnQNStack_Cache_Save(entry->url, entry->label, "x", 1, kFresh, 5), 1);
    EXPECT_EQ(Held(),
              (std::vector<CachedAnswer>{{"url", "label", kFileNoOfNow, 1, kFresh, kNow, 5}}));
  }
}

TEST_F(QnCacheSave, TakesABodyThatIsAStringOfAnEntryThatIsPurged) {
  Start({{.url = "first", .label = "its label", .file_no = 7, .expires = kNow},
         {.url = "second url", .file_no = 8, .expires = kNow}});
  const char *label = fnQNStack_Cache_FindbyUrl("first")->label;
  EXPECT_EQ(fnQNStack_Cache_Save("u", nullptr, label + 4, 5, kFresh, 0), 1);
  EXPECT_EQ(Body(kFileNoOfNow), "label");

  const QNCacheEntry *evicted = fnQNStack_Cache_FindbyUrl("u");
  qn::http_cache_items = 199;
  EXPECT_EQ(fnQNStack_Cache_Save("v", nullptr, evicted->url, 2, kFresh, 0), 1);
  EXPECT_EQ(Body(kFileNoOfNow + 1), std::string("u\0", 2));

  ResetCache();
  Start({{.url = "url", .label = "its label", .file_no = 7, .expires = kNow}});
  const char *end = fnQNStack_Cache_FindbyUrl("url")->label + 9;
  EXPECT_EQ(fnQNStack_Cache_Save("http://h/of-another-length", nullptr, end, 1, kFresh, 0), 1);
  EXPECT_EQ(Body(kFileNoOfNow), std::string(1, '\0')) << "what ends it is part of it";
}

TEST_F(QnCacheSave, IsWholeOrNotAtAllWhenTheHeapRefuses) {
  const std::vector<CachedAnswer> old = Answers(3, kFresh, 10);
  int failures = 0;
  for (int k = 1, refusals = 1; refusals > 0; ++k) {
    SCOPED_TRACE(k);
    ResetCache();
    Start(old);
    int32_t result = -1;
    refusals = RefusalsIn([&] { result = Save("new", "body"); }, k);
    failures += result == 0 ? 1 : 0;

    ASSERT_THAT(result, testing::AnyOf(0, 1));
    EXPECT_EQ(Held().size(), 3U + static_cast<size_t>(result));
    ExpectCounters(3 + result, 30 + 4 * result);
    EXPECT_THAT(IndexFile(), testing::AnyOf(IndexOf(old), IndexOf(Held())));
    EXPECT_EQ(Save("later", "body"), 1);
    EXPECT_EQ(IndexFile(), IndexOf(Held()));
  }
  // The entry, its two strings and its node are needed; the rest is the index
  // file's.
  EXPECT_EQ(failures, 4);
}

TEST_F(QnCacheSave, FailsWithoutAnIndexWhenTheHeapRefusesIt) {
  const FailingHeap heap(4);
  EXPECT_EQ(Save("u", "body"), 0);
  EXPECT_EQ(qn::http_cache_list, nullptr);
  EXPECT_EQ(FilePort().CountOf("WriteToFile"), 0);
}

TEST_F(QnCacheSave, CutsAnIndexThatOutgrowsItsArea) {
  const std::string url(10100, 'x');
  Start(Answers(1, kFresh));

  EXPECT_EQ(Save(url, "body"), 1);

  // Nothing fits behind the URL that does not, so the file ends before it.
  EXPECT_EQ(Held().size(), 2U);
  EXPECT_NE(fnQNStack_Cache_FindbyUrl(url.c_str()), nullptr);
  EXPECT_EQ(IndexFile(), "");
}

TEST_F(QnCacheSave, KeepsOfAnIndexWhatFitsItsArea) {
  const std::string label(10000, 'l');

  EXPECT_EQ(fnQNStack_Cache_Save("u", label.c_str(), "body", 4, kFresh, 0), 1);
  EXPECT_EQ(IndexFile(), std::string("u\0", 2));
  EXPECT_EQ(Save("v", "body"), 1);
  EXPECT_EQ(IndexFile(), IndexOf({Held()[0]}) + std::string("u\0", 2));

  fnQNStack_Cache_Free();
  fnQNStack_Cache_Init();
  EXPECT_EQ(Held().at(1), (CachedAnswer{.url = "u", .label = ""}));
}

}  // namespace
