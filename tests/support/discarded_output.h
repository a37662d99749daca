// SPDX-License-Identifier: MIT
// Sends what is printed on standard output (descriptor 1) to nowhere, for
// transfers whose trace lines would be many.
#ifndef QNSTACK_TESTS_SUPPORT_DISCARDED_OUTPUT_H
#define QNSTACK_TESTS_SUPPORT_DISCARDED_OUTPUT_H

namespace qntest {

// From its making to its end. One at a time, and none while output is captured.
class DiscardedOutput {
 public:
  DiscardedOutput();
  ~DiscardedOutput();
  DiscardedOutput(const DiscardedOutput &) = delete;
  DiscardedOutput &operator=(const DiscardedOutput &) = delete;

 private:
  int standard_output_;
};

}  // namespace qntest

#endif
