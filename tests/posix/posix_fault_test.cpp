// SPDX-License-Identifier: MIT
// Guards single operations against failing calls: what reports success has done
// all of it, what reports failure has left the old content.
#include <gmock/gmock.h>

#include <cerrno>
#include <functional>

#include "posix/file_faults.h"
#include "posix/posix_root.h"
#include "qnstack/qn_fs_file.h"

namespace {

using namespace qntest;

class PosixFault : public PosixRoot {
 protected:
  // Runs `act` on the files x ("old") and y ("new") with each of its calls
  // failing in turn; `holds` judges by whether it reported success.
  void RunAtEveryCall(const std::function<bool()> &act, const std::function<bool(bool)> &holds) {
    FileFault fault = {FaultKind::kFail, 1, EIO};
    for (bool reached = true; reached; ++fault.at) {
      folder_.write("x", "old");
      folder_.write("y", "new");
      FileFaults faults(fault);
      const bool done = act();
      reached = faults.Count() >= fault.at;
      EXPECT_TRUE(holds(done)) << "call " << fault.at << " of "
                               << testing::PrintToString(faults.Names())
                               << (done ? " succeeded" : " failed");
    }
    EXPECT_GT(fault.at, 5);
  }

  // How many failing closes let `act` fail.
  static int CloseFailures(const std::function<bool()> &act) {
    int failures = 0;
    bool reached = true;
    for (int at = 1; reached; ++at) {
      FileFaults faults({FaultKind::kFail, at, EIO});
      const bool done = act();
      reached = faults.Count() >= at;
      if (reached && faults.Names()[static_cast<size_t>(at) - 1] == "close" && !done) ++failures;
    }
    return failures;
  }
};

TEST_F(PosixFault, WriteIsWholeOrNothing) {
  RunAtEveryCall([] { return WriteText("x", "new") == 3; },
                 [this](bool done) { return folder_.read("x") == (done ? "new" : "old"); });
}

TEST_F(PosixFault, CopyIsWholeOrNothing) {
  RunAtEveryCall([] { return fnQNFS_CopyFile("x", "y") == 1; },
                 [this](bool done) {
                   return folder_.read("x") == (done ? "new" : "old") && folder_.read("y") == "new";
                 });
}

TEST_F(PosixFault, MoveIsWholeOrNothing) {
  RunAtEveryCall([] { return fnQNFS_MoveFile("x", "y") == 1; },
                 [this](bool done) {
                   return done ? folder_.read("x") == "new" && !Exists("y")
                               : folder_.read("x") == "old" && folder_.read("y") == "new";
                 });
}

TEST_F(PosixFault, ReadIsWholeOrFails) {
  std::string found;
  RunAtEveryCall(
      [&found] {
        found = ReadText("x", 10);
        return found != "(failure)";
      },
      [&found](bool done) { return !done || found == "old"; });
}

TEST_F(PosixFault, DelAllThatSucceedsLeavesNothing) {
  RunAtEveryCall([] { return fnQNFS_DelAllFiles("/") == 1; },
                 [this](bool done) { return !done || folder_.names().empty(); });
}

TEST_F(PosixFault, DelAllMindsNoFileThatHasGoneMeanwhile) {
  folder_.write("x", "old");
  FileFault fault = {FaultKind::kFail, 1, ENOENT};
  {
    FileFaults faults;
    ASSERT_EQ(fnQNFS_DelAllFiles("/"), 1);
    while (faults.Names()[static_cast<size_t>(fault.at) - 1] != "unlinkat") ++fault.at;
  }
  folder_.write("x", "old");

  FileFaults faults(fault);
  EXPECT_EQ(fnQNFS_DelAllFiles("/"), 1);
}

TEST_F(PosixFault, CloseErrorsFailWhatMovesBytes) {
  folder_.write("x", "old");
  folder_.write("y", "new");
  char bytes[4] = {};

  EXPECT_EQ(CloseFailures([] { return WriteText("x", "new") == 3; }), 0)
      << "what was forced to the medium is not lost by a close";
  EXPECT_EQ(CloseFailures([] { return AppendText("x", "new") == 3; }), 1);
  EXPECT_EQ(CloseFailures([] { return fnQNFS_WriteToFileAtPos("n", 1, 0, "x") == 1; }), 1);
  EXPECT_EQ(CloseFailures([] { return fnQNFS_CopyFile("x", "y") == 1; }), 1);
  EXPECT_EQ(CloseFailures([] { return ReadText("y", 10) == "new"; }), 1);
  EXPECT_EQ(CloseFailures([&] { return fnQNFS_ReadFromFileAtPos("y", 0, 3, bytes) == 3; }), 1);
}

}  // namespace
