// SPDX-License-Identifier: MIT
// Guards the freshness rule: what each header line of an answer says about its
// lifetime, and the expiry that comes of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "qn_stack_http_cache_internal.h"
#include "support/cache_test.h"
#include "support/calendar_reference.h"
#include "support/failing_heap.h"

namespace qn {

// For comparisons in tests and their messages.
bool operator==(const CacheTime &a, const CacheTime &b) {
  return a.cacheable == b.cacheable && a.expires == b.expires && a.max_age == b.max_age &&
         a.last_modified == b.last_modified && a.date == b.date;
}

void PrintTo(const CacheTime &time, std::ostream *out) {
  *out << "{cacheable " << time.cacheable << ", expires " << time.expires << ", max_age "
       << time.max_age << ", last_modified " << time.last_modified << ", date " << time.date << '}';
}

}  // namespace qn

namespace {

using qn::CacheTime;
using qntest::kDay;
using qntest::kNow;

constexpr int32_t kNov6 = 784166400;  // 6 November 1994

const CacheTime facts_at_load = qn::cache_time;

class QnCacheFreshness : public qntest::CacheTest {
 protected:
  // The expiry of an answer with these header lines.
  static int32_t ExpiryOf(const std::vector<const char *> &lines) {
    fnQNStack_Cache_InitTime();
    for (const char *line : lines) fnQNStack_Cache_ParseCacheTime(line);
    return fnQNStack_Cache_getExpired();
  }
};

TEST_F(QnCacheFreshness, TakesNothingBeforeAnAnswerIsStarted) {
  EXPECT_EQ(facts_at_load, CacheTime{});
  EXPECT_EQ(fnQNStack_Cache_ParseCacheTime("Cache-Control: max-age=60"), -1);
  EXPECT_EQ(fnQNStack_Cache_ParseCacheTime(nullptr), -1);
  EXPECT_EQ(qn::cache_time, CacheTime{});
  EXPECT_EQ(fnQNStack_Cache_getExpired(), -1);

  qn::cache_time = {0, 1, 2, 3, 4};
  fnQNStack_Cache_InitTime();
  EXPECT_EQ(qn::cache_time, (CacheTime{1, 0, 0, 0, 0}));
}

TEST_F(QnCacheFreshness, TakesOneFactFromALine) {
  struct Case {
    const char *line;
    CacheTime facts;
  };
  // The facts before it are those of a started answer with the numbers 2 to 5.
  const Case cases[] = {
      {"Date: Sun, 06 Nov 1994 08:49:37 GMT", {1, 2, 3, 4, kNov6}},
      {"DATE:Sun, 06 Nov 1994 23:59:59 GMT", {1, 2, 3, 4, kNov6}},
      {"Date: \t Sun, 06 Nov 1994 x", {1, 2, 3, 4, kNov6}},
      {"Date: Sun, 06 Nov 1994", {1, 2, 3, 4, -1}},
      {"Date: Sun, 06 nov 1994 08:49:37 GMT", {1, 2, 3, 4, -1}},
      {"Date:", {1, 2, 3, 4, -1}},
      {"Last-Modified: Sun, 06 Nov 1994 08:49:37 GMT", {1, 2, 3, kNov6, 5}},
      {"last-modified:Sun, 06 Nov 1994 08:49:37 GMT", {1, 2, 3, kNov6, 5}},
      {"Last-Modified: yesterday", {1, 2, 3, -1, 5}},
      {"Expires: Sun, 06 Nov 1994 08:49:37 GMT", {1, kNov6, 3, 4, 5}},
      {"eXPIRES: Sun, 06 Nov 1994 08:49:37 GMT", {1, kNov6, 3, 4, 5}},
      {"Expires: 0", {1, -1, 3, 4, 5}},
      {"Expires: -1", {1, -1, 3, 4, 5}},
      {"Age: 60", {1, 2, 60, 4, 5}},
      {"AGE:60", {1, 2, 60, 4, 5}},
      {"Age:\t+7 seconds", {1, 2, 7, 4, 5}},
      {"Age: -5", {1, 2, -5, 4, 5}},
      {"Age: 2147483647", {1, 2, INT32_MAX, 4, 5}},
      {"Cache-Control: max-age=60", {1, 2, 60, 4, 5}},
      {"cache-control:MAX-AGE=60", {1, 2, 60, 4, 5}},
      {"Cache-Control: public, max-age= 60, x", {1, 2, 60, 4, 5}},
      {"Cache-Control: max-age=1, max-age=2", {1, 2, 1, 4, 5}},
      {"Cache-Control: max-age=-2147483648", {1, 2, INT32_MIN, 4, 5}},
      {"Cache-Control: no-cache", {0, 2, 3, 4, 5}},
      {"CACHE-CONTROL:x,No-Cache=\"Set-Cookie\"", {0, 2, 3, 4, 5}},
      {"Cache-Control: max-age=60, no-cache", {0, 2, 60, 4, 5}},
      {"Cache-Control: no-cache, max-age=60", {0, 2, 60, 4, 5}},
      {"Pragma: no-cache", {0, 2, 3, 4, 5}},
      {"pragma:x, NO-CACHE", {0, 2, 3, 4, 5}},
      // A missing number is zero.
      {"Age:", {1, 2, 0, 4, 5}},
      {"Age: x60", {1, 2, 0, 4, 5}},
      {"Age: - 6", {1, 2, 0, 4, 5}},
      {"Cache-Control: max-age=", {1, 2, 0, 4, 5}},
      {"Cache-Control: max-age=, no-store", {1, 2, 0, 4, 5}},
      {"Cache-Control: max-age=\"60\"", {1, 2, 0, 4, 5}},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.line);
    qn::cache_time = {1, 2, 3, 4, 5};
    EXPECT_EQ(fnQNStack_Cache_ParseCacheTime(c.line), 0);
    EXPECT_EQ(qn::cache_time, c.facts);
  }
  for (const char *line :
       {"", "D", "Date", "Date : Sun, 06 Nov 1994 08:49:37 GMT",
        " Date: Sun, 06 Nov 1994 08:49:37 GMT", "X-Date: Sun, 06 Nov 1994 08:49:37 GMT",
        "Content-Length: 5", "Age 60", "Ages: 60", "max-age=60", "no-cache", "X: no-cache",
        "Cache-Control: no-store, private, must-revalidate, s-maxage=9", "Cache-Control: max-age",
        "Cache-Control: max-age =60", "Cache-Control: no cache",
        "Cache-Control:", "Pragma: max-age=60", "Pragma:"}) {
    SCOPED_TRACE(line);
    qn::cache_time = {1, 2, 3, 4, 5};
    EXPECT_EQ(fnQNStack_Cache_ParseCacheTime(line), 0);
    EXPECT_EQ(qn::cache_time, (CacheTime{1, 2, 3, 4, 5}));
  }
}

TEST_F(QnCacheFreshness, TakesNoFurtherLineOfAnAnswerThatMustNotBeKept) {
  for (const char *no : {"Cache-Control: no-cache", "Pragma: no-cache"}) {
    fnQNStack_Cache_InitTime();
    EXPECT_EQ(fnQNStack_Cache_ParseCacheTime(no), 0);

    for (const char *line : {"Expires: Sun, 06 Nov 1994 08:49:37 GMT", "Age: 60", "X: y", no}) {
      EXPECT_EQ(fnQNStack_Cache_ParseCacheTime(line), -1) << line;
    }

    EXPECT_EQ(qn::cache_time, CacheTime{});
    EXPECT_EQ(fnQNStack_Cache_getExpired(), -1);
  }
}

TEST_F(QnCacheFreshness, MakesTheExpiryOfTheFactsByTheFirstThatApplies) {
  struct Case {
    CacheTime facts;
    int32_t expiry;
  };
  constexpr Case kCases[] = {
      // Not to be kept, whatever else is known.
      {{0, 50, 60, 70, 80}, -1},
      {{0, 0, 0, 0, 0}, -1},
      // The expiry itself.
      {{1, 50, 60, 70, 80}, 50},
      {{1, 1, 0, 0, 0}, 1},
      {{1, INT32_MAX, 60, 0, 0}, INT32_MAX},
      // A lifetime from now on, where there is no such expiry.
      {{1, 0, 60, 70, 80}, kNow + 60},
      {{1, -1, 60, 0, 0}, kNow + 60},
      {{1, INT32_MIN, 1, 0, 0}, kNow + 1},
      {{1, 0, INT32_MAX, 0, 0}, kNow + INT32_MAX},
      // Modified at its date.
      {{1, 0, 0, 80, 80}, kNow + 3000},
      {{1, -1, -1, 1, 1}, kNow + 3000},
      {{1, 0, 0, 0, 0}, -1},
      {{1, 0, 0, -1, -1}, -1},
      {{1, 0, INT32_MIN, INT32_MIN, INT32_MIN}, -1},
      // A tenth of the time between the two, cut towards zero.
      {{1, 0, 0, 1000, 1009}, 1009},
      {{1, 0, 0, 1000, 1010}, 1011},
      {{1, 0, 0, 1000, 1019}, 1020},
      {{1, 0, 0, 1009, 1000}, 1000},
      {{1, 0, 0, 1010, 1000}, 999},
      {{1, 0, 0, 1019, 1000}, 999},
      {{1, 0, -1, 1, INT32_MAX}, INT32_MIN + (INT32_MAX - 1) / 10 - 1},
      {{1, 0, 0, INT32_MAX, 1}, 1 - (INT32_MAX - 1) / 10},
      // One of the two is missing.
      {{1, 0, 0, 0, 1000}, -1},
      {{1, 0, 0, -1, 1000}, -1},
      {{1, 0, 0, 1000, 0}, -1},
      {{1, 0, 0, 1000, -1}, -1},
      {{1, 0, 0, 0, -1}, -1},
  };
  for (const Case &c : kCases) {
    SCOPED_TRACE(testing::PrintToString(c.facts));
    qn::cache_time = c.facts;

    EXPECT_EQ(fnQNStack_Cache_getExpired(), c.expiry);

    EXPECT_EQ(qn::cache_time, c.facts);
  }
}

TEST_F(QnCacheFreshness, WrapsALifetimeThatEndsBeyondTheCount) {
  clock_.SetLocal({.year = 2045, .month = 6, .day = 15, .hour = 12});
  constexpr int32_t kNowIn2045 = kNow + 13149 * kDay;
  static_assert(kNowIn2045 > 0);
  qn::cache_time = {1, 0, INT32_MAX, 0, 0};

  EXPECT_EQ(fnQNStack_Cache_getExpired(), INT32_MIN + kNowIn2045 - 1);
}

TEST_F(QnCacheFreshness, MakesTheExpiryOfHeaderLines) {
  struct Case {
    std::vector<const char *> lines;
    int32_t expiry;
  };
  const Case cases[] = {
      {{}, -1},
      {{"Content-Type: text/plain"}, -1},
      {{"Cache-Control: max-age=60"}, kNow + 60},
      {{"Cache-Control: no-cache", "Expires: Sun, 06 Nov 1994 08:49:37 GMT"}, -1},
      {{"Expires: Sun, 06 Nov 1994 08:49:37 GMT", "Pragma: no-cache"}, -1},
      {{"Expires: Sun, 06 Nov 1994 08:49:37 GMT", "Cache-Control: max-age=60"}, kNov6},
      {{"Cache-Control: max-age=60", "Expires: Sun, 06 Nov 1994 08:49:37 GMT"}, kNov6},
      {{"Expires: never", "Cache-Control: max-age=60"}, kNow + 60},
      {{"Expires: Fri, 01 Jan 2100 00:00:00 GMT", "Age: 5"}, kNow + 5},
      {{"Age: 5", "Cache-Control: max-age=60"}, kNow + 60},
      {{"Cache-Control: max-age=60", "Age: 5"}, kNow + 5},
      {{"Cache-Control: max-age=60", "Cache-Control: no-store"}, kNow + 60},
      {{"Cache-Control: max-age=60", "Age:"}, -1},
      {{"Date: Sun, 06 Nov 1994 08:49:37 GMT"}, -1},
      {{"Last-Modified: Sun, 06 Nov 1994 08:49:37 GMT"}, -1},
      {{"Date: Sun, 06 Nov 1994 23:00:00 GMT", "Last-Modified: Sun, 06 Nov 1994 01:00:00 GMT"},
       kNow + 3000},
      {{"Date: Wed, 16 Nov 1994 08:49:37 GMT", "Last-Modified: Sun, 06 Nov 1994 08:49:37 GMT"},
       kNov6 + 11 * kDay},
      {{"Last-Modified: Wed, 16 Nov 1994 08:49:37 GMT", "Date: Sun, 06 Nov 1994 08:49:37 GMT"},
       kNov6 - kDay},
      {{"Date: today", "Last-Modified: today"}, -1},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.lines));

    EXPECT_EQ(ExpiryOf(c.lines), c.expiry);
  }
}

TEST_F(QnCacheFreshness, LeavesIndexFilesAndHeapAlone) {
  const qntest::FailingHeap heap(1);
  EXPECT_EQ(ExpiryOf({"Cache-Control: max-age=60"}), kNow + 60);
  EXPECT_EQ(heap.Allocations(), 0);
  EXPECT_EQ(qn::http_cache_list, nullptr);
  EXPECT_THAT(qntest::FilePort().Calls(), testing::IsEmpty());
}

}  // namespace
