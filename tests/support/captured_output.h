// SPDX-License-Identifier: MIT
// Captures what is printed on standard output (descriptor 1), as exact text.
// Capture around the call under test only: a failed expectation prints to
// standard output too.
#ifndef QNSTACK_TESTS_SUPPORT_CAPTURED_OUTPUT_H
#define QNSTACK_TESTS_SUPPORT_CAPTURED_OUTPUT_H

#include <string>

namespace qntest {

// From its making to its end descriptor 1 leads into memory. One at a time.
// Neither makes nor ends open or close a descriptor, but for the first.
class CapturedOutput {
 public:
  CapturedOutput();
  ~CapturedOutput();
  CapturedOutput(const CapturedOutput &) = delete;
  CapturedOutput &operator=(const CapturedOutput &) = delete;

  // What was printed since the start or the last Take().
  std::string Take();
};

// What `action` printed.
template <typename Action>
std::string OutputOf(Action &&action) {
  CapturedOutput output;
  action();
  return output.Take();
}

}  // namespace qntest

#endif
