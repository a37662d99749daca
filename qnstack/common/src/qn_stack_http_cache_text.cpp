// Text helpers of the HTTP cache: header search and month names. Owns nothing.
#include <iterator>

#include "qnstack/qn_share_string.h"
#include "qnstack/qn_stack_http_cache.h"

namespace {

constexpr const char *kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

}  // namespace

char *stristr(const char *haystack, const char *needle) { return fnQN_STRISTR(haystack, needle); }

int32_t fnQNStack_getMonth(const char *name) {
  for (std::size_t i = 0; i < std::size(kMonths); ++i) {
    if (fnQN_STRCMP(name, kMonths[i]) == 0) return static_cast<int32_t>(i) + 1;
  }
  return -1;
}
