// Collects the rounds that Google Benchmark reports for one row after another
// and sets the library beside the best of its peers: medians of the processor
// time with the range of the rounds, and their ratio.
#include "operation_table.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <regex>
#include <vector>

#include "operation.h"

namespace {

// Medians that differ by less are level if the ranges meet as well.
constexpr double kLevel = 1.03;

using Rounds = std::vector<double>;  // nanoseconds, ascending once a row is done

double Median(const Rounds &rounds) { return rounds[rounds.size() / 2]; }

// Keeps what the rounds took, by contender.
class RoundCollector : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context & /*context*/) override { return true; }
  void ReportRuns(const std::vector<Run> &report) override {
    for (const Run &run : report) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      const std::string &name = run.run_name.function_name;
      contenders_[name.substr(name.rfind('/') + 1)].push_back(run.GetAdjustedCPUTime());
    }
  }

  std::map<std::string, Rounds> Sorted() const {
    std::map<std::string, Rounds> sorted = contenders_;
    for (auto &[name, rounds] : sorted) std::sort(rounds.begin(), rounds.end());
    return sorted;
  }

 private:
  std::map<std::string, Rounds> contenders_;
};

// Two digits behind the point where they mean something.
std::string TimeText(const Rounds &rounds) {
  const double median = Median(rounds);
  const int digits = median >= 1000 ? 0 : median >= 10 ? 1 : 2;
  char text[96];
  std::snprintf(text, sizeof text, "%.*f (%.*f–%.*f)", digits, median, digits, rounds.front(),
                digits, rounds.back());
  return text;
}

const char *Verdict(const Rounds &ours, const Rounds &best) {
  const double ratio = Median(ours) / Median(best);
  if (ratio <= 1) return "ahead";
  return ratio <= kLevel && ours.front() <= best.back() ? "level" : "**behind**";
}

// Markdown reads a bar as the end of a cell.
std::string Escaped(const std::string &text) {
  return std::regex_replace(text, std::regex("\\|"), "\\|");
}

std::string Quoted(const std::string &text) {
  return std::regex_replace(text, std::regex(R"([.^$|()\[\]{}*+?\\])"), R"(\$&)");
}

// Measures one row, prints it and returns its verdict.
std::string PrintRow(const std::string &row) {
  RoundCollector collector;
  benchmark::RunSpecifiedBenchmarks(&collector, nullptr, "^" + Quoted(row) + "/");
  std::map<std::string, Rounds> contenders = collector.Sorted();
  const Rounds ours = contenders.extract(qnbench::kOurs).mapped();
  const auto best = std::min_element(
      contenders.begin(), contenders.end(),
      [](const auto &a, const auto &b) { return Median(a.second) < Median(b.second); });
  const char *verdict = Verdict(ours, best->second);
  std::printf("| %s | %s | %s | %s | %.2f | %s |\n", Escaped(row.substr(row.find('/') + 1)).c_str(),
              TimeText(ours).c_str(), best->first.c_str(), TimeText(best->second).c_str(),
              Median(ours) / Median(best->second), verdict);
  std::fflush(stdout);
  return verdict;
}

void PrintGroupHead(const std::string &group) {
  std::printf(
      "\n### %s\n\n"
      "| Operation | library, ns (range) | best peer | its ns (range) | ratio | |\n"
      "|---|--:|---|--:|--:|---|\n",
      group.c_str());
}

}  // namespace

void qnbench::PrintOperations(const std::string &filter) {
  const std::regex wanted(filter);
  std::map<std::string, int> verdicts;
  std::string last_group;
  for (const std::string &row : Operation::Rows()) {
    if (!std::regex_search(row, wanted)) continue;
    const std::string group = row.substr(0, row.find('/'));
    if (group != last_group) PrintGroupHead(group);
    last_group = group;
    ++verdicts[PrintRow(row)];
  }
  std::printf("\n%d ahead, %d level, %d behind\n", verdicts["ahead"], verdicts["level"],
              verdicts["**behind**"]);
}
