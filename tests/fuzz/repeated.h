// SPDX-License-Identifier: MIT
// Large contents out of small inputs.
#ifndef QNSTACK_TESTS_FUZZ_REPEATED_H
#define QNSTACK_TESTS_FUZZ_REPEATED_H

#include <cstddef>
#include <string>

namespace qntest {

// The bytes and a long field over and over, until there are at least so many.
// The field keeps the number of fields small.
inline std::string Repeated(const std::string &bytes, std::size_t least) {
  std::string repeated;
  while (repeated.size() < least) repeated += bytes + std::string(2000, 'r') + '\0';
  return repeated;
}

}  // namespace qntest

#endif
