// SPDX-License-Identifier: MIT
// How long an answer may stand in for asking again: the table of headers, dates
// in all their forms, directives in quotes, and redirects on the way.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>
#include <fstream>
#include <iterator>
#include <optional>

#include "cache_directives.h"
#include "freshness.h"
#include "http_date.h"
#include "qnget_cache_table.h"

namespace qntest {
namespace {

using qnget::FreshnessOf;
using qnget::FreshnessOfRedirect;
using qnget::FreshnessOverRedirects;
using qnget::ReadHttpDate;
using qnget::ReceivedHead;

constexpr int64_t kReceivedAt = 1790000000;  // 2026-09-21 14:13:20 UTC

TEST(QngetFreshnessOf, IsAsTheTableSays) {
  for (const CacheRow &row : CacheRows()) {
    SCOPED_TRACE(row.name);
    const qnget::Freshness freshness = FreshnessOf(Received(row, kReceivedAt));

    const std::optional<int64_t> until = UntilOf(row, kReceivedAt);
    EXPECT_EQ(freshness.MayBeKept(), until.has_value()) << freshness.why_not;
    EXPECT_EQ(freshness.until, until.value_or(0));
  }
}

TEST(QngetFreshnessTable, StandsInTheDocumentation) {
  std::ifstream file(QNSTACK_PAGES "/caching.md");
  const std::string page{std::istreambuf_iterator<char>(file), {}};

  EXPECT_THAT(page, testing::HasSubstr("\n\n" + CacheTableText() + "\n"));
}

ReceivedHead Head(int status, const std::string &fields, int64_t asked = kReceivedAt,
                  int64_t came = kReceivedAt) {
  return {qnget::ReadAnswerHead("HTTP/1.1 " + std::to_string(status) + " X\r\n" + fields), asked,
          came};
}

TEST(QngetFreshness, TakesOffTheTimeOnTheWay) {
  EXPECT_EQ(FreshnessOf(Head(200, "Cache-Control: max-age=60", kReceivedAt - 20)).until,
            kReceivedAt + 40);
  EXPECT_EQ(FreshnessOf(Head(200, "Cache-Control: max-age=60\r\nAge: 30", kReceivedAt - 20)).until,
            kReceivedAt + 10);
}

TEST(QngetFreshness, GrowsByNoClockThatIsSetBackOnTheWay) {
  EXPECT_EQ(FreshnessOf(Head(200, "Cache-Control: max-age=60", kReceivedAt + 1000)).until,
            kReceivedAt + 60);
}

TEST(QngetFreshness, SaysWhatForbidsToKeep) {
  EXPECT_EQ(FreshnessOf(Head(200, "Cache-Control: no-store")).why_not, "no-store");
  EXPECT_EQ(FreshnessOf(Head(200, "Cache-Control: max-age=600, no-cache")).why_not, "no-cache");
  EXPECT_EQ(FreshnessOf(Head(200, "Pragma: no-cache")).why_not, "Pragma: no-cache");
  EXPECT_EQ(FreshnessOf(Head(200, "Vary: a, *")).why_not, "Vary: *");
  EXPECT_EQ(FreshnessOf(Head(200, "")).why_not, "it has no lifetime");
  EXPECT_EQ(FreshnessOf(Head(200, "Expires: 0")).why_not, "nothing is left of its lifetime");
}

TEST(QngetFreshnessOfRedirect, NeedsALifetimeOfItsOwnUnlessItIsPermanent) {
  for (const int status : {302, 303, 307}) {
    EXPECT_EQ(FreshnessOfRedirect(Head(status, "")).why_not,
              "redirect " + std::to_string(status) + ": it has no lifetime");
    EXPECT_EQ(FreshnessOfRedirect(Head(status, "Cache-Control: max-age=60")).until,
              kReceivedAt + 60);
  }
  for (const int status : {301, 308}) {
    EXPECT_EQ(FreshnessOfRedirect(Head(status, "Age: 60")).until, kReceivedAt + kDay - 60);
    EXPECT_EQ(FreshnessOfRedirect(Head(status, "Cache-Control: max-age=60")).until,
              kReceivedAt + 60);
    EXPECT_FALSE(FreshnessOfRedirect(Head(status, "Cache-Control: no-store")).MayBeKept());
    EXPECT_FALSE(FreshnessOfRedirect(Head(status, "Expires: 0")).MayBeKept());
  }
}

TEST(QngetFreshnessOfRedirect, HasNoLifetimeByItsLastChange) {
  const std::string changed = "Last-Modified: " + HttpDate(kReceivedAt - 100 * kDay);

  EXPECT_FALSE(FreshnessOfRedirect(Head(302, changed)).MayBeKept());
}

TEST(QngetFreshnessOverRedirects, IsTheSmallestOfAll) {
  const ReceivedHead moved = Head(301, "");
  const ReceivedHead found = Head(302, "Cache-Control: max-age=60", kReceivedAt, kReceivedAt + 5);
  const ReceivedHead answer =
      Head(200, "Cache-Control: max-age=600", kReceivedAt + 5, kReceivedAt + 5);

  EXPECT_EQ(FreshnessOverRedirects({{answer}}).until, kReceivedAt + 605);
  EXPECT_EQ(FreshnessOverRedirects({{moved, answer}}).until, kReceivedAt + 605);
  EXPECT_EQ(FreshnessOverRedirects({{moved, found, answer}}).until, kReceivedAt + 60);
}

TEST(QngetFreshnessOverRedirects, IsNoneWhereOneHasNone) {
  const ReceivedHead found = Head(302, "");
  const ReceivedHead answer = Head(200, "Cache-Control: max-age=600");
  const ReceivedHead missing = Head(404, "Cache-Control: max-age=600");

  EXPECT_EQ(FreshnessOverRedirects({{found, answer}}).why_not, "redirect 302: it has no lifetime");
  EXPECT_EQ(FreshnessOverRedirects({{found, missing}}).why_not, "it has status 404");
}

struct Dated {
  const char *text;
  std::optional<int64_t> time;
};

const Dated kDates[] = {
    {"Sun, 06 Nov 1994 08:49:37 GMT", 784111777},
    {"Sunday, 06-Nov-94 08:49:37 GMT", 784111777},
    {"Sun Nov  6 08:49:37 1994", 784111777},
    {"Sun Nov 16 08:49:37 1994", 784975777},
    {"sun, 06 NOV 1994 08:49:37 gmt", 784111777},
    {"Sun, 6 Nov 1994 08:49:37 GMT", 784111777},
    {"Thu, 01 Jan 1970 00:00:00 GMT", 0},
    {"Thu, 01 Jan 1970 00:00:01 GMT", 1},
    {"Wed, 31 Dec 1969 23:59:59 GMT", -1},
    {"Tue, 19 Jan 2038 03:14:08 GMT", 2147483648},
    {"Thu, 31 Dec 2037 23:55:55 GMT", 2145916555},
    {"Sat, 01 Jan 2039 00:00:00 GMT", 2177452800},
    {"Thursday, 01-Jan-70 00:00:00 GMT", 0},
    {"Friday, 31-Dec-99 23:59:59 GMT", 946684799},
    {"Saturday, 01-Jan-00 00:00:00 GMT", 946684800},
    {"Saturday, 01-Jan-39 00:00:00 GMT", 2177452800},
    {"Thu, 29 Feb 2024 12:00:00 GMT", 1709208000},
    {"Wed, 29 Feb 2023 12:00:00 GMT", {}},
    {"Fri, 31 Apr 2026 12:00:00 GMT", {}},
    {"Sat, 31 Dec 2016 23:59:60 GMT", 1483228800},
    {"Sun, 06 Nov 1994 24:00:00 GMT", {}},
    {"Sun, 06 Nov 1994 08:60:00 GMT", {}},
    {"Sun, 06 Nov 94 08:49:37 GMT", {}},
    {"Sun, 06 Nov 1994 08:49:37 CET", {}},
    {"Sun, 06 Nov 1994 08:49:37 +0000", {}},
    {"Sun, 06 Nov 1994 08:49:37", {}},
    {"Sun, 06 Nov 1994 08:49:37 GMT or so", {}},
    {"Sun, 06 Okt 1994 08:49:37 GMT", {}},
    {"06 Nov 1994 08:49:37 GMT", {}},
    {"784111777", {}},
    {"0", {}},
    {"", {}},
};

TEST(QngetHttpDate, IsReadInEachForm) {
  for (const auto &[text, time] : kDates) EXPECT_EQ(ReadHttpDate(text), time) << text;
}

// Summer time, and a zone in which the date differs.
TEST(QngetHttpDate, IsTheSameInEachZone) {
  for (const char *zone : {"UTC0", "CET-1CEST,M3.5.0,M10.5.0/3", "NZST-12NZDT,M9.5.0,M4.1.0/3"}) {
    setenv("TZ", zone, 1);
    tzset();
    EXPECT_EQ(ReadHttpDate("Sun, 25 Oct 2026 01:30:00 GMT"), 1792891800) << zone;
    EXPECT_EQ(ReadHttpDate("Sun, 29 Mar 2026 01:30:00 GMT"), 1774747800) << zone;
  }
  unsetenv("TZ");
  tzset();
}

std::vector<std::string> DirectivesIn(const std::string &fields) {
  std::vector<std::string> texts;
  for (const auto &[name, value] :
       qnget::ReadCacheDirectives(qnget::ReadAnswerHead("HTTP/1.0 200\r\n" + fields).fields)) {
    texts.push_back(name + "[" + value + "]");
  }
  return texts;
}

TEST(QngetCacheDirectives, AreDividedByCommasOutsideQuotes) {
  using testing::ElementsAre;
  EXPECT_THAT(DirectivesIn("Cache-Control: a, b=1 ,c=\"x, y\",, d = 2"),
              ElementsAre("a[]", "b[1]", "c[x, y]", "d[2]"));
  EXPECT_THAT(DirectivesIn("Cache-Control: a=\"q\\\"uote, \\\\\", b"),
              ElementsAre("a[q\"uote, \\]", "b[]"));
  EXPECT_THAT(DirectivesIn("Cache-Control: a=\"open, b\r\ncache-control: c"),
              ElementsAre("a[open, b]", "c[]"));
  EXPECT_THAT(DirectivesIn("Cache-Control: a=\"\\"), ElementsAre("a[\\]"));
  EXPECT_THAT(DirectivesIn("Cache-Control:\r\nPragma: no-cache"), ElementsAre());
}

}  // namespace
}  // namespace qntest
