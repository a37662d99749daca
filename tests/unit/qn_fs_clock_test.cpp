// SPDX-License-Identifier: MIT
// Guards "now": the count that the system's raw fields make, what is derived
// from it, and the pseudo-random bytes that are seeded with the time.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <vector>

#include "qnstack/qn_fs_comm_tools.h"
#include "support/calendar_reference.h"
#include "support/scripted_clock.h"
#include "support/watchdog.h"

namespace {

using namespace qntest;

constexpr LocalMoment kNoonInJune = {2009, 6, 15, 12, 0, 0};

int32_t SecondsAt(const LocalMoment &local) {
  const ScriptedClock clock(local);
  return GETTIMESECONDS();
}

TEST(GetTimeSeconds, CountsTheRawFields) {
  struct Case {
    LocalMoment local;
    int32_t expected;
  };
  constexpr Case kCases[] = {
      {kNoonInJune, -644084928},  // far behind a parsed date of that day
      {{2009, 6, 1}, -645337728},
      {{2009, 12, 31, 23, 59, 59}, -626761729},
      {{2010, 1, 1}, -624169728},
  };
  for (const Case &c : kCases) {
    const ScriptedClock clock(c.local);
    EXPECT_EQ(GETTIMESECONDS(), c.expected) << c.local.year << '-' << c.local.month;
    EXPECT_EQ(fnQNFS_getLocalTime(), c.expected);
  }
}

TEST(GetTimeSeconds, ReadsTheClockOnceAndFollowsIt) {
  ScriptedClock clock(kNoonInJune);

  const int32_t before = GETTIMESECONDS();
  EXPECT_EQ(clock.Readings(), 1U);
  EXPECT_EQ(clock.Converted(), std::vector<std::time_t>{ScriptedClock::kStart});
  clock.SetLocal({2009, 6, 16, 13, 1, 1});

  EXPECT_EQ(GETTIMESECONDS() - before, 86400 + 3600 + 60 + 1);
}

// A month that ends counts the days of the month before it; January, which has
// none before it, counts nothing.
TEST(GetTimeSeconds, StepsBackOrAheadAtTheEndOfSomeMonths) {
  struct Case {
    LocalMoment last;  // second of a month
    LocalMoment next;
    int32_t step;
  };
  constexpr Case kCases[] = {
      {{2009, 1, 31, 23, 59, 59}, {2009, 2, 1}, 1 - 31 * kDay},
      {{2009, 2, 28, 23, 59, 59}, {2009, 3, 1}, 1 + 3 * kDay},
      {{2009, 3, 31, 23, 59, 59}, {2009, 4, 1}, 1 - 3 * kDay},
      {{2009, 4, 30, 23, 59, 59}, {2009, 5, 1}, 1 + 1 * kDay},
      {{2009, 5, 31, 23, 59, 59}, {2009, 6, 1}, 1 - 1 * kDay},
      {{2009, 7, 31, 23, 59, 59}, {2009, 8, 1}, 1 - 1 * kDay},
      {{2009, 8, 31, 23, 59, 59}, {2009, 9, 1}, 1},
      {{2009, 12, 31, 23, 59, 59}, {2010, 1, 1}, 1 + 30 * kDay},
  };
  for (const Case &c : kCases) {
    EXPECT_EQ(SecondsAt(c.next) - SecondsAt(c.last), c.step) << c.next.year << '-' << c.next.month;
  }
}

// The raw year of 2008 is 108, a leap year, and its raw month 3 is April.
TEST(GetTimeSeconds, CountsTheLeapDayFromApril) {
  const auto span_to_april = [](int year) {
    return SecondsAt({year, 4, 1}) - SecondsAt({year, 3, 1});
  };

  EXPECT_EQ(span_to_april(2009), 28 * 86400);
  EXPECT_EQ(span_to_april(2008), 29 * 86400);
  // 1900 + 100: the raw year is none, though 2000 was one.
  EXPECT_EQ(span_to_april(2000), 28 * 86400);
}

TEST(GetTimeSeconds, IsNegativeFor20YearsAndPositiveAfter) {
  for (int year = 2009; year <= 2028; ++year) {
    EXPECT_LT(SecondsAt({year, 12, 31, 23, 59, 59}), 0) << year;
  }
  for (int year = 2031; year <= 2090; ++year) {
    EXPECT_GT(SecondsAt({year, 1, 1}), 0) << year;
  }
}

TEST(GetTimeSeconds, CountsZerosWhereTheSystemHasNoLocalTime) {
  ScriptedClock clock(kNoonInJune);
  clock.RefuseLocal();
  const QNTime zeros = {};

  EXPECT_EQ(GETTIMESECONDS(), static_cast<int32_t>(JULIANTOSECONDS(&zeros)));
}

// That is what a clock that fails gives.
TEST(GetTimeSeconds, TakesMinusOneForATimeAsAnyOther) {
  ScriptedClock clock(kNoonInJune);
  clock.SetSeconds(-1);

  EXPECT_EQ(GETTIMESECONDS(), -644084928);
  EXPECT_EQ(clock.Converted(), std::vector<std::time_t>{-1});
}

TEST(GetTimeMs, Wraps) {
  struct Case {
    LocalMoment local;
    uint32_t expected;
  };
  constexpr Case kCases[] = {
      {{2009, 12, 31, 23, 59, 59}, 303496216U},
      {{2009, 4, 30, 23, 59, 59}, 523932696U},
      {{2010, 1, 1}, 2895497216U},
  };
  for (const Case &c : kCases) {
    const ScriptedClock clock(c.local);

    EXPECT_EQ(GETTIMEMS(), c.expected);
    EXPECT_EQ(fnQNFS_GetTimems(), c.expected);
  }
}

TEST(QnFsGetRandom, IsTheSignedRemainderOfTheCount) {
  ScriptedClock clock(kNoonInJune);
  EXPECT_EQ(fnQNFS_getRandom(), -4928);
  EXPECT_EQ(fnQNFS_getRandom(), -4928);

  clock.SetLocal({2009, 12, 31, 23, 59, 59});
  EXPECT_EQ(fnQNFS_getRandom(), -1729);

  clock.SetLocal({2040, 6, 15, 12, 0, 0});
  EXPECT_EQ(fnQNFS_getRandom(), GETTIMESECONDS() % 10000);
  EXPECT_GT(fnQNFS_getRandom(), 0);
}

using ReadTime = QNTime *(*)(QNTime *);

class QnFsLocalTime : public testing::TestWithParam<ReadTime> {};

TEST_P(QnFsLocalTime, GivesTheRawFields) {
  const ScriptedClock clock({2009, 1, 31, 22, 33, 44});
  QNTime t = {9, 9, 9, 9, 9, 9, 9};

  EXPECT_EQ(GetParam()(&t), &t);

  EXPECT_EQ(t, (QNTime{109, 0, 31, 22, 33, 44, 0}));
  EXPECT_EQ(clock.Readings(), 1U);
}

TEST_P(QnFsLocalTime, IsAllZerosWhereTheSystemHasNone) {
  ScriptedClock clock(kNoonInJune);
  clock.RefuseLocal();
  QNTime t = {9, 9, 9, 9, 9, 9, 9};

  EXPECT_EQ(GetParam()(&t), &t);

  EXPECT_EQ(t, QNTime{});
}

TEST_P(QnFsLocalTime, IsTheTimeOfTheMachine) {
  QNTime t = {};
  const std::time_t before = std::time(nullptr);
  GetParam()(&t);
  const std::time_t after = std::time(nullptr);

  bool met = false;
  for (std::time_t now = before; now <= after; ++now) {
    const std::tm *fields = std::localtime(&now);
    ASSERT_NE(fields, nullptr);
    const auto field = [](int value) { return static_cast<uint32_t>(value); };
    met = met || t == QNTime{field(fields->tm_year),
                             field(fields->tm_mon),
                             field(fields->tm_mday),
                             field(fields->tm_hour),
                             field(fields->tm_min),
                             field(fields->tm_sec),
                             0};
  }
  EXPECT_TRUE(met);
}

INSTANTIATE_TEST_SUITE_P(BothReaders, QnFsLocalTime,
                         testing::Values(&fnQNFS_LocalTime, &fnQNFS_SysTime));

TEST(QnFsClock, ReadsTheZoneOnceAndBeforeTheFirstConversion) {
  QNTime t = {};
  fnQNFS_LocalTime(&t);
  fnQNFS_SysTime(&t);
  GETTIMESECONDS();

  EXPECT_EQ(qntest::ZoneReadings(), 1);
  EXPECT_TRUE(qntest::ZoneWasReadFirst());
}

TEST(GetRand, FillsTheAreaAndNotMore) {
  const qntest::Watchdog watchdog;
  ScriptedClock clock(kNoonInJune);
  constexpr unsigned kSeed = 4242;
  clock.SetSeconds(kSeed);
  for (const size_t size : {0U, 1U, 255U, 256U, 65535U, 65536U, 70000U}) {
    std::vector<unsigned char> expected(size + 1, 0xA5);
    for (size_t i = 0; i < size; ++i) {
      expected[i] = static_cast<unsigned char>(ScriptedClock::RandomNumber(kSeed, i));
    }
    std::vector<unsigned char> area(size + 1, 0xA5);
    const size_t numbers_before = clock.RandomNumbers();

    GETRAND(area.data(), static_cast<uint32_t>(size));

    EXPECT_TRUE(area == expected) << size << " bytes";
    EXPECT_EQ(clock.RandomNumbers() - numbers_before, size);
  }
}

TEST(GetRand, SeedsWithTheLow32BitsOfTheTimeButForNull) {
  ScriptedClock clock(kNoonInJune);
  unsigned char byte = 0;

  GETRAND(nullptr, 5);
  EXPECT_EQ(clock.RandomNumbers() + clock.Readings(), 0U);
  GETRAND(&byte, 1);
  clock.SetSeconds(0x1'8000'0007);
  GETRAND(&byte, 1);
  clock.SetSeconds(-1);  // a clock that fails
  GETRAND(&byte, 1);

  EXPECT_EQ(clock.Seeds(), (std::vector<unsigned>{ScriptedClock::kStart, 0x8000'0007U, UINT_MAX}));
  EXPECT_EQ(clock.Readings(), 3U);
}

TEST(QnFsGetPseudoRandom, GivesTheSameBytes) {
  const ScriptedClock clock(kNoonInJune);
  std::vector<unsigned char> of_getrand(300);
  std::vector<unsigned char> area(300);
  GETRAND(of_getrand.data(), 300);

  fnQNFS_getPseudoRandom(area.data(), 300);
  fnQNFS_getPseudoRandom(nullptr, 300);

  EXPECT_EQ(area, of_getrand);
  EXPECT_EQ(clock.Seeds().size(), 2U);
}

// They are the application's.
TEST(QnFsClock, NeverTouchesTheApplicationsTwoWords) {
  EXPECT_EQ(start_time, 0U);
  EXPECT_EQ(end_time, 0U);
  start_time = 7;
  end_time = 9;
  QNTime t = {};
  unsigned char byte = 0;

  GETTIMESECONDS();
  GETTIMEMS();
  fnQNFS_LocalTime(&t);
  GETRAND(&byte, 1);
  JULIANTOSECONDS(&t);

  EXPECT_EQ(start_time, 7U);
  EXPECT_EQ(end_time, 9U);
  start_time = 0;
  end_time = 0;
}

}  // namespace
