// SPDX-License-Identifier: MIT
// Guards single operations against failing calls: what reports success has done
// all of it, what reports failure has left the old content.
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <functional>

#include "posix/file_faults.h"
#include "posix/posix_root.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_fs_filebuffer.h"
#include "support/failing_heap.h"
#include "support/typed_buffer.h"

namespace {

using namespace qntest;

// The system moves fewer bytes than it was asked to: one, or none before a signal.
constexpr FileFault kMovingFewer[] = {{FaultKind::kShort, 0, 0}, {FaultKind::kFail, 0, EINTR}};

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

TEST_F(PosixFault, WriteCopyAndMoveAreWholeOrNothing) {
  RunAtEveryCall([] { return WriteText("x", "new") == 3; },
                 [this](bool done) { return folder_.read("x") == (done ? "new" : "old"); });
  RunAtEveryCall([] { return fnQNFS_CopyFile("x", "y") == 1; },
                 [this](bool done) {
                   return folder_.read("x") == (done ? "new" : "old") && folder_.read("y") == "new";
                 });
  RunAtEveryCall([] { return fnQNFS_MoveFile("x", "y") == 1; },
                 [this](bool done) {
                   return folder_.read("x") == (done ? "new" : "old") &&
                          folder_.read("y") == (done ? "" : "new") && Exists("y") != done;
                 });
}

TEST_F(PosixFault, AppendThatSucceedsIsWhole) {
  RunAtEveryCall([] { return AppendText("x", "new") == 3; },
                 [this](bool done) {
                   const std::string content = folder_.read("x");
                   return content == "oldnew" || (!done && content == "old");
                 });
}

TEST_F(PosixFault, CopyOfAnEmptyFileWithoutMemoryChangesNothing) {
  folder_.write("x", "old");
  folder_.write("y", "");

  EXPECT_EQ(WithRefusal(1, [] { return fnQNFS_CopyFile("x", "y"); }), 0);

  EXPECT_EQ(folder_.read("x"), "old");
}

TEST_F(PosixFault, CopyOfAFileThatGrowsMeanwhileChangesNothing) {
  const auto copy = [] { return fnQNFS_CopyFile("x", "y"); };
  folder_.write("y", "new");
  // The size is asked for last before the file is read.
  const int asked = NumberOf("read", copy) - 1;
  folder_.write("x", "old");
  {
    const FileFaults faults({FaultKind::kGrowing, asked});
    EXPECT_EQ(copy(), 0);
  }
  EXPECT_EQ(folder_.read("x"), "old");
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
  RunWithFaultAt("unlinkat", {FaultKind::kFail, 0, ENOENT}, [this] {
    folder_.write("x", "old");
    EXPECT_EQ(fnQNFS_DelAllFiles("/"), 1);
  });
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
  EXPECT_EQ(CloseFailures([] {
              TypedBuffer buffer(10003);
              return fnQNFS_Load_File_To_Buffer("y", buffer.get()) == 1;
            }),
            1);
  EXPECT_EQ(CloseFailures([&] { return fnQNFS_ReadFromFileAtPos("y", 0, 3, bytes) == 3; }), 1);
}

TEST_F(PosixFault, SecondCloseOfADescriptorEndsTheProgram) {
  EXPECT_EQ(StatusOf([] { close(dup(STDERR_FILENO)); }), 0);
  EXPECT_EQ(StatusOf([] {
              const int fd = dup(STDERR_FILENO);
              close(fd);
              close(fd);
            }),
            -SIGABRT);
}

TEST_F(PosixFault, WriteAtAPositionGoesOnBehindWhatTheSystemWrote) {
  for (const FileFault &fault : kMovingFewer) {
    RunWithFaultAt("write", fault, [this] {
      folder_.write("x", "abcdef");
      EXPECT_EQ(fnQNFS_WriteToFileAtPos("WXYZ", 4, 1, "x"), 4);
    });

    EXPECT_EQ(folder_.read("x"), "aWXYZf");
  }
}

TEST_F(PosixFault, ReadAtAPositionGoesOnBehindWhatTheSystemRead) {
  folder_.write("x", "abcdef");
  for (const FileFault &fault : kMovingFewer) {
    char bytes[] = "??????";
    RunWithFaultAt("read", fault, [&bytes] {
      std::fill_n(bytes, 6, '?');
      EXPECT_EQ(fnQNFS_ReadFromFileAtPos("x", 1, 4, bytes), 4);
    });

    EXPECT_STREQ(bytes, "bcde??");
  }
}

}  // namespace
