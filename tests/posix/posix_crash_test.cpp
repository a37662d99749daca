// SPDX-License-Identifier: MIT
// Guards the stores against failing calls and a process that ends: each
// scenario is run once for every call that it makes, for every way in which
// that call can go wrong. Afterwards a program that starts anew finds the old
// content or the new, complete, and the same scenario, undisturbed, succeeds
// and leaves no file that it did not mean to make.
#include <gmock/gmock.h>

#include <cerrno>
#include <cstdio>
#include <initializer_list>
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

  // A program that starts anew finds one content or the other, and a run later
  // leaves no file that it did not mean to make.
  void ExpectOldOrNew(bool expect_new) {
    FileFaults unforced;
    const Texts found = GetParam().load();
    const bool is_old = !expect_new && found == GetParam().old_content;
    EXPECT_TRUE(is_old || found == GetParam().new_content) << testing::PrintToString(found);
    EXPECT_EQ(ComplaintOfARun(GetParam(), folder_.path()), "");
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
      if (HasFailure()) return 0;
    }
    return (static_cast<int>(calls.size()) + stride - 1) / stride;
  }

  void ExpectHolds(const char *what, std::initializer_list<FileFault> faults) {
    int points = 0;
    for (const FileFault &fault : faults) points += RunAtEveryCall(fault);
    std::printf("%s: %d points, %s\n", GetParam().name, points, what);
    EXPECT_GT(points, 0);
  }
};

INSTANTIATE_TEST_SUITE_P(Scenarios, PosixCrash, testing::ValuesIn(StoreScenarios()), NameOf);

TEST_P(PosixCrash, UndisturbedGivesTheNewContent) {
  const std::vector<std::string_view> calls = CallsOfTheScenario();

  EXPECT_EQ(GetParam().load(), GetParam().new_content);
  EXPECT_GT(calls.size(), 10U);
  if (!GetParam().files.empty()) {
    EXPECT_EQ(FilesBelow(folder_.path()), GetParam().files);
  }
}

TEST_P(PosixCrash, LeavesOldOrNewWhicheverCallFails) {
  ExpectHolds("one failing call each", {{FaultKind::kFail, 0, EIO},
                                        {FaultKind::kFail, 0, ENOSPC},
                                        {FaultKind::kFail, 0, EINTR},
                                        {FaultKind::kShort}});
}

TEST_P(PosixCrash, LeavesOldOrNewWhereverTheMediumDiesOrFills) {
  ExpectHolds("everything after one failing",
              {{FaultKind::kFailOnwards, 0, EIO}, {FaultKind::kFullOnwards, 0, ENOSPC}});
}

TEST_P(PosixCrash, LeavesOldOrNewWhereverTheProcessEnds) {
  ExpectHolds("the process ending", {{FaultKind::kEnd}, {FaultKind::kEndWithin}});
}

}  // namespace
