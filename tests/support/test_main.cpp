// SPDX-License-Identifier: MIT
// The main() of test programs. What a test prints, the library's trace lines among
// it, is kept and shown only where the test fails, is skipped or ends the program.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int kLowestKeptDescriptor = 300;  // out of the way of tests that count them

int standard_output = -1;
int kept_output = -1;

int Kept(int fd) {
  const int kept = fcntl(fd, F_DUPFD_CLOEXEC, kLowestKeptDescriptor);
  if (kept < 0) std::abort();
  return kept;
}

// Calls nothing that a signal handler may not.
void ShowWhatWasKept() {
  if (dup2(standard_output, STDOUT_FILENO) < 0) return;
  std::array<char, 4096> bytes;
  off_t place = 0;
  ssize_t count = 0;
  while ((count = pread(kept_output, bytes.data(), bytes.size(), place)) > 0) {
    if (write(STDOUT_FILENO, bytes.data(), static_cast<std::size_t>(count)) != count) return;
    place += count;
  }
}

void ShowAndDie(int signal) {
  ShowWhatWasKept();
  raise(signal);
}

class OutputKeeper : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo &test) override {
    fflush(stdout);
    if (ftruncate(kept_output, 0) != 0 || lseek(kept_output, 0, SEEK_SET) != 0) std::abort();
    dup2(kept_output, STDOUT_FILENO);
    printf("%s.%s:\n", test.test_suite_name(), test.name());
    fflush(stdout);
  }

  void OnTestEnd(const testing::TestInfo &test) override {
    fflush(stdout);
    if (test.result()->Passed()) {
      dup2(standard_output, STDOUT_FILENO);
    } else {
      ShowWhatWasKept();
    }
  }
};

// A sanitizer has handlers of its own, and names the test in its report.
void ShowAtSignal(int signal) {
  struct sigaction present = {};
  if (sigaction(signal, nullptr, &present) != 0 || present.sa_handler != SIG_DFL) return;
  struct sigaction wanted = {};
  wanted.sa_handler = ShowAndDie;
  wanted.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(signal, &wanted, nullptr);
}

}  // namespace

int main(int argc, char **argv) {
  testing::InitGoogleMock(&argc, argv);
  standard_output = Kept(STDOUT_FILENO);
  const int memory = memfd_create("output of a test", MFD_CLOEXEC);
  kept_output = Kept(memory);
  close(memory);
  for (const int signal : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV}) {
    ShowAtSignal(signal);
  }
  // GoogleTest's listeners take what is appended.
  testing::UnitTest::GetInstance()->listeners().Append(new OutputKeeper);
  return RUN_ALL_TESTS();
}
