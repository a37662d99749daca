// SPDX-License-Identifier: MIT
// Collects the rounds that Google Benchmark reports for one row after another
// and sets the library beside the best of its peers: medians of the processor
// time with the range of the rounds, their ratio, and whether the goal is met.
#include "operation_table.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <regex>
#include <vector>

#include "held_rows.h"
#include "operation.h"
#include "platform.h"
#include "recording.h"

namespace {

// Medians that differ by less are level if the ranges meet as well.
constexpr double kLevelRatio = 1.03;

using Rounds = std::vector<double>;  // nanoseconds, ascending once a row is done

double Median(const Rounds &rounds) { return rounds[rounds.size() / 2]; }

// The goal is met by all but `kBehind`.
enum class Verdict { kAhead, kLevel, kHeld, kBehind };

// Keeps what the rounds took, by contender.
class RoundCollector : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context & /*context*/) override { return true; }
  void ReportRuns(const std::vector<Run> &report) override {
    for (const Run &run : report) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      contenders_[ContenderOf(run)].push_back(run.GetAdjustedCPUTime());
      runs_.push_back(run);
    }
  }

  std::map<std::string, Rounds> Sorted() const {
    std::map<std::string, Rounds> sorted = contenders_;
    for (auto &[name, rounds] : sorted) std::sort(rounds.begin(), rounds.end());
    return sorted;
  }

  // All runs, the library's with a label.
  bench::Recording::Runs Labelled(const char *label) const {
    bench::Recording::Runs labelled = runs_;
    for (Run &run : labelled) {
      if (ContenderOf(run) == qnbench::kOurs) run.report_label = label;
    }
    return labelled;
  }

 private:
  static std::string ContenderOf(const Run &run) {
    const std::string &name = run.run_name.function_name;
    return name.substr(name.rfind('/') + 1);
  }

  std::map<std::string, Rounds> contenders_;
  bench::Recording::Runs runs_;
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

Verdict VerdictOn(const Rounds &ours, const Rounds &best, const char *held_by) {
  const double ratio = Median(ours) / Median(best);
  if (ratio <= 1) return Verdict::kAhead;
  if (ratio <= kLevelRatio && ours.front() <= best.back()) return Verdict::kLevel;
  return held_by != nullptr ? Verdict::kHeld : Verdict::kBehind;
}

const char *Word(Verdict verdict) {
  constexpr const char *kWords[] = {"ahead", "level", "held", "behind"};
  return kWords[static_cast<std::size_t>(verdict)];
}

// Markdown reads a bar as the end of a cell.
std::string Escaped(const std::string &text) {
  return std::regex_replace(text, std::regex("\\|"), "\\|");
}

std::string Quoted(const std::string &text) {
  return std::regex_replace(text, std::regex(R"([.^$|()\[\]{}*+?\\])"), R"(\$&)");
}

// Measures one row, prints and records it, and returns its verdict.
Verdict PrintRow(const std::string &row, bench::Recording &recording) {
  RoundCollector collector;
  benchmark::RunSpecifiedBenchmarks(&collector, nullptr, "^" + Quoted(row) + "/");
  std::map<std::string, Rounds> contenders = collector.Sorted();
  const Rounds ours = contenders.extract(qnbench::kOurs).mapped();
  const auto best = std::min_element(
      contenders.begin(), contenders.end(),
      [](const auto &a, const auto &b) { return Median(a.second) < Median(b.second); });
  const char *held_by = qnbench::WhatHolds(row);
  const Verdict verdict = VerdictOn(ours, best->second, held_by);
  const std::string reason = verdict == Verdict::kHeld ? std::string(": ") + held_by : "";
  std::printf("| %s | %s | %s | %s | %.2f | %s%s |\n",
              Escaped(row.substr(row.find('/') + 1)).c_str(), TimeText(ours).c_str(),
              best->first.c_str(), TimeText(best->second).c_str(),
              Median(ours) / Median(best->second), Word(verdict), reason.c_str());
  std::fflush(stdout);
  recording.Add(collector.Labelled(Word(verdict)));
  return verdict;
}

void PrintGroupHead(const std::string &group) {
  std::printf(
      "\n### %s\n\n"
      "| Operation | library, ns (range) | best peer | its ns (range) | ratio | |\n"
      "|---|--:|---|--:|--:|---|\n",
      group.c_str());
}

void PrintGoal(std::map<Verdict, int> verdicts) {
  std::printf(
      "\n### Goal\n\n| rows | ahead | level | held | behind | goal | |\n"
      "|---|--:|--:|--:|--:|--:|--:|\n"
      "| beside the best peer | %d | %d | %d | %d | 0 behind | %s |\n",
      verdicts[Verdict::kAhead], verdicts[Verdict::kLevel], verdicts[Verdict::kHeld],
      verdicts[Verdict::kBehind], verdicts[Verdict::kBehind] == 0 ? "met" : "missed");
}

}  // namespace

void qnbench::PrintOperations(const std::string &filter, const std::string &json) {
  CheckHeldRows(Operation::Rows());
  const std::regex wanted(filter);
  bench::Recording recording(json);
  std::map<Verdict, int> verdicts;
  std::string last_group;
  for (const std::string &row : Operation::Rows()) {
    if (!std::regex_search(row, wanted)) continue;
    const std::string group = row.substr(0, row.find('/'));
    if (group != last_group) PrintGroupHead(group);
    last_group = group;
    ++verdicts[PrintRow(row, recording)];
  }
  if (verdicts.empty()) bench::Fail("no operation is called " + filter);
  PrintGoal(verdicts);
}
