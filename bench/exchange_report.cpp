#include "exchange_report.h"

namespace bench {
namespace {

using Values = std::vector<double> Series::*;

// CPU of `contender` at most `factor` times that of `peer`. The loop to be held
// against is the one that moves as much at a time as the interface promises.
struct Goal {
  const char *exchange;
  const char *contender;
  const char *peer;
  double factor;
};
constexpr Goal kGoals[] = {
    {"GET 1 KB", kLibrary4K, kLoop2K, 1.05},      {"GET 1 KB", kLibrary64K, kLoop2K, 1.05},
    {"GET 1 KB", kLibrary4K, kCurlReused, 0.80},  {"GET 1 KB", kLibrary64K, kCurlReused, 0.80},
    {"GET 30 KB", kLibrary4K, kLoop2K, 1.10},     {"GET 30 KB", kLibrary64K, kLoop2K, 1.10},
    {"GET 30 KB", kLibrary4K, kCurlReused, 0.90}, {"GET 30 KB", kLibrary64K, kCurlReused, 0.90},
    {"GET 300 KB", kLibrary4K, kLoop2K, 1.15},    {"GET 300 KB", kLibrary64K, kLoop2K, 1.12},
    {"GET 64 MB", kLibrary4K, kLoop2K, 1.15},     {"GET 64 MB", kLibrary64K, kLoop2K, 1.15},
    {"POST 300 KB", kLibrary4K, kLoop2K, 1.00},
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

// What a sender loses when its last piece waits for an acknowledgement: that
// meets many exchanges, where a busy scheduler holds up a few.
constexpr double kMostStalled = 0.01;

void PrintStalls(std::FILE *out, const Result &result) {
  if (!result.exchange.starts_with("POST")) return;
  for (const Series &series : result.series) {
    const bool ours = series.name == kLibrary4K || series.name == kLibrary64K;
    const char *verdict = series.stalls <= kMostStalled * series.exchanges ? "met" : "missed";
    PrintRowStart(out, result);
    std::fprintf(out, " stalled exchanges, %s | %d of %d | | %s | %s |\n", series.name.c_str(),
                 series.stalls, series.exchanges, ours ? "≤ 1 %" : "", ours ? verdict : "");
  }
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

}  // namespace bench
