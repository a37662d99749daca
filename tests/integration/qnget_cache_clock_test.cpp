// SPDX-License-Identifier: MIT
// The cache over two years, with the library's own functions and a clock that the
// test sets: what is kept is served until its time is over and not a second
// longer, over the ends of months, at which the library's seconds leap, over
// summer time and over journeys.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "cache.h"
#include "qnget_cache_table.h"
#include "request.h"
#include "support/recording_file_port.h"
#include "support/scratch_folder.h"
#include "support/scripted_clock.h"

namespace qntest {
namespace {

constexpr int64_t kNewYearsEve = 1767182400;  // 2025-12-31 12:00:00 UTC
constexpr int kTwoYears = 731;                // days

const char *const kZones[] = {"UTC0", "CET-1CEST,M3.5.0,M10.5.0/3", "EST5EDT,M3.2.0,M11.1.0",
                              "<+1245>-12:45<+1345>,M9.5.0/2:45,M4.1.0/3:45"};

class QngetCacheClock : public testing::Test {
 protected:
  QngetCacheClock() {
    FilePort().Reset();
    SetZone(kZones[0]);
  }
  ~QngetCacheClock() override {
    FilePort().Reset();
    unsetenv("TZ");
    tzset();
  }

  static void SetZone(const char *zone) {
    setenv("TZ", zone, 1);
    tzset();
  }

  void SetTime(int64_t time) {
    const auto seconds = static_cast<time_t>(time);
    const tm local = *std::localtime(&seconds);
    clock_.SetSeconds(seconds);
    clock_.SetLocal({.year = local.tm_year + 1900,
                     .month = local.tm_mon + 1,
                     .day = local.tm_mday,
                     .hour = local.tm_hour,
                     .minute = local.tm_min,
                     .second = local.tm_sec});
    // What the files were asked for is of no interest here.
    FilePort().ClearCalls();
  }

  // The answer comes now; what becomes of it.
  qnget::Freshness Keep(const CacheRow &row, const std::string &url) const {
    qnget::AnswerRecord record;
    record.Start();
    record.TakeHead(HeadOf(row, time(nullptr)));
    record.TakeBody("body of " + url);
    record.Complete();
    return qnget::KeepAnswer(root_.path(), url, identity_, record);
  }

  bool IsServed(const std::string &url) const {
    const auto found = qnget::FindCached(root_.path(), url, identity_);
    EXPECT_TRUE(!found || found->body == "body of " + url) << found->body;
    return found.has_value();
  }

  ScriptedClock clock_{{.year = 2026, .month = 1, .day = 1}};
  const ScratchFolder root_;
  const qnget::Identity identity_{{}, qnget::RequestFields({})};
};

// Each save throws out what the library takes for expired.
const CacheRow kDailyAnswer{"Daily", "Cache-Control: max-age=60", kMinute};

class QngetCacheClockIn : public QngetCacheClock,
                          public testing::WithParamInterface<const char *> {};

INSTANTIATE_TEST_SUITE_P(Zone, QngetCacheClockIn, testing::ValuesIn(kZones),
                         [](const auto &test) { return std::to_string(test.index); });

TEST_P(QngetCacheClockIn, ServesTheWholeTableDayByDay) {
  SetZone(GetParam());
  SetTime(kNewYearsEve);
  for (const CacheRow &row : CacheRows()) {
    EXPECT_EQ(Keep(row, row.name).MayBeKept(), row.lifetime.has_value()) << row.name;
  }

  for (int day = 0; day < kTwoYears; ++day) {
    const int64_t now = kNewYearsEve + day * kDay + day * 7919 % kDay;
    SetTime(now);
    Keep(kDailyAnswer, "daily");
    for (const CacheRow &row : CacheRows()) {
      const bool fresh = row.lifetime && now < *UntilOf(row, kNewYearsEve);
      // What is gone stays gone, so a look at it each month will do.
      if (!fresh && day % 30 != 1) continue;
      ASSERT_EQ(IsServed(row.name), fresh) << row.name << " on day " << day;
    }
  }
}

TEST_F(QngetCacheClock, ServesToTheSecondWhateverTheDayOfKeeping) {
  SetZone(kZones[3]);
  for (int day = 0; day < kTwoYears; ++day) {
    const int64_t kept = kNewYearsEve + day * kDay + day * 7919 % kDay;
    for (const CacheRow &row : {CacheRow{"Day", "Expires: {1 day}", kDay},
                                CacheRow{"Months", "Expires: {59 days}", 59 * kDay}}) {
      SetTime(kept);
      ASSERT_TRUE(Keep(row, row.name).MayBeKept());
      SetTime(kept + *row.lifetime - 1);
      Keep(kDailyAnswer, "daily");
      ASSERT_TRUE(IsServed(row.name)) << row.name << " of day " << day;
      SetTime(kept + *row.lifetime);
      ASSERT_FALSE(IsServed(row.name)) << row.name << " of day " << day;
    }
  }
}

TEST_F(QngetCacheClock, ServesTheWholeTableToTheSecond) {
  for (const CacheRow &row : CacheRows()) {
    SetTime(kNewYearsEve);
    // That far the library's seconds do not reach.
    if (!Keep(row, row.name).MayBeKept() || *row.lifetime > 50 * 366 * kDay) continue;
    const int64_t until = *UntilOf(row, kNewYearsEve);
    SetTime(until - 1);
    EXPECT_TRUE(IsServed(row.name)) << row.name;
    SetTime(until);
    EXPECT_FALSE(IsServed(row.name)) << row.name;
  }
}

TEST_F(QngetCacheClock, ServesForDecadesWhatSaysSo) {
  SetTime(kNewYearsEve);
  Keep({"Far", "Cache-Control: max-age=99999999999", 0}, "u");

  for (int years = 1; years < 68; ++years) {
    SetTime(kNewYearsEve + years * 365 * kDay);
    EXPECT_TRUE(IsServed("u")) << years;
  }
}

TEST_F(QngetCacheClock, ServesNothingFromTheFuture) {
  SetTime(kNewYearsEve);
  Keep({"Year", "Cache-Control: max-age=31536000", 0}, "u");

  SetTime(kNewYearsEve - 1);
  EXPECT_FALSE(IsServed("u"));
  SetTime(kNewYearsEve);
  EXPECT_TRUE(IsServed("u"));
}

TEST_F(QngetCacheClock, ServesTravellers) {
  for (const char *zone : {"<+14>-14", "<-12>12"}) {
    SetZone(zone);
    SetTime(kNewYearsEve);
    Keep({"Minute", "Cache-Control: max-age=60", kMinute}, "u");
    SetZone(zone == std::string("<+14>-14") ? "<-12>12" : "<+14>-14");
    SetTime(kNewYearsEve + 59);
    Keep(kDailyAnswer, "daily");
    EXPECT_TRUE(IsServed("u")) << zone;
    SetTime(kNewYearsEve + 60);
    EXPECT_FALSE(IsServed("u")) << zone;
  }
}

// Two hundred answers are too many for the index; what is stale goes first.
TEST_F(QngetCacheClock, MakesRoomByWhatIsStale) {
  SetTime(kNewYearsEve);
  Keep({"Year", "Cache-Control: max-age=31536000", 0}, "kept");
  for (int i = 0; i < 400; ++i) {
    SetTime(kNewYearsEve + i * kHour);
    ASSERT_TRUE(Keep(kDailyAnswer, "u" + std::to_string(i)).MayBeKept());
  }

  EXPECT_TRUE(IsServed("kept"));
}

TEST_F(QngetCacheClock, KeepsAnIndexThatItsLongestEntriesFit) {
  SetTime(kNewYearsEve);
  const CacheRow varying{"Vary", "Vary: Accept | Cache-Control: max-age=3600", kHour};
  for (int i = 0; i < 20; ++i) {
    const std::string url = std::to_string(i) + std::string(8700, 'u');
    ASSERT_TRUE(Keep(varying, url).MayBeKept()) << Keep(varying, url).why_not;
  }

  for (int i = 0; i < 20; ++i) {
    EXPECT_TRUE(IsServed(std::to_string(i) + std::string(8700, 'u'))) << i;
  }
  EXPECT_FALSE(Keep(varying, std::string(9000, 'u')).MayBeKept());
}

}  // namespace
}  // namespace qntest
