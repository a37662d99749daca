// SPDX-License-Identifier: MIT
// Guards which names reach a file and which are refused: where the kernel
// resolves them beneath the root, and where it cannot or is not asked and they
// are walked.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <vector>

#include "posix/file_faults.h"
#include "posix/port_way.h"
#include "posix/posix_root.h"
#include "posix/stores.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_fs_filebuffer.h"
#include "support/typed_buffer.h"

namespace {

using namespace qntest;
using testing::Contains;
using testing::ElementsAre;

// The parameter is the error of the kernel's resolving; 0 where there is none.
class PosixNames : public PosixRoot, public testing::WithParamInterface<int> {
 protected:
  static bool KernelResolves() { return GetParam() == 0; }

  // Makes a folder in the test's own the root.
  void TakeAsRoot(const char *name) const {
    MakeFolder(name);
    fnQNFS_SetFullPath(folder_.path(name).c_str());
  }

  // No operation reaches a file by that name, and none makes one.
  static void ExpectRefused(const char *name) {
    SCOPED_TRACE(std::string(name).substr(0, 80));
    char byte = '?';
    ExpectNotWritten(name, "inside");
    EXPECT_EQ(ReadText(name), "(failure)");
    EXPECT_EQ(fnQNFS_ReadFromFileAtPos(name, 0, 1, &byte), -1);
    EXPECT_EQ(fnQNFS_isFileExisted(name), 0);
    EXPECT_EQ(fnQNFS_getFileSize(name), -1);
    EXPECT_EQ(fnQNFS_CopyFile("inside2", name), 0);
    EXPECT_EQ(fnQNFS_MoveFile("inside2", name), 0);
    EXPECT_EQ(fnQNFS_File_Open(name, "r"), nullptr);
    TypedBuffer buffer(100);
    EXPECT_EQ(fnQNFS_Load_File_To_Buffer(name, buffer.get()), 0);
  }

  const NoResolving resolving_{GetParam()};
  const FileFaults unforced_;
};

// A port that asks nobody walks, whatever the kernel can.
std::vector<int> WaysToResolve() {
  return kPortAsksTheKernel ? std::vector{0, ENOSYS, EPERM} : std::vector{ENOSYS};
}

INSTANTIATE_TEST_SUITE_P(Resolving, PosixNames, testing::ValuesIn(WaysToResolve()),
                         [](const auto &test) {
                           return test.param == 0        ? std::string("ByTheKernel")
                                  : test.param == ENOSYS ? std::string("ByWalking")
                                                         : std::string("ByWalkingInASandbox");
                         });

using PosixPortWay = PosixRoot;

TEST_F(PosixPortWay, IsTheOneThatThisProgramIsAbout) {
  const FileFaults calls;

  fnQNFS_isFileExisted("inside");

  EXPECT_THAT(calls.Names(), Contains("openat2").Times(kPortAsksTheKernel ? 1 : 0));
}

TEST_F(PosixPortWay, AsksTheKernelAgainAfterARenameOrASignal) {
  if (!kPortAsksTheKernel) GTEST_SKIP() << "this port does not ask the kernel";
  folder_.write("x", "content");
  for (const int error : {EAGAIN, EINTR}) {
    SCOPED_TRACE(std::strerror(error));
    FileFaults calls({FaultKind::kFail, 2, error});

    EXPECT_EQ(ReadText("x"), "content");

    EXPECT_EQ(calls.Names().at(1), "openat2");
    EXPECT_THAT(calls.Names(), Contains("openat2").Times(2));
  }
}

TEST_F(PosixPortWay, AsksTheKernelSixteenTimesAtMost) {
  if (!kPortAsksTheKernel) GTEST_SKIP() << "this port does not ask the kernel";
  folder_.write("x", "content");
  const FileFaults calls({FaultKind::kFailOnwards, 2, EAGAIN});

  EXPECT_EQ(ReadText("x"), "(failure)");

  EXPECT_THAT(calls.Names(), Contains("openat2").Times(16));
}

TEST_P(PosixNames, AreTakenBelowTheRoot) {
  ASSERT_EQ(fnQNFS_MkDir("/wap/ca/"), 1);

  EXPECT_EQ(WriteText("/wap/ca/x", "content"), 7);

  EXPECT_EQ(folder_.read("wap/ca/x"), "content");
  for (const char *name : {"/wap/ca/x", "wap/ca/x", "///wap//ca///x", "./wap/./ca/x"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(ReadText(name), "content");
    EXPECT_EQ(fnQNFS_isFileExisted(name), 1);
    EXPECT_EQ(AppendText(name, ""), 0);
    EXPECT_EQ(fnQNFS_CopyFile(name, name), 1);
  }
}

TEST_P(PosixNames, WithDotsThatArePartOfThemAreTaken) {
  for (const char *name : {"..x", "x..", "...", "-4928", ".hidden", "a b", "\xC3\xA4"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(WriteText(name, "content"), 7);
    EXPECT_EQ(ReadText(name), "content");
  }
}

TEST_P(PosixNames, ThatWouldLeaveTheRootAreRefused) {
  TakeAsRoot("root");
  MakeFolder("root/folder");
  folder_.write("root/inside", "inside");
  folder_.write("outside", "outside");

  for (const char *name : {"../outside", "/../outside", "folder/../../outside", "..", "/..",
                           "folder/..", "folder/../inside", "//../outside", "../new"}) {
    ExpectRefused(name);
    EXPECT_EQ(fnQNFS_DeleteFile(name), 0);
  }
  EXPECT_EQ(folder_.read("outside"), "outside");
  EXPECT_EQ(folder_.read("root/inside"), "inside");
  EXPECT_THAT(folder_.names(), ElementsAre("outside", "root"));
}

TEST_P(PosixNames, OfFoldersThatWouldLeaveTheRootAreRefused) {
  TakeAsRoot("root");
  MakeFolder("root/folder");
  MakeFolder("other");
  folder_.write("other/x", "outside");

  for (const char *name : {"..", "../", "../other", "../other/", "folder/../../other"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(fnQNFS_MkDir(name), 0);
    EXPECT_EQ(fnQNFS_DelAllFiles(name), 0);
    EXPECT_EQ(fnQNFS_RmDir(name), 0);
  }
  EXPECT_EQ(fnQNFS_MkDir("../new/"), 0);
  EXPECT_EQ(fnQNFS_File_CreateDir("../new/"), 0U);

  EXPECT_EQ(folder_.read("other/x"), "outside");
  EXPECT_THAT(folder_.names(), ElementsAre("other", "root"));
}

TEST_P(PosixNames, OfNoFileAreRefused) {
  folder_.write("inside", "inside");
  MakeFolder("folder");

  for (const char *name : {"", "/", "//", ".", "./", "folder", "folder/", "folder/.", "inside/",
                           "inside/.", "inside//", "inside/x", "none/x", "new/"}) {
    ExpectRefused(name);
    EXPECT_EQ(fnQNFS_DeleteFile(name), 0);
  }
  EXPECT_EQ(folder_.read("inside"), "inside");
  EXPECT_THAT(folder_.names(), ElementsAre("folder", "inside"));
  EXPECT_THAT(told_written, testing::IsEmpty());
}

// A folder that cannot be opened has no descriptor; 0 is the program's own.
TEST_P(PosixNames, InAMissingFolderLeaveStandardInputAlone) {
  folder_.write("inside", "inside");
  folder_.write("input", "typed in");

  EXPECT_TRUE(HoldsInChild([this] {
    const int input = open(folder_.path("input").c_str(), O_RDONLY);
    ASSERT_EQ(dup2(input, STDIN_FILENO), STDIN_FILENO);
    for (const char *name : {"none/x", "none/sub/x", "inside/x", "inside/sub/x"}) {
      ExpectRefused(name);
      EXPECT_EQ(fnQNFS_DeleteFile(name), 0);
      EXPECT_EQ(fnQNFS_DelAllFiles(name), 0);
      EXPECT_EQ(fnQNFS_RmDir(name), 0);
    }
    char typed[16] = "";
    EXPECT_EQ(read(STDIN_FILENO, typed, sizeof typed - 1), 8);
    EXPECT_STREQ(typed, "typed in");
  }));
}

TEST_P(PosixNames, ThatAreTooLongAreRefusedAndThoseThatJustFitTaken) {
  folder_.write("inside", "inside");
  std::string folders;
  while (folders.size() < 900) folders += std::string(99, 'f') + "/";
  ASSERT_EQ(fnQNFS_MkDir(folders.c_str()), 1);
  const std::string fits = folders + std::string(QNFS_PATH_BYTES - 1 - folders.size(), 'x');

  for (const size_t length : {256U, 1023U, 1024U, 100000U}) {
    ExpectRefused(std::string(length, 'x').c_str());
  }
  // Each component would do; the whole is longer than any root may be.
  ExpectRefused((fits + "x").c_str());
  EXPECT_EQ(fnQNFS_MkDir(std::string(1024, 'x').c_str()), 0);
  EXPECT_EQ(fnQNFS_MkDir(std::string(256, 'x').c_str()), 0);
  EXPECT_EQ(fnQNFS_File_CreateDir((std::string(256, 'x') + "/").c_str()), 0U);
  EXPECT_EQ(fnQNFS_File_CreateDir(std::string(1024, '/').c_str()), 0U);
  for (const char *slashes : {"", "/", "////"}) {
    const std::string name = slashes + fits;
    EXPECT_EQ(WriteText(name.c_str(), "content"), 7);
    EXPECT_EQ(ReadText(name.c_str()), "content");
    TypedBuffer buffer(100);
    buffer.Write("field");
    EXPECT_EQ(fnQNFS_Write_Buffer_To_File(name.c_str(), buffer.get()), 1);
    EXPECT_EQ(fnQNFS_Load_File_To_Buffer(name.c_str(), buffer.get()), 1);
    EXPECT_EQ(buffer.Read(), "field");
  }
  EXPECT_EQ(WriteText(std::string(250, 'x').c_str(), "content"), 7);
}

TEST_P(PosixNames, OfThreeCharactersOrMoreHaveABackup) {
  for (const std::string name : {"x", "xy", "xyz"}) {
    folder_.write(name + ".bak", "old");
    TypedBuffer buffer(10003);
    EXPECT_EQ(fnQNFS_Load_File_To_Buffer(name.c_str(), buffer.get()), name == "xyz" ? 1 : 0);
  }
  EXPECT_THAT(folder_.names(), ElementsAre("x.bak", "xy.bak", "xyz"));
}

TEST_P(PosixNames, ReachNothingWithoutARootOrOnceItIsGone) {
  folder_.write("inside", "inside");
  const std::string file = folder_.path("file");
  const std::string gone = folder_.path("gone");
  folder_.write("file", "not a folder");
  TakeAsRoot("gone");
  ASSERT_EQ(WriteText("inside", "inside"), 6);
  std::filesystem::remove_all(gone);
  std::filesystem::current_path(folder_.path());

  for (const std::string &root :
       {gone, std::string(), folder_.path("none"), file, std::string(1024, 'x')}) {
    if (root != gone) fnQNFS_SetFullPath(root.c_str());
    ExpectRefused("inside");
    EXPECT_EQ(fnQNFS_DeleteFile("inside"), 0);
    EXPECT_EQ(fnQNFS_MkDir("folder"), 0);
    EXPECT_EQ(fnQNFS_MkDir("/"), 0);
    EXPECT_EQ(fnQNFS_File_CreateDir("folder/"), 0U);
    EXPECT_EQ(fnQNFS_DelAllFiles("/"), 0);
    EXPECT_EQ(fnQNFS_RmDir("folder"), 0);
  }
  std::filesystem::current_path("/");
  EXPECT_THAT(folder_.names(), ElementsAre("file", "inside"));
}

TEST_P(PosixNames, OfLinksThatLeadOutAreRefused) {
  TakeAsRoot("root");
  MakeFolder("other");
  folder_.write("root/inside", "inside");
  folder_.write("outside", "outside");
  folder_.write("other/x", "outside");
  MakeLink("root/relative", "../outside");
  MakeLink("root/absolute", folder_.path("outside"));
  MakeLink("root/other", "../other");
  MakeLink("root/back", folder_.path("root/inside"));
  MakeLink("root/dangling", "nowhere");
  MakeLink("root/loop", "loop");

  for (const char *name : {"relative", "absolute", "other/x", "other/new", "other", "back",
                           "dangling", "loop", "loop/x"}) {
    ExpectRefused(name);
  }
  EXPECT_EQ(fnQNFS_MkDir("other/new"), 0);
  EXPECT_EQ(fnQNFS_MkDir("other"), 0);
  EXPECT_EQ(fnQNFS_DelAllFiles("other"), 0);
  EXPECT_EQ(fnQNFS_DeleteFile("other/x"), 0);
  EXPECT_EQ(fnQNFS_RmDir("other"), 0);

  EXPECT_EQ(folder_.read("outside"), "outside");
  EXPECT_EQ(folder_.read("other/x"), "outside");
  EXPECT_EQ(folder_.read("root/inside"), "inside");
  EXPECT_FALSE(Exists("other/new"));
  EXPECT_FALSE(Exists("root/nowhere"));
}

TEST_P(PosixNames, OfLinksThatStayInsideNeedTheKernel) {
  MakeFolder("folder");
  folder_.write("folder/x", "inside");
  MakeLink("link", "folder/x");
  MakeLink("shortcut", "folder");

  EXPECT_EQ(ReadText("link"), KernelResolves() ? "inside" : "(failure)");
  EXPECT_EQ(ReadText("shortcut/x"), KernelResolves() ? "inside" : "(failure)");
  EXPECT_EQ(fnQNFS_getFileSize("link"), KernelResolves() ? 6 : -1);
  EXPECT_EQ(AppendText("link", "+"), KernelResolves() ? 1 : -1);
  EXPECT_EQ(WriteText("shortcut/y", "new"), KernelResolves() ? 3 : -1);
  EXPECT_EQ(folder_.read("folder/x"), KernelResolves() ? "inside+" : "inside");
  EXPECT_EQ(folder_.read("folder/y"), KernelResolves() ? "new" : "");
}

TEST_P(PosixNames, OfLinksThatStayInsideAreLoadedAndReplaced) {
  MakeFolder("data");
  MakeFolder("other");
  folder_.write("other/x", std::string("old\0", 4));
  MakeLink("data/records", "../other/x");

  EXPECT_EQ(LoadRecords(), KernelResolves() ? Texts{"old"} : Texts());
  EXPECT_EQ(AppendRecord("new"), KernelResolves());
  EXPECT_EQ(LoadRecords(), KernelResolves() ? (Texts{"old", "new"}) : Texts());
  EXPECT_EQ(folder_.read("other/x"), std::string("old\0", 4));
}

TEST_P(PosixNames, OfALinkAreDeletedWithoutItsTarget) {
  TakeAsRoot("root");
  folder_.write("outside", "outside");
  MakeLink("root/link", "../outside");

  EXPECT_EQ(fnQNFS_DeleteFile("link"), 1);

  EXPECT_FALSE(Exists("root/link"));
  EXPECT_EQ(folder_.read("outside"), "outside");
}

TEST_P(PosixNames, ReachARootThatIsALink) {
  MakeFolder("root");
  MakeLink("way", "root");
  fnQNFS_SetFullPath(folder_.path("way").c_str());

  EXPECT_EQ(fnQNFS_MkDir("folder"), 1);
  EXPECT_EQ(WriteText("folder/x", "content"), 7);
  EXPECT_EQ(ReadText("folder/x"), "content");

  EXPECT_EQ(folder_.read("root/folder/x"), "content");
}

// A device can only be made by root.
TEST_P(PosixNames, OfAFifoASocketOrADeviceAreRefusedAtOnce) {
  folder_.write("inside", "inside");
  constexpr mode_t kTypes[] = {S_IFIFO, S_IFSOCK, S_IFCHR};
  for (const mode_t type : kTypes) {
    SCOPED_TRACE(type);
    const std::string path = folder_.path("it");
    if (mknod(path.c_str(), type | 0600, makedev(1, 3)) != 0) {
      ASSERT_TRUE(type == S_IFCHR && errno == EPERM) << std::strerror(errno);
      continue;
    }

    ExpectRefused("it");
    ExpectRefused("it/x");

    struct stat status = {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & S_IFMT, type);
    EXPECT_EQ(folder_.read("inside"), "inside");
    EXPECT_EQ(fnQNFS_DeleteFile("it"), 1);
  }
}

}  // namespace
