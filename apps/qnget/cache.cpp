// SPDX-License-Identifier: MIT
// Each use loads the index, holds the store only while it works with it, and
// lets it go before the network is waited for. Whether an entry is fresh is
// decided by the Unix times in its label. The library's own seconds are only
// made so that they never stand against that: see LibraryExpiry().
#include "cache.h"

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <limits>

#include "cache_index.h"
#include "failure.h"

namespace qnget {
namespace {

constexpr int32_t kStatus = 200;        // of all that is kept
constexpr size_t kLongestEntry = 9000;  // bytes of URL and label: what an index grows by is bounded
constexpr int64_t kTwoMonths = 5356800;  // seconds of 62 days

// The library takes "now" from a clock that leaps by up to a month where a month
// ends, and with the time zone by some hours. Two months on top of the lifetime
// keep an entry over all of that.
int32_t LibraryExpiry(int64_t lifetime) {
  constexpr int64_t kLast = std::numeric_limits<int32_t>::max();
  const int64_t held = std::min(lifetime, kLast) + kTwoMonths;
  return static_cast<int32_t>(std::min(fnQNFS_getLocalTime() + held, kLast));
}

bool IsUsable(const QNCacheEntry &entry, int64_t now) {
  const std::optional<CacheLabel> label = LabelOf(entry);
  return label && label->IsFreshAt(now) && HasBody(entry);
}

bool IsFor(const CacheLabel &label, const Identity &identity) {
  return identity.TextFor(NamesIn(label.identity)) == label.identity;
}

// The next save throws out what the library takes for expired.
void ExpireUnusable() {
  const int64_t now = time(nullptr);
  for (QNCacheEntry *entry : CacheIndex::Entries()) {
    if (!IsUsable(*entry, now)) entry->expires = fnQNFS_getLocalTime();
  }
}

// The same for the answers to one URL. The library puts a new one before them.
void ExpireAnswersTo(const std::string &url) {
  for (QNCacheEntry *entry : CacheIndex::Entries()) {
    if (url == entry->url) entry->expires = fnQNFS_getLocalTime();
  }
}

CacheLabel LabelFor(const AnswerRecord &record, const Identity &identity, int64_t until) {
  return {record.Came(), until, ChecksumOf(record.Body()), record.Type(),
          identity.TextFor(record.Varying())};
}

bool IsOnTheMedium(const std::string &url, const std::string &label) {
  CacheIndex::Reload();
  const QNCacheEntry *entry = fnQNStack_Cache_FindbyUrl(url.c_str());
  return entry != nullptr && entry->label == label && ReadBody(*entry).has_value();
}

// An index that could not be written does not show in the library's result.
bool Save(const std::string &url, const std::string &label, const std::string &body,
          int64_t lifetime) {
  ExpireUnusable();
  ExpireAnswersTo(url);
  const auto length = static_cast<int32_t>(body.size());
  const int32_t saved = fnQNStack_Cache_Save(url.c_str(), label.c_str(), body.data(), length,
                                             LibraryExpiry(lifetime), kStatus);
  return saved == 1 && IsOnTheMedium(url, label);
}

}  // namespace

std::optional<CachedAnswer> FindCached(const std::string &root, const std::string &url,
                                       const Identity &identity) {
  const CacheIndex index(root, Purpose::kWrite);
  const QNCacheEntry *entry = fnQNStack_Cache_FindbyUrl(url.c_str());
  if (entry == nullptr || entry->tag != kStatus) return {};
  const std::optional<CacheLabel> label = LabelOf(*entry);
  if (!label || !label->IsFreshAt(time(nullptr)) || !IsFor(*label, identity)) return {};
  std::optional<std::string> body = ReadBody(*entry);
  // This look-up puts the entry among those that stay longest.
  if (!body || fnQNStack_Cache_FindbyUrl_NoExpired(url.c_str()) != entry) return {};
  return CachedAnswer{std::move(*body), label->type, entry->tag, label->came, label->until};
}

Freshness KeepAnswer(const std::string &root, const std::string &url, const Identity &identity,
                     const AnswerRecord &record) {
  Freshness freshness = record.Lifetime();
  if (!freshness.MayBeKept()) return freshness;
  const std::string label = LabelText(LabelFor(record, identity, freshness.until));
  if (url.size() + label.size() > kLongestEntry) {
    return {.why_not = "its URL and what it varies with are too long for the index"};
  }
  const CacheIndex index(root, Purpose::kWrite);
  if (!Save(url, label, record.Body(), freshness.until - time(nullptr))) {
    throw Failure(kNotWritten, "could not write the cache below " + root);
  }
  return freshness;
}

void ForgetAnswer(const std::string &root, const std::string &url) {
  const CacheIndex index(root, Purpose::kChange);
  if (!index.IsOpen()) return;
  for (const QNCacheEntry *entry : CacheIndex::Entries()) {
    if (url == entry->url && HasBody(*entry) && !DeleteBody(*entry)) {
      throw Failure(kNotWritten, "could not write the cache below " + root);
    }
  }
}

void ClearCache(const std::string &root) {
  const CacheIndex index(root, Purpose::kChange);
  if (index.IsOpen() && fnQNStack_Cache_Delete_All() != 1) {
    throw Failure(kNotWritten, "could not empty the cache below " + root);
  }
}

}  // namespace qnget
