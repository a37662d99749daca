// SPDX-License-Identifier: MIT
// A row of the operations table: one operation, and who does it. Each
// contender is registered with Google Benchmark as "group/operation/contender".
#ifndef QNSTACK_BENCH_OPERATION_H
#define QNSTACK_BENCH_OPERATION_H

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace qnbench {

// The library's name among the contenders.
inline constexpr char kOurs[] = "qnstack";

// A pointer whose target the compiler knows nothing of.
template <typename T>
T *Opaque(T *pointer) {
  asm volatile("" : "+r"(pointer) : : "memory");
  return pointer;
}

// A result that counts as used, as does all memory.
template <typename T>
void Keep(const T &result) {
  benchmark::DoNotOptimize(result);
  benchmark::ClobberMemory();
}

class Operation {
 public:
  // Neither name may hold a slash.
  Operation(const std::string &group, const std::string &name) : row_(group + "/" + name) {
    Rows().push_back(row_);
  }

  // All rows, "group/operation", in the order of their making.
  static std::vector<std::string> &Rows() {
    static std::vector<std::string> rows;
    return rows;
  }

  // Adds a contender; `step` does the operation once.
  template <typename Step>
  Operation &By(const std::string &contender, Step step) {
    return Prepared(contender, [step] { return step; });
  }

  // The same for a step that `prepare` makes before the clock runs.
  template <typename Prepare>
  Operation &Prepared(const std::string &contender, Prepare prepare) {
    const std::string name = row_ + "/" + contender;
    benchmark::RegisterBenchmark(name.c_str(), [prepare](benchmark::State &state) {
      auto step = prepare();
      for (auto _ : state) step();
    });
    return *this;
  }

 private:
  std::string row_;
};

}  // namespace qnbench

#endif
