// SPDX-License-Identifier: MIT
// Guards the stream operations of a file port, which work on any stream that a
// caller put into a cell.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "qnstack/qn_fs_file.h"
#include "support/failing_heap.h"

namespace {

using qntest::FailingHeap;

// A cell as a caller builds it.
QNFSFile NewCell(FILE *stream) {
  auto *cell = static_cast<QNFSFile>(std::malloc(sizeof(FILE *)));
  if (cell != nullptr) *cell = stream;
  return cell;
}

// A temporary file behind a cell, unbuffered so that its content is in view.
class QnFsStream : public testing::Test {
 protected:
  QnFsStream() : cell_(NewCell(std::tmpfile())) { std::setvbuf(*cell_, nullptr, _IONBF, 0); }
  ~QnFsStream() override { fnQNFS_File_Close(cell_); }

  std::string Content() const {
    const long position = std::ftell(*cell_);
    std::rewind(*cell_);
    std::string content(4096, '?');
    content.resize(std::fread(content.data(), 1, content.size(), *cell_));
    std::fseek(*cell_, position, SEEK_SET);
    return content;
  }

  // Makes `text` the content and stands at its start.
  void Fill(const std::string &text) const {
    std::fputs(text.c_str(), *cell_);
    std::rewind(*cell_);
  }

  QNFSFile cell_;
};

constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";

// Count elements of size times count bytes, a product of 32 bits.
TEST_F(QnFsStream, WritesSizeTimesCountTimesCountBytes) {
  struct {
    uint32_t size;
    uint32_t count;
    int32_t result;
    size_t bytes;
  } const cases[] = {
      {4, 3, 3, 36},          {5, 1, 1, 5}, {0, 3, 0, 0},
      {4, 0, 0, 0},           {0, 0, 0, 0}, {0x80000000U, 2, 0, 0},  // the product is zero
      {0x55555556U, 3, 3, 6},  // it is 2: three elements of two bytes
  };
  std::string expected;
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << c.count << " of " << c.size);

    EXPECT_EQ(fnQNFS_File_Write(kLetters, c.size, c.count, cell_), c.result);

    expected += std::string(kLetters, c.bytes);
    EXPECT_EQ(Content(), expected);
  }
}

TEST(QnFsStreamFailure, WriteToAStreamForReadingGivesMinusOne) {
  char memory[] = "abc";
  FILE *stream = fmemopen(memory, 3, "r");
  ASSERT_NE(stream, nullptr);

  EXPECT_EQ(fnQNFS_File_Write("x", 1, 1, &stream), -1);

  std::fclose(stream);
}

// Takes bytes while there is room for them.
ssize_t WriteIntoRoom(void *cookie, const char * /*bytes*/, size_t size) {
  auto *room = static_cast<size_t *>(cookie);
  const size_t taken = size < *room ? size : *room;
  *room -= taken;
  return static_cast<ssize_t>(taken);
}

TEST(QnFsStreamFailure, WriteGivesTheElementsThatAFullMediumTook) {
  size_t room = 30;
  FILE *stream = fopencookie(&room, "w", {nullptr, WriteIntoRoom, nullptr, nullptr});
  ASSERT_NE(stream, nullptr);
  std::setvbuf(stream, nullptr, _IONBF, 0);

  EXPECT_EQ(fnQNFS_File_Write(kLetters, 4, 3, &stream), 2);
  EXPECT_EQ(fnQNFS_File_Write(kLetters, 4, 3, &stream), -1);

  std::fclose(stream);
}

TEST_F(QnFsStream, ReadsSizeTimesCountBytesThenWhatIsLeftThenFails) {
  Fill("abcdefghijklmnopq");
  char buffer[] = "????????????????";

  EXPECT_EQ(fnQNFS_File_Read(buffer, 4, 3, cell_), 12);
  EXPECT_STREQ(buffer, "abcdefghijkl????");
  EXPECT_EQ(fnQNFS_File_Read(buffer, 4, 3, cell_), 5);
  EXPECT_EQ(fnQNFS_File_Read(buffer, 4, 3, cell_), -1);

  EXPECT_STREQ(buffer, "mnopqfghijkl????");
}

TEST_F(QnFsStream, ReadOfSizeZeroIsZeroButOfCountZeroFails) {
  Fill("abcde");
  char buffer[] = "??";

  EXPECT_EQ(fnQNFS_File_Read(buffer, 0, 5, cell_), 0);
  EXPECT_EQ(fnQNFS_File_Read(buffer, 0, 0, cell_), 0);
  EXPECT_EQ(fnQNFS_File_Read(buffer, 5, 0, cell_), -1);
  EXPECT_EQ(fnQNFS_File_Read(buffer, 0x80000000U, 2, cell_), -1);

  EXPECT_STREQ(buffer, "??");
  EXPECT_EQ(std::ftell(*cell_), 0);
}

TEST_F(QnFsStream, SeeksFromTheOriginsOfThisLibrary) {
  struct Case {
    int32_t origin;
    int32_t offset;
    long expected;
  };
  constexpr Case kCases[] = {
      {QNFS_SEEK_BEGIN, 0, 0},
      {QNFS_SEEK_BEGIN, 7, 7},
      {QNFS_SEEK_END, 0, 36},
      {QNFS_SEEK_END, -6, 30},
      {QNFS_SEEK_END, 4, 40},
      {QNFS_SEEK_CURRENT, 0, 10},
      {QNFS_SEEK_CURRENT, 5, 15},
      {QNFS_SEEK_CURRENT, -10, 0},
      {3, 0, 10},
      {3, 2, 12},
      {-1, 5, 15},
      {INT32_MAX, -4, 6},
  };
  Fill(kLetters);
  for (const Case &c : kCases) {
    SCOPED_TRACE(testing::Message() << c.origin << ", " << c.offset);
    std::fseek(*cell_, 10, SEEK_SET);

    EXPECT_EQ(fnQNFS_File_Seek(cell_, c.origin, c.offset), 0);

    EXPECT_EQ(std::ftell(*cell_), c.expected);
  }
}

static_assert(QNFS_SEEK_BEGIN == 0 && QNFS_SEEK_END == 1 && QNFS_SEEK_CURRENT == 2);

TEST_F(QnFsStream, SeekBeforeTheStartFails) {
  Fill(kLetters);
  std::fseek(*cell_, 10, SEEK_SET);

  EXPECT_EQ(fnQNFS_File_Seek(cell_, QNFS_SEEK_BEGIN, -1), -1);
  EXPECT_EQ(fnQNFS_File_Seek(cell_, QNFS_SEEK_CURRENT, -11), -1);
  EXPECT_EQ(fnQNFS_File_Seek(cell_, QNFS_SEEK_END, INT32_MIN), -1);

  EXPECT_EQ(std::ftell(*cell_), 10);
}

int CountClose(void *cookie) {
  ++*static_cast<int *>(cookie);
  return 0;
}

TEST(QnFsStreamClose, ClosesTheStreamIfThereIsOneAndFreesTheCell) {
  int closes = 0;
  FILE *const stream = fopencookie(&closes, "w", {nullptr, nullptr, nullptr, CountClose});
  ASSERT_NE(stream, nullptr);
  for (FILE *held : {stream, static_cast<FILE *>(nullptr)}) {
    QNFSFile cell = NewCell(held);
    ASSERT_NE(cell, nullptr);
    const FailingHeap heap(FailingHeap::kCountOnly);

    fnQNFS_File_Close(cell);

    EXPECT_EQ(heap.Frees(), 1);
  }
  EXPECT_EQ(closes, 1);
}

TEST(QnFsStreamClose, FlushesWhatWasWritten) {
  char memory[16] = {};
  QNFSFile cell = NewCell(fmemopen(memory, sizeof memory, "w"));
  ASSERT_NE(cell, nullptr);
  ASSERT_NE(*cell, nullptr);
  ASSERT_EQ(fnQNFS_File_Write("content", 7, 1, cell), 1);

  fnQNFS_File_Close(cell);

  EXPECT_STREQ(memory, "content");
}

}  // namespace
