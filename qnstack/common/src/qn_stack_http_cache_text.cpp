// Text helpers of the HTTP cache: header search and month names. Owns nothing.
#include <iterator>

#include "qn_text_search.h"
#include "qnstack/qn_share_string.h"
#include "qnstack/qn_stack_http_cache.h"

namespace {

constexpr const char *kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

}  // namespace

char *stristr(const char *haystack, const char *needle) {
  if (haystack == nullptr || needle == nullptr) return nullptr;
  const std::size_t offset = qn::FindIgnoringCase(haystack, needle);
  return offset == qn::kNotFound ? nullptr : const_cast<char *>(haystack) + offset;
}

int32_t fnQNStack_getMonth(const char *name) {
  for (std::size_t i = 0; i < std::size(kMonths); ++i) {
    if (fnQN_STRCMP(name, kMonths[i]) == 0) return static_cast<int32_t>(i) + 1;
  }
  return -1;
}
