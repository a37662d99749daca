// Answers that are kept: a fresh one stands in for a transfer, and what a
// transfer brings is kept for the next call where its header allows it.
#ifndef QNGET_CACHE_H
#define QNGET_CACHE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "answer_head.h"

namespace qnget {

struct CachedAnswer {
  std::string body;
  std::string type;  // empty if it is not known
  int32_t status = 0;
};

/** What an answer leaves for the cache while it comes in. */
class AnswerRecord {
 public:
  /** A new answer begins; nothing of an earlier one counts any more. */
  void Start();

  /** Takes the head of each hop's answer, in their order. The last one's is the body's. */
  void TakeHead(const AnswerHead &head);

  /** Takes the next bytes of the body, and none at all once they are too many. */
  void TakeBody(std::string_view bytes);

  /** The body has come whole. */
  void Complete() { whole_ = true; }

  /** Whether all of an answer is here. */
  bool IsWhole() const { return whole_ && fits_; }
  const CachedAnswer &Answer() const { return answer_; }

 private:
  CachedAnswer answer_;
  bool fits_ = true;
  bool whole_ = false;
};

/** The fresh answer for a URL with its whole body, if there is one. Throws Failure. */
std::optional<CachedAnswer> FindCached(const std::string &root, const std::string &url);

/**
 * Keeps the answer of which all has been recorded, if it may be kept. Gives the
 * time until which it is fresh, in the library's seconds. Throws Failure where
 * it could have been kept but for the store.
 */
std::optional<int32_t> KeepAnswer(const std::string &root, const std::string &url,
                                  const AnswerRecord &record);

/** All that is kept, as a table with a line of titles. */
std::string CacheTable(const std::string &root);

/** Throws Failure where it cannot be done. */
void ClearCache(const std::string &root);

}  // namespace qnget

#endif
