// SPDX-License-Identifier: MIT
// Guards what a save throws out of the cache: what expires soon, and the oldest
// entries until there is room, by the counters and to the exact limits.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "qn_stack_http_cache_internal.h"
#include "qnstack/qn_share_mem.h"
#include "support/cache_test.h"

namespace {

using namespace qntest;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

class QnCacheRoom : public qntest::CacheTest {
 protected:
  static int32_t Save(const std::string &url, int32_t length = 1, int32_t expires = kFresh) {
    const std::string body(static_cast<size_t>(length), 'b');
    return fnQNStack_Cache_Save(url.c_str(), nullptr, body.data(), length, expires, 0);
  }
};

TEST_F(QnCacheRoom, PurgesWhatExpiresWithin99Seconds) {
  struct Case {
    int32_t expires;
    bool stays;
  };
  // What lies more than 2^31 seconds ahead, as a date of 2037 does, stays.
  constexpr Case kCases[] = {
      {kNow - 1, false},
      {kNow, false},
      {kNow + 99, false},
      {kNow + 100, true},
      {0, true},
      {kNow + INT32_MAX, true},
      {kNow + INT32_MAX + 1, true},
      {INT32_MAX, true},
      {INT32_MIN, false},
  };
  for (const Case &c : kCases) {
    ResetCache();
    Start({{.url = "u", .file_no = 7, .size = 10, .expires = c.expires}});

    EXPECT_EQ(Save("new"), 1);

    EXPECT_EQ(HeldUrls().size(), c.stays ? 2U : 1U) << c.expires;
    EXPECT_EQ(FilePort().files().Exists("/wap/ca/7"), c.stays) << c.expires;
    EXPECT_EQ(qn::http_cache_items, c.stays ? 2 : 1) << c.expires;
    EXPECT_EQ(qn::http_cache_size, c.stays ? 11 : 1) << c.expires;
  }
}

TEST_F(QnCacheRoom, PurgesFromTheHeadOnWhereverTheyStand) {
  std::vector<CachedAnswer> answers = Answers(6, kFresh);
  for (const size_t stale : {0U, 2U, 3U, 5U}) answers[stale].expires = kNow + 50;
  Start(answers);

  EXPECT_EQ(Save("new"), 1);

  EXPECT_THAT(HeldUrls(), ElementsAre("new", "u1", "u4"));
  EXPECT_THAT(FilePort().Calls(),
              ElementsAreArray(InARow({{"DeleteFile(/wap/ca/20000)", "DeleteFile(/wap/ca/20002)",
                                        "DeleteFile(/wap/ca/20003)", "DeleteFile(/wap/ca/20005)",
                                        "WriteToFile(1 bytes, /wap/ca/-4928)"},
                                       IndexRewrite(IndexOf(Held()).size())})));
}

TEST_F(QnCacheRoom, PurgesAnEntryWhoseStringsAreMissing) {
  Start({{.url = "u", .file_no = 7, .expires = kNow}});
  QNCacheEntry *entry = fnQNStack_Cache_FindbyUrl("u");
  fnQN_Free(&entry->url);
  fnQN_Free(&entry->label);

  EXPECT_EQ(Save("new"), 1);

  EXPECT_THAT(HeldUrls(), ElementsAre("new"));
  EXPECT_FALSE(FilePort().files().Exists("/wap/ca/7"));
}

TEST_F(QnCacheRoom, StoresWhatExpiresSoonAndPurgesItAtTheNextSave) {
  EXPECT_EQ(Save("soon", 1, kNow + 99), 1);
  EXPECT_THAT(HeldUrls(), ElementsAre("soon"));
  EXPECT_EQ(Save("next"), 1);
  EXPECT_THAT(HeldUrls(), ElementsAre("next"));

  SetCounters(0, -10);  // lets more than a mebibyte in
  EXPECT_EQ(Save("large", kMebibyte + 9), 1);
  EXPECT_EQ(qn::http_cache_size, kMebibyte - 1);
}

TEST_F(QnCacheRoom, Holds199EntriesAndThrowsTheOldestOutFirst) {
  Start(Answers(198, kFresh));
  EXPECT_EQ(Save("a"), 1);
  EXPECT_EQ(HeldUrls().size(), 199U);
  EXPECT_EQ(FilePort().CountOf("DeleteFile"), 2);  // those of the index's backup

  ResetCache();
  std::vector<CachedAnswer> answers = Answers(203, kFresh);
  answers[0].expires = kNow;  // it is purged before
  Start(answers);
  EXPECT_EQ(Save("new"), 1);
  EXPECT_EQ(HeldUrls().size(), 199U);
  EXPECT_EQ(HeldUrls().back(), "u198");
  EXPECT_EQ(qn::http_cache_items, 199);
  EXPECT_THAT(
      FilePort().Calls(),
      ElementsAreArray(InARow({{"DeleteFile(/wap/ca/20000)", "DeleteFile(/wap/ca/20202)",
                                "DeleteFile(/wap/ca/20201)", "DeleteFile(/wap/ca/20200)",
                                "DeleteFile(/wap/ca/20199)", "WriteToFile(1 bytes, /wap/ca/-4928)"},
                               IndexRewrite(IndexOf(Held()).size())})));
}

TEST_F(QnCacheRoom, TakesABodyThatIsSmallerThanWhatIsLeftOfTheMebibyte) {
  struct Case {
    int32_t length;
    std::vector<std::string> left;
  };
  const Case cases[] = {{99, {"new", "u0", "u1"}},
                        {100, {"new", "u0"}},
                        {524337, {"new", "u0"}},
                        {524338, {"new"}},
                        {kMebibyte - 1, {"new"}}};
  for (const Case &c : cases) {
    ResetCache();
    Start(Answers(2, kFresh, (kMebibyte - 100) / 2));

    EXPECT_EQ(Save("new", c.length), 1) << c.length;

    EXPECT_EQ(HeldUrls(), c.left) << c.length;
    EXPECT_LT(qn::http_cache_size, kMebibyte) << c.length;
  }
}

TEST_F(QnCacheRoom, EmptiesItselfForABodyThatNeverFits) {
  for (const int32_t length : {kMebibyte, kMebibyte + 1, INT32_MAX}) {
    SCOPED_TRACE(length);
    ResetCache();
    const std::vector<CachedAnswer> answers = Answers(2, kFresh);
    Start(answers);
    EXPECT_EQ(fnQNStack_Cache_Save("new", nullptr, "b", length, kFresh, 0), 0);
    EXPECT_THAT(FilePort().Calls(),
                ElementsAre("DeleteFile(/wap/ca/20001)", "DeleteFile(/wap/ca/20000)"));
    EXPECT_THAT(Held(), IsEmpty());
    ExpectCounters(0, 0);
    EXPECT_EQ(IndexFile(), IndexOf(answers));
  }
}

TEST_F(QnCacheRoom, GoesByTheCountersAndNotByTheList) {
  struct Case {
    int32_t items;
    int32_t size;
    int32_t result;
    size_t left;
  };
  // Three entries of one byte each are in the list.
  constexpr Case kCases[] = {
      {198, 0, 1, 4},           {199, 0, 1, 3},           {201, 0, 1, 1},
      {202, 0, 0, 0},           {INT32_MAX, 0, 0, 0},     {-5, 0, 1, 4},
      {0, kMebibyte - 2, 1, 4}, {0, kMebibyte - 1, 1, 3}, {0, kMebibyte + 2, 0, 0},
      {0, INT32_MAX, 0, 0},     {0, -kMebibyte, 1, 4},    {INT32_MIN, INT32_MIN, 1, 4},
  };
  for (const Case &c : kCases) {
    SCOPED_TRACE(testing::PrintToString(c.items) + " items, size " +
                 testing::PrintToString(c.size));
    ResetCache();
    Start(Answers(3, kFresh));
    SetCounters(c.items, c.size);

    EXPECT_EQ(Save("new"), c.result);

    EXPECT_EQ(HeldUrls().size(), c.left);
  }
}

}  // namespace
