// Ordering comparisons that ignore the case of ASCII letters. Owns the C
// library's handle of the locale in which no other letters have a case. Equal
// strings are found by the C library, many bytes at a time; of unequal ones it
// tells no more than an order, so the difference is looked for here.
#include "qnstack/qn_stricmp.h"

#include <strings.h>

#include <clocale>
#include <cstdint>
#include <limits>

#include "qn_ascii.h"

namespace {

constexpr std::size_t kWhole = std::numeric_limits<std::size_t>::max();

// Null when the system has no memory for it.
const locale_t plain_locale = newlocale(LC_ALL_MASK, "C", nullptr);

// Most strings that differ do so at once, which needs no call to be seen.
bool BeginAlike(const char *a, const char *b) { return qn::FoldByte(*a) == qn::FoldByte(*b); }

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

bool qn::EqualsIgnoringCase(const char *a, const char *b) {
  if (!BeginAlike(a, b)) return false;
  if (plain_locale != nullptr) return strcasecmp_l(a, b, plain_locale) == 0;
  return FoldedDifference(a, b, kWhole) == 0;
}

int32_t fnQNRTL_stricmp(const char *a, const char *b) {
  if (a == nullptr) return -1;
  if (b == nullptr) return 1;
  if (plain_locale != nullptr && BeginAlike(a, b) && strcasecmp_l(a, b, plain_locale) == 0)
    return 0;
  return FoldedDifference(a, b, kWhole);
}

int32_t fnQNRTL_strnicmp(const char *a, const char *b, uint32_t n) {
  if (a == nullptr) return -1;
  if (b == nullptr) return 1;
  if (plain_locale != nullptr && n > 0 && BeginAlike(a, b) &&
      strncasecmp_l(a, b, n, plain_locale) == 0) {
    return 0;
  }
  return FoldedDifference(a, b, n);
}
