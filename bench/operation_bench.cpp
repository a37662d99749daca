// SPDX-License-Identifier: MIT
// The library's operations beside what a user would pick instead.
#include "operation_bench.h"

#include <benchmark/benchmark.h>

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "operation_table.h"

namespace {

// In the order of the table.
void RegisterAll() {
  qnbench::RegisterTranscoding();
  qnbench::RegisterCharsets();
  qnbench::RegisterFormatting();
  qnbench::RegisterDates();
  qnbench::RegisterLists();
  qnbench::RegisterBuffers();
  qnbench::RegisterHeaderText();
  qnbench::RegisterFiles();
  qnbench::RegisterLookups();
  qnbench::RegisterStrings();
}

void Configure(int rounds, double seconds) {
  std::vector<std::string> options = {"operation_bench",
                                      "--benchmark_repetitions=" + std::to_string(rounds),
                                      "--benchmark_min_time=" + std::to_string(seconds),
                                      "--benchmark_enable_random_interleaving=true"};
  std::vector<char *> arguments;
  for (std::string &option : options) arguments.push_back(option.data());
  auto count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
}

}  // namespace

int main(int argc, char **argv) {
  int rounds = 11;
  double seconds = 0.01;
  bool quick = false;
  std::string filter;
  std::string json;
  CLI::App app("Measures the library's operations beside what would be picked instead");
  app.add_option("--rounds", rounds, "rounds of each contender")->capture_default_str();
  app.add_option("--seconds", seconds, "length of a round")->capture_default_str();
  app.add_flag("--quick", quick, "short rounds, for a first look");
  app.add_option("--json", json, "also write all rounds to this file");
  app.add_option("filter", filter, "regular expression: which operations, as group/operation");
  CLI11_PARSE(app, argc, argv);

  RegisterAll();
  Configure(rounds, quick ? seconds / 10 : seconds);
  qnbench::PrintOperations(filter, json);
  return 0;
}
