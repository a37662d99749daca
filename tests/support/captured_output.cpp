// SPDX-License-Identifier: MIT
// Capturing by an anonymous file in place of descriptor 1. The file and the
// copy of the true standard output are kept for the life of the process, so
// that tests which watch descriptors see none come and go.
#include "support/captured_output.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace qntest {
namespace {

constexpr int kLowestKeptDescriptor = 200;

struct Descriptors {
  int file;
  int standard_output;
};

const Descriptors &Kept() {
  static const Descriptors kept = [] {
    const int file = memfd_create("captured output", MFD_CLOEXEC);
    const Descriptors made = {fcntl(file, F_DUPFD_CLOEXEC, kLowestKeptDescriptor),
                              fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, kLowestKeptDescriptor)};
    // Past the wrapped close(), which some tests count.
    syscall(SYS_close, file);
    if (made.file < 0 || made.standard_output < 0) std::abort();
    return made;
  }();
  return kept;
}

void Empty(int file) {
  if (ftruncate(file, 0) != 0 || lseek(file, 0, SEEK_SET) != 0) std::abort();
}

bool capturing = false;

}  // namespace

CapturedOutput::CapturedOutput() {
  if (capturing) std::abort();
  capturing = true;
  fflush(stdout);
  Empty(Kept().file);
  dup2(Kept().file, STDOUT_FILENO);
}

CapturedOutput::~CapturedOutput() {
  fflush(stdout);
  dup2(Kept().standard_output, STDOUT_FILENO);
  capturing = false;
}

std::string CapturedOutput::Take() {
  fflush(stdout);
  const off_t size = lseek(Kept().file, 0, SEEK_END);
  std::string text(static_cast<std::size_t>(size), '\0');
  if (pread(Kept().file, text.data(), text.size(), 0) != size) std::abort();
  Empty(Kept().file);
  return text;
}

}  // namespace qntest
