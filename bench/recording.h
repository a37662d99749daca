// SPDX-License-Identifier: MIT
// What a benchmark measured, in a file of Google Benchmark's JSON, which the
// charts are drawn from.
#ifndef BENCH_RECORDING_H
#define BENCH_RECORDING_H

#include <benchmark/benchmark.h>

#include <fstream>
#include <string>
#include <vector>

namespace bench {

class Recording {
 public:
  using Runs = std::vector<benchmark::BenchmarkReporter::Run>;

  // Writes the date and the machine to `path`; an empty path records nothing.
  // Ends the program when the file cannot be written.
  explicit Recording(const std::string &path);
  ~Recording();
  Recording(const Recording &) = delete;
  Recording &operator=(const Recording &) = delete;

  void Add(const Runs &runs);

 private:
  std::ofstream file_;
  benchmark::JSONReporter reporter_;
};

}  // namespace bench

#endif
