// SPDX-License-Identifier: MIT
// Whether an answer may stand in for asking again, and until when: RFC 9111 for
// a cache that serves one user. All times are Unix times.
#ifndef QNGET_FRESHNESS_H
#define QNGET_FRESHNESS_H

#include <cstdint>
#include <span>
#include <string>

#include "answer_head.h"

namespace qnget {

/** The head of an answer with the times at which it was asked for and came. */
struct ReceivedHead {
  AnswerHead head{};
  int64_t asked = 0;
  int64_t came = 0;
};

/** Why an answer is not kept whose lifetime is over. */
inline constexpr const char *kStale = "nothing is left of its lifetime";

struct Freshness {
  int64_t until = 0;      // the first second at which it is stale
  std::string why_not{};  // must not be kept, with the reason; empty: it may

  bool MayBeKept() const { return why_not.empty(); }
};

/** How long the answer to a GET is fresh that has come whole. */
Freshness FreshnessOf(const ReceivedHead &answer);

/**
 * How long a redirect leads to the same place. One that is permanent does so for
 * a day if it says nothing else, any other one only as long as it says.
 */
Freshness FreshnessOfRedirect(const ReceivedHead &redirect);

/**
 * How long the last of these answers stands for the URL of the first; all before
 * it are redirects.
 */
Freshness FreshnessOverRedirects(std::span<const ReceivedHead> answers);

}  // namespace qnget

#endif
