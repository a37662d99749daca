// SPDX-License-Identifier: MIT
// How long a response stays fresh: the application hands over its header lines
// one by one, and a time comes out. The facts of the one response that is being
// parsed are kept here.
#include <cstdint>
#include <string_view>

#include "qn_fs_http_date.h"
#include "qn_scan.h"
#include "qn_stack_http_cache_internal.h"
#include "qn_wrapped_sum.h"
#include "qnstack/qn_fs_comm_tools.h"
#include "qnstack/qn_share_string.h"
#include "qnstack/qn_stack_tools.h"

namespace {

constexpr int32_t kDoNotKeep = -1;
constexpr int32_t kHeuristicLifetime = 3000;  // seconds
constexpr int32_t kHeuristicFraction = 10;
constexpr std::string_view kMaxAge = "max-age=";

int32_t NumberIn(const char *text) { return qn::ScanNumber(text).value_or(0); }

// What stands behind the name of a header field; null if the line has another
// name.
const char *ValueOf(const char *line, std::string_view name) {
  return fnQNStack_StrCMPI(line, name.data()) == 0 ? line + name.size() : nullptr;
}

void ForbidIfNoCache(const char *value) {
  if (stristr(value, "no-cache") != nullptr) qn::cache_time.cacheable = 0;
}

void TakeCacheControl(const char *value) {
  const char *max_age = stristr(value, kMaxAge.data());
  if (max_age != nullptr) qn::cache_time.max_age = NumberIn(max_age + kMaxAge.size());
  ForbidIfNoCache(value);
}

}  // namespace

qn::CacheTime qn::cache_time = {};

void fnQNStack_Cache_InitTime(void) { qn::cache_time = {1, 0, 0, 0, 0}; }

int32_t fnQNStack_Cache_ParseCacheTime(const char *line) {
  if (qn::cache_time.cacheable == 0) return -1;
  if (const char *date = ValueOf(line, "Date:")) {
    qn::cache_time.date = parse_date_str(date);
  } else if (const char *modified = ValueOf(line, "Last-Modified:")) {
    qn::cache_time.last_modified = parse_date_str(modified);
  } else if (const char *expires = ValueOf(line, "Expires:")) {
    qn::cache_time.expires = parse_date_str(expires);
  } else if (const char *age = ValueOf(line, "Age:")) {
    qn::cache_time.max_age = NumberIn(age);  // a lifetime here, not the age already spent
  } else if (const char *directives = ValueOf(line, "Cache-Control:")) {
    TakeCacheControl(directives);
  } else if (const char *pragma = ValueOf(line, "Pragma:")) {
    ForbidIfNoCache(pragma);
  }
  return 0;
}

int32_t fnQNStack_Cache_getExpired(void) {
  const qn::CacheTime &facts = qn::cache_time;
  if (facts.cacheable == 0) return kDoNotKeep;
  if (facts.expires > 0) return facts.expires;
  if (facts.max_age > 0) return qn::WrappedSum(fnQNFS_getLocalTime(), facts.max_age);
  if (facts.last_modified == facts.date) {
    return facts.date > 0 ? qn::WrappedSum(fnQNFS_getLocalTime(), kHeuristicLifetime) : kDoNotKeep;
  }
  if (facts.last_modified > 0 && facts.date > 0) {
    return qn::WrappedSum(facts.date, (facts.date - facts.last_modified) / kHeuristicFraction);
  }
  return kDoNotKeep;
}

char *stristr(const char *haystack, const char *needle) { return fnQN_STRISTR(haystack, needle); }

int32_t fnQNStack_getMonth(const char *name) {
  return name == nullptr ? -1 : qn::MonthNumber(name);
}
