// SPDX-License-Identifier: MIT
// Guards the lookups of the cache: what is found, what is still fresh, and
// which hits move to the front and bring the index file up to date.
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
using testing::IsEmpty;

class QnCacheFind : public qntest::CacheTest {};

TEST_F(QnCacheFind, GivesTheFirstEntryOfExactlyThatUrlHoweverOldAndChangesNothing) {
  const std::vector<CachedAnswer> answers = {{.url = "http://a/x", .expires = kStale, .tag = 1},
                                             {.url = "http://a/X", .expires = kStale, .tag = 2},
                                             {.url = "", .expires = kStale, .tag = 3},
                                             {.url = "http://a/X", .expires = kFresh, .tag = 4}};
  Start(answers);
  for (int number = 0; number < 3; ++number) {
    const char *url = answers[static_cast<size_t>(number)].url.c_str();
    const QNCacheEntry *entry = fnQNStack_Cache_FindbyUrl(url);
    EXPECT_EQ(entry, fnQNList_GetData(fnQNList_Find_ByNum(qn::http_cache_list, number))) << url;
    EXPECT_EQ(fnQNStack_Cache_FindbyUrl_NoExpired(url), nullptr) << "the first is stale";
  }
  for (const char *url : {"http://a/", "http://a/xx", "HTTP://a/x", " http://a/x"}) {
    EXPECT_EQ(fnQNStack_Cache_FindbyUrl(url), nullptr) << url;
    EXPECT_EQ(fnQNStack_Cache_FindbyUrl_NoExpired(url), nullptr) << url;
  }
  EXPECT_EQ(Held(), answers);
  EXPECT_THAT(FilePort().Calls(), IsEmpty());
}

TEST_F(QnCacheFind, LoadsTheIndexFirst) {
  WriteIndex(Answers(2, kFresh));

  EXPECT_NE(fnQNStack_Cache_FindbyUrl("u1"), nullptr);

  EXPECT_EQ(FilePort().Calls().front(), "MkDir(/wap/ca/)");
  EXPECT_EQ(FilePort().CountOf("ReadFromFile"), 1);
  EXPECT_EQ(qn::http_cache_items, 0);
}

TEST_F(QnCacheFind, FindsNothingWhenTheHeapRefusesTheIndex) {
  WriteIndex(Answers(2, kFresh));
  FailingHeap heap(1, FailingHeap::Reach::kRest);

  EXPECT_EQ(fnQNStack_Cache_FindbyUrl("u1"), nullptr);
  EXPECT_EQ(fnQNStack_Cache_FindbyUrl_NoExpired("u1"), nullptr);
}

class QnCacheFindFresh : public qntest::CacheTest {};

TEST_F(QnCacheFindFresh, ComparesExpiryAndNowAsSignedNumbers) {
  struct Case {
    int32_t expires;
    bool fresh;
  };
  constexpr Case kCases[] = {{kNow - 1, false}, {kNow, false}, {kNow + 1, true}, {INT32_MIN, false},
                             {-1, true},        {0, true},     {1, true},        {INT32_MAX, true}};
  for (const Case &c : kCases) {
    ResetCache();
    Start({{.url = "u", .expires = c.expires}});

    EXPECT_EQ(fnQNStack_Cache_FindbyUrl_NoExpired("u") != nullptr, c.fresh) << c.expires;
  }
}

TEST_F(QnCacheFindFresh, MovesAHitToTheFrontAndWritesTheIndex) {
  const std::vector<CachedAnswer> answers = Answers(4, kFresh);
  Start(answers);
  const QNCacheEntry *expected = fnQNStack_Cache_FindbyUrl("u2");

  EXPECT_EQ(fnQNStack_Cache_FindbyUrl_NoExpired(expected->url), expected) << "by its own URL";

  const std::vector<CachedAnswer> moved = {answers[2], answers[0], answers[1], answers[3]};
  EXPECT_EQ(Held(), moved);
  EXPECT_EQ(IndexFile(), IndexOf(moved));
  EXPECT_THAT(FilePort().Calls(), ElementsAreArray(IndexRewrite(IndexOf(moved).size())));
  ExpectCounters(4, 4);
}

TEST_F(QnCacheFindFresh, WritesTheIndexForAHitInFrontToo) {
  const std::vector<CachedAnswer> answers = Answers(2, kFresh);
  Start(answers);
  FilePort().files().Delete(kIndexName);

  EXPECT_NE(fnQNStack_Cache_FindbyUrl_NoExpired("u0"), nullptr);

  EXPECT_EQ(Held(), answers);
  EXPECT_EQ(IndexFile(), IndexOf(answers));
}

TEST_F(QnCacheFindFresh, MovesTheFirstHundredPositionsOnly) {
  struct Case {
    const char *url;
    bool moves;
  };
  for (const Case &c : {Case{"u0", true}, Case{"u1", true}, Case{"u98", true}, Case{"u99", true},
                        Case{"u100", false}, Case{"u150", false}, Case{"u198", false}}) {
    SCOPED_TRACE(c.url);
    ResetCache();
    Start(Answers(199, kFresh));
    const std::vector<std::string> before = HeldUrls();

    const QNCacheEntry *entry = fnQNStack_Cache_FindbyUrl_NoExpired(c.url);

    ASSERT_NE(entry, nullptr);
    EXPECT_STREQ(entry->url, c.url);
    EXPECT_EQ(HeldUrls().front(), c.moves ? c.url : "u0");
    EXPECT_EQ(FilePort().CountOf("WriteToFile"), c.moves ? 1 : 0);
    if (!c.moves) {
      EXPECT_EQ(HeldUrls(), before);
      EXPECT_THAT(FilePort().Calls(), IsEmpty());
    }
  }
}

TEST_F(QnCacheFindFresh, ServesAHitWhoseIndexCannotBeWritten) {
  const std::vector<CachedAnswer> answers = Answers(2, kFresh);
  Start(answers);
  FilePort().Fail("WriteToFile");

  EXPECT_NE(fnQNStack_Cache_FindbyUrl_NoExpired("u1"), nullptr);

  EXPECT_THAT(HeldUrls(), ElementsAre("u1", "u0"));
  EXPECT_EQ(IndexFile(), IndexOf(answers));
}

TEST_F(QnCacheFindFresh, LosesNothingToARefusingHeap) {
  const std::vector<CachedAnswer> answers = Answers(3, kFresh);
  int refusals = 1;
  for (int k = 1; refusals > 0; ++k) {
    SCOPED_TRACE(k);
    ResetCache();
    Start(answers);
    const QNCacheEntry *entry = nullptr;
    refusals = RefusalsIn([&] { entry = fnQNStack_Cache_FindbyUrl_NoExpired("u2"); }, k);

    ASSERT_NE(entry, nullptr);
    EXPECT_STREQ(entry->url, "u2");
    EXPECT_THAT(HeldUrls(), testing::UnorderedElementsAre("u0", "u1", "u2"));
    EXPECT_THAT(IndexFile(), testing::AnyOf(IndexOf(answers), IndexOf(Held())));
  }
}

}  // namespace
