// SPDX-License-Identifier: MIT
// How much stack a function really takes, with all that it calls, the C library's
// functions among them.
#ifndef QNSTACK_TESTS_SMALL_PAINTED_STACK_H
#define QNSTACK_TESTS_SMALL_PAINTED_STACK_H

#include <cstddef>

namespace small {

// Calls the function on a stack whose bytes were painted before, and looks how far
// they were written over. It is called twice, and the second call counts: at the
// first one the loader looks for the functions of shared libraries.
std::size_t StackOf(void (*function)());

}  // namespace small

#endif
