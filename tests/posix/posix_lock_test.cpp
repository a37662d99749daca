// SPDX-License-Identifier: MIT
// Guards the lock that a call takes on the directory of its file: who waits for
// whom, which calls take it, and what happens where it cannot be had.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sched.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <string_view>

#include "posix/file_faults.h"
#include "posix/port_way.h"
#include "posix/posix_root.h"
#include "posix/stores.h"
#include "qnstack/qn_fs_file.h"

namespace {

using namespace qntest;
using testing::ElementsAre;

class PosixLock : public PosixRoot {
 protected:
  PosixLock() { MakeFolder("data"); }

  // A process that loads or stores while this one holds the directory.
  void WhileHeld(const std::function<void()> &other, const std::function<void()> &meanwhile) const {
    const int held = open(folder_.path("data").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(flock(held, LOCK_EX), 0);
    ForkedProcess child = InChild([&] {
      close(held);
      other();
    });
    EXPECT_TRUE(ComesToWait(child.pid())) << "it went on";
    meanwhile();
    flock(held, LOCK_UN);
    close(held);
    EXPECT_EQ(child.Wait(), 0);
  }

  static int Locks(const std::function<void()> &call) {
    FileFaults faults;
    call();
    return static_cast<int>(std::count(faults.Names().begin(), faults.Names().end(), "flock"));
  }

 private:
  static bool Waits(pid_t process) {
    std::ifstream locks("/proc/locks");
    const std::string of_it = " " + std::to_string(process) + " ";
    for (std::string line; std::getline(locks, line);) {
      const bool waits = line.find("->") != std::string::npos;
      if (waits && line.find(of_it) != std::string::npos) return true;
    }
    return false;
  }

  // False if it ends instead.
  static bool ComesToWait(pid_t process) {
    while (!Waits(process)) {
      if (HasEnded(process)) return false;
      sched_yield();
    }
    return true;
  }
};

TEST_F(PosixLock, KeepsALoadFromABackupThatAnotherWriterHolds) {
  ASSERT_TRUE(SaveRecords({"old"}));
  ASSERT_EQ(fnQNFS_MoveFile("/data/records.bak", kRecordFile), 1);
  folder_.write("data/records", "half of a new co");

  WhileHeld([] { EXPECT_EQ(LoadRecords(), Texts{"new"}); },
            [this] {
              EXPECT_TRUE(Exists("data/records.bak"));
              std::filesystem::remove(folder_.path("data/records.bak"));
              folder_.write("data/records", std::string("new\0", 4));
            });
}

TEST_F(PosixLock, KeepsAnAppendUntilAnotherWriterIsDone) {
  ASSERT_TRUE(SaveRecords({"old"}));

  WhileHeld([] { EXPECT_TRUE(AppendRecord("appended")); },
            [this] { folder_.write("data/records", std::string("new\0", 4)); });

  EXPECT_EQ(LoadRecords(), (Texts{"new", "appended"}));
}

// Taken twice by one call it would wait for itself.
TEST_F(PosixLock, IsTakenAndGivenUpOnceByWhatChangesFiles) {
  const std::function<void()> calls[] = {
      [] { EXPECT_EQ(WriteText("/data/x", "content"), 7); },
      [] { EXPECT_EQ(AppendText("/data/x", "content"), 7); },
      [] { EXPECT_EQ(fnQNFS_WriteToFileAtPos("C", 1, 0, "/data/x"), 1); },
      [] { EXPECT_EQ(fnQNFS_CopyFile("/data/y", "/data/x"), 1); },
      [] { EXPECT_EQ(fnQNFS_MoveFile("/data/x", "/data/y"), 1); },
      [] { EXPECT_EQ(fnQNFS_MoveFile("/data//y", "/data/x"), 1); },
      [] { EXPECT_EQ(fnQNFS_MoveFile("/x", "/data/y"), 1); },
      [] { EXPECT_EQ(fnQNFS_DeleteFile("/x"), 1); },
      [] { EXPECT_TRUE(AppendRecord("element")); },
      [] { EXPECT_EQ(LoadRecords(), Texts{"element"}); },
  };
  for (size_t i = 0; i < std::size(calls); ++i) EXPECT_EQ(Locks(calls[i]), 2) << i;
  // Here closing the directory gives it up.
  EXPECT_EQ(Locks([] { EXPECT_EQ(fnQNFS_DelAllFiles("/data/"), 1); }), 1);
}

TEST_F(PosixLock, IsNotTakenByWhatOnlyReads) {
  folder_.write("data/x", "content");

  EXPECT_EQ(Locks([] {
              char byte = 0;
              EXPECT_EQ(ReadText("/data/x"), "content");
              EXPECT_EQ(fnQNFS_ReadFromFileAtPos("/data/x", 1, 1, &byte), 1);
              EXPECT_EQ(fnQNFS_getFileSize("/data/x"), 7);
              EXPECT_EQ(fnQNFS_isFileExisted("/data/x"), 1);
            }),
            0);
}

int32_t StoreFromWithin(const char *name, int32_t /*operation*/) {
  static bool within = false;
  if (!within) {
    within = true;
    EXPECT_EQ(AppendText(name, "+"), 1);
    within = false;
  }
  return 0;
}

TEST_F(PosixLock, IsGivenUpBeforeTheCallbackIsCalled) {
  fnQNFS_SetCardSynFileFunc(StoreFromWithin);

  EXPECT_EQ(WriteText("/data/x", "written"), 7);
  EXPECT_EQ(ReadText("/data/x"), "written+");
  EXPECT_EQ(AppendText("/data/x", "appended"), 8);
  EXPECT_EQ(ReadText("/data/x"), "written+appended+");
  EXPECT_TRUE(SaveRecords({"stored"}));
  EXPECT_EQ(ReadText(kRecordFile), std::string("stored\0+", 8));
}

TEST_F(PosixLock, ThatFailsLetsNothingChange) {
  ASSERT_TRUE(SaveRecords({"old"}));
  const auto fails = [](const std::function<void()> &call) {
    FileFault fault = {FaultKind::kFail, 0, EIO};
    fault.at = NumberOf("flock", [] { EXPECT_EQ(LoadRecords(), Texts{"old"}); });
    FileFaults faults(fault);
    call();
    ASSERT_GE(faults.Count(), fault.at);
    EXPECT_EQ(faults.Names()[static_cast<size_t>(fault.at) - 1], "flock");
  };

  fails([] { EXPECT_FALSE(SaveRecords({"new"})); });
  EXPECT_EQ(LoadRecords(), Texts{"old"});
  fails([] { EXPECT_EQ(LoadRecords(), Texts()); });
  EXPECT_FALSE(SaveRecords({"new"})) << "it is there and was not read";
  EXPECT_EQ(LoadRecords(), Texts{"old"});
  EXPECT_THAT(folder_.names(), ElementsAre("data"));
  EXPECT_TRUE(SaveRecords({"new"}));
}

TEST_F(PosixLock, IsNotNeededToLoadWhereADirectoryMayOnlyBeSearched) {
  if (geteuid() != 0) GTEST_SKIP() << "another user can only be taken on by root";
  constexpr uid_t kNobody = 65534;
  namespace fs = std::filesystem;
  ASSERT_TRUE(SaveRecords({"content"}));
  fs::permissions(folder_.path("data/records"), fs::perms(0666));
  fs::permissions(folder_.path("data"), fs::perms(0711));
  fs::permissions(folder_.path(), fs::perms(0711));

  // The system has no other way to open such a directory than Linux's.
  const bool opens = kPortAsksTheKernel;
  EXPECT_TRUE(HoldsInChild([=] {
    ASSERT_EQ(setuid(kNobody), 0);
    EXPECT_EQ(LoadRecords(), opens ? Texts{"content"} : Texts());
    EXPECT_EQ(AppendText(kRecordFile, std::string_view("+\0", 2)), opens ? 2 : -1);
    EXPECT_FALSE(SaveRecords({"new"}));
  }));

  EXPECT_EQ(LoadRecords(), opens ? (Texts{"content", "+"}) : Texts{"content"});
}

}  // namespace
