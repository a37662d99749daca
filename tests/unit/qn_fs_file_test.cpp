// SPDX-License-Identifier: MIT
// Guards the inert file port: the fixed results of the whole-file operations,
// which touch no file, the root directory, and when the callback is called.
#include "qnstack/qn_fs_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "support/scratch_folder.h"

namespace {

using qntest::ScratchFolder;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

TEST(QnFsSetFullPath, KeepsACopy) {
  char path[] = "/data/application";

  const char *root = fnQNFS_SetFullPath(path);
  path[1] = '?';

  EXPECT_STREQ(root, "/data/application");
}

TEST(QnFsSetFullPath, KeepsAPathThatFitsAndNothingElse) {
  const std::string before(1000, 'y');
  for (const size_t length : {0U, 2U, 999U, 1023U, 1024U, 1025U, 5000U}) {
    SCOPED_TRACE(length);
    const std::string path(length, 'x');
    const char *first = fnQNFS_SetFullPath(before.c_str());

    const char *root = fnQNFS_SetFullPath(path.c_str());

    std::string expected = length < 1024 ? path : "";
    expected.resize(1024);
    EXPECT_EQ(root, first);
    EXPECT_EQ(std::string(root, 1024), expected);
  }
}

// A folder that is the working folder, with one file "a" in it.
class QnFsWholeFile : public testing::Test {
 protected:
  QnFsWholeFile() {
    EXPECT_EQ(chdir(folder_.path().c_str()), 0);
    folder_.write("a", "content");
    fnQNFS_SetFullPath(folder_.path().c_str());
  }
  ~QnFsWholeFile() override { EXPECT_EQ(chdir("/"), 0); }

  void ExpectUntouched() const {
    EXPECT_THAT(folder_.names(), ElementsAre("a"));
    EXPECT_EQ(folder_.read("a"), "content");
  }

  ScratchFolder folder_;
};

TEST_F(QnFsWholeFile, GivesFixedResultsAndTouchesNoFile) {
  char destination[] = "???";
  int32_t count = 77;

  EXPECT_EQ(fnQNFS_isFileExisted("a"), 0);
  EXPECT_EQ(fnQNFS_getFileSize("a"), 0);
  EXPECT_EQ(fnQNFS_File_Open("a", "r"), nullptr);
  EXPECT_EQ(fnQNFS_File_Open("new", "w"), nullptr);
  EXPECT_EQ(fnQNFS_MkDir("d"), 0);
  EXPECT_EQ(fnQNFS_CopyFile("b", "a"), 0);
  EXPECT_EQ(fnQNFS_MoveFile("b", "a"), 0);
  EXPECT_EQ(fnQNFS_DeleteFile("a"), 1);
  EXPECT_EQ(fnQNFS_DelAllFiles("./"), 1);
  EXPECT_EQ(fnQNFS_RmDir("."), 1);
  EXPECT_EQ(fnQNFS_ReadFromFile("a", 3, destination, &count), -1);
  EXPECT_EQ(fnQNFS_WriteToFileAtPos("new", 3, 1, "a"), -1);
  EXPECT_EQ(fnQNFS_ReadFromFileAtPos("a", 1, 3, destination), -1);

  EXPECT_STREQ(destination, "???");
  EXPECT_EQ(count, 77);
  ExpectUntouched();
}

TEST_F(QnFsWholeFile, CreateDirGivesTheLengthAndMakesNothing) {
  struct Case {
    std::string path;
    uint32_t length;
  };
  const Case kCases[] = {{"/wap/ca/", 8},
                         {"d/e/f", 5},
                         {"d", 1},
                         {"/", 1},
                         {"", 0},
                         {std::string(1023, '/'), 1023},
                         {std::string(1024, '/'), 1024},
                         {std::string(5000, 'x'), 5000}};
  for (const Case &c : kCases) {
    SCOPED_TRACE(c.path.substr(0, 10));

    EXPECT_EQ(fnQNFS_File_CreateDir(c.path.c_str()), c.length);
  }
  ExpectUntouched();
}

// The calls of the callback that the tests install.
std::vector<std::pair<const char *, int32_t>> told;

int32_t Tell(const char *name, int32_t operation) {
  told.emplace_back(name, operation);
  return 5;
}

// A whole file in the test's folder, with the callback installed.
class QnFsCallback : public QnFsWholeFile {
 protected:
  QnFsCallback() {
    told.clear();
    fnQNFS_SetCardSynFileFunc(Tell);
  }
  ~QnFsCallback() override { fnQNFS_SetCardSynFileFunc(nullptr); }

  const char *name_ = "a";
};

TEST_F(QnFsCallback, IsCalledByAWriteWhichFails) {
  EXPECT_EQ(fnQNFS_WriteToFile("new", 3, name_), -1);

  EXPECT_THAT(told, ElementsAre(Pair(name_, QNFS_CARD_SYN_WRITE)));
  EXPECT_EQ(QNFS_CARD_SYN_WRITE, 2);
  ExpectUntouched();
}

TEST_F(QnFsCallback, IsNotCalledByAnAppendOfBytesToAName) {
  EXPECT_EQ(fnQNFS_AppendToFile("new", 3, name_), -1);

  EXPECT_THAT(told, IsEmpty());
  ExpectUntouched();
}

TEST_F(QnFsCallback, IsCalledByAnAppendThatLacksBytesOrName) {
  EXPECT_EQ(fnQNFS_AppendToFile(nullptr, 0, name_), -1);
  EXPECT_EQ(fnQNFS_AppendToFile("new", 3, nullptr), -1);
  EXPECT_EQ(fnQNFS_AppendToFile(nullptr, 0, nullptr), -1);

  EXPECT_THAT(told, ElementsAre(Pair(name_, 2), Pair(nullptr, 2), Pair(nullptr, 2)));
}

TEST_F(QnFsCallback, IsCalledByNothingElse) {
  int32_t count = 0;
  char bytes[4] = {};
  fnQNFS_DeleteFile(name_);
  fnQNFS_CopyFile(name_, name_);
  fnQNFS_MoveFile(name_, name_);
  fnQNFS_ReadFromFile(name_, 4, bytes, &count);
  fnQNFS_WriteToFileAtPos(bytes, 4, 0, name_);

  EXPECT_THAT(told, IsEmpty());
}

TEST_F(QnFsCallback, IsSkippedWhenThereIsNone) {
  fnQNFS_SetCardSynFileFunc(nullptr);

  EXPECT_EQ(fnQNFS_WriteToFile("new", 3, name_), -1);
  EXPECT_EQ(fnQNFS_AppendToFile(nullptr, 0, name_), -1);

  EXPECT_THAT(told, IsEmpty());
}

}  // namespace
