// SPDX-License-Identifier: MIT
// Makes the heap refuse chosen allocations, so that tests can fail every
// allocation of a call in turn. Works on the calls to malloc, calloc and realloc
// that the objects of the test program make themselves (the linker
// sends them here); what shared libraries allocate, operator new among it, is
// neither counted nor refused.
#ifndef QNSTACK_TESTS_SUPPORT_FAILING_HEAP_H
#define QNSTACK_TESTS_SUPPORT_FAILING_HEAP_H

#include <cstddef>

#include "support/call_faults.h"

namespace qntest {

// While an object of this class lives the heap is armed; keep its scope to the
// call under test. One at a time; its counters belong to one thread.
//
// A call that is refused something is written shorter:
//
//   EXPECT_EQ(WithRefusal(1, [&] { return fnQNList_AddTail(&list, &element); }), nullptr);
class FailingHeap {
 public:
  enum class Reach {
    kOne,   // that allocation alone is refused
    kRest,  // that one and all after it are
  };

  // The first_refused-th allocation from now on (counted from 1) gives NULL
  // with errno ENOMEM. With kCountOnly nothing is refused.
  static constexpr int kCountOnly = 0;
  explicit FailingHeap(int first_refused, Reach reach = Reach::kOne)
      : calls_(kHeapCalls,
               {.at = first_refused, .onwards = reach == Reach::kRest, .keeps_names = false}) {}

  // Allocations asked for since this object was made, refused ones included.
  int Allocations() const { return calls_.Count(); }

  // How many of them were refused.
  int Refusals() const { return calls_.Failures(); }

  // The sum of the bytes they asked for.
  size_t BytesAsked() const { return calls_.Heap().bytes_asked; }

  // Blocks given back through free() since this object was made.
  int Frees() const { return calls_.Heap().frees; }

  // Blocks and bytes in use beyond those at the time this object was made.
  int LiveBlocks() const { return calls_.Heap().live; }
  long LiveBytes() const { return calls_.Heap().live_bytes; }

 private:
  CallFaults calls_;
};

// What `call` gives where its nth allocation is refused.
template <typename Call>
auto WithRefusal(int nth, Call call) {
  const FailingHeap heap(nth);
  return call();
}

// Makes a call with the first_refused-th allocation refused, as above; gives how
// many were.
template <typename Call>
int RefusalsIn(const Call &call, int first_refused,
               FailingHeap::Reach reach = FailingHeap::Reach::kOne) {
  const FailingHeap heap(first_refused, reach);
  call();
  return heap.Refusals();
}

// Makes a call; gives how many blocks it gave back.
template <typename Call>
int FreesIn(const Call &call) {
  const FailingHeap heap(FailingHeap::kCountOnly);
  call();
  return heap.Frees();
}

}  // namespace qntest

#endif
