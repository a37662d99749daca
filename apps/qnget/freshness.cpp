// SPDX-License-Identifier: MIT
// The rules stand in the order in which RFC 9111, section 4.2, has them: what an
// answer may live in all, how old it was when it came, and what is left.
#include "freshness.h"

#include <algorithm>
#include <optional>

#include "cache_directives.h"
#include "http_date.h"

namespace qnget {
namespace {

constexpr int kKeptStatus = 200;
constexpr int64_t kDay = 86400;                   // seconds
constexpr int64_t kHeuristicFraction = 10;        // of the time since the last change
constexpr int64_t kLongestLifetime = 2147483648;  // seconds; RFC 9111, section 1.2.2

bool IsPermanentRedirect(int status) { return status == 301 || status == 308; }

bool IsDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// Seconds in decimal digits; nothing for any other text.
std::optional<int64_t> ReadSeconds(std::string_view text) {
  if (!IsDigits(text)) return {};
  constexpr auto kMost = static_cast<uint64_t>(kLongestLifetime);
  return static_cast<int64_t>(std::min(ReadDecimal(text).value_or(kMost), kMost));
}

std::optional<int64_t> DateIn(const AnswerHead &head, std::string_view name) {
  const std::optional<std::string> text = head.First(name);
  return text ? ReadHttpDate(*text) : std::nullopt;
}

int64_t DateOf(const ReceivedHead &answer) {
  return DateIn(answer.head, "Date").value_or(answer.came);
}

// The smallest "max-age"; one that cannot be read is taken for 0.
std::optional<int64_t> MaxAge(const std::vector<CacheDirective> &directives) {
  std::optional<int64_t> smallest;
  for (const CacheDirective &directive : directives) {
    if (!EqualIgnoringCase(directive.name, "max-age")) continue;
    const int64_t seconds = ReadSeconds(directive.value).value_or(0);
    smallest = std::min(smallest.value_or(seconds), seconds);
  }
  return smallest;
}

// "Expires" less "Date"; a date that cannot be read, as in "Expires: 0", has
// passed.
std::optional<int64_t> UntilExpires(const ReceivedHead &answer) {
  if (!answer.head.First("Expires")) return {};
  const std::optional<int64_t> expires = DateIn(answer.head, "Expires");
  return expires ? *expires - DateOf(answer) : 0;
}

std::optional<int64_t> ExplicitLifetime(const ReceivedHead &answer) {
  const std::optional<int64_t> max_age = MaxAge(ReadCacheDirectives(answer.head.fields));
  return max_age ? max_age : UntilExpires(answer);
}

std::optional<int64_t> HeuristicLifetime(const ReceivedHead &answer) {
  const std::optional<int64_t> modified = DateIn(answer.head, "Last-Modified");
  if (!modified) return {};
  return std::min((DateOf(answer) - *modified) / kHeuristicFraction, kDay);
}

// How old the answer was when it came: by its "Date", or by its "Age" and the
// time that it was on its way, whichever is more.
int64_t AgeOf(const ReceivedHead &answer) {
  const int64_t apparent = std::max<int64_t>(answer.came - DateOf(answer), 0);
  const std::vector<std::string> ages = answer.head.Members("Age");
  const int64_t said = ages.empty() ? 0 : ReadSeconds(ages.front()).value_or(0);
  const int64_t on_its_way = std::max<int64_t>(answer.came - answer.asked, 0);
  return std::max(apparent, said + on_its_way);
}

// What forbids to keep an answer whatever its lifetime; empty if nothing does.
std::string Prohibition(const AnswerHead &head) {
  const std::vector<CacheDirective> directives = ReadCacheDirectives(head.fields);
  for (const char *name : {"no-store", "no-cache"}) {
    if (HasDirective(directives, name)) return name;
  }
  if (HasPragmaNoCache(head.fields)) return "Pragma: no-cache";
  const std::vector<std::string> vary = head.Members("Vary");
  return std::find(vary.begin(), vary.end(), "*") == vary.end() ? "" : "Vary: *";
}

Freshness Within(const ReceivedHead &answer, std::optional<int64_t> lifetime) {
  std::string prohibition = Prohibition(answer.head);
  if (!prohibition.empty()) return {.why_not = std::move(prohibition)};
  if (!lifetime) return {.why_not = "it has no lifetime"};
  const int64_t left = std::min(*lifetime, kLongestLifetime) - AgeOf(answer);
  if (left <= 0) return {.why_not = kStale};
  return {.until = answer.came + left};
}

}  // namespace

Freshness FreshnessOf(const ReceivedHead &answer) {
  const int status = answer.head.status;
  if (status != kKeptStatus) return {.why_not = "it has status " + std::to_string(status)};
  const std::optional<int64_t> lifetime = ExplicitLifetime(answer);
  return Within(answer, lifetime ? lifetime : HeuristicLifetime(answer));
}

Freshness FreshnessOfRedirect(const ReceivedHead &redirect) {
  std::optional<int64_t> lifetime = ExplicitLifetime(redirect);
  if (!lifetime && IsPermanentRedirect(redirect.head.status)) lifetime = kDay;
  Freshness freshness = Within(redirect, lifetime);
  if (freshness.MayBeKept()) return freshness;
  return {.why_not = "redirect " + std::to_string(redirect.head.status) + ": " + freshness.why_not};
}

Freshness FreshnessOverRedirects(std::span<const ReceivedHead> answers) {
  Freshness all = FreshnessOf(answers.back());
  for (const ReceivedHead &redirect : answers.first(answers.size() - 1)) {
    if (!all.MayBeKept()) return all;
    Freshness one = FreshnessOfRedirect(redirect);
    if (!one.MayBeKept()) return one;
    all.until = std::min(all.until, one.until);
  }
  return all;
}

}  // namespace qnget
