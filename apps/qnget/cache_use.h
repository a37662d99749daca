// What one transfer has to do with the cache. It may fail, and the transfer goes
// on without it: that is said on standard error and changes nothing else.
#ifndef QNGET_CACHE_USE_H
#define QNGET_CACHE_USE_H

#include <optional>

#include "cache.h"
#include "options.h"
#include "output.h"

namespace qnget {

class CacheUse {
 public:
  /** Does nothing at all unless the options ask for the cache. */
  explicit CacheUse(const Options &options) : options_(options), usable_(options.cache) {}

  /** Delivers what the cache has for the URL and gives its status; nothing if it has none. */
  std::optional<int> Deliver(Output &output);

  /** Where the transfer is to record the answer; nullptr for nowhere. */
  AnswerRecord *Record() { return usable_ ? &record_ : nullptr; }

  /** Keeps the recorded answer if it may be kept. */
  void Keep();

 private:
  std::optional<CachedAnswer> Find();
  std::optional<int32_t> KeepRecorded();

  const Options &options_;
  AnswerRecord record_;
  bool usable_;
};

}  // namespace qnget

#endif
