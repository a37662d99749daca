// SPDX-License-Identifier: MIT
// Ordering comparisons that ignore the case of ASCII letters, whatever the
// locale is. The string primitives, fnQNStack_StrCMPI() and applications call them.
#include "qnstack/qn_stricmp.h"

#include <cstddef>
#include <cstdint>

#include "qn_ascii.h"

namespace {

// The difference at the first unequal pair of folded bytes. 0 when the strings
// end, or `most` pairs have been compared, without one.
int32_t FoldedDifference(const char *a, const char *b, std::size_t most) {
  for (std::size_t i = 0; i < most; ++i) {
    const int32_t difference = qn::FoldByte(a[i]) - qn::FoldByte(b[i]);
    if (difference != 0 || a[i] == '\0') return difference;
  }
  return 0;
}

}  // namespace

int32_t fnQNRTL_stricmp(const char *a, const char *b) {
  if (a == nullptr) return -1;
  if (b == nullptr) return 1;
  return FoldedDifference(a, b, SIZE_MAX);
}

int32_t fnQNRTL_strnicmp(const char *a, const char *b, uint32_t n) {
  if (a == nullptr) return -1;
  if (b == nullptr) return 1;
  return FoldedDifference(a, b, n);
}
