// SPDX-License-Identifier: MIT
// Guards the stores against failing calls and a process that ends: each
// scenario is run once for every call that it makes, for every way in which
// that call can go wrong. Afterwards a program that starts anew finds the old
// content or the new, complete, and the same scenario, undisturbed, succeeds
// and leaves no file that it did not mean to make.
#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <set>

#include "posix/file_faults.h"
#include "posix/posix_root.h"
#include "posix/store_scenarios.h"
#include "posix/stores.h"

namespace {

using namespace qntest;

class PosixCrash : public PosixRoot, public testing::WithParamInterface<StoreScenario> {
 protected:
  ~PosixCrash() override { ForgetCache(); }

  void Prepare() const { PrepareStore(GetParam(), folder_.path()); }

  // The calls that the undisturbed scenario makes.
  std::vector<std::string_view> CallsOfTheScenario() {
    Prepare();
    FileFaults faults;
    EXPECT_TRUE(GetParam().act());
    return faults.Names();
  }

  // A program that starts anew finds one content or the other.
  void ExpectOldOrNew(bool expect_new) {
    FileFaults unforced;
    const Texts found = GetParam().load();
    const bool is_old = !expect_new && found == GetParam().old_content;
    EXPECT_TRUE(is_old || found == GetParam().new_content) << testing::PrintToString(found);
  }

  // True where the port carries on by itself: the act must then have succeeded.
  static bool MustSucceed(const FileFault &fault, std::string_view call) {
    static const std::set<std::string_view> kCarriedOn = {"read", "write", "flock", "openat2",
                                                          "close"};
    return fault.kind == FaultKind::kShort ||
           (fault.kind == FaultKind::kFail && fault.error == EINTR && kCarriedOn.count(call) != 0);
  }

  // Runs the scenario with the fault at each of its calls in turn; the number
  // of points.
  int RunAtEveryCall(FileFault fault) {
    const std::vector<std::string_view> calls = CallsOfTheScenario();
    const bool ends = fault.kind == FaultKind::kEnd || fault.kind == FaultKind::kEndWithin;
    const int stride = ends ? QNSTACK_END_STRIDE : 1;
    for (fault.at = 1; fault.at <= static_cast<int>(calls.size()); fault.at += stride) {
      const std::string_view call = calls[static_cast<size_t>(fault.at) - 1];
      SCOPED_TRACE(testing::Message() << "fault " << static_cast<int>(fault.kind) << ", error "
                                      << fault.error << ", call " << fault.at << " " << call);
      Prepare();
      const int descriptors = OpenDescriptors();
      bool done = false;
      const auto act = [&] {
        FileFaults faults(fault);
        done = GetParam().act();
      };
      if (ends) {
        EXPECT_EQ(StatusOf(act), FileFaults::kEndStatus);
      } else {
        act();
        EXPECT_EQ(OpenDescriptors(), descriptors);
      }
      ForgetCache();
      const bool must = MustSucceed(fault, call);
      EXPECT_TRUE(done || !must);
      ExpectOldOrNew(must);
      ExpectARunCleansUp(GetParam(), folder_.path());
      if (HasFailure()) return 0;
    }
    return (static_cast<int>(calls.size()) + stride - 1) / stride;
  }
};

INSTANTIATE_TEST_SUITE_P(Scenarios, PosixCrash, testing::ValuesIn(StoreScenarios()),
                         [](const auto &test) {
                           std::string name = test.param.name;
                           std::replace(name.begin(), name.end(), ' ', '_');
                           return name;
                         });

TEST_P(PosixCrash, UndisturbedGivesTheNewContent) {
  const std::vector<std::string_view> calls = CallsOfTheScenario();

  EXPECT_EQ(GetParam().load(), GetParam().new_content);
  EXPECT_GT(calls.size(), 10U);
  if (!GetParam().files.empty()) {
    EXPECT_EQ(FilesBelow(folder_.path()), GetParam().files);
  }
}

TEST_P(PosixCrash, LeavesOldOrNewWhicheverCallFails) {
  int points = 0;
  for (const FileFault &fault :
       {FileFault{FaultKind::kFail, 0, EIO}, FileFault{FaultKind::kFail, 0, ENOSPC},
        FileFault{FaultKind::kFail, 0, EINTR}, FileFault{FaultKind::kShort}}) {
    points += RunAtEveryCall(fault);
  }
  std::printf("%s: %d points, one failing call each\n", GetParam().name, points);
  EXPECT_GT(points, 0);
}

TEST_P(PosixCrash, LeavesOldOrNewWhereverTheMediumDiesOrFills) {
  int points = 0;
  for (const FileFault &fault : {FileFault{FaultKind::kFailOnwards, 0, EIO},
                                 FileFault{FaultKind::kFullOnwards, 0, ENOSPC}}) {
    points += RunAtEveryCall(fault);
  }
  std::printf("%s: %d points, everything after one failing\n", GetParam().name, points);
  EXPECT_GT(points, 0);
}

TEST_P(PosixCrash, LeavesOldOrNewWhereverTheProcessEnds) {
  int points = 0;
  for (const FaultKind kind : {FaultKind::kEnd, FaultKind::kEndWithin}) {
    points += RunAtEveryCall({kind, 0, 0});
  }
  std::printf("%s: %d points, the process ending\n", GetParam().name, points);
  EXPECT_GT(points, 0);
}

}  // namespace
