// SPDX-License-Identifier: MIT
// A point that is reached by other calls than in the undisturbed run would be
// judged for nothing, so the calls before it are compared too.
#include "fault/fault_run.h"

#include <algorithm>
#include <optional>

#include "posix/posix_root.h"
#include "qnstack/qn_fs_comm_tools.h"
#include "support/call_faults.h"
#include "support/captured_output.h"
#include "support/few_descriptors.h"
#include "support/slot_table.h"

namespace qntest {

namespace {

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
  if (IsHeapCall(fault.every)) return true;
  if (fault.at == 0 || fault.at > static_cast<int>(names.size())) return false;
  const auto first = names.begin() + (fault.at - 1);
  const auto end = fault.onwards ? names.end() : first + 1;
  return std::any_of(first, end, IsHeapCall);
}

// A save leaves one copy of a path with the log, until the next log text.
void FreePathOfLog() { fnQNFS_printLog_param(nullptr, 0); }

Run RunOnce(const ScenarioKind &kind, const FaultPoint &point) {
  CallFault fault = point.fault;
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
    std::optional<FewDescriptors> few;
    if (point.descriptors) few.emplace(*point.descriptors);
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

// Where the point says what the run must be like: what is wrong, or empty.
std::string CompareRuns(const ScenarioKind &kind, const Run &undisturbed, const Run &run,
                        const FaultPoint &point) {
  if (point.is_carried_on) {
    return run.seen == undisturbed.seen ? "" : "the call was not carried on: " + run.seen;
  }
  if (!point.is_any_failure) return "";
  const Run failed = RunOnce(kind, {.text = point.text, .fault = {.at = point.fault.at}});
  return run.seen == failed.seen ? "" : "seen " + run.seen + " but for other errors " + failed.seen;
}

Run RunPoint(const ScenarioKind &kind, const Run &undisturbed, const FaultPoint &point) {
  Run run = RunOnce(kind, point);
  const auto before = undisturbed.names.begin();
  const bool is_reached = point.first == 0 || run.failures > 0;
  if (!is_reached || !std::equal(before, before + point.first, run.names.begin())) {
    run.verdict = Broken("the calls up to the point are not those of the undisturbed run");
  }
  if (run.verdict.complaint.empty()) {
    run.verdict.complaint = CompareRuns(kind, undisturbed, run, point);
  }
  return run;
}

void Add(Tally &tally, const Run &run, const FaultPoint &point) {
  ++tally.points;
  Share &row = tally.rows[point.row];
  ++row.points;
  if (run.done) ++row.done;
  if (!run.verdict.complaint.empty()) {
    tally.complaints.push_back(point.text + ": " + run.verdict.complaint);
    return;
  }
  ++tally.held;
  ++row.held;
  if (!run.verdict.exception.empty()) ++tally.exceptions[run.verdict.exception];
}

}  // namespace

Tally RunAtEachPoint(const ScenarioKind &kind, Way way, Sample sample) {
  const Run undisturbed = RunOnce(kind, {});
  Tally tally;
  tally.calls = static_cast<int>(undisturbed.names.size());
  if (!undisturbed.done || !undisturbed.verdict.complaint.empty() ||
      !undisturbed.verdict.exception.empty()) {
    tally.complaints.push_back("undisturbed: " + undisturbed.seen + " " +
                               undisturbed.verdict.complaint);
    return tally;
  }
  const std::vector<FaultPoint> points = PointsOf(way, undisturbed.names);
  for (int i = sample.offset; i < static_cast<int>(points.size()); i += sample.stride) {
    const FaultPoint &point = points[static_cast<size_t>(i)];
    Add(tally, RunPoint(kind, undisturbed, point), point);
  }
  return tally;
}

}  // namespace qntest
