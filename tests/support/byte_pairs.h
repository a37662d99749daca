// SPDX-License-Identifier: MIT
// All pairs of byte values, for comparisons that are checked exhaustively.
#ifndef QNSTACK_TESTS_SUPPORT_BYTE_PAIRS_H
#define QNSTACK_TESTS_SUPPORT_BYTE_PAIRS_H

#include <gtest/gtest.h>

namespace qntest {

// Calls check(a, b) for all 65536 pairs, up to the first that fails.
template <typename Check>
void ForEachPairOfBytes(Check check) {
  for (int a = 0; a <= 255; ++a) {
    for (int b = 0; b <= 255; ++b) {
      check(static_cast<unsigned char>(a), static_cast<unsigned char>(b));
      if (::testing::Test::HasFatalFailure()) return;
    }
  }
}

}  // namespace qntest

#endif
