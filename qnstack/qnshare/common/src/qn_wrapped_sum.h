// SPDX-License-Identifier: MIT
// Sums of 32 bits that wrap, for counters and positions that files and callers
// can bring to any value.
#ifndef QNSTACK_QN_WRAPPED_SUM_H
#define QNSTACK_QN_WRAPPED_SUM_H

#include <cstdint>

namespace qn {

constexpr int32_t WrappedSum(int32_t a, int64_t b) { return static_cast<int32_t>(a + b); }

}  // namespace qn

#endif
