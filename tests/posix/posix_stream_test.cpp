// SPDX-License-Identifier: MIT
// Guards streams: every mode of fnQNFS_File_Open, and that a stream which cannot
// be had leaves the file as it was.
#include <gmock/gmock.h>

#include <cerrno>
#include <cstdint>

#include "posix/file_faults.h"
#include "posix/posix_root.h"
#include "qnstack/qn_fs_file.h"
#include "support/failing_heap.h"

namespace {

using namespace qntest;
using testing::IsEmpty;

class PosixStream : public PosixRoot {};

int32_t Write(QNFSFile file, std::string_view text) {
  return fnQNFS_File_Write(text.data(), static_cast<uint32_t>(text.size()), 1, file);
}

std::string Read(QNFSFile file) {
  char text[100] = {};
  const int32_t count = fnQNFS_File_Read(text, sizeof text, 1, file);
  return count < 0 ? "(nothing)" : std::string(text, static_cast<size_t>(count));
}

// What a stream does in each mode on a file that holds "abc": what it reads
// first, and the content after writing "X" there.
struct ModeCase {
  const char *mode;
  const char *read;
  const char *content;
};
constexpr ModeCase kModeCases[] = {
    {"r", "abc", "abc"},       {"rb", "abc", "abc"},       {"r+", "abc", "abcX"},
    {"r+b", "abc", "abcX"},    {"rb+", "abc", "abcX"},     {"w", "(nothing)", "X"},
    {"wb", "(nothing)", "X"},  {"w+", "(nothing)", "X"},   {"w+b", "(nothing)", "X"},
    {"wb+", "(nothing)", "X"}, {"a", "(nothing)", "abcX"}, {"ab", "(nothing)", "abcX"},
    {"a+", "abc", "abcX"},     {"ab+", "abc", "abcX"},
};

TEST_F(PosixStream, ReadsAndWritesAsItsModeSays) {
  for (const ModeCase &c : kModeCases) {
    SCOPED_TRACE(c.mode);
    folder_.write("x", "abc");

    QNFSFile file = fnQNFS_File_Open("/x", c.mode);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(fnQNFS_File_Seek(file, QNFS_SEEK_BEGIN, 0), 0);
    EXPECT_EQ(Read(file), c.read);
    EXPECT_EQ(fnQNFS_File_Seek(file, QNFS_SEEK_CURRENT, 0), 0);
    const bool writes = c.mode[0] != 'r' || std::string_view(c.mode).find('+') != std::string::npos;
    EXPECT_EQ(Write(file, "X"), writes ? 1 : -1);
    fnQNFS_File_Close(file);

    EXPECT_EQ(folder_.read("x"), c.content);
  }
  EXPECT_THAT(told_written, IsEmpty());
}

TEST_F(PosixStream, MakesAPrivateFileWhereItsModeMakesOne) {
  for (const ModeCase &c : kModeCases) {
    SCOPED_TRACE(c.mode);
    QNFSFile file = fnQNFS_File_Open("new", c.mode);

    EXPECT_EQ(file != nullptr, c.mode[0] != 'r');
    fnQNFS_File_Close(file);
    EXPECT_EQ(ModeOf("new"), c.mode[0] == 'r' ? -1 : 0600);
    fnQNFS_DeleteFile("new");
  }
}

TEST_F(PosixStream, RefusesOtherModesAndLeavesFiles) {
  folder_.write("x", "abc");

  for (const char *mode :
       {"", "b", "x", "bw", "b+w", "wx", "w++", "rw", "R", "r+bx", "+", "w ", "r,ccs=UTF-8"}) {
    EXPECT_EQ(fnQNFS_File_Open("x", mode), nullptr) << mode;
    EXPECT_EQ(fnQNFS_File_Open("new", mode), nullptr) << mode;
  }

  EXPECT_EQ(folder_.read("x"), "abc");
  EXPECT_THAT(folder_.names(), testing::ElementsAre("x"));
}

TEST_F(PosixStream, AppendsWhereverItStands) {
  folder_.write("x", "abc");
  QNFSFile file = fnQNFS_File_Open("x", "a");
  ASSERT_NE(file, nullptr);

  AppendText("x", "def");
  EXPECT_EQ(fnQNFS_File_Seek(file, QNFS_SEEK_BEGIN, 0), 0);
  EXPECT_EQ(Write(file, "X"), 1);
  fnQNFS_File_Close(file);

  EXPECT_EQ(folder_.read("x"), "abcdefX");
}

TEST_F(PosixStream, ThatTheHeapRefusesLeavesTheFile) {
  folder_.write("x", "abc");
  const int before = OpenDescriptors();

  EXPECT_EQ(WithRefusal(1, [] { return fnQNFS_File_Open("x", "w"); }), nullptr);

  EXPECT_EQ(folder_.read("x"), "abc");
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(PosixStream, OpensOrLeavesTheFileWhicheverCallFails) {
  folder_.write("x", "abc");
  const int before = OpenDescriptors();
  FileFault fault = {FaultKind::kFail, 1, EIO};
  for (;; ++fault.at) {
    SCOPED_TRACE(fault.at);
    FileFaults faults(fault);
    QNFSFile file = fnQNFS_File_Open("x", "w");
    const bool reached = faults.Count() >= fault.at;
    fnQNFS_File_Close(file);
    if (!reached) break;
    if (file != nullptr) folder_.write("x", "abc");
    EXPECT_EQ(folder_.read("x"), "abc");
    EXPECT_EQ(OpenDescriptors(), before);
  }
  EXPECT_GT(fault.at, 3);
  EXPECT_EQ(folder_.read("x"), "");
}

TEST_F(PosixStream, LeavesNoDescriptorOpen) {
  folder_.write("x", "abc");
  MakeFolder("folder");
  const int before = OpenDescriptors();

  for (const char *name : {"x", "new", "folder", "none/x"}) {
    for (const char *mode : {"r", "w", "a+", "?"}) fnQNFS_File_Close(fnQNFS_File_Open(name, mode));
  }

  EXPECT_EQ(OpenDescriptors(), before);
}

}  // namespace
