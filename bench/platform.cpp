// SPDX-License-Identifier: MIT
#include "platform.h"

#include <sched.h>
#include <sys/resource.h>
#include <sys/time.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>

namespace bench {
namespace {

double Microseconds(const timeval &time) {
  return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
}

}  // namespace

double WallClock() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

Cost CostSoFar() {
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  return {Microseconds(usage.ru_utime) + Microseconds(usage.ru_stime), WallClock()};
}

std::vector<int> AllowedCpus() {
  cpu_set_t allowed;
  CPU_ZERO(&allowed);
  sched_getaffinity(0, sizeof allowed, &allowed);
  std::vector<int> cpus;
  for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
    if (CPU_ISSET(static_cast<unsigned>(cpu), &allowed)) cpus.push_back(cpu);
  }
  return cpus;
}

std::string ProcessorName() {
  std::ifstream description("/proc/cpuinfo");
  for (std::string line; std::getline(description, line);) {
    const std::size_t value = line.find(": ");
    if (line.starts_with("model name") && value != std::string::npos) return line.substr(value + 2);
  }
  return "processor";
}

void RunOn(int cpu) {
  if (cpu < 0) return;
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(static_cast<unsigned>(cpu), &one);
  sched_setaffinity(0, sizeof one, &one);
}

void Fail(const std::string &message) {
  std::fprintf(stderr, "%s\n", message.c_str());
  std::exit(1);
}

}  // namespace bench
