// SPDX-License-Identifier: MIT
#include "qnget_cache_table.h"

#include <ctime>
#include <string_view>

#include "qnget_program.h"

namespace qntest {
namespace {

constexpr std::nullopt_t kNotKept = std::nullopt;
constexpr std::optional<int64_t> kUntil = 0;
constexpr int64_t kTenYears = 315360000;
constexpr int64_t kLongest = 2147483648;  // about 68 years

constexpr CacheRow kRows[] = {
    {"MaxAge", "Cache-Control: max-age=3600", kHour},
    {"MaxAgeOfAMonthAndADay", "Cache-Control: max-age=2764800", 32 * kDay},
    {"MaxAgeInAnyCase", "CACHE-CONTROL: Public, MAX-AGE=60", kMinute},
    {"MaxAgeInQuotes", "Cache-Control: max-age=\"60\"", kMinute},
    {"MaxAgeOfNothing", "Cache-Control: max-age=0", kNotKept},
    {"MaxAgeThatIsNoNumber", "Cache-Control: max-age=1h | Expires: {1 day}", kNotKept},
    {"MaxAgeBelowNothing", "Cache-Control: max-age=-1", kNotKept},
    {"MaxAgeBeyondAllNumbers", "Cache-Control: max-age=99999999999999999999", kLongest},
    {"MaxAgeSeveralTimes", "Cache-Control: max-age=600 | Cache-Control: max-age=60, max-age=90",
     kMinute},
    {"MaxAgeBeforeExpires", "Cache-Control: max-age=60 | Expires: {1 day} | Date: {now}", kMinute},
    {"MaxAgeLessAge", "Cache-Control: max-age=3600 | Age: 600", kHour - 600},
    {"MaxAgeUsedUpByAge", "Cache-Control: max-age=3600 | Age: 3600", kNotKept},
    {"MaxAgeLessTheAgeOfItsDate", "Cache-Control: max-age=3600 | Date: {-600 s}", kHour - 600},
    {"MaxAgeWithTheLargerOfBothAges", "Cache-Control: max-age=3600 | Age: 60 | Date: {-600 s}",
     kHour - 600},
    {"MaxAgeWithADateAhead", "Cache-Control: max-age=3600 | Date: {1 day}", kHour},
    {"AgeThatIsNoNumber", "Cache-Control: max-age=3600 | Age: old", kHour},
    {"AgeAlone", "Age: 600", kNotKept},
    {"SharedMaxAge", "Cache-Control: max-age=60, s-maxage=3600", kMinute},
    {"SharedMaxAgeAlone", "Cache-Control: s-maxage=3600", kNotKept},
    {"Private", "Cache-Control: private, max-age=60", kMinute},
    {"MustRevalidate", "Cache-Control: must-revalidate, max-age=60", kMinute},
    {"NoStore", "Cache-Control: no-store, max-age=3600", kNotKept},
    {"NoStoreElsewhere", "Cache-Control: max-age=3600 | Cache-Control: No-Store", kNotKept},
    {"NoCache", "Cache-Control: no-cache | Expires: {1 day} | Date: {now}", kNotKept},
    {"NoCacheOfSomeFields", "Cache-Control: max-age=60, no-cache=\"Set-Cookie, X\"", kNotKept},
    {"NoStoreWithinQuotes", "Cache-Control: x=\"a, no-store\", max-age=60", kMinute},
    {"PragmaNoCache", "Pragma: no-cache | Cache-Control: max-age=60", kNotKept},
    {"VaryWithEverything", "Vary: * | Cache-Control: max-age=60", kNotKept},
    {"VaryWithAField", "Vary: Accept | Cache-Control: max-age=60", kMinute},
    {"Expires", "Date: {now} | Expires: {1 day}", kDay},
    {"ExpiresToTheSecond", "Date: {now} | Expires: {10 s}", 10},
    {"ExpiresWithoutDate", "Expires: {1 day}", kDay},
    {"ExpiresLessAge", "Date: {now} | Age: 3600 | Expires: {1 day}", kDay - kHour},
    {"ExpiresFromADateBefore", "Date: {-1 day} | Expires: {1 day}", kDay},
    {"ExpiresAtItsDate", "Date: {now} | Expires: {now}", kNotKept},
    {"ExpiresYesterday", "Date: {now} | Expires: {-1 day}", kNotKept},
    {"ExpiresZero", "Date: {now} | Expires: 0 | Last-Modified: {-1 day}", kNotKept},
    {"ExpiresInAnotherZone", "Expires: Sun, 06 Nov 2089 08:49:37 CET", kNotKept},
    {"ExpiresIn1970", "Expires: Thu, 01 Jan 1970 00:00:00 GMT", kNotKept},
    {"ExpiresIn70", "Expires: Thursday, 01-Jan-70 00:00:00 GMT", kNotKept},
    {"ExpiresBefore1970", "Expires: Fri, 01 Dec 1939 16:00:00 GMT", kNotKept},
    {"ExpiresIn2037", "Date: {now} | Expires: Thu, 31 Dec 2037 23:55:55 GMT", kUntil, 200,
     2145916555},
    {"ExpiresIn2039", "Date: {now} | Expires: Sat, 01 Jan 2039 00:00:00 GMT", kUntil, 200,
     2177452800},
    {"ExpiresIn39", "Date: {now} | Expires: Saturday, 01-Jan-39 00:00:00 GMT", kUntil, 200,
     2177452800},
    {"ExpiresIn9999", "Date: {now} | Expires: Fri, 31 Dec 9999 23:59:59 GMT", kLongest},
    {"ExpiresByTheCLibrary", "Date: {now} | Expires: Sat Jan  1 00:00:00 2039", kUntil, 200,
     2177452800},
    {"NginxExpiresMax",
     "Date: {now} | Expires: Thu, 31 Dec 2037 23:55:55 GMT | Cache-Control: max-age=315360000",
     kTenYears},
    {"NginxExpiresEpoch",
     "Date: {now} | Expires: Thu, 01 Jan 1970 00:00:01 GMT | Cache-Control: no-cache", kNotKept},
    {"NginxExpiresAnHour", "Date: {now} | Expires: {3600 s} | Cache-Control: max-age=3600", kHour},
    {"NginxExpiresOffWithAFile", "Date: {now} | Last-Modified: {-100 days}", kDay},
    {"LastModified", "Date: {now} | Last-Modified: {-5 days}", kDay / 2},
    {"LastModifiedLongAgo", "Date: {now} | Last-Modified: {-4000 days}", kDay},
    {"LastModifiedWithoutDate", "Last-Modified: {-5 days}", kDay / 2},
    {"LastModifiedJustNow", "Date: {now} | Last-Modified: {now}", kNotKept},
    {"LastModifiedAhead", "Date: {now} | Last-Modified: {1 day}", kNotKept},
    {"LastModifiedUsedUpByAge", "Date: {now} | Last-Modified: {-100 days} | Age: 86400", kNotKept},
    {"LastModifiedThatIsNoDate", "Date: {now} | Last-Modified: yesterday", kNotKept},
    {"Nothing", "Date: {now}", kNotKept},
    {"MaxAgeOfAnError", "Cache-Control: max-age=60", kNotKept, 404},
    {"MaxAgeOfAnotherSuccess", "Cache-Control: max-age=60", kNotKept, 206},
};

// "-3 days" in seconds.
int64_t Offset(std::string_view text) {
  if (text == "now") return 0;
  const size_t blank = text.find(' ');
  const int64_t number = std::stoll(std::string(text.substr(0, blank)));
  return text.substr(blank + 1) == "s" ? number : number * kDay;
}

std::string WithDates(std::string text, int64_t now) {
  for (size_t begin = 0; (begin = text.find('{')) != std::string::npos;) {
    const size_t end = text.find('}', begin);
    const std::string_view words = std::string_view(text).substr(begin + 1, end - begin - 1);
    text.replace(begin, end + 1 - begin, HttpDate(now + Offset(words)));
  }
  return text;
}

std::string ServedFor(const CacheRow &row) {
  if (!row.lifetime) return "not kept";
  if (row.until != 0) return "until that date";
  const int64_t seconds = *row.lifetime;
  if (seconds == kLongest) return "68 years";
  // In the largest unit that leaves nothing over.
  const std::pair<int64_t, const char *> units[] = {{kDay, "d"}, {kHour, "h"}, {kMinute, "min"}};
  for (const auto &[unit, name] : units) {
    if (seconds % unit == 0) return std::to_string(seconds / unit) + " " + name;
  }
  return std::to_string(seconds) + " s";
}

}  // namespace

std::span<const CacheRow> CacheRows() { return kRows; }

std::optional<int64_t> UntilOf(const CacheRow &row, int64_t now) {
  if (!row.lifetime) return {};
  return row.until != 0 ? row.until : now + *row.lifetime;
}

qnget::AnswerHead HeadOf(const CacheRow &row, int64_t now) {
  const std::string fields = Replaced(WithDates(row.fields, now), " | ", "\r\n");
  return qnget::ReadAnswerHead("HTTP/1.1 " + std::to_string(row.status) + " X\r\n" + fields +
                               "\r\n\r\n");
}

qnget::ReceivedHead Received(const CacheRow &row, int64_t now) {
  return {HeadOf(row, now), now, now};
}

std::string HttpDate(int64_t time) {
  const auto seconds = static_cast<time_t>(time);
  tm fields{};
  gmtime_r(&seconds, &fields);
  char text[64];
  strftime(text, sizeof text, "%a, %d %b %Y %H:%M:%S GMT", &fields);
  return text;
}

std::string CacheTableText() {
  std::string text = "| The answer says | Served for |\n|---|---|\n";
  for (const CacheRow &row : kRows) {
    const std::string status =
        row.status == 200 ? "" : "status " + std::to_string(row.status) + ", ";
    text += "| " + status + "`" + Replaced(row.fields, " | ", "`, `") + "` | " + ServedFor(row) +
            " |\n";
  }
  return text;
}

}  // namespace qntest
