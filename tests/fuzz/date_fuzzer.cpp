// SPDX-License-Identifier: MIT
// Dates: reading and writing the form of HTTP headers, julian seconds both
// ways, and calendar arithmetic, each against a plain walk or the standard
// calendar.
//
// Input: the last byte chooses what is tried; the rest is a text, or numbers.

#include <chrono>
#include <cstring>
#include <string>

#include "fuzz/exact_bytes.h"
#include "fuzz/fuzzer.h"
#include "qnstack/qn_fs_comm_tools.h"
#include "support/calendar_reference.h"
#include "support/http_date_reference.h"

namespace {

constexpr QNTime kUntouched = {1, 2, 3, 4, 5, 6, 7};
constexpr std::size_t kWrittenDateBytes = 48;

void TryParsing(FuzzedDataProvider *input) {
  const qntest::ExactText text(input->ConsumeRemainingBytesAsString());
  EXPECT_EQ(parse_date_str(text.get()), qntest::PlainHttpDate(text.text()));
}

QNTime AnyTime(FuzzedDataProvider *input) {
  const auto field = [input] { return input->ConsumeIntegral<uint32_t>(); };
  QNTime time = {};
  for (uint32_t *part :
       {&time.year, &time.month, &time.day, &time.hour, &time.minute, &time.second, &time.extra}) {
    *part = field();
  }
  return time;
}

void TryCounting(FuzzedDataProvider *input) {
  const QNTime time = AnyTime(input);
  EXPECT_EQ(JULIANTOSECONDS(&time), qntest::PlainSeconds(time));

  const auto low = [](uint32_t field) { return field & 0xFFFFU; };
  const QNTime low_fields = {low(time.year),
                             low(time.month),
                             low(time.day),
                             low(time.hour),
                             low(time.minute),
                             low(time.second),
                             0};
  const int32_t mode = input->ConsumeIntegralInRange<int32_t>(-1, 2);
  const uint32_t expected = mode == 0   ? qntest::PlainSeconds(low_fields)
                            : mode == 1 ? qntest::PlainSeconds(low_fields) + 315964800U
                                        : 0;
  EXPECT_EQ(fnQNFS_RealTime_To_Seconds(time.year, time.month, time.day, time.hour, time.minute,
                                       time.second, time.extra, mode),
            expected);
  const bool valid = time.year > 0 && time.month > 0 && time.day > 0 && time.hour < 24 &&
                     time.minute < 60 && time.second < 60;
  EXPECT_EQ(
      fnQNFS_Time_IsValid(time.year, time.month, time.day, time.hour, time.minute, time.second),
      valid ? 1 : 0);
}

void TryReadingBack(FuzzedDataProvider *input) {
  const auto seconds = input->ConsumeIntegral<uint32_t>();
  QNTime time = kUntouched;
  GETJULIANDATE(seconds, &time);
  EXPECT_EQ(time, qntest::PlainDate(seconds).value_or(kUntouched));

  const qntest::Exact<char> text(kWrittenDateBytes);
  const int32_t length = date_to_httpDate(seconds, text.get());
  ASSERT_LT(length, static_cast<int32_t>(kWrittenDateBytes));
  EXPECT_EQ(text.get()[length], '\0');
  EXPECT_EQ(std::strlen(text.get()), static_cast<std::size_t>(length));
  EXPECT_TRUE(std::string(text.get()).ends_with(" GMT"));
}

void TryAdding(FuzzedDataProvider *input) {
  using std::chrono::days;
  using std::chrono::sys_days;
  using std::chrono::year_month_day;
  const auto below = [input](uint32_t bound) {
    return input->ConsumeIntegralInRange<uint32_t>(0, bound - 1);
  };
  QNTime time = {below(30000) + 1, below(12) + 1, 1, below(24), below(60), below(60), 9};
  const std::chrono::year_month month(std::chrono::year(static_cast<int>(time.year)),
                                      std::chrono::month(time.month));
  const year_month_day last(sys_days((month + std::chrono::months(1)) / 1) - days(1));
  EXPECT_EQ(fnQNFS_DaysInMonth(&time), static_cast<unsigned>(last.day()));
  time.day += below(static_cast<unsigned>(last.day()));

  const auto seconds = input->ConsumeIntegral<uint32_t>();
  const uint64_t total =
      uint64_t{time.hour} * 3600 + uint64_t{time.minute} * 60 + time.second + seconds;
  const year_month_day day(sys_days(month / static_cast<int>(time.day)) +
                           days(static_cast<int>(total / 86400)));
  const auto rest = static_cast<uint32_t>(total % 86400);
  fnQNFS_TimeAdd(&time, seconds);
  EXPECT_EQ(time, (QNTime{static_cast<uint32_t>(static_cast<int>(day.year())),
                          static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()),
                          rest / 3600, rest / 60 % 60, rest % 60, 9}));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static constexpr void (*kTrials[])(FuzzedDataProvider *) = {TryParsing, TryCounting,
                                                              TryReadingBack, TryAdding};
  FuzzedDataProvider input(data, size);
  input.PickValueInArray(kTrials)(&input);
  return 0;
}
