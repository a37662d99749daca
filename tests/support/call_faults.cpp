// SPDX-License-Identifier: MIT
// The watchers form a stack per thread. The standard library's own allocations
// do not come through the wraps, so counting here disturbs no count.
#include "support/call_faults.h"

#include <cerrno>
#include <cstdlib>

namespace qntest {

namespace {

constexpr size_t kUsualCalls = 1000;

constinit thread_local CallFaults *innermost = nullptr;

int UsualError(unsigned kinds) {
  if ((kinds & kHeapCalls) != 0) return ENOMEM;
  return (kinds & kFileCalls) != 0 ? EIO : ECONNRESET;
}

}  // namespace

CallFaults::CallFaults(unsigned kinds, CallFault fault)
    : kinds_(kinds), fault_(fault), outer_(innermost) {
  // Two that watch the same would disturb each other: a mistake in the test.
  if (WatcherOf(kinds) != nullptr) std::abort();
  if (fault.keeps_names) names_.reserve(kUsualCalls);
  innermost = this;
}

CallFaults::~CallFaults() {
  if (innermost != this) std::abort();
  innermost = outer_;
}

CallFaults *CallFaults::WatcherOf(unsigned kinds) {
  CallFaults *watcher = innermost;
  while (watcher != nullptr && (watcher->kinds_ & kinds) == 0) watcher = watcher->outer_;
  return watcher;
}

bool CallFaults::Watches(CallKinds kind) { return WatcherOf(kind) != nullptr; }

bool CallFaults::Fail(unsigned kinds, std::string_view name) {
  CallFaults *watcher = WatcherOf(kinds);
  if (watcher == nullptr) return false;
  ++watcher->count_;
  if (watcher->fault_.keeps_names) watcher->names_.push_back(name);
  if (!watcher->IsToFail(name)) return false;
  ++watcher->failures_;
  errno = watcher->fault_.error != 0 ? watcher->fault_.error : UsualError(kinds);
  return true;
}

bool CallFaults::IsToFail(std::string_view name) {
  const bool is_behind = fault_.onwards && Count() > fault_.at;
  const bool is_at = fault_.at != 0 && (Count() == fault_.at || is_behind);
  const bool is_named = name == fault_.every && ++calls_of_name_ > fault_.passed;
  if (!is_at && !is_named) return false;
  return name != "recv" || ++failed_receives_ <= fault_.most_failed_receives;
}

void CallFaults::NoteBytesAsked(size_t bytes) {
  CallFaults *watcher = WatcherOf(kHeapCalls);
  if (watcher != nullptr) watcher->heap_.bytes_asked += bytes;
}

void CallFaults::NoteBlock(size_t bytes) {
  CallFaults *watcher = WatcherOf(kHeapCalls);
  if (watcher == nullptr) return;
  ++watcher->heap_.live;
  watcher->heap_.live_bytes += static_cast<long>(bytes);
}

void CallFaults::NoteFree(size_t bytes) {
  CallFaults *watcher = WatcherOf(kHeapCalls);
  if (watcher == nullptr) return;
  ++watcher->heap_.frees;
  --watcher->heap_.live;
  watcher->heap_.live_bytes -= static_cast<long>(bytes);
}

void CallFaults::NoteResize(size_t before, size_t after) {
  CallFaults *watcher = WatcherOf(kHeapCalls);
  if (watcher == nullptr) return;
  watcher->heap_.live_bytes += static_cast<long>(after) - static_cast<long>(before);
}

}  // namespace qntest
