// SPDX-License-Identifier: MIT
// Guards single operations against failing calls: what reports success has done
// all of it, what reports failure has left the old content.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <functional>
#include <sstream>

#include "posix/file_faults.h"
#include "posix/posix_root.h"
#include "qnstack/qn_fs_file.h"

namespace {

using namespace qntest;
using testing::ElementsAre;

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

  EXPECT_EQ(CloseFailures([] { return WriteText("x", "new") == 3; }), 1);
  EXPECT_EQ(CloseFailures([] { return AppendText("x", "new") == 3; }), 1);
  EXPECT_EQ(CloseFailures([] { return fnQNFS_WriteToFileAtPos("n", 1, 0, "x") == 1; }), 1);
  EXPECT_EQ(CloseFailures([] { return fnQNFS_CopyFile("x", "y") == 1; }), 2);
  EXPECT_EQ(CloseFailures([] { return ReadText("y", 10) == "new"; }), 1);
  EXPECT_EQ(CloseFailures([&] { return fnQNFS_ReadFromFileAtPos("y", 0, 3, bytes) == 3; }), 1);
}

// Whether the system shows the process as waiting for a lock.
bool WaitsForALock(pid_t process) {
  std::ifstream locks("/proc/locks");
  for (std::string line; std::getline(locks, line);) {
    if (line.find("-> FLOCK") == std::string::npos) continue;
    std::istringstream words(line);
    std::string word;
    for (int i = 0; i < 6; ++i) words >> word;
    if (word == std::to_string(process)) return true;
  }
  return false;
}

TEST_F(PosixFault, AWriterThatWaitedForAnotherLeavesWhatThatOnePutInPlace) {
  // This process writes by hand: it has the lock on the temporary.
  folder_.write("x.~new", "first");
  const int fd = open(folder_.path("x.~new").c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_EQ(flock(fd, LOCK_EX), 0);
  const pid_t second = fork();
  ASSERT_GE(second, 0);
  if (second == 0) {
    alarm(30);
    close(fd);
    _exit(WriteText("x", "second") == 6 ? 0 : 1);
  }
  while (!WaitsForALock(second)) usleep(200);

  ASSERT_EQ(std::rename(folder_.path("x.~new").c_str(), folder_.path("x").c_str()), 0);
  const int reader = open(folder_.path("x").c_str(), O_RDONLY | O_CLOEXEC);
  close(fd);
  int status = -1;
  while (waitpid(second, &status, 0) < 0 && errno == EINTR) {
  }

  EXPECT_EQ(status, 0);
  std::array<char, 10> text = {};
  EXPECT_EQ(read(reader, text.data(), text.size()), 5);
  EXPECT_STREQ(text.data(), "first") << "who had opened it reads on";
  close(reader);
  EXPECT_EQ(folder_.read("x"), "second");
  EXPECT_THAT(folder_.names(), ElementsAre("x"));
}

}  // namespace
