// SPDX-License-Identifier: MIT
#include "exchange_report.h"

#include <cstdint>

namespace bench {
namespace {

using Values = std::vector<double> Series::*;

// CPU of `contender` at most `factor` times that of `peer`. The loop to be held
// against is the one that moves 2 KB at a time, as the library does.
struct Goal {
  const char *exchange;
  const char *contender;
  const char *peer;
  double factor;
};
constexpr Goal kGoals[] = {
    {"GET 1 KB", kLibrary4K, kLoop2K, 1.08},      {"GET 1 KB", kLibrary64K, kLoop2K, 1.08},
    {"GET 1 KB", kLibrary4K, kCurlReused, 0.60},  {"GET 1 KB", kLibrary64K, kCurlReused, 0.60},
    {"GET 30 KB", kLibrary4K, kLoop2K, 1.13},     {"GET 30 KB", kLibrary64K, kLoop2K, 1.13},
    {"GET 30 KB", kLibrary4K, kCurlReused, 0.75}, {"GET 30 KB", kLibrary64K, kCurlReused, 0.75},
    {"GET 300 KB", kLibrary4K, kLoop2K, 1.28},    {"GET 300 KB", kLibrary64K, kLoop2K, 1.16},
    {"GET 64 MB", kLibrary4K, kLoop2K, 1.32},     {"GET 64 MB", kLibrary64K, kLoop2K, 1.15},
    {"POST 300 KB", kLibrary4K, kLoop2K, 1.00},   {"POST 300 KB", kLibrary64K, kLoop2K, 1.00},
};

const Series *Find(const Result &result, const std::string &contender) {
  for (const Series &series : result.series) {
    if (series.name == contender) return &series;
  }
  return nullptr;
}

const char *Way(const Result &result) { return result.through_proxy ? "proxy" : "direct"; }

void PrintHead(std::FILE *out, const std::string &title, const std::vector<std::string> &columns) {
  std::fprintf(out, "\n### %s\n\n| exchange | way |", title.c_str());
  for (const std::string &column : columns) std::fprintf(out, " %s |", column.c_str());
  std::fprintf(out, "\n|---|---|");
  for (std::size_t i = 0; i < columns.size(); ++i) std::fprintf(out, "---:|");
  std::fprintf(out, "\n");
}

void PrintRowStart(std::FILE *out, const Result &result) {
  std::fprintf(out, "| %s | %s |", result.exchange.c_str(), Way(result));
}

void PrintCosts(std::FILE *out, const std::string &title, const std::vector<Result> &results,
                Values values) {
  std::vector<std::string> columns;
  for (const Series &series : results.front().series) columns.push_back(series.name);
  PrintHead(out, title, columns);
  for (const Result &result : results) {
    PrintRowStart(out, result);
    for (const Series &series : result.series) {
      const Spread spread = SpreadOf(series.*values);
      std::fprintf(out, " %.1f (%.1f–%.1f) |", spread.median, spread.low, spread.high);
    }
    std::fprintf(out, "\n");
  }
}

void PrintRatios(std::FILE *out, const std::vector<Result> &results, const char *contender) {
  if (Find(results.front(), contender) == nullptr) return;
  std::vector<std::string> peers;
  for (const Series &series : results.front().series) {
    if (series.name != contender) peers.push_back("/ " + series.name);
  }
  PrintHead(out, std::string("CPU of ") + contender + " over the CPU of each peer", peers);
  for (const Result &result : results) {
    const Series &ours = *Find(result, contender);
    PrintRowStart(out, result);
    for (const Series &peer : result.series) {
      if (peer.name == contender) continue;
      const Spread ratio = RatioOf(ours.cpu, peer.cpu);
      std::fprintf(out, " %.2f (%.2f–%.2f) |", ratio.median, ratio.low, ratio.high);
    }
    std::fprintf(out, "\n");
  }
}

void PrintGoal(std::FILE *out, const Result &result, const Goal &goal) {
  const Series *ours = Find(result, goal.contender);
  const Series *peer = Find(result, goal.peer);
  if (ours == nullptr || peer == nullptr) return;
  const Spread ratio = RatioOf(ours->cpu, peer->cpu);
  const double best = SpreadOf(ours->cpu).least / SpreadOf(peer->cpu).least;
  PrintRowStart(out, result);
  std::fprintf(out, " CPU %s / %s | %.2f (%.2f–%.2f) | %.2f | ≤ %.2f | %s |\n", goal.contender,
               goal.peer, ratio.median, ratio.low, ratio.high, best, goal.factor,
               ratio.median <= goal.factor ? "met" : "missed");
}

bool IsOurs(const Series &series) {
  return series.name == kLibrary4K || series.name == kLibrary64K;
}

// A sender stalls whose last piece waits for an acknowledgement.
void PrintStalls(std::FILE *out, const Result &result) {
  if (!result.exchange.starts_with("POST")) return;
  for (const Series &series : result.series) {
    const char *verdict = series.stalls == 0 ? "0 | met" : "0 | missed";
    PrintRowStart(out, result);
    std::fprintf(out, " stalled exchanges, %s | %d of %d | | %s |\n", series.name.c_str(),
                 series.stalls, series.exchanges, IsOurs(series) ? verdict : "|");
  }
}

// One round in Google Benchmark's words. `goal` is 0 where there is none.
benchmark::BenchmarkReporter::Run RunOf(const std::string &name, const Series &series,
                                        std::size_t round, double goal) {
  constexpr double kMicrosecondsPerSecond = 1e6;
  benchmark::BenchmarkReporter::Run run;
  run.run_name.function_name = name;
  run.family_index = 0;
  run.per_family_instance_index = 0;
  run.repetitions = static_cast<std::int64_t>(series.cpu.size());
  run.repetition_index = static_cast<std::int64_t>(round);
  run.time_unit = benchmark::kMicrosecond;
  run.cpu_accumulated_time = series.cpu[round] / kMicrosecondsPerSecond;
  run.real_accumulated_time = series.wall[round] / kMicrosecondsPerSecond;
  if (goal > 0) run.counters["goal"] = goal;
  return run;
}

double GoalBesideLoop(const std::string &exchange, const std::string &contender) {
  for (const Goal &goal : kGoals) {
    if (exchange == goal.exchange && contender == goal.contender &&
        goal.peer == std::string(kLoop2K)) {
      return goal.factor;
    }
  }
  return 0;
}

}  // namespace

void Report(std::FILE *out, const std::vector<Result> &results) {
  if (results.empty()) return;
  std::fprintf(out,
               "Medians of %zu rounds, in brackets the quartiles. POST: loop 2 KB sends 2048 "
               "bytes at a time,\nloop 64 KB all at once.\n",
               results.front().series.front().cpu.size());
  PrintCosts(out, "Client CPU per exchange, µs", results, &Series::cpu);
  PrintCosts(out, "Wall time per exchange, µs", results, &Series::wall);
  PrintRatios(out, results, kLibrary4K);
  PrintRatios(out, results, kLibrary64K);
  PrintHead(out, "Goals", {"what", "measured", "best rounds", "goal", ""});
  for (const Result &result : results) {
    for (const Goal &goal : kGoals) {
      if (result.exchange == goal.exchange) PrintGoal(out, result, goal);
    }
    PrintStalls(out, result);
  }
}

void Record(Recording &recording, const std::vector<Result> &results) {
  for (const Result &result : results) {
    for (const Series &series : result.series) {
      const std::string name = result.exchange + "/" + Way(result) + "/" + series.name;
      const double goal = GoalBesideLoop(result.exchange, series.name);
      for (std::size_t round = 0; round < series.cpu.size(); ++round) {
        recording.Add({RunOf(name, series, round, goal)});
      }
    }
  }
}

}  // namespace bench
