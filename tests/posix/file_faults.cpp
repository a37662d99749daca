// SPDX-License-Identifier: MIT
// A call is counted, then judged by the fault. A failing close closes all the
// same, as the system's does.
#include "posix/file_faults.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/openat2.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <type_traits>

#include "support/call_faults.h"
#include "support/wrapped_close.h"

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names.
extern "C" {
int __real_open(const char *name, int flags, ...);
int __real_openat(int folder, const char *name, int flags, ...);
long __real_syscall(long number, ...);
ssize_t __real_read(int fd, void *bytes, size_t count);
ssize_t __real_write(int fd, const void *bytes, size_t count);
int __real_fsync(int fd);
int __real_fdatasync(int fd);
int __real_ftruncate(int fd, off_t size);
int __real_renameat(int from_folder, const char *from, int to_folder, const char *to);
int __real_linkat(int from_folder, const char *from, int to_folder, const char *to, int flags);
int __real_unlinkat(int folder, const char *name, int flags);
int __real_mkdirat(int folder, const char *name, mode_t mode);
int __real_flock(int fd, int operation);
int __real_futimens(int fd, const timespec times[2]);
int __real_fstat(int fd, struct stat *status);
int __real_fstatat(int folder, const char *name, struct stat *status, int flags);
int __real_fcntl(int fd, int command, ...);
FILE *__real_fdopen(int fd, const char *mode);
DIR *__real_fdopendir(int fd);
dirent *__real_readdir(DIR *entries);
int __real_closedir(DIR *entries);
}

namespace qntest {

namespace {

FileFaults *active = nullptr;
int resolving_error = 0;
bool entries_have_kinds = true;

bool TakesSpace(std::string_view name) {
  constexpr std::array<std::string_view, 5> kTaking = {"write", "fsync", "fdatasync", "linkat",
                                                       "mkdirat"};
  return std::find(kTaking.begin(), kTaking.end(), name) != kTaking.end();
}

// The part of a fault that is a plain failure.
CallFault CallFaultOf(const FileFault &fault) {
  const bool onwards = fault.kind == FaultKind::kFailOnwards;
  if (!onwards && fault.kind != FaultKind::kFail) return {};
  return {.at = fault.at, .onwards = onwards, .error = fault.error};
}

}  // namespace

struct FileCalls {
  // Counts the call; true if a fault lets it fail, with errno set.
  static bool Fails(std::string_view name) {
    if (CallFaults::Fail(kFileCalls, name)) return true;
    if (active == nullptr) return false;
    if (IsDue(FaultKind::kEnd)) _exit(FileFaults::kEndStatus);
    const FileFault &fault = active->fault_;
    if (fault.kind != FaultKind::kFullOnwards || active->Count() < fault.at) return false;
    if (!TakesSpace(name)) return false;
    errno = fault.error;
    return true;
  }

  static bool IsDue(FaultKind kind) {
    return active != nullptr && active->fault_.kind == kind && active->Count() == active->fault_.at;
  }

  // Makes a call that moves no bytes.
  template <typename Call>
  static auto Make(std::string_view name, Call call) -> decltype(call()) {
    using Result = decltype(call());
    if (Fails(name)) {
      if constexpr (std::is_pointer_v<Result>) {
        return nullptr;
      } else {
        return -1;
      }
    }
    const Result result = call();
    if (IsDue(FaultKind::kEndWithin)) _exit(FileFaults::kEndStatus);
    return result;
  }

  // Makes a call that closes: what fails is closed too.
  template <typename Call>
  static int Close(std::string_view name, Call call) {
    const bool fails = Fails(name);
    const int error = errno;
    const int result = call();
    if (IsDue(FaultKind::kEndWithin)) _exit(FileFaults::kEndStatus);
    if (!fails) return result;
    errno = error;
    return -1;
  }

  // Closes a descriptor whose call has been counted.
  static int CloseCounted(int fd) {
    if (IsDue(FaultKind::kEnd)) _exit(FileFaults::kEndStatus);
    const int result = CloseDescriptor(fd);
    if (IsDue(FaultKind::kEndWithin)) _exit(FileFaults::kEndStatus);
    return result;
  }

  // Makes a call that moves `count` bytes.
  template <typename Call>
  static ssize_t Move(std::string_view name, std::size_t count, Call call) {
    if (Fails(name)) return -1;
    if (IsDue(FaultKind::kShort)) return call(std::min<std::size_t>(count, 1));
    if (!IsDue(FaultKind::kEndWithin)) return call(count);
    call(count / 2);
    _exit(FileFaults::kEndStatus);
  }

  // Passes on the result of a call, of which the listener hears if it succeeded.
  template <typename Result, typename Part>
  static Result Heard(Result result, Part part) {
    if (result == -1 || active == nullptr || active->listener_ == nullptr) return result;
    const int error = errno;
    part(*active->listener_);
    errno = error;
    return result;
  }

  static int Sync(std::string_view name, int fd, int (*force)(int fd)) {
    const bool forced = !CallFaults::Watches(kFileCalls);
    const int result = Make(name, [=] { return forced ? force(fd) : 0; });
    return Heard(result, [=](FileListener &it) { it.OnSync(fd); });
  }
};

FileFaults::FileFaults(FileFault fault)
    : fault_(fault), calls_(kFileCalls, CallFaultOf(fault)), close_(FileCalls::CloseCounted) {
  active = this;
}

FileFaults::~FileFaults() { active = nullptr; }

int NumberOf(std::string_view name, const std::function<void()> &act) {
  const FileFaults counting;
  act();
  const auto &names = counting.Names();
  const auto first = std::find(names.begin(), names.end(), name);
  EXPECT_NE(first, names.end()) << "there is no " << name;
  return static_cast<int>(first - names.begin()) + 1;
}

void RunWithFaultAt(std::string_view name, FileFault fault, const std::function<void()> &act) {
  fault.at = NumberOf(name, act);
  const FileFaults faults(fault);
  act();
}

NoResolving::NoResolving(int error) { resolving_error = error; }

NoResolving::~NoResolving() { resolving_error = 0; }

NoEntryKinds::NoEntryKinds() { entries_have_kinds = false; }

NoEntryKinds::~NoEntryKinds() { entries_have_kinds = true; }

}  // namespace qntest

using namespace qntest;

extern "C" {

int __wrap_open(const char *name, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  const int fd = FileCalls::Make("open", [=] { return __real_open(name, flags, mode); });
  return FileCalls::Heard(fd, [=](FileListener &it) { it.OnOpen(AT_FDCWD, name, flags, fd); });
}

int __wrap_openat(int folder, const char *name, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  const int fd =
      FileCalls::Make("openat", [=] { return __real_openat(folder, name, flags, mode); });
  return FileCalls::Heard(fd, [=](FileListener &it) { it.OnOpen(folder, name, flags, fd); });
}

// What the C library's checks make of the two where the compiler does not see which
// flags they get.
int __wrap___open_2(const char *name, int flags) { return __wrap_open(name, flags); }

int __wrap___openat_2(int folder, const char *name, int flags) {
  return __wrap_openat(folder, name, flags);
}

long __wrap_syscall(long number, ...) {
  std::array<long, 6> a = {};
  va_list rest;
  va_start(rest, number);
  for (long &argument : a) argument = va_arg(rest, long);
  va_end(rest);
  const auto call = [=] { return __real_syscall(number, a[0], a[1], a[2], a[3], a[4], a[5]); };
  if (number != SYS_openat2) return call();
  if (qntest::resolving_error != 0) {
    errno = qntest::resolving_error;
    return -1;
  }
  const long fd = FileCalls::Make("openat2", call);
  return FileCalls::Heard(fd, [&](FileListener &it) {
    const auto *how = reinterpret_cast<const open_how *>(a[2]);
    it.OnOpen(static_cast<int>(a[0]), reinterpret_cast<const char *>(a[1]),
              static_cast<int>(how->flags), static_cast<int>(fd));
  });
}

ssize_t __wrap_read(int fd, void *bytes, size_t count) {
  return FileCalls::Move("read", count, [=](size_t n) { return __real_read(fd, bytes, n); });
}

ssize_t __wrap_write(int fd, const void *bytes, size_t count) {
  const ssize_t moved =
      FileCalls::Move("write", count, [=](size_t n) { return __real_write(fd, bytes, n); });
  return FileCalls::Heard(
      moved, [=](FileListener &it) { it.OnWrite(fd, bytes, static_cast<size_t>(moved)); });
}

int __wrap_fsync(int fd) { return FileCalls::Sync("fsync", fd, __real_fsync); }

int __wrap_fdatasync(int fd) { return FileCalls::Sync("fdatasync", fd, __real_fdatasync); }

int __wrap_ftruncate(int fd, off_t size) {
  const int result = FileCalls::Make("ftruncate", [=] { return __real_ftruncate(fd, size); });
  return FileCalls::Heard(result, [=](FileListener &it) { it.OnTruncate(fd, size); });
}

int __wrap_renameat(int from_folder, const char *from, int to_folder, const char *to) {
  const int result = FileCalls::Make(
      "renameat", [=] { return __real_renameat(from_folder, from, to_folder, to); });
  return FileCalls::Heard(result,
                          [=](FileListener &it) { it.OnRename(from_folder, from, to_folder, to); });
}

int __wrap_linkat(int from_folder, const char *from, int to_folder, const char *to, int flags) {
  const int result = FileCalls::Make(
      "linkat", [=] { return __real_linkat(from_folder, from, to_folder, to, flags); });
  return FileCalls::Heard(result, [=](FileListener &it) { it.OnLink(to_folder, to); });
}

int __wrap_unlinkat(int folder, const char *name, int flags) {
  const int result =
      FileCalls::Make("unlinkat", [=] { return __real_unlinkat(folder, name, flags); });
  return FileCalls::Heard(result, [=](FileListener &it) { it.OnUnlink(folder, name); });
}

int __wrap_mkdirat(int folder, const char *name, mode_t mode) {
  const int result = FileCalls::Make("mkdirat", [=] { return __real_mkdirat(folder, name, mode); });
  return FileCalls::Heard(result, [=](FileListener &it) { it.OnLink(folder, name); });
}

int __wrap_flock(int fd, int operation) {
  return FileCalls::Make("flock", [=] { return __real_flock(fd, operation); });
}

int __wrap_futimens(int fd, const timespec times[2]) {
  return FileCalls::Make("futimens", [=] { return __real_futimens(fd, times); });
}

int __wrap_fstat(int fd, struct stat *status) {
  const int result = FileCalls::Make("fstat", [=] { return __real_fstat(fd, status); });
  if (FileCalls::IsDue(FaultKind::kGrowing)) --status->st_size;
  return result;
}

int __wrap_fstatat(int folder, const char *name, struct stat *status, int flags) {
  return FileCalls::Make("fstatat", [=] { return __real_fstatat(folder, name, status, flags); });
}

int __wrap_fcntl(int fd, int command, ...) {
  va_list rest;
  va_start(rest, command);
  const long argument = va_arg(rest, long);
  va_end(rest);
  return FileCalls::Make("fcntl", [=] { return __real_fcntl(fd, command, argument); });
}

FILE *__wrap_fdopen(int fd, const char *mode) {
  return FileCalls::Make("fdopen", [=] { return __real_fdopen(fd, mode); });
}

DIR *__wrap_fdopendir(int fd) {
  return FileCalls::Make("fdopendir", [=] { return __real_fdopendir(fd); });
}

dirent *__wrap_readdir(DIR *entries) {
  dirent *entry = FileCalls::Make("readdir", [=] { return __real_readdir(entries); });
  if (entry != nullptr && !qntest::entries_have_kinds) entry->d_type = DT_UNKNOWN;
  return entry;
}

int __wrap_closedir(DIR *entries) {
  return FileCalls::Close("closedir",
                          [=] { return qntest::NotClosedTwice(__real_closedir(entries)); });
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
