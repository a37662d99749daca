// SPDX-License-Identifier: MIT
// A platform's heap that counts the bytes it was asked for, as they were asked
// for: what a heap adds for its own bookkeeping is not among them.
#ifndef QNSTACK_TESTS_SMALL_COUNTING_HEAP_H
#define QNSTACK_TESTS_SMALL_COUNTING_HEAP_H

#include <cstddef>

namespace small {

// Bytes given out and not taken back.
std::size_t HeapInUse();

// The most that were in use at one time since WatchHeapPeak().
void WatchHeapPeak();
std::size_t HeapPeak();

}  // namespace small

#endif
