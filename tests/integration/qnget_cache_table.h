// SPDX-License-Identifier: MIT
// Answers with all that a header may say about how long it lives, and what
// qnget makes of them. The documentation shows the same table.
#ifndef QNSTACK_TESTS_INTEGRATION_QNGET_CACHE_TABLE_H
#define QNSTACK_TESTS_INTEGRATION_QNGET_CACHE_TABLE_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "answer_head.h"
#include "freshness.h"

namespace qntest {

inline constexpr int64_t kMinute = 60;
inline constexpr int64_t kHour = 3600;
inline constexpr int64_t kDay = 86400;

struct CacheRow {
  const char *name;
  // The header fields, divided by " | ". Each "{NUMBER UNIT}" stands for the date so
  // far from the answer, as in "{-3 days}", "{now}" or "{10 s}".
  const char *fields;
  std::optional<int64_t> lifetime;  // seconds for which it is served; none: not kept
  int status = 200;
  int64_t until = 0;  // instead of a lifetime: the Unix time at which it is not served any more
};

std::span<const CacheRow> CacheRows();

// The first second at which the row's answer is not served if it comes at that Unix
// time; none if it is not kept at all.
std::optional<int64_t> UntilOf(const CacheRow &row, int64_t now);

// The row's answer, as it comes at that Unix time.
qnget::AnswerHead HeadOf(const CacheRow &row, int64_t now);
qnget::ReceivedHead Received(const CacheRow &row, int64_t now);

// A date in the form that servers write.
std::string HttpDate(int64_t time);

// The table in Markdown.
std::string CacheTableText();

}  // namespace qntest

#endif
