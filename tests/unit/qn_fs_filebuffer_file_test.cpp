// SPDX-License-Identifier: MIT
// Guards how typed file buffers are saved and appended: the calls that keep the old
// content as ".bak" meanwhile, and what is there after each of them failed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "qnstack/qn_fs_filebuffer.h"
#include "support/failing_heap.h"
#include "support/file_port_test.h"
#include "support/typed_buffer.h"

namespace {

using namespace std::string_literals;
using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;

struct Way {
  const char *name;
  int32_t (*store)(const char *name, QNFSBuffer *record);
  const char *function;  // of the port
  const char *content;   // after "new" was stored over "old"
};
constexpr Way kSaveWay = {"Save", fnQNFS_Write_Buffer_To_File, "WriteToFile", "new"};
constexpr Way kAppendWay = {"Append", fnQNFS_Append_Buffer_To_File, "AppendToFile", "oldnew"};

void PrintTo(const Way &way, std::ostream *out) { *out << way.name; }

// What a load of the file finds; none if it fails.
std::optional<std::string> Loaded() {
  TypedBuffer buffer(20000);
  if (fnQNFS_Load_File_To_Buffer(kName, buffer.get()) == 0) return std::nullopt;
  return std::string(buffer->data, static_cast<size_t>(buffer->last + 1));
}

class QnFsBufferStore : public FilePortTest, public testing::WithParamInterface<Way> {
 protected:
  static int32_t Store(const char *name, const std::string &text) {
    TypedBuffer buffer(100);
    fnQNFS_Buffer_WriteMem(buffer.get(), text.data(), static_cast<int32_t>(text.size()));
    buffer->pos -= 1;  // without the zero byte
    return GetParam().store(name, buffer.get());
  }

  static std::string CallOf(const std::string &arguments) {
    return GetParam().function + ("(" + arguments + ")");
  }
};

INSTANTIATE_TEST_SUITE_P(Ways, QnFsBufferStore, testing::Values(kSaveWay, kAppendWay),
                         testing::PrintToStringParamName());

TEST_P(QnFsBufferStore, KeepsTheOldContentUntilTheNewIsWritten) {
  Files().Write(kName, "old");

  EXPECT_EQ(Store(kName, "new"), 1);

  EXPECT_THAT(FilePort().Calls(), ElementsAre("DeleteFile(/abc.bak)", "MoveFile(/abc.bak, /abc)",
                                              "CopyFile(/abc, /abc.bak)", CallOf("3 bytes, /abc"),
                                              "DeleteFile(/abc.bak)"));
  EXPECT_EQ(Content(kName), GetParam().content);
  EXPECT_THAT(Files().Names(), ElementsAre(kName));
}

TEST_P(QnFsBufferStore, PutsTheOldContentBackWhenWritingFails) {
  Files().Write(kName, "old");
  FilePort().Tear(GetParam().function, 2);

  EXPECT_EQ(Store(kName, "new"), 0);

  EXPECT_THAT(FilePort().Calls(), ElementsAre("DeleteFile(/abc.bak)", "MoveFile(/abc.bak, /abc)",
                                              "CopyFile(/abc, /abc.bak)", CallOf("3 bytes, /abc"),
                                              "DeleteFile(/abc)", "MoveFile(/abc, /abc.bak)"));
  EXPECT_EQ(Content(kName), "old");
  EXPECT_THAT(Files().Names(), ElementsAre(kName));
}

TEST_P(QnFsBufferStore, MakesAFileThatWasNotThereAndLeavesNoneWhenItFails) {
  FilePort().Tear(GetParam().function, 2);

  EXPECT_EQ(Store(kName, "new"), 0);
  EXPECT_THAT(Files().Names(), IsEmpty());
  EXPECT_EQ(Store(kName, "new"), 1);

  EXPECT_EQ(Content(kName), "new");
  EXPECT_THAT(Files().Names(), ElementsAre(kName));
}

TEST_P(QnFsBufferStore, PutsAnOlderBackupAway) {
  Files().Write(kName, "old");
  Files().Write(kBackup, "older");
  FilePort().Fail(GetParam().function);

  EXPECT_EQ(Store(kName, "new"), 0);

  EXPECT_EQ(Content(kName), "old");
  EXPECT_THAT(Files().Names(), ElementsAre(kName));
}

TEST_P(QnFsBufferStore, OfNothingWritesNoByte) {
  Files().Write(kName, "old");
  TypedBuffer empty(100);

  EXPECT_EQ(GetParam().store(kName, empty.get()), 1);

  EXPECT_EQ(FilePort().Calls()[3], CallOf("0 bytes, /abc"));
  EXPECT_EQ(Content(kName), GetParam().store == kSaveWay.store ? "" : "old");
}

TEST_P(QnFsBufferStore, WritesTheZeroByteBehindAnExactFit) {
  TypedBuffer buffer(8);
  buffer.Write("abcdefgh");

  EXPECT_EQ(GetParam().store(kName, buffer.get()), 1);

  EXPECT_EQ(Content(kName), "abcdefgh\0"s);
}

TEST_P(QnFsBufferStore, LeavesTheRecordAlone) {
  TypedBuffer buffer(8);
  buffer.Write("ab");
  const char *storage = buffer->data;

  GetParam().store(kName, buffer.get());

  EXPECT_EQ(buffer->data, storage);
  EXPECT_THAT(buffer.Places(), testing::Pair(2, 7));
}

TEST_P(QnFsBufferStore, OfANameBelowThreeCharactersHasNoBackup) {
  Files().Write("ab", "old");
  FilePort().Fail(GetParam().function, 2);

  EXPECT_EQ(Store("ab", "new"), 1);
  EXPECT_EQ(Content("ab"), GetParam().content);
  EXPECT_EQ(Store("ab", "new"), 0);
  EXPECT_THAT(Files().Names(), IsEmpty());
  EXPECT_EQ(Store("abc", "new"), 1);

  const auto calls = FilePort().Calls();
  EXPECT_THAT(std::vector(calls.begin(), calls.begin() + 4),
              ElementsAre(CallOf("3 bytes, ab"), CallOf("3 bytes, ab"), "DeleteFile(ab)",
                          "DeleteFile(abc.bak)"));
}

TEST_P(QnFsBufferStore, WithoutMemoryForTheBackupsNameHasNone) {
  Files().Write(kName, "old");
  TypedBuffer buffer(8);
  buffer.Write("ab");

  EXPECT_EQ(WithRefusal(1, [&] { return GetParam().store(kName, buffer.get()); }), 1);

  EXPECT_THAT(FilePort().Calls(), ElementsAre(CallOf("3 bytes, /abc")));
}

TEST_P(QnFsBufferStore, TakesEveryAnswerButMinusOneForSuccess) {
  for (const int32_t answer : {0, 1, 100, -2}) {
    FilePort().Answer(GetParam().function, answer);

    EXPECT_EQ(Store(kName, "new"), 1) << answer;
  }
}

TEST_P(QnFsBufferStore, WithoutANameOrRecordTouchesNothing) {
  TypedBuffer buffer(8);

  EXPECT_EQ(GetParam().store(nullptr, buffer.get()), 0);
  EXPECT_EQ(GetParam().store(kName, nullptr), 0);

  EXPECT_THAT(FilePort().Calls(), IsEmpty());
}

TEST_P(QnFsBufferStore, OfAPositionWithoutALengthFails) {
  TypedBuffer buffer(8);
  Files().Write(kName, "old");
  buffer->pos = std::numeric_limits<int32_t>::max();

  EXPECT_EQ(GetParam().store(kName, buffer.get()), 0);

  EXPECT_EQ(Content(kName), "old");
}

TEST_P(QnFsBufferStore, LeavesNothingOnTheHeap) {
  TypedBuffer buffer(8);
  FilePort().Fail(GetParam().function);
  const FailingHeap heap(FailingHeap::kCountOnly);

  EXPECT_EQ(GetParam().store(kName, buffer.get()), 0);
  EXPECT_EQ(GetParam().store(kName, buffer.get()), 1);

  EXPECT_EQ(heap.LiveBlocks(), 0);
}

// One call over "old", with "older" as a backup from before, fails alone or beside
// the write.
struct StepFailure {
  const char *function;
  int nth;
  bool write_fails_too;
  int32_t result;
  std::optional<std::string> content;
  std::optional<std::string> backup;
  std::string loaded;
};

TEST_P(QnFsBufferStore, HoldsWhenAStepFails) {
  const std::string done = GetParam().content;
  const auto none = std::nullopt;
  const StepFailure cases[] = {
      {"DeleteFile", 1, false, 1, done, none, done},
      {"MoveFile", 1, false, 1, done, none, done},
      // Without the copy there is nothing that could be appended to.
      {"CopyFile", 1, false, 1, "new", none, "new"},
      {GetParam().function, 1, false, 0, "old", none, "old"},
      // The backup that could not be deleted is what a load takes.
      {"DeleteFile", 2, false, 1, done, "old", "old"},
      {"DeleteFile", 1, true, 0, "old", none, "old"},
      {"CopyFile", 1, true, 0, "old", none, "old"},
      {"DeleteFile", 2, true, 0, "old", none, "old"},
      {"MoveFile", 2, true, 0, none, "old", "old"},
  };
  for (const StepFailure &c : cases) {
    SCOPED_TRACE(c.function + (" " + std::to_string(c.nth)) + (c.write_fails_too ? ", write" : ""));
    FilePort().Reset();
    Files().Write(kName, "old");
    Files().Write(kBackup, "older");
    FilePort().Fail(c.function, c.nth);
    if (c.write_fails_too) FilePort().Tear(GetParam().function, 2);

    EXPECT_EQ(Store(kName, "new"), c.result);

    EXPECT_EQ(FilePort().Calls().size(), c.result == 1 ? 5U : 6U);
    EXPECT_EQ(Content(kName), c.content);
    EXPECT_EQ(Content(kBackup), c.backup);
    EXPECT_EQ(Loaded(), c.loaded);
  }
}

// The medium is back for the load.
TEST_P(QnFsBufferStore, ALoadFindsOldOrNewWhereverTheMediumWasLost) {
  for (int first_lost = 1; first_lost <= 6; ++first_lost) {
    SCOPED_TRACE(first_lost);
    FilePort().Reset();
    Files().Write(kName, "old");
    FilePort().FailFrom(first_lost);

    EXPECT_EQ(Store(kName, "new"), first_lost > 4 ? 1 : 0);

    FilePort().ClearFailures();
    EXPECT_EQ(Loaded(), first_lost > 5 ? GetParam().content : "old");
    EXPECT_THAT(Files().Names(), ElementsAre(kName));
  }
}

}  // namespace
