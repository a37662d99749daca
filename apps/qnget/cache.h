// SPDX-License-Identifier: MIT
// Answers that are kept: a fresh one stands in for a transfer, and what a
// transfer brings is kept for the next call where its header allows it.
#ifndef QNGET_CACHE_H
#define QNGET_CACHE_H

#include <cstdint>
#include <optional>
#include <string>

#include "answer_record.h"
#include "identity.h"

namespace qnget {

struct CachedAnswer {
  std::string body;
  std::string type;  // empty if it is not known
  int32_t status = 0;
  int64_t came = 0;   // Unix time
  int64_t until = 0;  // Unix time; fresh before it
};

/** The fresh answer to that URL and identity with its whole body, if there is one. Throws Failure.
 */
std::optional<CachedAnswer> FindCached(const std::string &root, const std::string &url,
                                       const Identity &identity);

/**
 * Keeps the answer of which all has been recorded, if it may be kept; it takes
 * the place of any other for that URL. Gives how long it is fresh, or why it was
 * not kept. Throws Failure where it could have been kept but for the store.
 */
Freshness KeepAnswer(const std::string &root, const std::string &url, const Identity &identity,
                     const AnswerRecord &record);

/** From here on there is no answer to that URL. Throws Failure where it cannot be done. */
void ForgetAnswer(const std::string &root, const std::string &url);

/** All that is kept, as a table with a line of titles. */
std::string CacheTable(const std::string &root);

/** Throws Failure where it cannot be done. */
void ClearCache(const std::string &root);

}  // namespace qnget

#endif
