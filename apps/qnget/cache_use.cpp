#include "cache_use.h"

#include <string>

#include "checks.h"
#include "failure.h"
#include "info.h"

namespace qnget {
namespace {

void SayWithout(const Failure &failure) {
  // That the time is up concerns the transfer itself.
  if (failure.code() != kNotWritten) throw failure;
  Say(std::string("no cache: ") + failure.what());
}

void PrintHit(const std::string &url, const CachedAnswer &answer) {
  AnswerInfo info;
  info.status = std::to_string(answer.status);
  if (!answer.type.empty()) info.type = Printable(answer.type);
  info.length = std::to_string(answer.body.size());
  info.url = url;
  PrintInfo(info);
  PrintCacheInfo("hit");
}

}  // namespace

std::optional<int> CacheUse::Deliver(Output &output) {
  const std::optional<CachedAnswer> found = Find();
  if (!found) return {};
  if (options_.info) PrintHit(options_.url, *found);
  output.Write(found->body);
  return found->status;
}

void CacheUse::Keep() {
  if (!options_.cache) return;
  const std::optional<int32_t> expires = KeepRecorded();
  if (!options_.info) return;
  PrintCacheInfo(expires ? "stored until " + std::to_string(*expires) : "not stored");
}

std::optional<CachedAnswer> CacheUse::Find() {
  if (!usable_) return {};
  try {
    return FindCached(options_.root, options_.url);
  } catch (const Failure &failure) {
    usable_ = false;
    SayWithout(failure);
    return {};
  }
}

std::optional<int32_t> CacheUse::KeepRecorded() {
  if (!usable_) return {};
  try {
    return KeepAnswer(options_.root, options_.url, record_);
  } catch (const Failure &failure) {
    SayWithout(failure);
    return {};
  }
}

}  // namespace qnget
