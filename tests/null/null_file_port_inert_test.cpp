// SPDX-License-Identifier: MIT
// What NULL gives in the file primitives of the inert port: its fixed results,
// as for every other argument.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "qnstack/qn_fs_file.h"

namespace {

std::vector<std::string> told;

int32_t Tell(const char *name, int32_t /*operation*/) {
  told.emplace_back(name == nullptr ? "NULL" : name);
  return 0;
}

TEST(NullInInertPort, GivesTheFixedResults) {
  char piece[4] = "abc";
  int32_t count = 5;

  EXPECT_EQ(fnQNFS_isFileExisted(nullptr), 0);
  EXPECT_EQ(fnQNFS_MkDir(nullptr), 0);
  EXPECT_EQ(fnQNFS_File_Open(nullptr, "r"), nullptr);
  EXPECT_EQ(fnQNFS_File_Open("/file", nullptr), nullptr);
  EXPECT_EQ(fnQNFS_getFileSize(nullptr), 0);
  EXPECT_EQ(fnQNFS_CopyFile(nullptr, "/file"), 0);
  EXPECT_EQ(fnQNFS_CopyFile("/copy", nullptr), 0);
  EXPECT_EQ(fnQNFS_MoveFile(nullptr, "/file"), 0);
  EXPECT_EQ(fnQNFS_MoveFile("/moved", nullptr), 0);
  EXPECT_EQ(fnQNFS_DeleteFile(nullptr), 1);
  EXPECT_EQ(fnQNFS_DelAllFiles(nullptr), 1);
  EXPECT_EQ(fnQNFS_RmDir(nullptr), 1);
  EXPECT_EQ(fnQNFS_File_CreateDir(nullptr), 0U);
  EXPECT_EQ(fnQNFS_ReadFromFile(nullptr, 3, piece, &count), -1);
  EXPECT_EQ(fnQNFS_ReadFromFile("/file", 3, nullptr, &count), -1);
  EXPECT_EQ(fnQNFS_ReadFromFile("/file", 3, piece, nullptr), -1);
  EXPECT_EQ(fnQNFS_WriteToFileAtPos(nullptr, 3, 0, "/file"), -1);
  EXPECT_EQ(fnQNFS_WriteToFileAtPos(piece, 3, 0, nullptr), -1);
  EXPECT_EQ(fnQNFS_ReadFromFileAtPos(nullptr, 0, 3, piece), -1);
  EXPECT_EQ(fnQNFS_ReadFromFileAtPos("/file", 0, 3, nullptr), -1);

  EXPECT_EQ(count, 5);
  EXPECT_STREQ(piece, "abc");
}

TEST(NullInInertPort, IsToldByAWriteAndByAnAppendOfNull) {
  told.clear();
  fnQNFS_SetCardSynFileFunc(Tell);

  EXPECT_EQ(fnQNFS_WriteToFile(nullptr, 3, "/data"), -1);
  EXPECT_EQ(fnQNFS_WriteToFile("abc", 3, nullptr), -1);
  EXPECT_EQ(fnQNFS_AppendToFile(nullptr, 3, "/data"), -1);
  EXPECT_EQ(fnQNFS_AppendToFile("abc", 3, nullptr), -1);
  fnQNFS_SetCardSynFileFunc(nullptr);
  EXPECT_EQ(fnQNFS_WriteToFile("abc", 3, "/nobody"), -1);

  EXPECT_EQ(told, (std::vector<std::string>{"/data", "NULL", "/data", "NULL"}));
}

TEST(NullInInertPort, EmptiesTheRoot) {
  fnQNFS_SetFullPath("/root");

  EXPECT_STREQ(fnQNFS_SetFullPath(nullptr), "");
}

TEST(NullInInertPort, AsStreamFails) {
  FILE *stream = nullptr;
  char piece[4];

  EXPECT_EQ(fnQNFS_File_Write("abc", 3, 1, nullptr), -1);
  EXPECT_EQ(fnQNFS_File_Write("abc", 3, 1, &stream), -1);
  EXPECT_EQ(fnQNFS_File_Read(piece, 3, 1, nullptr), -1);
  EXPECT_EQ(fnQNFS_File_Read(piece, 3, 1, &stream), -1);
  EXPECT_EQ(fnQNFS_File_Seek(nullptr, QNFS_SEEK_BEGIN, 0), -1);
  EXPECT_EQ(fnQNFS_File_Seek(&stream, QNFS_SEEK_BEGIN, 0), -1);
  fnQNFS_File_Close(nullptr);
}

TEST(NullInInertPort, AsBytesOfAStreamFails) {
  FILE *stream = std::tmpfile();
  ASSERT_NE(stream, nullptr);

  EXPECT_EQ(fnQNFS_File_Write(nullptr, 3, 1, &stream), -1);
  EXPECT_EQ(fnQNFS_File_Read(nullptr, 3, 1, &stream), -1);

  std::fclose(stream);
}

}  // namespace
