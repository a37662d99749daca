// SPDX-License-Identifier: MIT
// The files that take descriptor 1's place, and the copy of the true standard
// output, are kept for the life of the process, so that tests which watch
// descriptors see none come and go.
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

int KeptCopy(int fd) {
  const int kept = fcntl(fd, F_DUPFD_CLOEXEC, kLowestKeptDescriptor);
  if (kept < 0) std::abort();
  return kept;
}

// In place of a descriptor that was just opened.
int Moved(int fd) {
  const int kept = KeptCopy(fd);
  // Past the wrapped close(), which some tests count.
  syscall(SYS_close, fd);
  return kept;
}

struct Descriptors {
  int standard_output = KeptCopy(STDOUT_FILENO);
  int memory = Moved(memfd_create("captured output", MFD_CLOEXEC));
  int nowhere = Moved(open("/dev/null", O_WRONLY | O_CLOEXEC));
};

const Descriptors &Kept() {
  static const Descriptors kept;
  return kept;
}

void EmptyMemory() {
  if (ftruncate(Kept().memory, 0) != 0 || lseek(Kept().memory, 0, SEEK_SET) != 0) std::abort();
}

bool diverted = false;

}  // namespace

DivertedOutput::DivertedOutput(int file) {
  if (diverted) std::abort();
  diverted = true;
  fflush(stdout);
  dup2(file, STDOUT_FILENO);
}

DivertedOutput::~DivertedOutput() {
  fflush(stdout);
  dup2(Kept().standard_output, STDOUT_FILENO);
  diverted = false;
}

CapturedOutput::CapturedOutput() : DivertedOutput(Kept().memory) { EmptyMemory(); }

std::string CapturedOutput::Take() {
  fflush(stdout);
  const off_t size = lseek(Kept().memory, 0, SEEK_END);
  std::string text(static_cast<std::size_t>(size), '\0');
  if (pread(Kept().memory, text.data(), text.size(), 0) != size) std::abort();
  EmptyMemory();
  return text;
}

DiscardedOutput::DiscardedOutput() : DivertedOutput(Kept().nowhere) {}

}  // namespace qntest
