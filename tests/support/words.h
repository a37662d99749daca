// SPDX-License-Identifier: MIT
// Every short word over a small alphabet, for tests that compare a function
// with a plain reference on all of them.
#ifndef QNSTACK_TESTS_SUPPORT_WORDS_H
#define QNSTACK_TESTS_SUPPORT_WORDS_H

#include <cstddef>
#include <string>
#include <vector>

namespace qntest {

// All words of 0 to max_length letters of `alphabet`, the shorter ones first.
std::vector<std::string> WordsOver(const std::string &alphabet, size_t max_length);

}  // namespace qntest

#endif
