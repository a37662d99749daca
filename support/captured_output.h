// SPDX-License-Identifier: MIT
// Leads what is printed on standard output (descriptor 1) elsewhere: into memory, to
// be looked at as exact text, or nowhere. Lead it away around the call under test
// only: a failed expectation prints to standard output too.
#ifndef QNSTACK_SUPPORT_CAPTURED_OUTPUT_H
#define QNSTACK_SUPPORT_CAPTURED_OUTPUT_H

#include <string>

namespace qntest {

// From its making to its end descriptor 1 leads to another file. One at a time.
// Neither opens nor closes a descriptor, but for the first.
class DivertedOutput {
 public:
  DivertedOutput(const DivertedOutput &) = delete;
  DivertedOutput &operator=(const DivertedOutput &) = delete;

 protected:
  explicit DivertedOutput(int file);
  ~DivertedOutput();
};

// Into memory.
class CapturedOutput : public DivertedOutput {
 public:
  CapturedOutput();

  // What was printed since the start or the last Take().
  std::string Take();
};

// To nowhere, for transfers whose trace lines would be many.
class DiscardedOutput : public DivertedOutput {
 public:
  DiscardedOutput();
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
