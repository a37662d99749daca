// SPDX-License-Identifier: MIT
// Guards the library against every call that can fail, each in turn: nothing
// crashes, nothing leaks, every descriptor and slot is given back, what callers
// are told is what the headers say, and stored data is old or new. At its end
// the program prints what it looked at as a table.
//
// QNSTACK_FAULTS=full looks at each point; a number is the seed of the sample
// that is taken otherwise.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <iterator>
#include <ostream>

#include "fault/fault_run.h"
#include "support/watchdog.h"

namespace qntest {

void PrintTo(const ScenarioKind &kind, std::ostream *out) { *out << kind.name; }

namespace {

constexpr unsigned kPatience = 280;  // seconds for one scenario in one way
constexpr int kSampleStride = 3;
constexpr int kWays = 3;

// One scenario's line of the table.
struct Row {
  std::string name;
  int calls = 0;
  int points[kWays] = {};
  int held = 0;
  std::map<std::string, int> exceptions = {};
};

std::vector<Row> rows;

Row &RowOf(const std::string &name) {
  const auto found =
      std::find_if(rows.begin(), rows.end(), [&](const Row &row) { return row.name == name; });
  if (found != rows.end()) return *found;
  rows.push_back({.name = name});
  return rows.back();
}

void Print(const Row &row) {
  const int points = row.points[0] + row.points[1] + row.points[2];
  std::printf("| %s | %d | %d | %d | %d | %d | %d |", row.name.c_str(), row.calls, row.points[0],
              row.points[1], row.points[2], points, row.held);
  const char *separator = " ";
  for (const auto &[name, count] : row.exceptions) {
    std::printf("%s%d %s", separator, count, name.c_str());
    separator = "; ";
  }
  std::printf(" |\n");
}

class Table : public testing::Environment {
 public:
  // The folders of the runs are many and small; memory serves them faster.
  void SetUp() override {
    constexpr char kMemory[] = "/dev/shm";
    if (access(kMemory, W_OK) == 0) setenv("TMPDIR", kMemory, 0);
  }

  void TearDown() override {
    if (rows.empty()) return;
    Row sum = {.name = "all"};
    std::printf(
        "\n| scenario | calls | one fails | all fail from there | interrupted | points | held "
        "| of these known exceptions |\n|---|---:|---:|---:|---:|---:|---:|---|\n");
    for (const Row &row : rows) {
      Print(row);
      sum.calls += row.calls;
      sum.held += row.held;
      std::transform(std::begin(sum.points), std::end(sum.points), std::begin(row.points),
                     std::begin(sum.points), std::plus<>());
      for (const auto &[name, count] : row.exceptions) sum.exceptions[name] += count;
    }
    Print(sum);
  }
};

[[maybe_unused]] const auto *const table = testing::AddGlobalTestEnvironment(new Table);

// All points, or each kSampleStride-th from one on that the seed chooses.
Sample SampleFor(const std::string &name, Way way) {
  const char *wanted = std::getenv("QNSTACK_FAULTS");
  const std::string which = wanted == nullptr ? "1" : wanted;
  if (which == "full") return {};
  const size_t mix = std::hash<std::string>()(which + name + std::to_string(static_cast<int>(way)));
  return {.stride = kSampleStride, .offset = static_cast<int>(mix % kSampleStride)};
}

std::vector<ScenarioKind> AllScenarios() {
  std::vector<ScenarioKind> all = NetworkScenarios();
  for (const auto &more : {FileScenarios(), MemoryScenarios()}) {
    all.insert(all.end(), more.begin(), more.end());
  }
  return all;
}

class Faults : public testing::TestWithParam<ScenarioKind> {
 protected:
  void ExpectHolds(Way way) {
    const ScenarioKind &kind = GetParam();
    const Tally tally = RunAtEveryCall(kind, way, SampleFor(kind.name, way));
    for (const std::string &complaint : tally.complaints) ADD_FAILURE() << complaint;
    EXPECT_GT(tally.calls, 0);
    Row &row = RowOf(kind.name);
    row.calls = tally.calls;
    row.points[static_cast<int>(way)] = tally.points;
    row.held += tally.held;
    for (const auto &[name, count] : tally.exceptions) row.exceptions[name] += count;
    ExpectNoMoreExceptions(kind, row);
  }

  static void ExpectNoMoreExceptions(const ScenarioKind &kind, const Row &row) {
    for (const auto &[name, count] : row.exceptions) {
      const auto known = kind.exceptions.find(name);
      EXPECT_LE(count, known == kind.exceptions.end() ? 0 : known->second) << name;
    }
  }

  Watchdog watchdog_{kPatience};
};

INSTANTIATE_TEST_SUITE_P(Scenarios, Faults, testing::ValuesIn(AllScenarios()),
                         [](const auto &test) {
                           std::string name = test.param.name;
                           std::replace_if(
                               name.begin(), name.end(), [](char c) { return !std::isalnum(c); },
                               '_');
                           return name;
                         });

TEST_P(Faults, HoldWhicheverCallFails) { ExpectHolds(Way::kOne); }

TEST_P(Faults, HoldWhereverAllFailFromThere) { ExpectHolds(Way::kRest); }

TEST_P(Faults, HoldWhicheverCallIsInterrupted) { ExpectHolds(Way::kInterrupted); }

}  // namespace
}  // namespace qntest
