// SPDX-License-Identifier: MIT
// What one transfer has to do with the cache. It may fail, and the transfer goes
// on without it: that is said on standard error and changes nothing else.
#ifndef QNGET_CACHE_USE_H
#define QNGET_CACHE_USE_H

#include <optional>

#include "cache.h"
#include "identity.h"
#include "options.h"
#include "output.h"

namespace qnget {

class CacheUse {
 public:
  /**
   * Does nothing at all unless the options ask for the cache. Comes before the
   * Stack is started.
   */
  explicit CacheUse(const Options &options);

  /**
   * Delivers what the cache has for the request and gives its status; nothing if
   * it has none, or is to be asked past.
   */
  std::optional<int> Deliver(Output &output);

  /** Where the transfer is to record the answer; nullptr for nowhere. */
  AnswerRecord *Record() { return usable_ ? &record_ : nullptr; }

  /**
   * Keeps the recorded answer if it may be kept. Where one was asked for past the
   * cache, what is there goes otherwise.
   */
  void Keep();

 private:
  bool AsksPast() const;
  std::optional<CachedAnswer> Find();
  Freshness KeepRecorded();

  const Options &options_;
  const Identity identity_;
  AnswerRecord record_;
  bool usable_;
};

}  // namespace qnget

#endif
