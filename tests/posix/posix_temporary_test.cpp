// SPDX-License-Identifier: MIT
// Guards the temporaries in which new content is written: what a crash leaves is
// swept, what is in use or anybody else's is left alone, and none is in the way
// of a file that may have any name.
#include <gmock/gmock.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <string_view>

#include "posix/file_faults.h"
#include "posix/posix_root.h"
#include "posix/stores.h"
#include "qnstack/qn_fs_file.h"

namespace {

using namespace qntest;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

class PosixTemporary : public PosixRoot {
 protected:
  // Which of the calls that a write makes is the first of that name.
  static int CallNumber(std::string_view call) {
    return NumberOf(call, [] {
      EXPECT_EQ(WriteText("y", "any"), 3);
      EXPECT_EQ(fnQNFS_DeleteFile("y"), 1);
    });
  }

  // Writes x in a process that ends just before the new content is put in place.
  // The name of what it leaves beside x.
  std::string LeaveATemporary() {
    EXPECT_EQ(WriteText("x", "old"), 3);
    const FileFault end = {FaultKind::kEnd, CallNumber("renameat"), 0};
    EXPECT_EQ(StatusOf([&] {
                FileFaults faults(end);
                WriteText("x", "half of a content that is longer than the next");
              }),
              FileFaults::kEndStatus);
    for (const std::string &name : folder_.names()) {
      if (name != "x") return name;
    }
    ADD_FAILURE() << "nothing was left";
    return "none";
  }
};

TEST_F(PosixTemporary, ThatACrashLeftIsSweptByTheNextWrite) {
  LeaveATemporary();
  EXPECT_EQ(folder_.read("x"), "old");

  EXPECT_EQ(WriteText("x", "next"), 4);

  EXPECT_EQ(folder_.read("x"), "next");
  EXPECT_THAT(folder_.names(), ElementsAre("x"));
}

TEST_F(PosixTemporary, IsAskedForOnceWhereNoneCanBeMade) {
  for (int at = 1; at < 20; ++at) {
    FileFaults faults({FaultKind::kFailOnwards, at, ENOSPC});
    WriteText("x", "new");
    EXPECT_LT(faults.Count(), 40) << at;
  }
}

// Where no lock shows that no other writer is at work. That a store goes on without
// one, for whatever error, is held by Faults.
TEST_F(PosixTemporary, IsLeftAloneWhereTheMediumRefusesLocks) {
  const std::string temporary = LeaveATemporary();
  const auto half = std::filesystem::file_size(folder_.path(temporary));
  {
    FileFaults faults({FaultKind::kFail, CallNumber("flock"), ENOLCK});
    EXPECT_EQ(WriteText("x", "next"), 4);
  }
  EXPECT_EQ(folder_.read("x"), "next");
  EXPECT_EQ(std::filesystem::file_size(folder_.path(temporary)), half);

  EXPECT_EQ(WriteText("x", "last"), 4);
  EXPECT_THAT(folder_.names(), ElementsAre("x"));
}

TEST_F(PosixTemporary, IsNotTakenFromAFileOfThatName) {
  const std::string name = LeaveATemporary();
  ASSERT_EQ(unlink(folder_.path(name).c_str()), 0);
  folder_.write(name, "somebody's");
  std::filesystem::permissions(folder_.path(name), std::filesystem::perms(0600));

  for (const char *text : {"new", "newer"}) {
    EXPECT_GT(WriteText("x", text), 0);
    EXPECT_EQ(folder_.read("x"), text);
    EXPECT_EQ(folder_.read(name), "somebody's");
  }
  EXPECT_THAT(folder_.names(), UnorderedElementsAre("x", name));
}

TEST_F(PosixTemporary, IsNotTakenFromAFileThatThePortItselfWroteThere) {
  const std::string name = LeaveATemporary();
  ASSERT_EQ(WriteText(name.c_str(), "the user's"), 10);

  EXPECT_EQ(WriteText("x", "new"), 3);

  EXPECT_EQ(folder_.read("x"), "new");
  EXPECT_EQ(folder_.read(name), "the user's");
}

// An empty file could be a temporary that a crash left before it had its mark.
TEST_F(PosixTemporary, IsNotTakenFromAnEmptyFileOfAnotherModeOrWithAnotherName) {
  const std::string name = LeaveATemporary();
  const auto path = folder_.path(name);
  folder_.write(name, "");

  std::filesystem::permissions(path, std::filesystem::perms(0640));
  EXPECT_EQ(WriteText("x", "1"), 1);
  EXPECT_TRUE(std::filesystem::exists(path));

  std::filesystem::permissions(path, std::filesystem::perms(0600));
  std::filesystem::create_hard_link(path, folder_.path("y"));
  EXPECT_EQ(WriteText("x", "2"), 1);
  EXPECT_EQ(folder_.read("y"), "");
  EXPECT_TRUE(std::filesystem::exists(path));

  ASSERT_EQ(unlink(folder_.path("y").c_str()), 0);
  EXPECT_EQ(WriteText("x", "3"), 1);
  EXPECT_THAT(folder_.names(), ElementsAre("x"));
}

TEST_F(PosixTemporary, IsNotTakenFromWhatIsNoFile) {
  const std::string name = LeaveATemporary();
  folder_.write("y", "other");
  const auto path = folder_.path(name);
  ASSERT_EQ(unlink(path.c_str()), 0);

  MakeFifo(name);
  EXPECT_EQ(WriteText("x", "1"), 1);
  EXPECT_TRUE(std::filesystem::is_fifo(path));
  ASSERT_EQ(unlink(path.c_str()), 0);

  MakeLink(name, "y");
  EXPECT_EQ(fnQNFS_CopyFile("x", "y"), 1);
  EXPECT_TRUE(std::filesystem::is_symlink(path));
  EXPECT_EQ(folder_.read("y"), "other");
  ASSERT_EQ(unlink(path.c_str()), 0);

  MakeFolder(name);
  EXPECT_EQ(WriteText("x", "3"), 1);
  EXPECT_TRUE(std::filesystem::is_directory(path));
  EXPECT_EQ(folder_.read("x"), "3");
}

// What an older version took for its own.
TEST_F(PosixTemporary, LeavesAFileWithTheSuffixOfOldAlone) {
  ASSERT_EQ(WriteText("x.~new", "the user's"), 10);

  EXPECT_EQ(WriteText("x", "new"), 3);

  EXPECT_EQ(folder_.read("x.~new"), "the user's");
}

TEST_F(PosixTemporary, NeedsNoLongerNameThanItsFile) {
  MakeFolder("data");
  for (size_t length = 250; length <= 255; ++length) {
    SCOPED_TRACE(length);
    const std::string name = "data/" + std::string(length, 'n');
    ASSERT_EQ(WriteText(name.c_str(), "first"), 5);
    EXPECT_EQ(WriteText(name.c_str(), "second"), 6);
    EXPECT_EQ(fnQNFS_CopyFile("copy", name.c_str()), 1);
    EXPECT_EQ(AppendText(name.c_str(), "+"), 1);
    EXPECT_EQ(ReadText(name.c_str()), "second+");
    EXPECT_EQ(fnQNFS_MoveFile(name.c_str(), "copy"), 1);
    EXPECT_EQ(ReadText(name.c_str()), "second");
  }
}

}  // namespace
