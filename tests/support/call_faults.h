// SPDX-License-Identifier: MIT
// Counts the calls of a test program that can fail, whatever their kind, and
// fails those that a test chooses. The wraps of the heap, the network and the
// files ask here before they do anything, so one number names one point of a
// run that mixes them. Concerns the calls of the thread that watches.
#ifndef QNSTACK_TESTS_SUPPORT_CALL_FAULTS_H
#define QNSTACK_TESTS_SUPPORT_CALL_FAULTS_H

#include <cstddef>
#include <limits>
#include <string_view>
#include <vector>

namespace qntest {

// Sets of kinds; close() is a call of the network and of the files.
enum CallKinds : unsigned { kHeapCalls = 1, kNetworkCalls = 2, kFileCalls = 4, kAllCalls = 7 };

struct CallFault {
  int at = 0;            // the number of the call that fails, from 1; 0 for none
  bool onwards = false;  // all calls after it fail too
  // In place of a number: all calls of this name fail, after some that do not.
  std::string_view every = {};
  int passed = 0;
  int error = 0;  // their errno; 0 for a usual one of their kind
  // Of the recv calls no more fail: a caller that waits until data comes would
  // wait for ever.
  int most_failed_receives = std::numeric_limits<int>::max();
  bool keeps_names = true;  // not for long runs, whose calls are many
};

// What the heap was asked for while it was watched.
struct HeapUse {
  size_t bytes_asked = 0;
  int frees = 0;
  int live = 0;         // blocks given out and not given back
  long live_bytes = 0;  // what they hold
};

// While it lives it counts the calls of its kinds. Several may live at once if
// they watch different kinds; they end in the reverse of their order.
class CallFaults {
 public:
  explicit CallFaults(unsigned kinds, CallFault fault = {});
  ~CallFaults();
  CallFaults(const CallFaults &) = delete;
  CallFaults &operator=(const CallFaults &) = delete;

  // The calls so far, failed ones included, by their function's names.
  const std::vector<std::string_view> &Names() const { return names_; }
  int Count() const { return count_; }
  int Failures() const { return failures_; }
  const HeapUse &Heap() const { return heap_; }

  // For the wraps. Counts a call; true, with errno set, if it is to fail.
  static bool Fail(unsigned kinds, std::string_view name);
  static bool Watches(CallKinds kind);
  static void NoteBytesAsked(size_t bytes);
  static void NoteBlock(size_t bytes);
  static void NoteFree(size_t bytes);
  static void NoteResize(size_t before, size_t after);

 private:
  static CallFaults *WatcherOf(unsigned kinds);
  bool IsToFail(std::string_view name);

  const unsigned kinds_;
  const CallFault fault_;
  CallFaults *const outer_;
  std::vector<std::string_view> names_;
  int count_ = 0;
  int failures_ = 0;
  int failed_receives_ = 0;
  int calls_of_name_ = 0;
  HeapUse heap_;
};

}  // namespace qntest

#endif
