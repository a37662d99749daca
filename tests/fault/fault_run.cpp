// SPDX-License-Identifier: MIT
// A point that is reached by other calls than in the undisturbed run would be
// judged for nothing, so the calls before it are compared too.
#include "fault/fault_run.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "posix/posix_root.h"
#include "qnstack/qn_fs_comm_tools.h"
#include "support/captured_output.h"
#include "support/slot_table.h"

namespace qntest {

namespace {

using Names = std::vector<std::string_view>;

constexpr std::array<std::string_view, 4> kHeap = {"malloc", "calloc", "realloc", "strdup"};
// A signal fails these; what they report is the caller's to see.
constexpr std::array<std::string_view, 3> kBlockingNetwork = {"connect", "send", "recv"};
// The library carries these on itself, or nothing is lost by them.
constexpr std::array<std::string_view, 5> kCarriedOn = {"read", "write", "flock", "openat2",
                                                        "close"};
constexpr std::array<std::string_view, 5> kOtherInterruptible = {"open", "openat", "fsync", "fcntl",
                                                                 "ftruncate"};

template <typename Set>
bool IsIn(const Set &names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

bool IsInterruptible(std::string_view name) {
  return IsIn(kBlockingNetwork, name) || IsIn(kCarriedOn, name) || IsIn(kOtherInterruptible, name);
}

// One run and what came of it.
struct Run {
  Names names;
  bool done = false;
  std::string seen;
  int failures = 0;
  int leaked = 0;
  Verdict verdict;
};

bool MetARefusal(const Names &names, const CallFault &fault) {
  if (fault.at == 0 || fault.at > static_cast<int>(names.size())) return false;
  const auto first = names.begin() + (fault.at - 1);
  const auto end = fault.onwards ? names.end() : first + 1;
  return std::any_of(first, end, [](std::string_view name) { return IsIn(kHeap, name); });
}

// A save leaves one copy of a path with the log, until the next log text.
void FreePathOfLog() { fnQNFS_printLog_param(nullptr, 0); }

Run RunOnce(const ScenarioKind &kind, CallFault fault) {
  fault.most_failed_receives = kind.most_failed_receives;
  Run run;
  CapturedOutput traces;
  const std::unique_ptr<Scenario> scenario = kind.make();
  scenario->Prepare();
  // A save puts its own place for the log where this one is, so none is one more.
  fnQNFS_printLog_param("", 0);
  const int descriptors = OpenDescriptors();
  FreePathOfLog();
  {
    CallFaults calls(kAllCalls, fault);
    scenario->Act();
    FreePathOfLog();
    run.names = calls.Names();
    run.failures = calls.Failures();
    run.leaked = calls.Heap().live;
  }
  run.done = scenario->Done();
  run.seen = scenario->Seen();
  run.verdict = scenario->Judge(MetARefusal(run.names, fault));
  if (OpenDescriptors() != descriptors) run.verdict = Broken("descriptors are left open");
  if (!SlotTable::Taken().empty()) run.verdict = Broken("slots are left taken");
  SlotTable::Clear();
  if (run.leaked > 0) {
    run.verdict = Broken(std::to_string(run.leaked) + " blocks are left on the heap");
  }
  return run;
}

// What an interrupted call must come to, beside what every failed one must.
std::string JudgeInterruption(const ScenarioKind &kind, const Run &undisturbed, const Run &run,
                              int at) {
  const std::string_view name = undisturbed.names[static_cast<size_t>(at) - 1];
  if (IsIn(kCarriedOn, name)) {
    return run.seen == undisturbed.seen ? "" : "the call was not carried on: " + run.seen;
  }
  if (!IsIn(kBlockingNetwork, name)) return "";
  const Run failed = RunOnce(kind, {.at = at});
  return run.seen == failed.seen ? "" : "seen " + run.seen + " but for other errors " + failed.seen;
}

Run RunPoint(const ScenarioKind &kind, const Run &undisturbed, Way way, int at) {
  const CallFault fault = {
      .at = at, .onwards = way == Way::kRest, .error = way == Way::kInterrupted ? EINTR : 0};
  Run run = RunOnce(kind, fault);
  const auto before = undisturbed.names.begin();
  if (run.failures == 0 || !std::equal(before, before + at, run.names.begin())) {
    run.verdict = Broken("the calls up to the point are not those of the undisturbed run");
  }
  if (way == Way::kInterrupted && run.verdict.complaint.empty()) {
    run.verdict.complaint = JudgeInterruption(kind, undisturbed, run, at);
  }
  return run;
}

void Add(Tally &tally, const Run &run, const std::string &point) {
  ++tally.points;
  if (!run.verdict.complaint.empty()) {
    tally.complaints.push_back(point + ": " + run.verdict.complaint);
    return;
  }
  ++tally.held;
  if (!run.verdict.exception.empty()) ++tally.exceptions[run.verdict.exception];
}

std::string Point(const Names &names, Way way, int at) {
  constexpr std::array<const char *, 3> kWays = {" fails", " and all after it fail",
                                                 " is interrupted"};
  return "call " + std::to_string(at) + " of " + std::to_string(names.size()) + ", " +
         std::string(names[static_cast<size_t>(at) - 1]) + kWays[static_cast<size_t>(way)];
}

}  // namespace

Tally RunAtEveryCall(const ScenarioKind &kind, Way way, Sample sample) {
  const Run undisturbed = RunOnce(kind, {});
  Tally tally;
  tally.calls = static_cast<int>(undisturbed.names.size());
  if (!undisturbed.done || !undisturbed.verdict.complaint.empty() ||
      !undisturbed.verdict.exception.empty()) {
    tally.complaints.push_back("undisturbed: " + undisturbed.seen + " " +
                               undisturbed.verdict.complaint);
    return tally;
  }
  int candidates = 0;
  for (int at = 1; at <= tally.calls; ++at) {
    const bool possible =
        way != Way::kInterrupted || IsInterruptible(undisturbed.names[static_cast<size_t>(at) - 1]);
    if (!possible || candidates++ % sample.stride != sample.offset) continue;
    Add(tally, RunPoint(kind, undisturbed, way, at), Point(undisturbed.names, way, at));
  }
  return tally;
}

}  // namespace qntest
