// SPDX-License-Identifier: MIT
// The header lines by which the cache tells how long an answer stays fresh,
// against a plain model of the rules.
//
// Input: from the end backwards, the clock and how many answers there are; the
// rest is header lines, each ended by a backslash and another character.

#include <algorithm>
#include <string>
#include <string_view>

#include "fuzz/exact_bytes.h"
#include "fuzz/fuzzer.h"
#include "qn_stack_http_cache_internal.h"
#include "qnstack/qn_fs_comm_tools.h"
#include "qnstack/qn_stack_http_cache.h"
#include "support/calendar_reference.h"
#include "support/http_date_reference.h"
#include "support/scripted_clock.h"

namespace {

constexpr int kMostLines = 20;
constexpr std::size_t kLongestLine = 400;

// One answer, as the rules say.
class Freshness {
 public:
  // What taking the line must give.
  int32_t Take(const std::string &line) {
    if (!keep_) return -1;
    const std::string lower = qntest::Lower(line);
    const auto value = [&lower, &line](std::string_view name, std::string *rest) {
      if (!lower.starts_with(name)) return false;
      *rest = line.substr(name.size());
      return true;
    };
    std::string rest;
    if (value("date:", &rest)) {
      date_ = qntest::PlainHttpDate(rest);
    } else if (value("last-modified:", &rest)) {
      modified_ = qntest::PlainHttpDate(rest);
    } else if (value("expires:", &rest)) {
      expires_ = qntest::PlainHttpDate(rest);
    } else if (value("age:", &rest)) {
      lifetime_ = qntest::PlainNumber(rest.c_str()).value_or(0);
    } else if (value("cache-control:", &rest)) {
      TakeControl(rest);
    } else if (value("pragma:", &rest)) {
      keep_ = qntest::Lower(rest).find("no-cache") == std::string::npos;
    }
    return 0;
  }

  int32_t Expiry(int32_t now) const {
    if (!keep_) return -1;
    if (expires_ > 0) return expires_;
    if (lifetime_ > 0) return qntest::Wrapped(int64_t{now} + lifetime_);
    if (modified_ == date_) return date_ > 0 ? qntest::Wrapped(int64_t{now} + 3000) : -1;
    if (modified_ <= 0 || date_ <= 0) return -1;
    return qntest::Wrapped(int64_t{date_} + (date_ - modified_) / 10);
  }

 private:
  void TakeControl(const std::string &rest) {
    constexpr std::string_view kMaxAge = "max-age=";
    const std::size_t found = qntest::Lower(rest).find(kMaxAge);
    if (found != std::string::npos) {
      lifetime_ = qntest::PlainNumber(rest.c_str() + found + kMaxAge.size()).value_or(0);
    }
    keep_ = qntest::Lower(rest).find("no-cache") == std::string::npos;
  }

  bool keep_ = true;
  int32_t date_ = 0;
  int32_t modified_ = 0;
  int32_t expires_ = 0;
  int32_t lifetime_ = 0;
};

qntest::LocalMoment AnyMoment(FuzzedDataProvider *input) {
  const auto between = [input](int least, int most) {
    return input->ConsumeIntegralInRange(least, most);
  };
  return {between(1970, 2105), between(1, 12), between(1, 31),
          between(0, 23),      between(0, 59), between(0, 60)};
}

int32_t SecondsOf(const qntest::LocalMoment &moment) {
  const auto field = [](int value) { return static_cast<uint32_t>(value); };
  return static_cast<int32_t>(
      qntest::PlainSeconds({field(moment.year - 1900), field(moment.month - 1), field(moment.day),
                            field(moment.hour), field(moment.minute), field(moment.second), 0}));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  FuzzedDataProvider input(data, size);
  int answers = input.ConsumeIntegralInRange(1, 3);
  const qntest::LocalMoment moment = AnyMoment(&input);
  const qntest::ScriptedClock clock(moment);
  const int32_t now = SecondsOf(moment);
  EXPECT_EQ(fnQNFS_getLocalTime(), now);

  qn::cache_time = {};
  EXPECT_EQ(fnQNStack_Cache_ParseCacheTime("Age: 1"), -1);
  for (; answers > 0; --answers) {
    Freshness model;
    fnQNStack_Cache_InitTime();
    for (int left = kMostLines; left > 0 && input.remaining_bytes() > 0; --left) {
      const qntest::ExactText line(input.ConsumeRandomLengthString(kLongestLine));
      EXPECT_EQ(fnQNStack_Cache_ParseCacheTime(line.get()), model.Take(line.text()));
      EXPECT_EQ(fnQNStack_Cache_getExpired(), model.Expiry(now));
    }
  }
  return 0;
}
