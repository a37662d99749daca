// SPDX-License-Identifier: MIT
// What NULL gives in the file primitives of the POSIX port: failure, with no
// file changed and nobody told.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "qnstack/qn_fs_file.h"
#include "support/scratch_folder.h"

namespace {

int32_t Tell(const char *name, int32_t /*operation*/) {
  ADD_FAILURE() << "told of " << (name == nullptr ? "NULL" : name);
  return 0;
}

// One file "/file" below the root.
class NullInPosixPort : public testing::Test {
 protected:
  NullInPosixPort() {
    fnQNFS_SetFullPath(folder_.path().c_str());
    fnQNFS_SetCardSynFileFunc(Tell);
    folder_.write("file", "content");
  }
  ~NullInPosixPort() override {
    EXPECT_EQ(folder_.names(), (std::vector<std::string>{"file"}));
    EXPECT_EQ(folder_.read("file"), "content");
    fnQNFS_SetCardSynFileFunc(nullptr);
    fnQNFS_SetFullPath(nullptr);
  }

  qntest::ScratchFolder folder_;
};

TEST_F(NullInPosixPort, AsNameIsNoFileAndNoFolder) {
  EXPECT_EQ(fnQNFS_isFileExisted(nullptr), 0);
  EXPECT_EQ(fnQNFS_getFileSize(nullptr), -1);
  EXPECT_EQ(fnQNFS_DeleteFile(nullptr), 0);
  EXPECT_EQ(fnQNFS_CopyFile(nullptr, "/file"), 0);
  EXPECT_EQ(fnQNFS_CopyFile("/copy", nullptr), 0);
  EXPECT_EQ(fnQNFS_MoveFile(nullptr, "/file"), 0);
  EXPECT_EQ(fnQNFS_MoveFile("/moved", nullptr), 0);
  EXPECT_EQ(fnQNFS_File_Open(nullptr, "w"), nullptr);
  EXPECT_EQ(fnQNFS_File_Open("/file", nullptr), nullptr);
  EXPECT_EQ(fnQNFS_MkDir(nullptr), 0);
  EXPECT_EQ(fnQNFS_DelAllFiles(nullptr), 0);
  EXPECT_EQ(fnQNFS_RmDir(nullptr), 0);
  EXPECT_EQ(fnQNFS_File_CreateDir(nullptr), 0U);
}

TEST_F(NullInPosixPort, IsNotRead) {
  char piece[4] = "abc";
  int32_t count = 5;

  EXPECT_EQ(fnQNFS_ReadFromFile(nullptr, 3, piece, &count), -1);
  EXPECT_EQ(fnQNFS_ReadFromFile("/file", 3, nullptr, &count), -1);
  EXPECT_EQ(fnQNFS_ReadFromFile("/file", 3, piece, nullptr), -1);
  EXPECT_EQ(fnQNFS_ReadFromFileAtPos(nullptr, 0, 3, piece), -1);
  EXPECT_EQ(fnQNFS_ReadFromFileAtPos("/file", 0, 3, nullptr), -1);
  EXPECT_EQ(fnQNFS_ReadFromFileAtPos("/file", 100, 3, nullptr), -1) << "behind the end";

  EXPECT_EQ(count, 5);
  EXPECT_STREQ(piece, "abc");
}

TEST_F(NullInPosixPort, IsNotWritten) {
  EXPECT_EQ(fnQNFS_WriteToFile(nullptr, 3, "/file"), -1);
  EXPECT_EQ(fnQNFS_WriteToFile(nullptr, 0, "/file"), -1);
  EXPECT_EQ(fnQNFS_WriteToFile("abc", 3, nullptr), -1);
  EXPECT_EQ(fnQNFS_AppendToFile(nullptr, 3, "/file"), -1);
  EXPECT_EQ(fnQNFS_AppendToFile(nullptr, 0, "/file"), -1);
  EXPECT_EQ(fnQNFS_AppendToFile("abc", 3, nullptr), -1);
  EXPECT_EQ(fnQNFS_WriteToFileAtPos(nullptr, 3, 0, "/file"), -1);
  EXPECT_EQ(fnQNFS_WriteToFileAtPos("abc", 3, 0, nullptr), -1);
}

TEST_F(NullInPosixPort, AsBytesOrHandleOfAStreamFails) {
  char piece[4];
  QNFSFile handle = fnQNFS_File_Open("/file", "r+");
  ASSERT_NE(handle, nullptr);

  EXPECT_EQ(fnQNFS_File_Write(nullptr, 3, 1, handle), -1);
  EXPECT_EQ(fnQNFS_File_Write("abc", 3, 1, nullptr), -1);
  EXPECT_EQ(fnQNFS_File_Read(nullptr, 3, 1, handle), -1);
  EXPECT_EQ(fnQNFS_File_Read(piece, 3, 1, nullptr), -1);
  EXPECT_EQ(fnQNFS_File_Seek(nullptr, QNFS_SEEK_BEGIN, 0), -1);
  fnQNFS_File_Close(nullptr);

  fnQNFS_File_Close(handle);
}

TEST_F(NullInPosixPort, AsCallbackTellsNobody) {
  fnQNFS_SetCardSynFileFunc(nullptr);

  EXPECT_EQ(fnQNFS_WriteToFile("con", 3, "/file"), 3);
  EXPECT_EQ(fnQNFS_AppendToFile("tent", 4, "/file"), 4);
}

TEST_F(NullInPosixPort, AsRootIsNoneAndNoFileIsFound) {
  EXPECT_STREQ(fnQNFS_SetFullPath(nullptr), "");

  EXPECT_EQ(fnQNFS_getFileSize("/file"), -1);
}

}  // namespace
