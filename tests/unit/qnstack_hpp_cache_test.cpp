// SPDX-License-Identifier: MIT
// Guards the C++ face's Cache: what it finds, reads, saves and lets go.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "qnstack/qnstack.hpp"
#include "support/cache_test.h"
#include "support/failing_heap.h"

namespace {

using namespace std::string_literals;
using namespace qntest;
using qnstack::Cache;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(!std::is_copy_constructible_v<Cache> && !std::is_copy_assignable_v<Cache>);
static_assert(!std::is_move_constructible_v<Cache> && !std::is_move_assignable_v<Cache>);

class FaceCache : public qntest::CacheTest {
 protected:
  FaceCache() {
    Start({{.url = "u1", .label = "one", .file_no = 1, .size = 5, .expires = kFresh, .tag = 7},
           {.url = "u2", .file_no = 2, .size = 6, .expires = kStale}});
    FilePort().files().Write("/wap/ca/1", "bo\0dy"s);
    fnQNStack_Cache_Free();
  }

  static std::vector<std::string> UrlsOf(const Cache &cache) {
    std::vector<std::string> urls;
    for (const QNCacheEntry &entry : cache.entries()) urls.emplace_back(entry.url);
    return urls;
  }
};

TEST_F(FaceCache, LoadsTheIndexAndLetsItGo) {
  const qntest::FailingHeap heap(qntest::FailingHeap::kCountOnly);
  {
    const Cache cache;

    EXPECT_THAT(UrlsOf(cache), ElementsAre("u1", "u2"));
    EXPECT_EQ(cache.entries().size(), 2U);
    ExpectCounters(2, 11);
  }
  EXPECT_EQ(heap.LiveBlocks(), 0);
}

TEST_F(FaceCache, FindsWhatIsFreshAndByTheOtherCallWhatIsStaleToo) {
  Cache cache;
  const QNCacheEntry *entry = cache.FindFresh("u1"s);
  ASSERT_NE(entry, nullptr);
  EXPECT_STREQ(entry->label, "one");
  EXPECT_EQ(entry->tag, 7);
  EXPECT_EQ(cache.FindFresh("u2"), nullptr) << "it is stale";
  ASSERT_NE(cache.Find(std::string_view("u2")), nullptr);
  EXPECT_EQ(cache.Find("u2")->expires, kStale);
  for (const auto &url : {"u3"s, "u1\0"s}) {
    EXPECT_EQ(cache.FindFresh(url), nullptr);
    EXPECT_EQ(cache.Find(url), nullptr);
  }
  EXPECT_EQ(cache.FindFresh(nullptr), nullptr);
  EXPECT_EQ(cache.Find(nullptr), nullptr);
}

TEST_F(FaceCache, ReadsABodyThatCanBeRead) {
  FilePort().files().Delete("/wap/ca/2");
  const Cache cache;
  QNCacheEntry impossible = *cache.Find("u1");
  impossible.size = -1;
  EXPECT_EQ(cache.Body(*cache.Find("u1")), "bo\0dy"s);
  EXPECT_EQ(cache.Body(*cache.Find("u2")), std::nullopt);
  EXPECT_EQ(cache.Body(impossible), std::nullopt);
}

TEST_F(FaceCache, SavesABody) {
  Cache cache;

  EXPECT_TRUE(cache.Save("u3"s, "new\0body"s, kFresh, "label", 9));
  EXPECT_TRUE(cache.Save("u4", "", kFresh));

  const QNCacheEntry *entry = cache.FindFresh("u3");
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(qntest::AnswerOf(*entry), (CachedAnswer{.url = "u3",
                                                    .label = "label",
                                                    .file_no = kFileNoOfNow,
                                                    .size = 8,
                                                    .expires = kFresh,
                                                    .stored_at = kNow,
                                                    .tag = 9}));
  EXPECT_EQ(cache.Body(*entry), "new\0body"s);
  EXPECT_STREQ(cache.Find("u4")->label, "NULL");
  EXPECT_EQ(cache.Body(*cache.Find("u4")), "");
}

TEST_F(FaceCache, SavesNothingThatItCannotName) {
  Cache cache;
  FilePort().ClearCalls();

  EXPECT_FALSE(cache.Save("u\0003"s, "body", kFresh));
  EXPECT_FALSE(cache.Save(nullptr, "body", kFresh));
  EXPECT_FALSE(cache.Save("u3", "body", kFresh, "la\0bel"s));
  EXPECT_FALSE(cache.Save("u3", std::string_view("", std::size_t{INT32_MAX} + 1), kFresh));

  EXPECT_THAT(FilePort().Calls(), IsEmpty());
  EXPECT_THAT(UrlsOf(cache), ElementsAre("u1", "u2")) << "nothing was thrown out";
}

TEST_F(FaceCache, IsClearedAndTellsWhatCouldNotBeWritten) {
  Cache cache;
  FilePort().Fail("WriteToFile");
  EXPECT_FALSE(cache.Save("u3", "body", kFresh));
  EXPECT_EQ(cache.Find("u3"), nullptr);
  FilePort().Fail("WriteToFile");
  EXPECT_FALSE(cache.Clear());

  EXPECT_TRUE(cache.Clear());
  EXPECT_TRUE(cache.entries().empty());
  ExpectCounters(0, 0);
  EXPECT_EQ(IndexFile(), "");
}

TEST_F(FaceCache, AsksHeaderLinesHowLongAnAnswerMayBeKept) {
  Cache cache;
  cache.StartAnswer();
  EXPECT_EQ(cache.Expires(), std::nullopt) << "nothing is known";

  EXPECT_TRUE(cache.TakeHeaderLine("Server: s"s));
  EXPECT_TRUE(cache.TakeHeaderLine("Cache-Control: max-age=60"));
  EXPECT_EQ(cache.Expires(), kNow + 60);

  EXPECT_TRUE(cache.TakeHeaderLine("Pragma: no-cache"));
  EXPECT_FALSE(cache.TakeHeaderLine("Cache-Control: max-age=60"));
  EXPECT_EQ(cache.Expires(), std::nullopt);
  cache.StartAnswer();
  EXPECT_TRUE(cache.TakeHeaderLine("Pragma: no-\0cache"s)) << "it counts for nothing";
}

TEST_F(FaceCache, HasNoEntriesWithoutAList) {
  const qntest::FailingHeap heap(1, qntest::FailingHeap::Reach::kRest);
  const Cache cache;

  EXPECT_TRUE(cache.entries().empty());
}

}  // namespace
