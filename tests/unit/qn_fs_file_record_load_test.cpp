// SPDX-License-Identifier: MIT
// Guards the loading of record files, the search for an element, and the names
// of backups.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "qn_fs_file_record_internal.h"
#include "qnstack/qn_fs_file_record.h"
#include "qnstack/qn_share_mem.h"
#include "support/failing_heap.h"
#include "support/file_port_test.h"
#include "support/text_list.h"
#include "support/watchdog.h"

namespace {

using namespace std::string_literals;
using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;

struct RecordLoader {
  const char *name;
  void (*load)(const char *name, QNList *list, QNFSRecordRead read);
};
constexpr RecordLoader kLoad = {"AtTail", fnQNFS_Load_File_To_List};
constexpr RecordLoader kLoadEx = {"AtFront", fnQNFS_Load_File_To_ListEx};

void PrintTo(const RecordLoader &loader, std::ostream *out) { *out << loader.name; }

class QnFsRecordLoad : public FilePortTest, public testing::WithParamInterface<RecordLoader> {
 protected:
  void Load(TextList &list, QNFSRecordRead read = ReadText) {
    GetParam().load(kName, list.get(), read);
  }
  bool IsEx() const { return GetParam().load == kLoadEx.load; }

  // Texts in file order as this load brings them into a list.
  std::vector<std::string> InOrder(std::vector<std::string> texts) const {
    if (IsEx()) std::reverse(texts.begin(), texts.end());
    return texts;
  }

 private:
  Watchdog watchdog_;
};

INSTANTIATE_TEST_SUITE_P(Loads, QnFsRecordLoad, testing::Values(kLoad, kLoadEx),
                         testing::PrintToStringParamName());

TEST_P(QnFsRecordLoad, ReadsElementAfterElement) {
  Files().Write(kName, "one\0\ntwo\0\n\0\nthree\0"s);
  TextList list;

  Load(list);

  EXPECT_EQ(list.Texts(), InOrder({"one", "two", "", "three"}));
  EXPECT_THAT(FilePort().Calls(), ElementsAre("getFileSize(/abc)", "isFileExisted(/abc.bak)",
                                              "getFileSize(/abc)", "ReadFromFile(/abc, 10018)"));
}

TEST_P(QnFsRecordLoad, KeepsWhatTheListHolds) {
  Files().Write(kName, "one\0\ntwo\0\n"s);
  TextList list({"here"});

  Load(list);

  EXPECT_THAT(list.Texts(),
              IsEx() ? ElementsAre("two", "one", "here") : ElementsAre("here", "one", "two"));
}

TEST_P(QnFsRecordLoad, OfAFileThatCannotBeReadLeavesTheList) {
  TextList list({"here"});

  Load(list);
  Files().Write(kName, "one\0\n"s);
  FilePort().Fail("ReadFromFile");
  Load(list);
  FilePort().Answer("ReadFromFile", 0);  // and gives no count
  Load(list);
  FilePort().Fail("getFileSize", 2);
  Load(list);

  EXPECT_THAT(list.Texts(), ElementsAre("here"));
}

TEST_P(QnFsRecordLoad, OfAnEmptyFileAsksTheReaderForNothing) {
  Files().Write(kName, "");
  TextList list;

  Load(list, [](QNFSBuffer *) -> void * {
    ADD_FAILURE() << "read";
    return nullptr;
  });

  EXPECT_THAT(list.Texts(), IsEmpty());
}

TEST_P(QnFsRecordLoad, WithANullArgumentDoesNothing) {
  TextList list;

  GetParam().load(nullptr, list.get(), ReadText);
  GetParam().load(kName, nullptr, ReadText);
  GetParam().load(kName, list.get(), nullptr);

  EXPECT_THAT(FilePort().Calls(), IsEmpty());
}

TEST(QnFsRecordLoadToList, WithANullArgumentIsNotWhole) {
  TextList list;

  EXPECT_FALSE(qn::LoadFileToList(nullptr, list.get(), ReadText));
  EXPECT_FALSE(qn::LoadFileToList(kName, nullptr, ReadText));
  EXPECT_FALSE(qn::LoadFileToList(kName, list.get(), nullptr));
}

TEST_P(QnFsRecordLoad, SkipsElementsThatTheReaderRefuses) {
  Files().Write(kName, "one\0\n#two\0\nthree\0\n"s);
  TextList list;

  Load(list, [](QNFSBuffer *record) -> void * {
    char *text = fnQNFS_Buffer_ReadString(record);
    if (text[0] == '#') fnQN_Free(&text);
    return text;
  });

  EXPECT_EQ(list.Texts(), InOrder({"one", "three"}));
}

TEST_P(QnFsRecordLoad, AsksAReaderAgainThatTakesNothing999TimesAndTheHeapForNoMoreNodes) {
  Files().Write(kName, "one\0\ntwo\0\n"s);
  TextList list;
  static int calls;
  calls = 0;
  FailingHeap heap(FailingHeap::kCountOnly);

  Load(list, [](QNFSBuffer *record) -> void * {
    return ++calls % 1000 == 0 ? fnQNFS_Buffer_ReadString(record) : nullptr;
  });

  EXPECT_LT(heap.Allocations(), 20);

  EXPECT_EQ(list.Texts(), InOrder({"one", "two"}));
}

// The reader sees the list with the elements so far, and may add to it.
TEST_P(QnFsRecordLoad, LeavesTheListToTheReader) {
  Files().Write(kName, "one\0\ntwo\0\n"s);
  static QNList *filled;
  static std::vector<int32_t> counts;
  TextList list;
  filled = list.get();
  counts.clear();

  Load(list, [](QNFSBuffer *record) -> void * {
    counts.push_back(fnQNList_GetCount(filled));
    fnQNList_AddTail(filled, fnQNFS_Buffer_ReadString(record));
    return nullptr;
  });

  EXPECT_THAT(list.Texts(), ElementsAre("one", "two"));
  EXPECT_THAT(counts, ElementsAre(0, 1));
}

TEST_P(QnFsRecordLoad, EndsWithAReaderThatTakesNothing1000Times) {
  Files().Write(kName, "one\0\ntwo\0\nthree\0\n"s);
  TextList list;
  static int calls;
  calls = 0;

  Load(list, [](QNFSBuffer *record) -> void * {
    ++calls;
    return record->pos < 4 ? fnQNFS_Buffer_ReadString(record) : nullptr;
  });

  EXPECT_THAT(list.Texts(), ElementsAre("one"));
  EXPECT_EQ(calls, 1001);
}

// What a load of the file itself does is held by QnFsBufferLoad.
TEST_P(QnFsRecordLoad, ReadsARestoredBackupThatIsLargerThanTheFileWas) {
  std::string backup;
  std::vector<std::string> texts;
  for (int i = 0; i < 6000; ++i) {
    texts.push_back(std::to_string(i));
    backup += texts.back() + "\0\n"s;
  }
  for (const bool is_torn : {true, false}) {
    Files().Write(kBackup, backup);
    if (is_torn) Files().Write(kName, "torn");
    TextList list;

    Load(list);

    EXPECT_EQ(list.Texts(), InOrder(texts)) << is_torn;
    Files().Delete(kName);
  }
}

TEST_P(QnFsRecordLoad, OfAFileThatLeavesNoRoomReadsNothing) {
  Files().Write(kName, "one\0\n"s);
  FilePort().Answer("getFileSize", std::numeric_limits<int32_t>::max() - 9999);
  TextList list;

  Load(list);

  EXPECT_THAT(list.Texts(), IsEmpty());
  EXPECT_THAT(FilePort().Calls(), ElementsAre("getFileSize(/abc)"));
}

// An element without memory of its own, so that only its node can be lost.
void *ReadMark(QNFSBuffer *record) {
  static char mark[] = "mark";
  char *text = fnQNFS_Buffer_ReadString(record);
  const bool read = text != nullptr;
  fnQN_Free(&text);
  return read ? mark : nullptr;
}

TEST_P(QnFsRecordLoad, EndsAndLosesNothingWhereverTheHeapRefuses) {
  // The area, the backup's name, the larger area, and two texts with nodes.
  for (int refused = 1; refused <= 7; ++refused) {
    SCOPED_TRACE(refused);
    Files().Write(kName, "torn");
    Files().Write(kBackup, "one\0\n"s + std::string(20000, 'x') + "\0\n"s);
    QNList list = {};
    const FailingHeap heap(refused, FailingHeap::Reach::kRest);

    GetParam().load(kName, &list, ReadMark);

    EXPECT_GT(heap.Refusals(), 0);
    EXPECT_EQ(heap.LiveBlocks(), list.count);
    EXPECT_EQ(list.count, refused > 5 ? 1 : 0);
    fnQNList_Clear(&list, nullptr);
  }
}

TEST_P(QnFsRecordLoad, LeavesNothingOnTheHeapButTheListAndNoElementWithoutANode) {
  for (int refused = FailingHeap::kCountOnly; refused <= 6; ++refused) {
    Files().Write(kName, "one\0\ntwo\0\n"s);
    TextList list;
    const FailingHeap heap(refused);

    Load(list);

    EXPECT_EQ(heap.LiveBlocks(), 2 * list.get()->count) << refused;
    EXPECT_TRUE(refused != FailingHeap::kCountOnly || list.get()->count == 2);
  }
}

class QnFsRecordRoundTrip : public FilePortTest {};

TEST_F(QnFsRecordRoundTrip, AListKeepsItsOrderThroughEitherPair) {
  const std::vector<std::string> texts = {"first", "second", "third"};
  TextList list(texts);
  TextList plain;
  TextList ex;

  fnQNFS_Save_List_To_File(kName, list.get(), WriteText);
  fnQNFS_Load_File_To_List(kName, plain.get(), ReadText);
  fnQNFS_Save_List_To_FileEx(kName, list.get(), WriteText);
  fnQNFS_Load_File_To_ListEx(kName, ex.get(), ReadText);

  EXPECT_EQ(plain.Texts(), texts);
  EXPECT_EQ(ex.Texts(), texts);
}

TEST_F(QnFsRecordRoundTrip, AppendedElementsFollowTheSavedOnes) {
  TextList list({"one", "two"});
  TextList more({"three", "four"});
  TextList loaded;

  fnQNFS_Save_List_To_File(kName, list.get(), WriteText);
  fnQNFS_Append_List_To_File(kName, more.get(), WriteText);
  fnQNFS_Load_File_To_List(kName, loaded.get(), ReadText);

  EXPECT_THAT(loaded.Texts(), ElementsAre("one", "two", "three"));
}

// A key of one word against the first letter of a text.
int CompareLetter(const void *key, const void *text) {
  return *static_cast<const intptr_t *>(key) == *static_cast<const char *>(text) ? 0 : 1;
}

TEST(QnFsRecordFind, GivesTheFirstElementThatMatchesTheKeyAndNoneForAKeyOfZero) {
  TextList list({"one", "two", "three"});
  const QNListCompare any = [](const void *, const void *) { return 0; };

  EXPECT_EQ(fnQNFS_List_Find_Node(list.get(), 't', CompareLetter), list.get()->head->next->data);
  EXPECT_EQ(fnQNFS_List_Find_Node(list.get(), 'x', CompareLetter), nullptr);
  EXPECT_EQ(fnQNFS_List_Find_Node(list.get(), 'o', any), list.get()->head->data);
  EXPECT_EQ(fnQNFS_List_Find_Node(list.get(), 0, any), nullptr);
}

TEST(QnFsRecordFind, HandsOverTheWholeWord) {
  TextList list({"one"});
  static intptr_t seen = 0;
  constexpr intptr_t kKey = std::numeric_limits<intptr_t>::min() + 5;

  fnQNFS_List_Find_Node(list.get(), kKey, [](const void *key, const void *) {
    seen = *static_cast<const intptr_t *>(key);
    return 1;
  });

  EXPECT_EQ(seen, kKey);
}

TEST(QnFsBackupName, IsTheNameWithItsSuffixOrNullForAShortOneAndWithoutMemory) {
  for (const std::string name : {"abc", "/wap/ca/ca.txt", "abc.bak"}) {
    char *backup = fnQNFS_getBak_FileName(name.c_str());

    EXPECT_STREQ(backup, (name + ".bak").c_str());
    fnQN_Free(&backup);
  }
  for (const char *name : {"ab", "a", ""}) EXPECT_EQ(fnQNFS_getBak_FileName(name), nullptr);
  EXPECT_EQ(WithRefusal(1, [] { return fnQNFS_getBak_FileName("abc"); }), nullptr);
}

}  // namespace
