// How long an answer stays fresh: its header lines are fed in one by one, and
// a time comes out. Owns the facts of the one answer that is being parsed.
#include <cstdint>
#include <string_view>

#include "qn_ascii.h"
#include "qn_scan.h"
#include "qn_stack_http_cache_internal.h"
#include "qnstack/qn_fs_comm_tools.h"
#include "qnstack/qn_stack_http_cache.h"

namespace {

constexpr int32_t kDoNotKeep = -1;
constexpr int32_t kHeuristicLifetime = 3000;  // seconds
constexpr int32_t kHeuristicFraction = 10;
constexpr const char *kMaxAge = "max-age=";
constexpr const char *kNoCache = "no-cache";

// Times wrap in 32 bits, as all that is made of "now" does.
int32_t Later(int32_t time, int32_t seconds) {
  return static_cast<int32_t>(static_cast<uint32_t>(time) + static_cast<uint32_t>(seconds));
}

int32_t NumberIn(const char *text) { return qn::ScanNumber(text).value_or(0); }

void ForbidIfNoCache(const char *text) {
  if (stristr(text, kNoCache) != nullptr) qn::cache_time.cacheable = 0;
}

void TakeDate(const char *text) { qn::cache_time.date = parse_date_str(text); }

void TakeLastModified(const char *text) { qn::cache_time.last_modified = parse_date_str(text); }

void TakeExpires(const char *text) { qn::cache_time.expires = parse_date_str(text); }

// Taken for a lifetime, not for the age already spent.
void TakeAge(const char *text) { qn::cache_time.max_age = NumberIn(text); }

void TakeCacheControl(const char *text) {
  const char *max_age = stristr(text, kMaxAge);
  if (max_age != nullptr) {
    qn::cache_time.max_age = NumberIn(max_age + std::string_view(kMaxAge).size());
  }
  ForbidIfNoCache(text);
}

// What a header line is taken for by its name; the first that matches counts.
struct LineKind {
  std::string_view folded_name;
  void (*take)(const char *text);
};
constexpr LineKind kLineKinds[] = {
    {"date:", TakeDate}, {"last-modified:", TakeLastModified}, {"expires:", TakeExpires},
    {"age:", TakeAge},   {"cache-control:", TakeCacheControl}, {"pragma:", ForbidIfNoCache},
};

}  // namespace

qn::CacheTime qn::cache_time = {};

void fnQNStack_Cache_InitTime(void) { qn::cache_time = {1, 0, 0, 0, 0}; }

int32_t fnQNStack_Cache_ParseCacheTime(const char *line) {
  if (qn::cache_time.cacheable == 0) return -1;
  if (line == nullptr) return 0;
  const std::string_view text(line);
  for (const LineKind &kind : kLineKinds) {
    if (qn::BeginsWithFolded(text, kind.folded_name)) {
      kind.take(line + kind.folded_name.size());
      break;
    }
  }
  return 0;
}

int32_t fnQNStack_Cache_getExpired(void) {
  const qn::CacheTime &facts = qn::cache_time;
  if (facts.cacheable == 0) return kDoNotKeep;
  if (facts.expires > 0) return facts.expires;
  if (facts.max_age > 0) return Later(fnQNFS_getLocalTime(), facts.max_age);
  if (facts.last_modified == facts.date) {
    return facts.date > 0 ? Later(fnQNFS_getLocalTime(), kHeuristicLifetime) : kDoNotKeep;
  }
  if (facts.last_modified > 0 && facts.date > 0) {
    return Later(facts.date, (facts.date - facts.last_modified) / kHeuristicFraction);
  }
  return kDoNotKeep;
}
