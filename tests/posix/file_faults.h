// SPDX-License-Identifier: MIT
// Stands between the objects of a test program and the system's file calls:
// writes down every call, and lets one of them fail, do less than it was asked
// to, or end the process. Calls pass through while no object lives. A program
// is prepared by qnstack_wrap_files() (file_faults.cmake).
#ifndef QNSTACK_TESTS_POSIX_FILE_FAULTS_H
#define QNSTACK_TESTS_POSIX_FILE_FAULTS_H

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "support/call_faults.h"
#include "support/wrapped_close.h"

namespace qntest {

enum class FaultKind {
  kNone,
  kFail,         // the call fails
  kFailOnwards,  // it and all after it fail
  kFullOnwards,  // it and all after it that take space fail; moving and deleting go on
  kShort,        // a read or write moves one byte
  kGrowing,      // fstat tells of a byte less than the file has afterwards
  kEnd,          // the process ends before the call
  kEndWithin     // the process ends after it; a write has then written half
};

struct FileFault {
  FaultKind kind = FaultKind::kNone;
  int at = 0;  // the call's number, from 1
  int error = 0;
};

// Hears of each call that changed the files, or that forced changes to the
// medium, once it has succeeded.
class FileListener {
 public:
  virtual void OnOpen(int folder, const char *name, int flags, int fd) = 0;
  virtual void OnWrite(int fd, const void *bytes, size_t count) = 0;
  virtual void OnTruncate(int fd, off_t size) = 0;
  virtual void OnSync(int fd) = 0;
  virtual void OnLink(int folder, const char *name) = 0;  // of a file or a new folder
  virtual void OnUnlink(int folder, const char *name) = 0;
  virtual void OnRename(int from_folder, const char *from, int to_folder, const char *to) = 0;

 protected:
  ~FileListener() = default;
};

// One at a time. While it lives nothing is forced to the medium: that takes
// time, and what a process leaves behind when it ends does not depend on it.
class FileFaults {
 public:
  // Status of a process that a fault ended.
  static constexpr int kEndStatus = 77;

  explicit FileFaults(FileFault fault = {});
  ~FileFaults();
  FileFaults(const FileFaults &) = delete;
  FileFaults &operator=(const FileFaults &) = delete;

  // From now on `listener`, which must live longer, hears of the calls.
  void LetHear(FileListener *listener) { listener_ = listener; }

  // The calls so far, by their function's names.
  const std::vector<std::string_view> &Names() const { return calls_.Names(); }
  int Count() const { return calls_.Count(); }

 private:
  friend struct FileCalls;

  const FileFault fault_;
  FileListener *listener_ = nullptr;
  CallFaults calls_;
  const ScopedClose close_;
};

// The number of the first call of that name which `act` makes, from 1. Fails the
// running test if it makes none.
int NumberOf(std::string_view name, const std::function<void()> &act);

// Runs `act` twice: to be counted, then with its first call of that name at fault.
void RunWithFaultAt(std::string_view name, FileFault fault, const std::function<void()> &act);

// While it lives the system has no call that resolves names beneath a folder:
// using it fails with `error`. With 0 it has one. One at a time.
class NoResolving {
 public:
  explicit NoResolving(int error);
  ~NoResolving();
  NoResolving(const NoResolving &) = delete;
  NoResolving &operator=(const NoResolving &) = delete;
};

// While it lives no entry of a folder tells of what kind it is, as on some file
// systems. One at a time.
class NoEntryKinds {
 public:
  NoEntryKinds();
  ~NoEntryKinds();
  NoEntryKinds(const NoEntryKinds &) = delete;
  NoEntryKinds &operator=(const NoEntryKinds &) = delete;
};

}  // namespace qntest

#endif
