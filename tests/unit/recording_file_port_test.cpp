// SPDX-License-Identifier: MIT
// Guards the recording file port: that it does what the primitives' header
// promises, writes every call down, and fails where it was told to. Were it
// wrong, the tests of everything above the files would mean nothing. What those
// tests would see themselves is left to them: copies and moves, a chosen call that
// fails alone or with all after it, and a count that is reported.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "support/file_port_test.h"

namespace {

using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

std::vector<std::pair<std::string, int32_t>> told;

int32_t Tell(const char *name, int32_t operation) {
  told.emplace_back(name, operation);
  return 0;
}

class RecordingFilePortTest : public FilePortTest {
 protected:
  RecordingFilePortTest() { told.clear(); }
};

TEST_F(RecordingFilePortTest, KeepsTheRoot) {
  EXPECT_STREQ(fnQNFS_SetFullPath("/data"), "/data");
  EXPECT_STREQ(FilePort().Root(), "/data");
  EXPECT_STREQ(fnQNFS_SetFullPath(std::string(1024, 'x').c_str()), "");
  EXPECT_STREQ(fnQNFS_SetFullPath(nullptr), "");
}

TEST_F(RecordingFilePortTest, WritesReadsAndSizesWholeFiles) {
  char bytes[] = "??????";
  int32_t count = -1;

  EXPECT_EQ(fnQNFS_WriteToFile("older content", 13, "/a"), 13);
  EXPECT_EQ(fnQNFS_WriteToFile("new", 3, "/a"), 3);
  EXPECT_EQ(fnQNFS_AppendToFile("er", 2, "/a"), 2);
  EXPECT_EQ(fnQNFS_AppendToFile("b", 1, "/b"), 1);

  EXPECT_EQ(fnQNFS_isFileExisted("/a"), 1);
  EXPECT_EQ(fnQNFS_getFileSize("/a"), 5);
  EXPECT_EQ(fnQNFS_ReadFromFile("/a", 4, bytes, &count), 0);
  EXPECT_EQ(count, 4);
  EXPECT_STREQ(bytes, "newe??");
  EXPECT_EQ(Content("/b"), "b");
}

TEST_F(RecordingFilePortTest, FailsWithoutAFileANameOrBytes) {
  Files().Write("/a", "content");
  char bytes[8];
  int32_t count = 77;

  for (const char *name : {"/none", static_cast<const char *>(nullptr)}) {
    EXPECT_EQ(fnQNFS_isFileExisted(name), 0);
    EXPECT_EQ(fnQNFS_getFileSize(name), -1);
    EXPECT_EQ(fnQNFS_ReadFromFile(name, 1, bytes, &count), -1);
    EXPECT_EQ(fnQNFS_CopyFile("/b", name), 0);
    EXPECT_EQ(fnQNFS_MoveFile("/b", name), 0);
    EXPECT_EQ(fnQNFS_DeleteFile(name), 0);
  }
  FilePort().ClearCalls();
  EXPECT_EQ(fnQNFS_WriteToFile(nullptr, 1, "/a"), -1);
  EXPECT_EQ(fnQNFS_WriteToFile("x", -1, "/a"), -1);
  EXPECT_EQ(fnQNFS_WriteToFile("x", 1, nullptr), -1);
  EXPECT_EQ(fnQNFS_AppendToFile(nullptr, 1, "/a"), -1);
  EXPECT_EQ(fnQNFS_ReadFromFile("/a", -1, bytes, &count), -1);
  EXPECT_EQ(fnQNFS_MoveFile(nullptr, "/a"), 0);
  EXPECT_EQ(fnQNFS_CopyFile(nullptr, "/a"), 0);

  EXPECT_EQ(count, 77);
  EXPECT_EQ(Content("/a"), "content");
  EXPECT_THAT(Files().Names(), ElementsAre("/a"));
  EXPECT_EQ(FilePort().Calls().front(), "WriteToFile(NULL, /a)");
}

TEST_F(RecordingFilePortTest, DeletesTheFilesOfOneDirectory) {
  Files().Write("/d/a", "");
  Files().Write("/d/b", "");
  Files().Write("/d/e/c", "");
  Files().Write("/dd", "");

  EXPECT_EQ(fnQNFS_DelAllFiles("/d/"), 1);
  EXPECT_EQ(fnQNFS_DelAllFiles("/none/"), 0);

  EXPECT_THAT(Files().Names(), ElementsAre("/d/e/c", "/dd"));
}

TEST_F(RecordingFilePortTest, MakesDirectories) {
  EXPECT_EQ(fnQNFS_MkDir("/wap/ca/"), 1);
  EXPECT_EQ(fnQNFS_MkDir("/wap/ca/"), 1);

  EXPECT_TRUE(Files().HasDirectory("/wap/ca"));
}

TEST_F(RecordingFilePortTest, WritesIntoKnownDirectoriesOnlyWhenToldSo) {
  Files().RequireDirectories();

  EXPECT_EQ(fnQNFS_WriteToFile("x", 1, "/wap/ca/1"), -1);
  fnQNFS_MkDir("/wap/ca/");
  EXPECT_EQ(fnQNFS_WriteToFile("x", 1, "/wap/ca/1"), 1);
}

TEST_F(RecordingFilePortTest, TellsTheApplicationAfterASuccessOnly) {
  fnQNFS_SetCardSynFileFunc(Tell);
  FilePort().Fail("WriteToFile");

  fnQNFS_WriteToFile("x", 1, "/failing");
  fnQNFS_WriteToFile("x", 1, "/a");
  fnQNFS_AppendToFile("x", 1, "/b");
  fnQNFS_AppendToFile(nullptr, 1, "/c");

  EXPECT_THAT(told, ElementsAre(Pair("/a", 2), Pair("/b", 2)));
}

TEST_F(RecordingFilePortTest, WritesEveryCallDown) {
  char bytes[4];
  int32_t count = 0;
  fnQNFS_SetFullPath("/root");
  fnQNFS_SetCardSynFileFunc(nullptr);
  fnQNFS_WriteToFile("abc", 3, "/a");
  fnQNFS_MoveFile("/b", "/a");
  fnQNFS_ReadFromFile("/b", 4, bytes, &count);

  EXPECT_THAT(FilePort().Calls(),
              ElementsAre("SetFullPath(/root)", "SetCardSynFileFunc(NULL)",
                          "WriteToFile(3 bytes, /a)", "MoveFile(/b, /a)", "ReadFromFile(/b, 4)"));
  EXPECT_EQ(FilePort().Log()[2].data, "abc");
  EXPECT_EQ(FilePort().CountOf("MoveFile"), 1);
}

TEST_F(RecordingFilePortTest, FailsEveryPrimitiveThatCanFail) {
  Files().Write("/d/a", "content");
  char bytes[8];
  int32_t count = 77;
  FilePort().FailFrom(1);

  EXPECT_EQ(fnQNFS_isFileExisted("/d/a"), 0);
  EXPECT_EQ(fnQNFS_getFileSize("/d/a"), -1);
  EXPECT_EQ(fnQNFS_MkDir("/e"), 0);
  EXPECT_EQ(fnQNFS_DelAllFiles("/d"), 0);
  EXPECT_EQ(fnQNFS_CopyFile("/d/b", "/d/a"), 0);
  EXPECT_EQ(fnQNFS_MoveFile("/d/b", "/d/a"), 0);
  EXPECT_EQ(fnQNFS_DeleteFile("/d/a"), 0);
  EXPECT_EQ(fnQNFS_ReadFromFile("/d/a", 8, bytes, &count), -1);
  EXPECT_EQ(fnQNFS_WriteToFile("x", 1, "/d/a"), -1);
  EXPECT_EQ(fnQNFS_AppendToFile("x", 1, "/d/a"), -1);

  EXPECT_EQ(count, 77);
  EXPECT_THAT(Files().Names(), ElementsAre("/d/a"));
  EXPECT_EQ(Content("/d/a"), "content");
  EXPECT_FALSE(Files().HasDirectory("/e"));
}

TEST_F(RecordingFilePortTest, GivesTheChosenAnswerWithNothingDone) {
  Files().Write("/a", "content");
  char bytes[] = "?";
  int32_t count = 77;
  FilePort().Answer("isFileExisted", 5);
  FilePort().Answer("getFileSize", -5, 2);
  FilePort().Answer("ReadFromFile", 0);
  FilePort().Answer("WriteToFile", -2);
  FilePort().Answer("AppendToFile", 0);

  EXPECT_EQ(fnQNFS_isFileExisted("/none"), 5);
  EXPECT_EQ(fnQNFS_getFileSize("/a"), 7);
  EXPECT_EQ(fnQNFS_getFileSize("/a"), -5);
  EXPECT_EQ(fnQNFS_ReadFromFile("/a", 1, bytes, &count), 0);
  EXPECT_EQ(fnQNFS_WriteToFile("x", 1, "/a"), -2);
  EXPECT_EQ(fnQNFS_AppendToFile("x", 1, "/a"), 0);

  EXPECT_STREQ(bytes, "?");
  EXPECT_EQ(count, 77);
  EXPECT_EQ(Content("/a"), "content");
}

TEST_F(RecordingFilePortTest, TearsWritesAfterTheirFirstBytes) {
  Files().Write("/w", "old");
  Files().Write("/a", "old");
  for (const char *function : {"WriteToFile", "AppendToFile", "CopyFile"}) {
    FilePort().Tear(function, 2);
  }

  EXPECT_EQ(fnQNFS_WriteToFile("newer", 5, "/w"), -1);
  EXPECT_EQ(fnQNFS_AppendToFile("newer", 5, "/a"), -1);
  EXPECT_EQ(fnQNFS_CopyFile("/c", "/a"), 0);

  EXPECT_EQ(Content("/w"), "ne");
  EXPECT_EQ(Content("/a"), "oldne");
  EXPECT_EQ(Content("/c"), "ol");
}

TEST_F(RecordingFilePortTest, ForgetsEverythingAtReset) {
  fnQNFS_SetFullPath("/root");
  fnQNFS_SetCardSynFileFunc(Tell);
  FilePort().FailFrom(3);
  Files().RequireDirectories();

  FilePort().Reset();

  EXPECT_THAT(FilePort().Calls(), IsEmpty());
  EXPECT_STREQ(FilePort().Root(), "");
  EXPECT_EQ(fnQNFS_WriteToFile("x", 1, "/d/a"), 1);
  EXPECT_EQ(fnQNFS_WriteToFile("x", 1, "/d/b"), 1);
  EXPECT_EQ(fnQNFS_WriteToFile("x", 1, "/d/c"), 1);
  EXPECT_THAT(told, IsEmpty());
}

}  // namespace
