// SPDX-License-Identifier: MIT
// What the benchmarks need from the platform: the cost of this process so far,
// the machine's processors, and an end with a word.
#ifndef BENCH_PLATFORM_H
#define BENCH_PLATFORM_H

#include <string>
#include <vector>

namespace bench {

// Microseconds: of this process on a processor, in user and kernel mode, and of
// the clock on the wall.
struct Cost {
  double cpu = 0;
  double wall = 0;
};
Cost CostSoFar();
double WallClock();

// The processors that this process may run on.
std::vector<int> AllowedCpus();

// The name that the processor's maker gives it, "processor" where none is known.
std::string ProcessorName();

// Keeps the calling process on that processor; -1 leaves it where it may be.
void RunOn(int cpu);

// Ends the program with a message and an exit code that says failure.
[[noreturn]] void Fail(const std::string &message);

}  // namespace bench

#endif
