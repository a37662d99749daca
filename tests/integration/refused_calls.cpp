// SPDX-License-Identifier: MIT
// Refuses all file calls of one name to a program. The environment names the call
// and the error number, and how many of the calls go through first.
#include <cstdlib>

#include "support/call_faults.h"

namespace qntest {
namespace {

const char *Variable(const char *name) {
  const char *value = std::getenv(name);
  return value == nullptr ? "" : value;
}

const CallFaults kRefused(kFileCalls, {.every = Variable("QNSTACK_REFUSED_CALL"),
                                       .passed = std::atoi(Variable("QNSTACK_REFUSED_AFTER")),
                                       .error = std::atoi(Variable("QNSTACK_REFUSED_ERROR")),
                                       .keeps_names = false});

}  // namespace
}  // namespace qntest
