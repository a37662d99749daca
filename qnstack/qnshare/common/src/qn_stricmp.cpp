// Ordering comparisons that ignore the case of ASCII letters. Owns nothing.
#include "qnstack/qn_stricmp.h"

#include <cstdint>
#include <limits>

#include "qn_ascii.h"

namespace {

// The folded difference at the first unequal pair, at the terminator of `a`,
// or at the last of `n` pairs.
int32_t FoldedDifference(const char *a, const char *b, std::size_t n) {
  for (; n > 0; --n, ++a, ++b) {
    const int difference = qn::FoldByte(*a) - qn::FoldByte(*b);
    if (difference != 0 || *a == '\0') return difference;
  }
  return 0;
}

}  // namespace

int32_t fnQNRTL_stricmp(const char *a, const char *b) {
  if (a == nullptr) return -1;
  if (b == nullptr) return 1;
  return FoldedDifference(a, b, std::numeric_limits<std::size_t>::max());
}

int32_t fnQNRTL_strnicmp(const char *a, const char *b, uint32_t n) {
  if (a == nullptr) return -1;
  if (b == nullptr) return 1;
  return FoldedDifference(a, b, n);
}
