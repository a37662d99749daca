// SPDX-License-Identifier: MIT
// Guards the port where the medium or its owner refuses: a full disk, a root
// that is read-only, and another user's files. And that new content is on the
// medium before it has the file's name.
#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

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
  // process that sees it alone. Skips the test where none can be mounted.
  void RunOnSmallDisk(const std::function<void()> &part) const {
    const int status = StatusOf([&] {
      if (unshare(CLONE_NEWNS) != 0 ||
          mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
          mount("none", folder_.path().c_str(), "tmpfs", 0, "size=64k") != 0) {
        _exit(kCannotMount);
      }
      part();
    });
    if (status == kCannotMount) GTEST_SKIP() << "no file system can be mounted here";
    EXPECT_EQ(status, 0);
  }

  // The calls that write, force and rename, in their order.
  static std::vector<std::string_view> OrderOf(const std::function<void()> &act) {
    const FileFaults calls;
    act();
    std::vector<std::string_view> order = calls.Names();
    std::erase_if(order,
                  [](auto it) { return it != "write" && it != "fsync" && it != "renameat"; });
    return order;
  }

  bool RemountReadOnly() const {
    return mount("none", folder_.path().c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, "size=64k") == 0;
  }
};

TEST_F(PosixMedium, ThatIsFullKeepsTheOldContent) {
  RunOnSmallDisk([this] {
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
}

TEST_F(PosixMedium, ThatIsFullKeepsTheStores) {
  RunOnSmallDisk([] {
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
}

TEST_F(PosixMedium, ThatIsReadOnlyIsReadAndNotChanged) {
  RunOnSmallDisk([this] {
    ASSERT_EQ(fnQNFS_MkDir("/data/"), 1);
    ASSERT_TRUE(SaveRecords({"first"}));
    ASSERT_EQ(WriteText("x", "content"), 7);
    if (!RemountReadOnly()) _exit(kCannotMount);
    told_written.clear();

    EXPECT_EQ(ReadText("x"), "content");
    EXPECT_EQ(fnQNFS_MkDir("/data/"), 1) << "it is there";
    ExpectNotWritten("x", kRecordFile);
    ExpectNotWritten("new", "x");
    EXPECT_EQ(fnQNFS_DeleteFile("x"), 0);
    EXPECT_EQ(fnQNFS_MkDir("new"), 0);
    EXPECT_EQ(fnQNFS_DelAllFiles("/"), 0);
    EXPECT_EQ(fnQNFS_RmDir("data"), 0);
    EXPECT_FALSE(SaveRecords({"other"}));

    EXPECT_EQ(LoadRecords(), Texts{"first"});
    EXPECT_EQ(ReadText("x"), "content");
    EXPECT_THAT(told_written, IsEmpty());
  });
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
      ExpectNotWritten(name, "y");
      EXPECT_EQ(fnQNFS_MoveFile("y", name), 0);
      EXPECT_EQ(fnQNFS_DeleteFile(name), 0);
      EXPECT_EQ(fnQNFS_MkDir(name), 0);
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

TEST_F(PosixMedium, IsForcedBeforeAndAfterTheRenameAndAfterWhatIsWrittenInPlace) {
  EXPECT_THAT(OrderOf([] { EXPECT_EQ(WriteText("x", "content"), 7); }),
              ElementsAre("write", "fsync", "renameat", "fsync"));
  EXPECT_THAT(OrderOf([] { EXPECT_EQ(AppendText("x", "content"), 7); }),
              ElementsAre("write", "fsync"));
  EXPECT_THAT(OrderOf([] { EXPECT_EQ(fnQNFS_WriteToFileAtPos("C", 1, 0, "x"), 1); }),
              ElementsAre("write", "fsync"));
  // With the new file's name.
  EXPECT_THAT(OrderOf([] { EXPECT_EQ(AppendText("appended", "content"), 7); }),
              ElementsAre("write", "fsync", "fsync"));
  EXPECT_THAT(OrderOf([] { EXPECT_EQ(fnQNFS_WriteToFileAtPos("n", 1, 0, "new"), 1); }),
              ElementsAre("write", "fsync", "fsync"));
}

TEST_F(PosixMedium, IsNotWrittenForANameThatIsNoFiles) {
  MakeFolder("folder");
  for (const char *name : {"folder/", "folder/.", "."}) {
    EXPECT_THAT(OrderOf([&] { EXPECT_EQ(WriteText(name, "content"), -1); }), IsEmpty()) << name;
  }
}

}  // namespace
