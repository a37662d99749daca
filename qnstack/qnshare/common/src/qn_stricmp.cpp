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

// Taken when it is first needed; null when the system has no memory for it.
locale_t PlainLocale() {
  static constinit locale_t plain = nullptr;
  if (plain == nullptr) plain = newlocale(LC_ALL_MASK, "C", nullptr);
  return plain;
}

// Whether two texts, or their first `n` bytes, are certainly the same but for
// case. Most that differ do so at once, which needs no call to be seen.
bool AreAlike(const char *a, const char *b, std::size_t n) {
  const locale_t plain = PlainLocale();
  if (plain == nullptr || n == 0 || qn::FoldByte(*a) != qn::FoldByte(*b)) return false;
  return (n == kWhole ? strcasecmp_l(a, b, plain) : strncasecmp_l(a, b, n, plain)) == 0;
}

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
  if (qn::FoldByte(*a) != qn::FoldByte(*b)) return false;
  const locale_t plain = PlainLocale();
  if (plain != nullptr) return strcasecmp_l(a, b, plain) == 0;
  return FoldedDifference(a, b, kWhole) == 0;
}

int32_t fnQNRTL_stricmp(const char *a, const char *b) {
  if (a == nullptr) return -1;
  if (b == nullptr) return 1;
  return AreAlike(a, b, kWhole) ? 0 : FoldedDifference(a, b, kWhole);
}

int32_t fnQNRTL_strnicmp(const char *a, const char *b, uint32_t n) {
  if (a == nullptr) return -1;
  if (b == nullptr) return 1;
  return AreAlike(a, b, n) ? 0 : FoldedDifference(a, b, n);
}
