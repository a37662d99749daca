// SPDX-License-Identifier: MIT
// Guards the port where the medium or its owner refuses: a full disk, a root
// that is read-only, another user's files, and two processes at once. And that
// new content is on the medium before it has the file's name.
#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>

#include "posix/file_faults.h"
#include "posix/posix_root.h"
#include "posix/stores.h"
#include "qnstack/qn_fs_file.h"

namespace {

using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kCannotMount = 78;

class PosixMedium : public PosixRoot {
 protected:
  // Runs `part` where the root is a file system of its own of 64 KiB, in a
  // process that sees it alone; its end status.
  int StatusOnSmallDisk(const std::function<void()> &part) const {
    return StatusOf([&] {
      if (unshare(CLONE_NEWNS) != 0 ||
          mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
          mount("none", folder_.path().c_str(), "tmpfs", 0, "size=64k") != 0) {
        _exit(kCannotMount);
      }
      part();
    });
  }

  bool RemountReadOnly() const {
    return mount("none", folder_.path().c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, "size=64k") == 0;
  }
};

TEST_F(PosixMedium, ThatIsFullKeepsTheOldContent) {
  const int status = StatusOnSmallDisk([this] {
    const std::string old(24000, 'o');
    const std::string large(100000, 'l');
    ASSERT_EQ(WriteText("x", old), 24000);
    told_written.clear();

    EXPECT_EQ(WriteText("x", large), -1);
    EXPECT_EQ(AppendText("x", large), -1);
    EXPECT_EQ(WriteText("new", large), -1);
    EXPECT_EQ(folder_.read("x"), old);
    EXPECT_THAT(folder_.names(), ElementsAre("x"));
    EXPECT_THAT(told_written, IsEmpty());

    ASSERT_EQ(WriteText("second", old), 24000);
    EXPECT_EQ(fnQNFS_CopyFile("copy", "x"), 0) << "three do not fit";
    EXPECT_THAT(folder_.names(), ElementsAre("second", "x"));
    EXPECT_EQ(fnQNFS_MoveFile("second", "x"), 1);
    EXPECT_EQ(WriteText("x", old), 24000) << "there is room again";
  });
  if (status == kCannotMount) GTEST_SKIP() << "no file system can be mounted here";
  EXPECT_EQ(status, 0);
}

TEST_F(PosixMedium, ThatIsFullKeepsTheStores) {
  const int status = StatusOnSmallDisk([] {
    ASSERT_EQ(fnQNFS_MkDir("/data/"), 1);
    const Texts records = {"first", "second"};
    ASSERT_TRUE(SaveRecords(records));
    ASSERT_TRUE(WriteSetting("key", "value"));
    std::string filler(4096, 'f');
    while (AppendText("filler", filler) > 0) {
    }

    EXPECT_FALSE(SaveRecords({"other"}));
    EXPECT_FALSE(WriteSetting("key", "other"));
    EXPECT_FALSE(AppendRecord(std::string(9000, 'a')));

    EXPECT_EQ(LoadRecords(), records);
    EXPECT_EQ(LoadSettings(), Texts{"key=value"});
    EXPECT_EQ(fnQNFS_DeleteFile("filler"), 1);
    EXPECT_TRUE(SaveRecords({"other"}));
    EXPECT_EQ(LoadRecords(), Texts{"other"});
  });
  if (status == kCannotMount) GTEST_SKIP() << "no file system can be mounted here";
  EXPECT_EQ(status, 0);
}

TEST_F(PosixMedium, ThatIsReadOnlyIsReadAndNotChanged) {
  const int status = StatusOnSmallDisk([this] {
    ASSERT_EQ(fnQNFS_MkDir("/data/"), 1);
    ASSERT_TRUE(SaveRecords({"first"}));
    ASSERT_EQ(WriteText("x", "content"), 7);
    if (!RemountReadOnly()) _exit(kCannotMount);
    told_written.clear();

    EXPECT_EQ(ReadText("x"), "content");
    EXPECT_EQ(fnQNFS_MkDir("/data/"), 1) << "it is there";
    EXPECT_EQ(WriteText("x", "new"), -1);
    EXPECT_EQ(AppendText("x", "new"), -1);
    EXPECT_EQ(fnQNFS_WriteToFileAtPos("n", 1, 0, "x"), -1);
    EXPECT_EQ(fnQNFS_CopyFile("copy", "x"), 0);
    EXPECT_EQ(fnQNFS_MoveFile("moved", "x"), 0);
    EXPECT_EQ(fnQNFS_DeleteFile("x"), 0);
    EXPECT_EQ(fnQNFS_MkDir("new"), 0);
    EXPECT_EQ(fnQNFS_DelAllFiles("/"), 0);
    EXPECT_EQ(fnQNFS_RmDir("data"), 0);
    EXPECT_EQ(fnQNFS_File_Open("x", "w"), nullptr);
    EXPECT_FALSE(SaveRecords({"other"}));

    EXPECT_EQ(LoadRecords(), Texts{"first"});
    EXPECT_EQ(ReadText("x"), "content");
    EXPECT_THAT(told_written, IsEmpty());
  });
  if (status == kCannotMount) GTEST_SKIP() << "no file system can be mounted here";
  EXPECT_EQ(status, 0);
}

TEST_F(PosixMedium, OfAnotherUserIsLeftAlone) {
  if (geteuid() != 0) GTEST_SKIP() << "another user can only be taken on by root";
  constexpr uid_t kNobody = 65534;
  folder_.write("x", "content");
  MakeFolder("closed");
  folder_.write("closed/x", "content");
  namespace fs = std::filesystem;
  fs::permissions(folder_.path("x"), fs::perms(0600));
  fs::permissions(folder_.path("closed"), fs::perms(0700));
  fs::permissions(folder_.path(), fs::perms(0755));

  EXPECT_TRUE(HoldsInChild([] {
    ASSERT_EQ(setuid(kNobody), 0);
    for (const char *name : {"x", "closed/x", "new", "closed/new"}) {
      SCOPED_TRACE(name);
      EXPECT_EQ(ReadText(name), "(failure)");
      EXPECT_EQ(WriteText(name, "new"), -1);
      EXPECT_EQ(AppendText(name, "new"), -1);
      EXPECT_EQ(fnQNFS_MoveFile("y", name), 0);
      EXPECT_EQ(fnQNFS_DeleteFile(name), 0);
      EXPECT_EQ(fnQNFS_MkDir(name), 0);
      EXPECT_EQ(fnQNFS_File_Open(name, "w"), nullptr);
    }
    EXPECT_EQ(fnQNFS_getFileSize("x"), 7);
    EXPECT_EQ(fnQNFS_getFileSize("closed/x"), -1);
    EXPECT_EQ(fnQNFS_DelAllFiles("/"), 0);
    EXPECT_EQ(fnQNFS_DelAllFiles("closed"), 0);
  }));

  EXPECT_EQ(folder_.read("x"), "content");
  EXPECT_EQ(folder_.read("closed/x"), "content");
  EXPECT_THAT(folder_.names(), ElementsAre("closed", "x"));
}

TEST_F(PosixMedium, IsForcedBeforeAndAfterTheRename) {
  FileFaults faults;
  ASSERT_EQ(WriteText("x", "content"), 7);

  std::vector<std::string_view> order;
  for (const std::string_view call : faults.Names()) {
    if (call == "write" || call == "fsync" || call == "renameat") order.push_back(call);
  }
  EXPECT_THAT(order, ElementsAre("write", "fsync", "renameat", "fsync"));
}

TEST_F(PosixMedium, IsForcedAfterAnAppendAndAWriteInPlace) {
  FileFaults faults;
  ASSERT_EQ(AppendText("x", "content"), 7);
  ASSERT_EQ(fnQNFS_WriteToFileAtPos("C", 1, 0, "x"), 1);
  ASSERT_EQ(fnQNFS_WriteToFileAtPos("n", 1, 0, "new"), 1);

  std::vector<std::string_view> order;
  for (const std::string_view call : faults.Names()) {
    if (call == "write" || call == "fsync") order.push_back(call);
  }
  EXPECT_THAT(order, ElementsAre("write", "fsync", "fsync",  // with the new file's name
                                 "write", "fsync",           //
                                 "write", "fsync", "fsync"));
}

// Writes its own letter many times.
ForkedProcess StartWriter(char letter, size_t size) {
  return InChild([=] {
    FileFaults unforced;
    const std::string text(size, letter);
    for (int i = 0; i < 100; ++i) {
      ASSERT_EQ(WriteText("x", text), static_cast<int32_t>(size));
    }
  });
}

TEST_F(PosixMedium, IsSharedByTwoWritersWithoutTearing) {
  ASSERT_EQ(WriteText("x", std::string(5000, 'c')), 5000);
  ForkedProcess small = StartWriter('a', 3000);
  ForkedProcess large = StartWriter('b', 90000);

  while (!(HasEnded(small.pid()) && HasEnded(large.pid())) && !HasFailure()) {
    const std::string found = ReadText("x", 100000);
    EXPECT_TRUE(found == std::string(5000, 'c') || found == std::string(3000, 'a') ||
                found == std::string(90000, 'b'))
        << found.size() << " bytes that begin with " << found.substr(0, 10);
  }

  EXPECT_EQ(small.Wait(), 0);
  EXPECT_EQ(large.Wait(), 0);
  EXPECT_THAT(folder_.names(), ElementsAre("x"));
}

}  // namespace
