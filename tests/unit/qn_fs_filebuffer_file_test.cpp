// SPDX-License-Identifier: MIT
// Guards how typed file buffers are saved: the calls that keep the old content
// as ".bak" meanwhile, and what is there after each of them failed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
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

constexpr char kName[] = "/abc";
constexpr char kBackup[] = "/abc.bak";

using StoreFunction = int32_t (*)(const char *name, QNFSBuffer *record);

int32_t Store(StoreFunction store, const char *name, const std::string &text) {
  TypedBuffer buffer(100);
  if (!text.empty()) {
    fnQNFS_Buffer_WriteMem(buffer.get(), text.data(), static_cast<int32_t>(text.size()));
    buffer->pos -= 1;  // without the zero byte
  }
  return store(name, buffer.get());
}

int32_t Save(const char *name, const std::string &text) {
  return Store(fnQNFS_Write_Buffer_To_File, name, text);
}

int32_t Append(const char *name, const std::string &text) {
  return Store(fnQNFS_Append_Buffer_To_File, name, text);
}

// What a load of the file finds; none if it fails.
std::optional<std::string> Loaded(const char *name) {
  TypedBuffer buffer(20000);
  if (fnQNFS_Load_File_To_Buffer(name, buffer.get()) == 0) {
    return std::nullopt;
  }
  return std::string(buffer->data, static_cast<size_t>(buffer->last + 1));
}

class QnFsBufferSave : public FilePortTest {};
class QnFsBufferAppend : public FilePortTest {};

TEST_F(QnFsBufferSave, KeepsTheOldContentUntilTheNewIsWritten) {
  Files().Write(kName, "old");

  EXPECT_EQ(Save(kName, "new"), 1);

  EXPECT_THAT(
      FilePort().Calls(),
      ElementsAre("DeleteFile(/abc.bak)", "MoveFile(/abc.bak, /abc)", "CopyFile(/abc, /abc.bak)",
                  "WriteToFile(3 bytes, /abc)", "DeleteFile(/abc.bak)"));
  EXPECT_EQ(Content(kName), "new");
  EXPECT_THAT(Files().Names(), ElementsAre(kName));
}

TEST_F(QnFsBufferAppend, KeepsTheOldContentUntilTheNewIsWritten) {
  Files().Write(kName, "old");

  EXPECT_EQ(Append(kName, "new"), 1);

  EXPECT_THAT(
      FilePort().Calls(),
      ElementsAre("DeleteFile(/abc.bak)", "MoveFile(/abc.bak, /abc)", "CopyFile(/abc, /abc.bak)",
                  "AppendToFile(3 bytes, /abc)", "DeleteFile(/abc.bak)"));
  EXPECT_EQ(Content(kName), "oldnew");
  EXPECT_THAT(Files().Names(), ElementsAre(kName));
}

TEST_F(QnFsBufferSave, PutsTheOldContentBackWhenWritingFails) {
  Files().Write(kName, "old");
  FilePort().Tear("WriteToFile", 2);

  EXPECT_EQ(Save(kName, "new"), 0);

  EXPECT_THAT(
      FilePort().Calls(),
      ElementsAre("DeleteFile(/abc.bak)", "MoveFile(/abc.bak, /abc)", "CopyFile(/abc, /abc.bak)",
                  "WriteToFile(3 bytes, /abc)", "DeleteFile(/abc)", "MoveFile(/abc, /abc.bak)"));
  EXPECT_EQ(Content(kName), "old");
  EXPECT_THAT(Files().Names(), ElementsAre(kName));
}

TEST_F(QnFsBufferAppend, PutsTheOldContentBackWhenAppendingFails) {
  Files().Write(kName, "old");
  FilePort().Tear("AppendToFile", 2);

  EXPECT_EQ(Append(kName, "new"), 0);

  EXPECT_THAT(
      FilePort().Calls(),
      ElementsAre("DeleteFile(/abc.bak)", "MoveFile(/abc.bak, /abc)", "CopyFile(/abc, /abc.bak)",
                  "AppendToFile(3 bytes, /abc)", "DeleteFile(/abc)", "MoveFile(/abc, /abc.bak)"));
  EXPECT_EQ(Content(kName), "old");
  EXPECT_THAT(Files().Names(), ElementsAre(kName));
}

TEST_F(QnFsBufferSave, MakesAFileThatWasNotThere) {
  EXPECT_EQ(Save(kName, "new"), 1);

  EXPECT_EQ(Content(kName), "new");
  EXPECT_THAT(Files().Names(), ElementsAre(kName));
}

TEST_F(QnFsBufferSave, LeavesNoFileBehindThatWasNotThere) {
  FilePort().Tear("WriteToFile", 2);

  EXPECT_EQ(Save(kName, "new"), 0);

  EXPECT_THAT(Files().Names(), IsEmpty());
}

TEST_F(QnFsBufferSave, PutsAnOlderBackupAway) {
  Files().Write(kName, "old");
  Files().Write(kBackup, "older");
  FilePort().Fail("WriteToFile");

  EXPECT_EQ(Save(kName, "new"), 0);

  EXPECT_EQ(Content(kName), "old");
  EXPECT_THAT(Files().Names(), ElementsAre(kName));
}

TEST_F(QnFsBufferSave, OfNothingEmptiesTheFile) {
  Files().Write(kName, "old");

  EXPECT_EQ(Save(kName, ""), 1);

  EXPECT_EQ(FilePort().Calls()[3], "WriteToFile(0 bytes, /abc)");
  EXPECT_EQ(Content(kName), "");
}

TEST_F(QnFsBufferSave, WritesTheZeroByteBehindAnExactFit) {
  TypedBuffer buffer(8);
  buffer.Write("abcdefgh");

  EXPECT_EQ(fnQNFS_Write_Buffer_To_File(kName, buffer.get()), 1);

  EXPECT_EQ(Content(kName), "abcdefgh\0"s);
}

TEST_F(QnFsBufferSave, LeavesTheRecordAlone) {
  TypedBuffer buffer(8);
  buffer.Write("ab");
  const char *storage = buffer->data;

  fnQNFS_Write_Buffer_To_File(kName, buffer.get());
  fnQNFS_Append_Buffer_To_File(kName, buffer.get());

  EXPECT_EQ(buffer->data, storage);
  EXPECT_THAT(buffer.Places(), testing::Pair(2, 7));
}

TEST_F(QnFsBufferSave, OfAShortNameHasNoBackup) {
  Files().Write("ab", "old");

  EXPECT_EQ(Save("ab", "new"), 1);
  EXPECT_EQ(Append("ab", "er"), 1);

  EXPECT_THAT(FilePort().Calls(),
              ElementsAre("WriteToFile(3 bytes, ab)", "AppendToFile(2 bytes, ab)"));
  EXPECT_EQ(Content("ab"), "newer");
}

TEST_F(QnFsBufferSave, OfAShortNameThatFailsDeletesTheFile) {
  Files().Write("ab", "old");
  FilePort().Fail("WriteToFile");
  FilePort().Fail("AppendToFile");

  EXPECT_EQ(Save("ab", "new"), 0);
  EXPECT_EQ(Append("ab", "new"), 0);

  EXPECT_THAT(FilePort().Calls(), ElementsAre("WriteToFile(3 bytes, ab)", "DeleteFile(ab)",
                                              "AppendToFile(3 bytes, ab)", "DeleteFile(ab)"));
  EXPECT_THAT(Files().Names(), IsEmpty());
}

TEST_F(QnFsBufferSave, OfAThreeCharacterNameHasABackup) {
  Save("abc", "new");

  EXPECT_EQ(FilePort().Calls().front(), "DeleteFile(abc.bak)");
}

TEST_F(QnFsBufferSave, WithoutMemoryForTheBackupsNameHasNone) {
  Files().Write(kName, "old");
  TypedBuffer buffer(8);
  buffer.Write("ab");
  int32_t result = 0;
  {
    FailingHeap heap(1);
    result = fnQNFS_Write_Buffer_To_File(kName, buffer.get());
  }

  EXPECT_EQ(result, 1);
  EXPECT_THAT(FilePort().Calls(), ElementsAre("WriteToFile(3 bytes, /abc)"));
}

TEST_F(QnFsBufferSave, TakesEveryAnswerButMinusOneForSuccess) {
  for (const int32_t answer : {0, 1, 100, -2}) {
    SCOPED_TRACE(answer);
    FilePort().Answer("WriteToFile", answer);
    FilePort().Answer("AppendToFile", answer);

    EXPECT_EQ(Save(kName, "new"), 1);
    EXPECT_EQ(Append(kName, "new"), 1);
  }
}

TEST_F(QnFsBufferSave, WithoutANameOrRecordTouchesNothing) {
  TypedBuffer buffer(8);

  EXPECT_EQ(fnQNFS_Write_Buffer_To_File(nullptr, buffer.get()), 0);
  EXPECT_EQ(fnQNFS_Write_Buffer_To_File(kName, nullptr), 0);
  EXPECT_EQ(fnQNFS_Append_Buffer_To_File(nullptr, buffer.get()), 0);
  EXPECT_EQ(fnQNFS_Append_Buffer_To_File(kName, nullptr), 0);

  EXPECT_THAT(FilePort().Calls(), IsEmpty());
}

TEST_F(QnFsBufferSave, OfAPositionWithoutALengthFails) {
  TypedBuffer buffer(8);
  Files().Write(kName, "old");
  buffer->pos = std::numeric_limits<int32_t>::max();

  EXPECT_EQ(fnQNFS_Write_Buffer_To_File(kName, buffer.get()), 0);
  EXPECT_EQ(fnQNFS_Append_Buffer_To_File(kName, buffer.get()), 0);

  EXPECT_EQ(Files().Content(kName), "old");
}

TEST_F(QnFsBufferSave, LeavesNothingOnTheHeap) {
  TypedBuffer buffer(8);
  FilePort().Fail("WriteToFile");
  for (int i = 0; i < 2; ++i) {
    FailingHeap heap(FailingHeap::kCountOnly);

    fnQNFS_Write_Buffer_To_File(kName, buffer.get());

    EXPECT_EQ(heap.Allocations(), heap.Frees());
  }
}

// One call of a save or append over "old", with "older" as a backup from
// before, fails alone.
struct StepFailure {
  const char *function;
  int nth;
  int32_t result;
  std::optional<std::string> content;
  std::optional<std::string> backup;
  std::optional<std::string> loaded;
};

void ExpectAfterFailure(StoreFunction store, const StepFailure &c, bool write_fails_too) {
  SCOPED_TRACE(c.function + (" " + std::to_string(c.nth)));
  FilePort().Reset();
  FilePort().files().Write(kName, "old");
  FilePort().files().Write(kBackup, "older");
  FilePort().Fail(c.function, c.nth);
  if (write_fails_too) {
    FilePort().Tear("WriteToFile", 2);
    FilePort().Tear("AppendToFile", 2);
  }

  EXPECT_EQ(Store(store, kName, "new"), c.result);

  EXPECT_EQ(FilePort().Calls().size(), c.result == 1 ? 5U : 6U);
  EXPECT_EQ(FilePort().files().Content(kName), c.content);
  EXPECT_EQ(FilePort().files().Content(kBackup), c.backup);
  EXPECT_EQ(Loaded(kName), c.loaded);
}

TEST_F(QnFsBufferSave, HoldsWhenOneStepFails) {
  const StepFailure cases[] = {
      {"DeleteFile", 1, 1, "new", std::nullopt, "new"},
      {"MoveFile", 1, 1, "new", std::nullopt, "new"},
      {"CopyFile", 1, 1, "new", std::nullopt, "new"},
      {"WriteToFile", 1, 0, "old", std::nullopt, "old"},
      // The backup that could not be deleted is what a load takes.
      {"DeleteFile", 2, 1, "new", "old", "old"},
  };
  for (const StepFailure &c : cases) {
    ExpectAfterFailure(fnQNFS_Write_Buffer_To_File, c, false);
  }
}

TEST_F(QnFsBufferAppend, HoldsWhenOneStepFails) {
  const StepFailure cases[] = {
      {"DeleteFile", 1, 1, "oldnew", std::nullopt, "oldnew"},
      {"MoveFile", 1, 1, "oldnew", std::nullopt, "oldnew"},
      // Without the copy there is nothing that could be appended to.
      {"CopyFile", 1, 1, "new", std::nullopt, "new"},
      {"AppendToFile", 1, 0, "old", std::nullopt, "old"},
      {"DeleteFile", 2, 1, "oldnew", "old", "old"},
  };
  for (const StepFailure &c : cases) {
    ExpectAfterFailure(fnQNFS_Append_Buffer_To_File, c, false);
  }
}

TEST_F(QnFsBufferSave, HoldsWhenWritingAndOneMoreStepFail) {
  const StepFailure cases[] = {
      {"DeleteFile", 1, 0, "old", std::nullopt, "old"},
      {"CopyFile", 1, 0, "old", std::nullopt, "old"},
      {"DeleteFile", 2, 0, "old", std::nullopt, "old"},
      {"MoveFile", 2, 0, std::nullopt, "old", "old"},
  };
  for (const StepFailure &c : cases) {
    ExpectAfterFailure(fnQNFS_Write_Buffer_To_File, c, true);
    ExpectAfterFailure(fnQNFS_Append_Buffer_To_File, c, true);
  }
}

// The medium goes away within a save or append, and is back for the load.
void ExpectAfterLoss(StoreFunction store, int first_lost, int32_t result,
                     const std::optional<std::string> &loaded) {
  SCOPED_TRACE(first_lost);
  FilePort().Reset();
  FilePort().files().Write(kName, "old");
  FilePort().FailFrom(first_lost);

  EXPECT_EQ(Store(store, kName, "new"), result);

  FilePort().ClearFailures();
  EXPECT_EQ(Loaded(kName), loaded);
  EXPECT_THAT(FilePort().files().Names(), ElementsAre(kName));
}

TEST_F(QnFsBufferSave, ALoadFindsOldOrNewWhereverTheMediumWasLost) {
  for (int first_lost = 1; first_lost <= 6; ++first_lost) {
    const bool written = first_lost > 4;
    const bool done = first_lost > 5;

    ExpectAfterLoss(fnQNFS_Write_Buffer_To_File, first_lost, written ? 1 : 0, done ? "new" : "old");
    ExpectAfterLoss(fnQNFS_Append_Buffer_To_File, first_lost, written ? 1 : 0,
                    done ? "oldnew" : "old");
  }
}

}  // namespace
