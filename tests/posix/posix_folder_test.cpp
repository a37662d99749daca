// SPDX-License-Identifier: MIT
// Guards making, emptying and removing folders.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "posix/file_faults.h"
#include "posix/posix_root.h"
#include "qnstack/qn_fs_file.h"

namespace {

using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;

class PosixFolder : public PosixRoot {};

TEST_F(PosixFolder, IsMadePrivateWithThoseItIsIn) {
  EXPECT_EQ(fnQNFS_MkDir("/wap/ca/"), 1);

  EXPECT_EQ(ModeOf("wap"), 0700);
  EXPECT_EQ(ModeOf("wap/ca"), 0700);
}

TEST_F(PosixFolder, ThatIsMadeIsForcedWithThoseItIsIn) {
  const auto syncs = [] {
    FileFaults faults;
    EXPECT_EQ(fnQNFS_MkDir("/wap/ca/"), 1);
    return std::count(faults.Names().begin(), faults.Names().end(), "fsync");
  };
  EXPECT_EQ(syncs(), 2);
  EXPECT_EQ(syncs(), 0) << "they are there";
}

TEST_F(PosixFolder, IsMadeWithAndWithoutASlashAtItsEndAndLeftWhereItIs) {
  MakeFolder("wap/ca");
  folder_.write("wap/ca/x", "content");

  for (const char *path : {"a", "/b", "c/", "//d//e//", "f/./g", "/wap/ca/", "/"}) {
    EXPECT_EQ(fnQNFS_MkDir(path), 1) << path;
  }

  EXPECT_THAT(folder_.names(), ElementsAre("a", "b", "c", "d", "f", "wap"));
  EXPECT_EQ(ModeOf("d/e"), 0700);
  EXPECT_EQ(ModeOf("f/g"), 0700);
  EXPECT_EQ(folder_.read("wap/ca/x"), "content");
}

TEST_F(PosixFolder, IsNotMadeWhereAFileIs) {
  folder_.write("x", "content");
  MakeFifo("fifo");

  EXPECT_EQ(fnQNFS_MkDir("x"), 0);
  EXPECT_EQ(fnQNFS_MkDir("x/y"), 0);
  EXPECT_EQ(fnQNFS_MkDir("fifo"), 0);
  EXPECT_EQ(fnQNFS_MkDir("fifo/y"), 0);

  EXPECT_EQ(folder_.read("x"), "content");
}

TEST_F(PosixFolder, CreateDirMakesWhatStandsBeforeEachSlash) {
  EXPECT_EQ(fnQNFS_File_CreateDir("/wap/ca/"), 8U);
  EXPECT_EQ(fnQNFS_File_CreateDir("a/b/file"), 8U);
  EXPECT_EQ(fnQNFS_File_CreateDir("file"), 4U);
  EXPECT_EQ(fnQNFS_File_CreateDir("/"), 1U);
  EXPECT_EQ(fnQNFS_File_CreateDir(""), 0U);

  EXPECT_EQ(ModeOf("wap/ca"), 0700);
  EXPECT_EQ(ModeOf("a/b"), 0700);
  EXPECT_FALSE(Exists("a/b/file"));
  EXPECT_THAT(folder_.names(), ElementsAre("a", "wap"));
}

TEST_F(PosixFolder, DelAllTakesEveryFileButNoFolder) {
  MakeFolder("wap/ca/sub");
  for (const char *name : {"ca.txt", "ca.txt.bak", "ca.txt.~new", ".hidden", "-4928"}) {
    folder_.write(std::string("wap/ca/") + name, "content");
  }
  for (int i = 0; i < 600; ++i) folder_.write("wap/ca/" + std::to_string(i), "x");
  folder_.write("wap/ca/sub/x", "below");
  folder_.write("wap/y", "above");
  MakeFifo("wap/ca/fifo");

  EXPECT_EQ(fnQNFS_DelAllFiles("/wap/ca/"), 1);

  EXPECT_EQ(rmdir(folder_.path("wap/ca").c_str()), -1);
  EXPECT_EQ(errno, ENOTEMPTY);
  EXPECT_EQ(folder_.read("wap/ca/sub/x"), "below");
  EXPECT_EQ(folder_.read("wap/y"), "above");
  ASSERT_EQ(fnQNFS_DeleteFile("wap/ca/sub/x"), 1);
  EXPECT_EQ(fnQNFS_RmDir("wap/ca/sub"), 1);
  EXPECT_EQ(fnQNFS_RmDir("wap/ca"), 1) << "something was left in it";
}

TEST_F(PosixFolder, DelAllTakesLinksAndNotWhatTheyLeadTo) {
  MakeFolder("ca");
  MakeFolder("other");
  folder_.write("other/x", "content");
  MakeLink("ca/to_file", "../other/x");
  MakeLink("ca/to_folder", "../other");
  MakeLink("ca/dangling", "nowhere");

  EXPECT_EQ(fnQNFS_DelAllFiles("ca"), 1);

  EXPECT_EQ(fnQNFS_RmDir("ca"), 1) << "something was left in it";
  EXPECT_EQ(folder_.read("other/x"), "content");
}

TEST_F(PosixFolder, DelAllKnowsFilesFromFoldersWhereTheEntriesDoNotTell) {
  MakeFolder("ca/sub");
  folder_.write("ca/x", "content");
  MakeLink("ca/link", "sub");

  {
    const NoEntryKinds kinds;
    EXPECT_EQ(fnQNFS_DelAllFiles("ca"), 1);
  }

  EXPECT_FALSE(Exists("ca/x"));
  EXPECT_FALSE(Exists("ca/link"));
  EXPECT_TRUE(Exists("ca/sub"));
}

TEST_F(PosixFolder, DelAllOfNoFolderFails) {
  folder_.write("x", "content");
  MakeFifo("fifo");

  EXPECT_EQ(fnQNFS_DelAllFiles("none"), 0);
  EXPECT_EQ(fnQNFS_DelAllFiles("x"), 0);
  EXPECT_EQ(fnQNFS_DelAllFiles("fifo"), 0);

  EXPECT_EQ(folder_.read("x"), "content");
}

TEST_F(PosixFolder, RmDirTakesAnEmptyFolderOnly) {
  MakeFolder("empty");
  MakeFolder("other");
  MakeFolder("full/sub");
  folder_.write("x", "content");
  MakeLink("link", "empty");

  EXPECT_EQ(fnQNFS_RmDir("full/"), 0);
  EXPECT_EQ(fnQNFS_RmDir("x"), 0);
  EXPECT_EQ(fnQNFS_RmDir("link"), 0);
  EXPECT_EQ(fnQNFS_RmDir("none"), 0);
  EXPECT_EQ(fnQNFS_RmDir("/"), 0);
  EXPECT_EQ(fnQNFS_RmDir("."), 0);
  EXPECT_EQ(fnQNFS_RmDir(""), 0);
  EXPECT_EQ(fnQNFS_RmDir("/empty//"), 1);
  EXPECT_EQ(fnQNFS_RmDir("other/"), 1);
  EXPECT_EQ(fnQNFS_RmDir("full/sub"), 1);

  EXPECT_THAT(folder_.names(), ElementsAre("full", "link", "x"));
}

TEST_F(PosixFolder, DelAllReportsWhatStayed) {
  const auto names = {"ca/x", "ca/y", "ca/z"};
  int32_t result = -1;
  MakeFolder("ca");
  RunWithFaultAt("unlinkat", {FaultKind::kFail, 0, EIO}, [&] {
    for (const char *name : names) folder_.write(name, "content");
    result = fnQNFS_DelAllFiles("ca");
  });

  EXPECT_EQ(result, 0);
  const auto left = std::count_if(names.begin(), names.end(), [&](auto it) { return Exists(it); });
  EXPECT_EQ(left, 1) << "one that cannot be deleted does not keep the others";
}

}  // namespace
