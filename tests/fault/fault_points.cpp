// SPDX-License-Identifier: MIT
// The error numbers are those that the system gives for such a call, but none
// that means that there is no such file.
#include "fault/fault_points.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace qntest {

namespace {

constexpr int kMostDescriptorsLeft = 8;

constexpr std::array<std::string_view, 3> kHeap = {"malloc", "calloc", "realloc"};
// A signal fails these; what they report is the caller's to see.
constexpr std::array<std::string_view, 3> kBlockingNetwork = {"connect", "send", "recv"};
// After an interruption the library carries these on, or nothing is lost by them.
constexpr std::array<std::string_view, 5> kCarriedOn = {"read", "write", "flock", "openat2",
                                                        "close"};
constexpr std::array<std::string_view, 5> kOtherInterruptible = {"open", "openat", "fsync", "fcntl",
                                                                 "ftruncate"};

// How all calls of a name may fail.
struct KindOfCall {
  std::string_view name;
  std::array<int, 4> errors;        // up to the first that is 0
  std::array<int, 3> done_without;  // likewise; the run goes as if nothing had failed
};
constexpr std::array<KindOfCall, 23> kKinds = {{
    {"malloc", {ENOMEM}, {}},
    {"calloc", {ENOMEM}, {}},
    {"realloc", {ENOMEM}, {}},
    {"open", {EACCES, EIO, ENFILE}, {}},
    {"openat", {EACCES, EIO, ENFILE, ENOSPC}, {}},
    {"openat2", {EACCES, EIO, ENFILE}, {ENOSYS, EPERM}},
    {"read", {EIO, ESTALE}, {}},
    {"write", {ENOSPC, EIO, EDQUOT}, {}},
    {"fsync", {EIO, ENOSPC}, {}},
    {"ftruncate", {EIO, EPERM}, {}},
    {"renameat", {EACCES, ENOSPC, EIO}, {}},
    {"unlinkat", {EACCES, EIO, EROFS}, {}},
    {"mkdirat", {EACCES, ENOSPC, EROFS}, {}},
    {"flock", {EIO}, {ENOLCK, ENOSYS, EOPNOTSUPP}},
    {"futimens", {}, {EPERM, EIO, EROFS}},
    {"fstat", {EIO, EOVERFLOW}, {}},
    {"fstatat", {EACCES, EIO}, {}},
    {"fcntl", {EMFILE}, {}},
    {"fdopen", {ENOMEM}, {}},
    {"fdopendir", {ENOMEM}, {}},
    {"readdir", {EIO}, {}},
    {"closedir", {EIO}, {}},
    {"close", {EIO, ENOSPC}, {EINTR}},
}};

template <typename Set>
bool IsIn(const Set &names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

bool IsInterruptible(std::string_view name) {
  return IsIn(kBlockingNetwork, name) || IsIn(kCarriedOn, name) || IsIn(kOtherInterruptible, name);
}

FaultPoint PointAtCall(Way way, const Names &calls, int at) {
  constexpr std::array<const char *, 3> kFails = {" fails", " and all after it fail",
                                                  " is interrupted"};
  const std::string_view name = calls[static_cast<size_t>(at) - 1];
  const bool is_interrupted = way == Way::kInterrupted;
  FaultPoint point;
  point.text = "call " + std::to_string(at) + " of " + std::to_string(calls.size()) + ", " +
               std::string(name) + kFails[static_cast<size_t>(way)];
  point.first = at;
  point.fault = {.at = at, .onwards = way == Way::kRest, .error = is_interrupted ? EINTR : 0};
  point.is_carried_on = is_interrupted && IsIn(kCarriedOn, name);
  point.is_any_failure = is_interrupted && IsIn(kBlockingNetwork, name);
  return point;
}

std::vector<FaultPoint> PointsAtCalls(Way way, const Names &calls) {
  std::vector<FaultPoint> points;
  for (int at = 1; at <= static_cast<int>(calls.size()); ++at) {
    const std::string_view name = calls[static_cast<size_t>(at) - 1];
    if (way == Way::kInterrupted && !IsInterruptible(name)) continue;
    points.push_back(PointAtCall(way, calls, at));
  }
  return points;
}

// The points of one kind, for the errors up to the first that is 0.
template <typename Errors>
void AddPointsOf(std::vector<FaultPoint> &points, const KindOfCall &kind, const Errors &errors,
                 int first, bool done_without) {
  for (const int error : errors) {
    if (error == 0) return;
    FaultPoint point;
    point.row = std::string(kind.name) + " with " + strerrorname_np(error);
    point.text = "every " + point.row;
    point.first = first;
    point.fault = {.every = kind.name, .error = error};
    point.is_carried_on = done_without;
    points.push_back(point);
  }
}

KindOfCall KindOf(std::string_view name) {
  const auto found = std::find_if(kKinds.begin(), kKinds.end(),
                                  [=](const KindOfCall &kind) { return kind.name == name; });
  return found == kKinds.end() ? KindOfCall{name, {EIO}, {}} : *found;
}

// Of the kinds that the run makes.
std::vector<FaultPoint> PointsOfKinds(const Names &calls) {
  std::vector<FaultPoint> points;
  int first = 0;
  for (auto call = calls.begin(); call != calls.end(); ++call) {
    ++first;
    if (std::find(calls.begin(), call, *call) != call) continue;
    const KindOfCall kind = KindOf(*call);
    AddPointsOf(points, kind, kind.errors, first, false);
    AddPointsOf(points, kind, kind.done_without, first, true);
  }
  return points;
}

std::vector<FaultPoint> PointsOfDescriptors() {
  std::vector<FaultPoint> points;
  for (int left = 0; left <= kMostDescriptorsLeft; ++left) {
    FaultPoint point;
    point.row = std::to_string(left);
    point.text = point.row + " descriptors are left";
    point.descriptors = left;
    points.push_back(point);
  }
  return points;
}

}  // namespace

std::vector<FaultPoint> PointsOf(Way way, const Names &calls) {
  if (way == Way::kKind) return PointsOfKinds(calls);
  return way == Way::kDescriptors ? PointsOfDescriptors() : PointsAtCalls(way, calls);
}

bool IsHeapCall(std::string_view name) { return IsIn(kHeap, name); }

}  // namespace qntest
