// SPDX-License-Identifier: MIT
// Guards the operations on whole files on their contract: results, content,
// permissions, and when the callback is called.
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <limits>

#include "posix/posix_root.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_fs_filebuffer.h"
#include "support/failing_heap.h"
#include "support/typed_buffer.h"

namespace {

using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class PosixWholeFile : public PosixRoot {};

TEST_F(PosixWholeFile, WriteMakesAPrivateFileAndTells) {
  EXPECT_EQ(WriteText("/x", "content"), 7);

  EXPECT_EQ(folder_.read("x"), "content");
  EXPECT_EQ(ModeOf("x"), 0600);
  EXPECT_THAT(told_written, ElementsAre(Pair("/x", QNFS_CARD_SYN_WRITE)));
  EXPECT_THAT(folder_.names(), ElementsAre("x"));
}

TEST_F(PosixWholeFile, WriteReplacesTheWholeContentByAnyBytesAndManyOfThem) {
  std::string bytes(3000001, '\0');
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 31);

  EXPECT_EQ(WriteText("x", bytes), 3000001);
  EXPECT_EQ(ReadText("x", 4000000), bytes);
  EXPECT_EQ(WriteText("x", "new"), 3);
  EXPECT_EQ(folder_.read("x"), "new");
  EXPECT_EQ(WriteText("x", ""), 0);
  EXPECT_EQ(folder_.read("x"), "");
}

TEST_F(PosixWholeFile, AppendMakesAPrivateFileThenAddsToIt) {
  EXPECT_EQ(AppendText("/x", "ab"), 2);
  EXPECT_EQ(AppendText("x", "cde"), 3);
  EXPECT_EQ(AppendText("x", ""), 0);

  EXPECT_EQ(folder_.read("x"), "abcde");
  EXPECT_EQ(ModeOf("x"), 0600);
  EXPECT_THAT(told_written, ElementsAre(Pair("/x", 2), Pair("x", 2), Pair("x", 2)));
}

TEST_F(PosixWholeFile, RecordWithoutStorageIsNotStored) {
  folder_.write("x", "old");
  QNFSBuffer bare = {nullptr, -1, -1};

  EXPECT_EQ(fnQNFS_Write_Buffer_To_File("x", &bare), 0);
  EXPECT_EQ(fnQNFS_Append_Buffer_To_File("x", &bare), 0);

  EXPECT_EQ(folder_.read("x"), "old");
  EXPECT_THAT(told_written, IsEmpty());
}

TEST_F(PosixWholeFile, RecordWithoutStorageIsEmptyAfterALoad) {
  folder_.write("x", "old");
  QNFSBuffer bare = {nullptr, 5, 20000};

  EXPECT_EQ(fnQNFS_Load_File_To_Buffer("x", &bare), 0);

  EXPECT_EQ(bare.pos, -1);
  EXPECT_EQ(bare.last, -1);
}

TEST_F(PosixWholeFile, ReadGivesTheContentUpToTheMaximumAndItsCount) {
  const std::string content("a\0bcde", 6);
  folder_.write("x", content);
  char destination[] = "??????";
  int32_t count = -1;

  EXPECT_EQ(ReadText("/x"), content);
  EXPECT_EQ(ReadText("x", 6), content);
  EXPECT_EQ(ReadText("x", 0), "");
  EXPECT_EQ(fnQNFS_ReadFromFile("x", 4, destination, &count), 0);

  EXPECT_EQ(count, 4);
  EXPECT_EQ(std::string(destination, 6), std::string("a\0bc??", 6));
}

TEST_F(PosixWholeFile, ThatIsNotThereFailsAndLeavesBytesAndCount) {
  folder_.write("x", "abc");
  folder_.write("empty", "");
  char destination[] = "???";
  int32_t count = 77;

  EXPECT_EQ(fnQNFS_isFileExisted("x"), 1);
  EXPECT_EQ(fnQNFS_isFileExisted("none"), 0);
  EXPECT_EQ(fnQNFS_getFileSize("x"), 3);
  EXPECT_EQ(fnQNFS_getFileSize("empty"), 0);
  EXPECT_EQ(fnQNFS_getFileSize("none"), -1);
  EXPECT_EQ(fnQNFS_ReadFromFile("none", 3, destination, &count), -1);
  EXPECT_EQ(fnQNFS_ReadFromFileAtPos("none", 1, 1, destination), -1);
  EXPECT_EQ(fnQNFS_CopyFile("x", "none"), 0);
  EXPECT_EQ(fnQNFS_MoveFile("x", "none"), 0);
  EXPECT_EQ(fnQNFS_DeleteFile("none"), 0);

  EXPECT_STREQ(destination, "???");
  EXPECT_EQ(count, 77);
  EXPECT_EQ(folder_.read("x"), "abc");
  EXPECT_THAT(folder_.names(), ElementsAre("empty", "x"));
}

TEST_F(PosixWholeFile, SizeIsUnknownWhereALoadCouldNotCount) {
  constexpr int64_t kMost = std::numeric_limits<int32_t>::max() - 10000;
  folder_.write("x", "");  // sparse: it takes no room

  std::filesystem::resize_file(folder_.path("x"), kMost);
  EXPECT_EQ(fnQNFS_getFileSize("x"), kMost);
  for (const int64_t size : {kMost + 1, int64_t{1} << 31, (int64_t{1} << 32) + 5}) {
    std::filesystem::resize_file(folder_.path("x"), static_cast<uintmax_t>(size));
    EXPECT_EQ(fnQNFS_getFileSize("x"), -1) << size;
    TypedBuffer buffer(100);
    const auto load = [&] { EXPECT_EQ(fnQNFS_Load_File_To_Buffer("x", buffer.get()), 0); };
    EXPECT_EQ(RefusalsIn(load, 1), 0) << "no room is asked for";
  }
}

TEST_F(PosixWholeFile, CopyMakesAPrivateSecondFileOfAnySizeAndOntoItselfNone) {
  const std::string large(200001, 'L');
  folder_.write("x", large);
  std::filesystem::permissions(folder_.path("x"), std::filesystem::perms(0644));
  folder_.write("old", "old");

  for (const char *name : {"/copy", "/old", "/x"}) {
    EXPECT_EQ(fnQNFS_CopyFile(name, "x"), 1);
    EXPECT_EQ(folder_.read(name + 1), large) << name;
  }

  EXPECT_EQ(ModeOf("copy"), 0600);
  EXPECT_THAT(folder_.names(), ElementsAre("copy", "old", "x"));
  EXPECT_THAT(told_written, IsEmpty());
}

TEST_F(PosixWholeFile, MoveReplacesTheDestinationByTheFileItself) {
  folder_.write("x", "content");
  MakeFolder("folder");
  folder_.write("folder/y", "old");
  std::filesystem::create_hard_link(folder_.path("x"), folder_.path("same"));

  EXPECT_EQ(fnQNFS_MoveFile("/folder/y", "/x"), 1);

  EXPECT_TRUE(std::filesystem::equivalent(folder_.path("folder/y"), folder_.path("same")));
  EXPECT_THAT(folder_.names(), ElementsAre("folder", "same"));
  EXPECT_THAT(told_written, IsEmpty());
}

TEST_F(PosixWholeFile, DeleteTakesOneFile) {
  folder_.write("x", "content");
  folder_.write("y", "content");

  EXPECT_EQ(fnQNFS_DeleteFile("/x"), 1);

  EXPECT_THAT(folder_.names(), ElementsAre("y"));
}

TEST_F(PosixWholeFile, WritesAtAPosition) {
  folder_.write("x", "abcdef");

  EXPECT_EQ(fnQNFS_WriteToFileAtPos("XY", 2, 1, "x"), 2);
  EXPECT_EQ(folder_.read("x"), "aXYdef");
  EXPECT_EQ(fnQNFS_WriteToFileAtPos("Z", 1, 7, "x"), 1);
  EXPECT_EQ(folder_.read("x"), std::string("aXYdef\0Z", 8));
  EXPECT_EQ(fnQNFS_WriteToFileAtPos("q", 0, 0, "x"), 0);
  EXPECT_EQ(fnQNFS_WriteToFileAtPos("N", 1, 0, "new"), 1);
  EXPECT_EQ(ModeOf("new"), 0600);
  EXPECT_THAT(told_written, IsEmpty());
}

TEST_F(PosixWholeFile, ReadsAtAPosition) {
  folder_.write("x", "abcdef");
  char destination[] = "??????";

  EXPECT_EQ(fnQNFS_ReadFromFileAtPos("x", 2, 3, destination), 3);
  EXPECT_STREQ(destination, "cde???");
  EXPECT_EQ(fnQNFS_ReadFromFileAtPos("x", 4, 6, destination), 2);
  EXPECT_STREQ(destination, "efe???");
  EXPECT_EQ(fnQNFS_ReadFromFileAtPos("x", 6, 6, destination), 0);
  EXPECT_EQ(fnQNFS_ReadFromFileAtPos("x", 0, 0, destination), 0);
}

TEST_F(PosixWholeFile, RefusesNullBytesAndPositionsAndLengthsBelowZero) {
  folder_.write("x", "abc");
  char destination[] = "???";
  int32_t count = 77;

  for (const char *name : {"x", "new"}) {
    EXPECT_EQ(fnQNFS_WriteToFile("X", -1, name), -1);
    EXPECT_EQ(fnQNFS_AppendToFile("X", -1, name), -1);
    EXPECT_EQ(fnQNFS_WriteToFileAtPos("X", 1, -1, name), -1);
    EXPECT_EQ(fnQNFS_WriteToFileAtPos("X", -1, 1, name), -1);
    EXPECT_EQ(fnQNFS_WriteToFileAtPos(nullptr, 1, 1, name), -1);
  }
  EXPECT_EQ(fnQNFS_ReadFromFile("x", -1, destination, &count), -1);
  EXPECT_EQ(fnQNFS_ReadFromFile("x", 3, nullptr, &count), -1);
  EXPECT_EQ(fnQNFS_ReadFromFileAtPos("x", -1, 1, destination), -1);
  EXPECT_EQ(fnQNFS_ReadFromFileAtPos("x", 1, -1, destination), -1);

  EXPECT_EQ(folder_.read("x"), "abc");
  EXPECT_THAT(folder_.names(), ElementsAre("x"));
  EXPECT_STREQ(destination, "???");
  EXPECT_EQ(count, 77);
  EXPECT_THAT(told_written, IsEmpty());
  EXPECT_EQ(WriteText("x", "new"), 3) << "no reading of it has failed";
}

TEST_F(PosixWholeFile, LimitOfTheFileSizeIsACleanFailure) {
  folder_.write("x", "old");

  EXPECT_TRUE(HoldsInChild([this] {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {1000, 1000};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    const std::string bytes(1500, 'b');
    EXPECT_EQ(WriteText("x", bytes), -1);
    EXPECT_EQ(AppendText("x", bytes), -1);
    EXPECT_THAT(told_written, IsEmpty());
    EXPECT_EQ(folder_.read("x"), "old");
    EXPECT_EQ(WriteText("new", bytes), -1);
    EXPECT_THAT(folder_.names(), ElementsAre("x"));
    EXPECT_EQ(fnQNFS_WriteToFileAtPos(bytes.data(), 1500, 3, "x"), -1);
  }));
  EXPECT_EQ(folder_.read("x").substr(0, 3), "old");
}

TEST_F(PosixWholeFile, LeavesNoDescriptorOpen) {
  folder_.write("x", "abc");
  MakeFolder("folder");
  const int before = OpenDescriptors();

  for (const char *name : {"x", "folder", "none", "none/x", "../x"}) {
    WriteText(name, "abc");
    AppendText(name, "abc");
    ReadText(name);
    fnQNFS_CopyFile("y", name);
    fnQNFS_MoveFile("z", name);
    fnQNFS_getFileSize(name);
    fnQNFS_MkDir(name);
    fnQNFS_DelAllFiles(name);
    fnQNFS_RmDir(name);
  }

  EXPECT_EQ(OpenDescriptors(), before);
}

}  // namespace
