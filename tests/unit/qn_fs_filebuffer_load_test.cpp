// SPDX-License-Identifier: MIT
// Guards how typed file buffers are loaded: the restoring of a leftover
// ".bak", every size and result that a port may give, and files that are
// larger than their reader thought.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>

#include "qnstack/qn_fs_filebuffer.h"
#include "support/failing_heap.h"
#include "support/file_port_test.h"
#include "support/typed_buffer.h"

namespace {

using namespace std::string_literals;
using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

// The bytes of a buffer that was loaded.
std::string Held(TypedBuffer &buffer) {
  return {buffer->data, static_cast<size_t>(buffer->last + 1)};
}

class QnFsBufferLoad : public FilePortTest {
 protected:
  // Puts the record where no load would.
  void Mark() {
    buffer_->pos = 5;
    buffer_->last = 7;
  }
  int32_t Load() { return fnQNFS_Load_File_To_Buffer(kName, buffer_.get()); }

  TypedBuffer buffer_{20000};
};

TEST_F(QnFsBufferLoad, ReadsTheWholeFile) {
  Files().Write(kName, "abc\0\n"s);

  EXPECT_EQ(Load(), 1);

  EXPECT_THAT(FilePort().Calls(), ElementsAre("isFileExisted(/abc.bak)", "getFileSize(/abc)",
                                              "ReadFromFile(/abc, 10005)"));
  EXPECT_THAT(buffer_.Places(), Pair(-1, 4));
  EXPECT_EQ(Held(buffer_), "abc\0\n"s);
}

TEST_F(QnFsBufferLoad, OfAnEmptyFileIsAtItsEndInStorageOfAnySize) {
  Files().Write(kName, "");
  for (const uint32_t capacity : {4U, 20000U}) {
    SCOPED_TRACE(capacity);
    TypedBuffer buffer(capacity);
    const char *storage = buffer->data;

    EXPECT_EQ(fnQNFS_Load_File_To_Buffer(kName, buffer.get()), 1);

    EXPECT_EQ(buffer->data, storage);
    EXPECT_THAT(buffer.Places(), Pair(-1, -1));
    EXPECT_EQ(fnQNFS_Buffer_IsEnd(buffer.get()), 1);
  }
}

TEST_F(QnFsBufferLoad, OfAMissingFileLeavesTheRecordUntouched) {
  Mark();

  EXPECT_EQ(Load(), 0);

  EXPECT_THAT(FilePort().Calls(), ElementsAre("isFileExisted(/abc.bak)", "getFileSize(/abc)"));
  EXPECT_THAT(buffer_.Places(), Pair(5, 7));
}

TEST_F(QnFsBufferLoad, RestoresALeftoverBackupFirst) {
  Files().Write(kName, "to");
  Files().Write(kBackup, "old");

  EXPECT_EQ(Load(), 1);

  EXPECT_THAT(FilePort().Calls(),
              ElementsAre("isFileExisted(/abc.bak)", "DeleteFile(/abc)", "MoveFile(/abc, /abc.bak)",
                          "getFileSize(/abc)", "ReadFromFile(/abc, 10003)"));
  EXPECT_EQ(Held(buffer_), "old");
  EXPECT_THAT(Files().Names(), ElementsAre(kName));
}

TEST_F(QnFsBufferLoad, RestoresABackupWhoseFileIsGone) {
  Files().Write(kBackup, "old");

  EXPECT_EQ(Load(), 1);

  EXPECT_EQ(Held(buffer_), "old");
}

TEST_F(QnFsBufferLoad, AsksForABackupOfThreeCharactersOrMore) {
  TypedBuffer other(20000);
  Files().Write("ab", "two");
  Files().Write("abc", "three");

  EXPECT_EQ(fnQNFS_Load_File_To_Buffer("ab", buffer_.get()), 1);
  EXPECT_EQ(fnQNFS_Load_File_To_Buffer("abc", other.get()), 1);

  EXPECT_THAT(FilePort().Calls(),
              ElementsAre("getFileSize(ab)", "ReadFromFile(ab, 10003)", "isFileExisted(abc.bak)",
                          "getFileSize(abc)", "ReadFromFile(abc, 10005)"));
  EXPECT_EQ(Held(buffer_), "two");
  EXPECT_EQ(Held(other), "three");
}

TEST_F(QnFsBufferLoad, RestoresOnlyWhatSurelyExists) {
  for (const auto &[answer, content] :
       {std::pair(5, "old"), std::pair(1, "old"), std::pair(0, "torn"), std::pair(-1, "torn")}) {
    SCOPED_TRACE(answer);
    Files().Write(kName, "torn");
    Files().Write(kBackup, "old");
    FilePort().Answer("isFileExisted", answer);

    EXPECT_EQ(Load(), 1);

    EXPECT_EQ(Content(kName), content);
    fnQNFS_Init_Buffer(buffer_.get(), 20000);
  }
}

TEST_F(QnFsBufferLoad, WithoutANameOrRecordTouchesNothing) {
  EXPECT_EQ(fnQNFS_Load_File_To_Buffer(nullptr, buffer_.get()), 0);
  EXPECT_EQ(fnQNFS_Load_File_To_Buffer(kName, nullptr), 0);

  EXPECT_THAT(FilePort().Calls(), IsEmpty());
  EXPECT_THAT(buffer_.Places(), Pair(-1, 19999));
}

// Each call of a load that restores a backup fails alone.
TEST_F(QnFsBufferLoad, HoldsWhenOneStepFails) {
  struct Case {
    const char *function;
    int32_t result;
    std::pair<int32_t, int32_t> places;
    std::optional<std::string> content;
    std::optional<std::string> backup;
  };
  const Case cases[] = {
      {"isFileExisted", 1, {-1, 3}, "torn", "old"},
      {"DeleteFile", 1, {-1, 2}, "old", std::nullopt},
      {"MoveFile", 0, {5, 7}, std::nullopt, "old"},
      {"getFileSize", 0, {5, 7}, "old", std::nullopt},
      {"ReadFromFile", 0, {-1, -1}, "old", std::nullopt},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.function);
    FilePort().Reset();
    Files().Write(kName, "torn");
    Files().Write(kBackup, "old");
    FilePort().Fail(c.function);
    fnQNFS_Init_Buffer(buffer_.get(), 20000);
    // The record's places, where the load does not set them.
    if (c.places.second == 7) Mark();

    EXPECT_EQ(Load(), c.result);

    EXPECT_EQ(buffer_.Places(), c.places);
    EXPECT_EQ(Content(kName), c.content);
    EXPECT_EQ(Content(kBackup), c.backup);
    fnQNFS_Init_Buffer(buffer_.get(), 20000);
    EXPECT_EQ(Load(), 1);
    EXPECT_EQ(Held(buffer_), "old");
  }
}

TEST_F(QnFsBufferLoad, ReadsAtMostTheSizeAnd10000Bytes) {
  Files().Write(kName, "content");
  for (const int32_t size : {0, 9000, -2, -5, -10000}) {
    FilePort().Answer("getFileSize", size);

    EXPECT_EQ(Load(), 1);

    EXPECT_EQ(FilePort().Calls().back(),
              "ReadFromFile(/abc, " + std::to_string(size + 10000) + ")");
    fnQNFS_Init_Buffer(buffer_.get(), 20000);
  }
}

TEST_F(QnFsBufferLoad, OfASizeThatCannotBeReadOrWithoutMemoryIsAnEmptyBuffer) {
  Files().Write(kName, "content");
  for (const int32_t size : {INT32_MAX, INT32_MAX - 9999, -10001, INT32_MIN, INT32_MAX - 10000}) {
    SCOPED_TRACE(size);
    FilePort().Answer("getFileSize", size);

    // The last alone could be read.
    EXPECT_EQ(WithRefusal(2, [&] { return Load(); }), 0);

    EXPECT_THAT(buffer_.Places(), Pair(-1, -1));
    fnQNFS_Init_Buffer(buffer_.get(), 20000);
  }
  EXPECT_EQ(FilePort().CountOf("ReadFromFile"), 0);
}

TEST_F(QnFsBufferLoad, OfAPortThatReadsNothingIsAnEmptyBufferAndZeroAloneASuccess) {
  Files().Write(kName, "content");
  for (const int32_t answer : {0, -1, 1, 7, -2}) {
    SCOPED_TRACE(answer);
    FilePort().Answer("ReadFromFile", answer);
    fnQNFS_Init_Buffer(buffer_.get(), 20000);

    EXPECT_EQ(Load(), answer == 0 ? 1 : 0);

    EXPECT_THAT(buffer_.Places(), Pair(-1, -1));
  }
}

TEST_F(QnFsBufferLoad, WithoutMemoryForTheBackupsNameReadsWhatIsThere) {
  Files().Write(kName, "torn");
  Files().Write(kBackup, "old");

  EXPECT_EQ(WithRefusal(1, [&] { return Load(); }), 1);

  EXPECT_EQ(Held(buffer_), "torn");
  EXPECT_THAT(FilePort().Calls(), ElementsAre("getFileSize(/abc)", "ReadFromFile(/abc, 10004)"));
}

std::string LongContent(size_t size) {
  std::string content;
  for (size_t i = 0; i < size; ++i) {
    content += static_cast<char>('a' + i % 23);
  }
  return content;
}

TEST_F(QnFsBufferLoad, ReadsARestoredBackupThatOutgrowsTheStorage) {
  const std::string old = LongContent(30000);
  Files().Write(kName, "tiny");
  Files().Write(kBackup, old);
  TypedBuffer buffer(10004);

  EXPECT_EQ(fnQNFS_Load_File_To_Buffer(kName, buffer.get()), 1);

  EXPECT_EQ(FilePort().Calls().back(), "ReadFromFile(/abc, 40000)");
  EXPECT_THAT(buffer.Places(), Pair(-1, 29999));
  EXPECT_EQ(Held(buffer), old);
}

TEST_F(QnFsBufferLoad, HoldsNoMoreOfAnOutgrownFileThanItAskedFor) {
  Files().Write(kName, LongContent(30000));
  FilePort().Report("ReadFromFile", INT32_MAX);
  TypedBuffer buffer(10004);

  EXPECT_EQ(fnQNFS_Load_File_To_Buffer(kName, buffer.get()), 1);

  EXPECT_THAT(buffer.Places(), Pair(-1, 39999));
}

TEST_F(QnFsBufferLoad, KeepsTheStorageThatIsLargeEnoughForTheContent) {
  const std::string old = LongContent(10004);
  Files().Write(kName, "tiny");
  Files().Write(kBackup, old);
  TypedBuffer buffer(10004);
  const char *storage = buffer->data;

  EXPECT_EQ(fnQNFS_Load_File_To_Buffer(kName, buffer.get()), 1);

  EXPECT_EQ(buffer->data, storage);
  EXPECT_EQ(Held(buffer), old);
}

TEST_F(QnFsBufferLoad, ReadsIntoStorageThatIsNotFromTheHeapWhereTheFileFits) {
  char storage[8];
  QNFSBuffer record = {storage, -1, -1};
  fnQNFS_Init_Buffer(&record, sizeof storage);
  Files().Write(kName, "12345678");

  EXPECT_EQ(fnQNFS_Load_File_To_Buffer(kName, &record), 1);

  EXPECT_EQ(record.data, storage);
  EXPECT_EQ(std::string(storage, sizeof storage), "12345678");
}

TEST_F(QnFsBufferLoad, WithoutMemoryForAnOutgrownFileKeepsTheStorage) {
  Files().Write(kName, LongContent(30000));
  TypedBuffer buffer(10004);
  const char *storage = buffer->data;

  const auto load = [&] { return fnQNFS_Load_File_To_Buffer(kName, buffer.get()); };
  EXPECT_EQ(WithRefusal(2, load), 0);

  EXPECT_EQ(buffer->data, storage);
  EXPECT_THAT(buffer.Places(), Pair(-1, -1));
}

TEST_F(QnFsBufferLoad, ReadsBackWhatWasSaved) {
  TypedBuffer saved(100);
  fnQNFS_Buffer_WriteLine(saved.get(), "first");
  fnQNFS_Buffer_WriteInteger(saved.get(), -3);
  fnQNFS_Write_Buffer_To_File(kName, saved.get());

  EXPECT_EQ(Load(), 1);

  int32_t status = 77;
  EXPECT_EQ(buffer_.Read(), "first");
  EXPECT_EQ(fnQNFS_Buffer_ReadInteger(buffer_.get(), &status), -3);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(fnQNFS_Buffer_IsEnd(buffer_.get()), 1);
}

}  // namespace
