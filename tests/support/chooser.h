// SPDX-License-Identifier: MIT
// How tests that walk at random choose their steps.
#ifndef QNSTACK_TESTS_SUPPORT_CHOOSER_H
#define QNSTACK_TESTS_SUPPORT_CHOOSER_H

#include <cstddef>
#include <functional>
#include <random>

namespace qntest {

// Gives a number from 0 to `bound` - 1; a bound is at least 1.
using Chooser = std::function<std::size_t(std::size_t bound)>;

// The same numbers for the same seed.
inline Chooser SeededChooser(unsigned seed) {
  return [random = std::mt19937(seed)](std::size_t bound) mutable {
    return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random);
  };
}

}  // namespace qntest

#endif
