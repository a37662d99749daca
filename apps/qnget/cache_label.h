// SPDX-License-Identifier: MIT
// What qnget keeps of an answer in the label of its cache entry, beside the
// body: times that hold, and who it is for. The library's own times are made of
// a clock that leaps at the end of a month, so they decide nothing here.
#ifndef QNGET_CACHE_LABEL_H
#define QNGET_CACHE_LABEL_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qnget {

struct CacheLabel {
  int64_t came = 0;        // Unix time of the answer
  int64_t until = 0;       // Unix time of the first second at which it is stale
  uint64_t checksum = 0;   // of the body
  std::string type{};      // media type; empty if it is not known
  std::string identity{};  // of Identity::TextFor()

  /** False too where the clock has been set back behind the answer. */
  bool IsFreshAt(int64_t now) const { return came <= now && now < until; }
};

/** One line of visible ASCII and blanks. */
std::string LabelText(const CacheLabel &label);

/** Reads such a line; nothing for any other text, as that of another version. */
std::optional<CacheLabel> ReadLabel(std::string_view text);

/** Tells bodies apart; not against somebody who wants two to have the same. */
uint64_t ChecksumOf(std::string_view body);

}  // namespace qnget

#endif
