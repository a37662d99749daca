// SPDX-License-Identifier: MIT
// Read from /proc; a figure that is not there is a mistake in the setting, not
// in what is tested.
#include "support/process_figures.h"

#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace qntest {
namespace {

// A line of the process status that is a number of KiB.
long StatusKilobytes(std::string_view name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(name)) return std::stol(line.substr(name.size()));
  }
  std::abort();
}

}  // namespace

int OpenDescriptors() {
  int count = 0;
  for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    ++count;
  }
  return count;
}

long ResidentKilobytes() { return StatusKilobytes("VmRSS:"); }

long PeakResidentKilobytes() { return StatusKilobytes("VmHWM:"); }

void ForgetPeak() {
  std::ofstream file("/proc/self/clear_refs");
  file << "5" << std::flush;
  if (!file) {
    std::perror("/proc/self/clear_refs");
    std::abort();
  }
}

std::chrono::nanoseconds ThreadTime() {
  timespec used = {};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
  return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

}  // namespace qntest
