// SPDX-License-Identifier: MIT
#include "cache_use.h"

#include <ctime>
#include <string>

#include "cache_directives.h"
#include "failure.h"
#include "info.h"
#include "request.h"
#include "shown_time.h"
#include "visible.h"

namespace qnget {
namespace {

void SayWithout(const Failure &failure) {
  // That the time is up concerns the transfer itself.
  if (failure.code() != kNotWritten) throw failure;
  Say(std::string("no cache: ") + failure.what());
}

std::string FreshUntil(int64_t until) { return "fresh until " + ShownDate(until); }

void PrintHit(const std::string &url, const CachedAnswer &answer) {
  AnswerInfo info;
  info.status = std::to_string(answer.status);
  if (!answer.type.empty()) info.type = Visible(answer.type);
  info.length = std::to_string(answer.body.size());
  info.url = url;
  PrintInfo(info);
  PrintCacheInfo("hit, age " + ShownAge(time(nullptr) - answer.came) + ", " +
                 FreshUntil(answer.until));
}

std::string TextOf(const Freshness &freshness) {
  if (freshness.MayBeKept()) return "stored, " + FreshUntil(freshness.until);
  return "not stored: " + Visible(freshness.why_not);
}

Identity IdentityOf(const Options &options) {
  const Url url = ReadUrl(options.url).url;
  return {ProxyFor(options, url.host, url.port),
          options.cache ? RequestFields(options) : std::vector<HeaderField>()};
}

// A request may forbid by its own header what an answer may (RFC 9111, section 5.2.1).
bool ForbidsHits(const std::vector<HeaderField> &request) {
  const std::vector<CacheDirective> directives = ReadCacheDirectives(request);
  return HasDirective(directives, "no-cache") || HasDirective(directives, "no-store") ||
         HasPragmaNoCache(request);
}

bool ForbidsStoring(const std::vector<HeaderField> &request) {
  return HasDirective(ReadCacheDirectives(request), "no-store");
}

}  // namespace

CacheUse::CacheUse(const Options &options)
    : options_(options), identity_(IdentityOf(options)), usable_(options.cache) {}

std::optional<int> CacheUse::Deliver(Output &output) {
  const std::optional<CachedAnswer> found = Find();
  if (!found) return {};
  if (options_.info) PrintHit(options_.url, *found);
  output.Write(found->body);
  return found->status;
}

void CacheUse::Keep() {
  if (!options_.cache) return;
  std::string what = "not stored";
  try {
    if (usable_) what = TextOf(KeepRecorded());
  } catch (const Failure &failure) {
    SayWithout(failure);
  }
  if (options_.info) PrintCacheInfo(what);
}

bool CacheUse::AsksPast() const { return options_.refresh || ForbidsHits(identity_.Fields()); }

std::optional<CachedAnswer> CacheUse::Find() {
  if (!usable_ || AsksPast()) return {};
  try {
    return FindCached(options_.folders.cache, options_.url, identity_);
  } catch (const Failure &failure) {
    usable_ = false;
    SayWithout(failure);
    return {};
  }
}

Freshness CacheUse::KeepRecorded() {
  const std::string &root = options_.folders.cache;
  Freshness kept = ForbidsStoring(identity_.Fields())
                       ? Freshness{.why_not = "the request says no-store"}
                       : KeepAnswer(root, options_.url, identity_, record_);
  if (!kept.MayBeKept() && AsksPast()) ForgetAnswer(root, options_.url);
  return kept;
}

}  // namespace qnget
