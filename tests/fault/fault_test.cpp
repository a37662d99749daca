// SPDX-License-Identifier: MIT
// Guards the library against every call that can fail, each in turn, and each
// kind of them, and against the want of descriptors: nothing crashes, nothing
// leaks, every descriptor and slot is given back, what callers are told is what
// the headers say, and stored data is old or new. At its end the program prints
// what it looked at as tables.
//
// QNSTACK_FAULTS=full looks at each point; a number is the seed of the sample
// that is taken otherwise.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <numeric>
#include <ostream>

#include "fault/fault_run.h"
#include "support/watchdog.h"

namespace qntest {

void PrintTo(const ScenarioKind &kind, std::ostream *out) { *out << kind.name; }

namespace {

constexpr unsigned kPatience = 280;  // seconds for one scenario in one way
constexpr int kSampleStride = 3;

// One scenario's line of the table.
struct Row {
  std::string name;
  int calls = 0;
  std::array<int, kWays> points = {};
  int held = 0;
  std::map<std::string, int> exceptions = {};
};

std::vector<Row> rows;
std::map<std::string, Share> rows_of_kinds;
std::map<std::string, Share> rows_of_descriptors;

Row &RowOf(const std::string &name) {
  const auto found =
      std::find_if(rows.begin(), rows.end(), [&](const Row &row) { return row.name == name; });
  if (found != rows.end()) return *found;
  rows.push_back({.name = name});
  return rows.back();
}

void Print(const Row &row) {
  std::printf("| %s | %d |", row.name.c_str(), row.calls);
  for (const int points : row.points) std::printf(" %d |", points);
  std::printf(" %d | %d |", std::accumulate(row.points.begin(), row.points.end(), 0), row.held);
  const char *separator = " ";
  for (const auto &[name, count] : row.exceptions) {
    std::printf("%s%d %s", separator, count, name.c_str());
    separator = "; ";
  }
  std::printf(" |\n");
}

void PrintScenarios() {
  Row sum = {.name = "all"};
  std::printf(
      "\n| scenario | calls | one fails | all fail from there | interrupted | one kind fails "
      "| few descriptors | points | held | of these known exceptions |\n"
      "|---|---:|---:|---:|---:|---:|---:|---:|---:|---|\n");
  for (const Row &row : rows) {
    Print(row);
    sum.calls += row.calls;
    sum.held += row.held;
    std::transform(sum.points.begin(), sum.points.end(), row.points.begin(), sum.points.begin(),
                   std::plus<>());
    for (const auto &[name, count] : row.exceptions) sum.exceptions[name] += count;
  }
  Print(sum);
}

void PrintShares(const char *heading, const char *what,
                 const std::map<std::string, Share> &shares) {
  std::printf("\n### %s\n\n| %s | scenarios | told success | held |\n|---|---:|---:|---:|\n",
              heading, what);
  for (const auto &[name, share] : shares) {
    std::printf("| %s | %d | %d | %d |\n", name.c_str(), share.points, share.done, share.held);
  }
}

class Table : public testing::Environment {
 public:
  void TearDown() override {
    if (!rows.empty()) PrintScenarios();
    if (!rows_of_kinds.empty()) PrintShares("Every call of one kind fails", "call", rows_of_kinds);
    if (!rows_of_descriptors.empty()) {
      PrintShares("Descriptors are left", "left", rows_of_descriptors);
    }
  }
};

[[maybe_unused]] const auto *const table = testing::AddGlobalTestEnvironment(new Table);

// All points, or each kSampleStride-th from one on that the seed chooses.
Sample SampleFor(const std::string &name, Way way) {
  const char *wanted = std::getenv("QNSTACK_FAULTS");
  const std::string which = wanted == nullptr ? "1" : wanted;
  if (which == "full") return {};
  const std::size_t mix =
      std::hash<std::string>()(which + name + std::to_string(static_cast<int>(way)));
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
  // Gives what came of the rows of the way's table.
  std::map<std::string, Share> ExpectHolds(Way way) {
    const ScenarioKind &kind = GetParam();
    const Tally tally = RunAtEachPoint(kind, way, SampleFor(kind.name, way));
    for (const std::string &complaint : tally.complaints) ADD_FAILURE() << complaint;
    EXPECT_GT(tally.calls, 0);
    Row &row = RowOf(kind.name);
    row.calls = tally.calls;
    row.points[static_cast<std::size_t>(way)] = tally.points;
    row.held += tally.held;
    for (const auto &[name, count] : tally.exceptions) row.exceptions[name] += count;
    ExpectNoMoreExceptions(kind, row);
    return tally.rows;
  }

  static void ExpectNoMoreExceptions(const ScenarioKind &kind, const Row &row) {
    for (const auto &[name, count] : row.exceptions) {
      const auto known = kind.exceptions.find(name);
      EXPECT_LE(count, known == kind.exceptions.end() ? 0 : known->second) << name;
    }
  }

  Watchdog watchdog_{kPatience};
};

// The scenarios that store or load files.
class FileCallFaults : public Faults {
 protected:
  // Adds what comes of the scenario to the rows of a table; the suffix tells apart.
  void ExpectRowsHold(Way way, std::map<std::string, Share> &sums, const std::string &suffix = "") {
    const std::map<std::string, Share> found = ExpectHolds(way);
    EXPECT_FALSE(found.empty());
    for (const auto &[name, share] : found) {
      Share &sum = sums[name + suffix];
      sum.points += share.points;
      sum.done += share.done;
      sum.held += share.held;
    }
  }
};

std::string NameOf(const testing::TestParamInfo<ScenarioKind> &test) {
  std::string name = test.param.name;
  std::replace_if(
      name.begin(), name.end(), [](char c) { return !std::isalnum(c); }, '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Scenarios, Faults, testing::ValuesIn(AllScenarios()), NameOf);
INSTANTIATE_TEST_SUITE_P(Scenarios, FileCallFaults, testing::ValuesIn(FileScenarios()), NameOf);

TEST_P(Faults, HoldWhicheverCallFails) { ExpectHolds(Way::kOne); }

TEST_P(Faults, HoldWhereverAllFailFromThere) { ExpectHolds(Way::kRest); }

TEST_P(Faults, HoldWhicheverCallIsInterrupted) { ExpectHolds(Way::kInterrupted); }

TEST_P(FileCallFaults, HoldWhicheverKindAlwaysFails) { ExpectRowsHold(Way::kKind, rows_of_kinds); }

TEST_P(FileCallFaults, HoldHoweverFewDescriptorsAreLeft) {
  ExpectRowsHold(Way::kDescriptors, rows_of_descriptors,
                 GetParam().has_backup ? ", a .bak left" : "");
}

}  // namespace
}  // namespace qntest
