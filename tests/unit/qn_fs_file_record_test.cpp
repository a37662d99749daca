// SPDX-License-Identifier: MIT
// Guards the saving and appending of record files: the bytes, the order of
// elements and of calls, what the log is told, and what does not fit.
#include "qnstack/qn_fs_file_record.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "qn_fs_comm_tools_internal.h"
#include "support/failing_heap.h"
#include "support/file_port_test.h"
#include "support/text_list.h"

namespace {

using namespace std::string_literals;
using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kSource[] = "qnstack/qnfs/common/src/qn_fs_file_record";
constexpr int32_t kNowhere = 7;

using SaveFunction = int32_t (*)(const char *name, QNList *list, QNFSRecordWrite write);

// A save and the log's places in it.
struct Saver {
  const char *name;
  SaveFunction save;
  int32_t enter;
  int32_t success;
  int32_t failure;
};
constexpr Saver kSave = {"FromHead", fnQNFS_Save_List_To_File, 177, 225, 231};
constexpr Saver kSaveEx = {"FromTail", fnQNFS_Save_List_To_FileEx, 260, 308, 314};

void PrintTo(const Saver &saver, std::ostream *out) { *out << saver.name; }

// What was said to the log since then.
std::vector<std::string> log_texts;

// What the last write function saw.
int32_t last_seen = 0;
int32_t line_seen = 0;

void WriteAndLook(QNFSBuffer *record, void *text) {
  last_seen = record->last;
  line_seen = qn::log_line;
  WriteText(record, text);
}

class QnFsRecordSave : public FilePortTest, public testing::WithParamInterface<Saver> {
 protected:
  QnFsRecordSave() {
    fnQNFS_printLog_param("nowhere", kNowhere);
    log_texts.clear();
  }

  int32_t Save(QNList *list, QNFSRecordWrite write = WriteText) {
    return GetParam().save(kName, list, write);
  }
  bool IsEx() const { return GetParam().save == kSaveEx.save; }
};

INSTANTIATE_TEST_SUITE_P(Saves, QnFsRecordSave, testing::Values(kSave, kSaveEx),
                         testing::PrintToStringParamName());

TEST_P(QnFsRecordSave, WritesTheElementsInItsOrder) {
  TextList list({"one", "two", "three"});

  EXPECT_EQ(Save(list.get()), 1);

  EXPECT_EQ(Content(kName), IsEx() ? "three\0\ntwo\0\none\0\n"s : "one\0\ntwo\0\nthree\0\n"s);
}

TEST_P(QnFsRecordSave, AsksForTheSizeAndReplacesTheFile) {
  TextList list({"one", "two"});
  Files().Write(kName, "old");

  EXPECT_EQ(Save(list.get()), 1);

  EXPECT_EQ(FilePort().Calls().front(), "getFileSize(/abc)");
  EXPECT_EQ(FilePort().CountOf("WriteToFile"), 1);
  EXPECT_EQ(FilePort().CountOf("CopyFile"), 1) << "with a backup, as any store";
}

TEST_P(QnFsRecordSave, OfAnEmptyListEmptiesTheFile) {
  TextList list;
  Files().Write(kName, "old");

  EXPECT_EQ(Save(list.get()), 1);

  EXPECT_EQ(Content(kName), "");
}

TEST_P(QnFsRecordSave, TellsTheLogOfItsStartAndItsEnd) {
  TextList list({"one"});
  FilePort().Fail("WriteToFile", 2);

  EXPECT_EQ(Save(list.get(), WriteAndLook), 1);
  EXPECT_THAT(log_texts,
              ElementsAre("<QXW-------Enter fnQNFS_Save_List_To_File()------>",
                          "<QXW------Exit fnQNFS_Save_List_To_File() Successfully !------->"));
  EXPECT_EQ(line_seen, GetParam().enter);
  EXPECT_EQ(qn::log_line, GetParam().success);
  EXPECT_STREQ(qn::log_file, kSource);
  EXPECT_EQ(Save(list.get(), WriteAndLook), 0);
  EXPECT_EQ(log_texts.back(), "<QXW-----Exit fnQNFS_Save_List_To_File() Failed !---->");
  EXPECT_EQ(line_seen, GetParam().enter);
  EXPECT_EQ(qn::log_line, GetParam().failure);
  EXPECT_STREQ(qn::log_file, kSource);

  EXPECT_EQ(Content(kName), "one\0\n"s);
}

TEST_P(QnFsRecordSave, WithANullArgumentDoesNothing) {
  TextList list({"one"});

  EXPECT_EQ(GetParam().save(nullptr, list.get(), WriteText), 0);
  EXPECT_EQ(GetParam().save(kName, nullptr, WriteText), 0);
  EXPECT_EQ(GetParam().save(kName, list.get(), nullptr), 0);

  EXPECT_THAT(FilePort().Calls(), IsEmpty());
  EXPECT_EQ(qn::log_line, kNowhere);
}

TEST_P(QnFsRecordSave, OfANullElementOrWithoutMemoryWritesNothingAndDoesNotLogItsEnd) {
  TextList list({"one", "two", "three"});
  QNListNode *middle = list.get()->head->next;
  void *text = middle->data;
  middle->data = nullptr;

  EXPECT_EQ(Save(list.get(), WriteAndLook), 0);
  EXPECT_EQ(qn::log_line, GetParam().enter);
  middle->data = text;
  fnQNFS_printLog_param("nowhere", kNowhere);
  // The block behind that for the log's place is refused.
  EXPECT_EQ(WithRefusal(2, [&] { return Save(list.get()); }), 0);
  EXPECT_EQ(qn::log_line, GetParam().enter);

  EXPECT_THAT(FilePort().Calls(), ElementsAre("getFileSize(/abc)", "getFileSize(/abc)"));
}

TEST_P(QnFsRecordSave, HasRoomForTheFileAnd10000Bytes) {
  TextList list({"one"});
  for (const int32_t size : {-1, -5, std::numeric_limits<int32_t>::min(), 0, 1, 70000}) {
    SCOPED_TRACE(size);
    FilePort().Answer("getFileSize", size);

    EXPECT_EQ(Save(list.get(), WriteAndLook), 1);

    EXPECT_EQ(last_seen, 10000 + std::max(size, 0) - 1);
  }
}

TEST_P(QnFsRecordSave, OfAFileThatLeavesNoRoomFails) {
  TextList list({"one"});
  for (const int32_t below : {0, 9999}) {
    FilePort().Answer("getFileSize", std::numeric_limits<int32_t>::max() - below);

    EXPECT_EQ(Save(list.get()), 0);
  }
  EXPECT_THAT(FilePort().Calls(), ElementsAre("getFileSize(/abc)", "getFileSize(/abc)"));
}

TEST_P(QnFsRecordSave, DropsWhatDoesNotFit) {
  TextList list(std::vector<std::string>(5, std::string(3000, 'x')));
  const std::string record = std::string(3000, 'x') + "\0\n"s;

  EXPECT_EQ(Save(list.get()), 1);
  EXPECT_EQ(Content(kName), record + record + record);

  // Now there is room for the old file's size more.
  EXPECT_EQ(Save(list.get()), 1);
  EXPECT_EQ(Content(kName), record + record + record + record + record);
}

TEST_P(QnFsRecordSave, WritesTheZeroByteBehindAnExactFit) {
  TextList list({std::string(10000, 'x')});

  EXPECT_EQ(Save(list.get()), 1);

  EXPECT_EQ(Content(kName), std::string(10000, 'x') + '\0');
}

void WriteEmptyFields(QNFSBuffer *record, int count) {
  for (int i = 0; i < count; ++i) fnQNFS_Buffer_WriteString(record, nullptr, 0);
}

void WriteManyEmptyFields(QNFSBuffer *record, void * /*element*/) {
  WriteEmptyFields(record, 30000);
}

// The element says how many.
void WriteEmptyFieldsOf(QNFSBuffer *record, void *element) {
  WriteEmptyFields(record, *static_cast<const int *>(element));
}

TEST_P(QnFsRecordSave, WritesZerosForEmptyFieldsBehindTheEnd) {
  TextList list({"one"});

  EXPECT_EQ(Save(list.get(), WriteManyEmptyFields), 1);

  // Every field counts up to the end, every second one behind it.
  EXPECT_EQ(Content(kName), std::string(20000, '\0'));
}

// A byte that was not asked for is another block's in one of these cases.
TEST_P(QnFsRecordSave, WritesZerosUpToAnyPosition) {
  for (int more = 0; more < 16; ++more) {
    FilePort().Reset();
    int fields = 30000 + 2 * more;
    QNList list = {};
    ASSERT_NE(fnQNList_AddTail(&list, &fields), nullptr);

    EXPECT_EQ(Save(&list, WriteEmptyFieldsOf), 1);

    EXPECT_TRUE(Content(kName) == std::string(static_cast<size_t>(20000 + more), '\0')) << more;
    fnQNList_Clear(&list, nullptr);
  }
}

// The refused block stands behind the log's place and the area.
TEST_P(QnFsRecordSave, WithoutMemoryForFieldsBehindTheEndFails) {
  TextList list({"one"});

  EXPECT_EQ(WithRefusal(3, [&] { return Save(list.get(), WriteManyEmptyFields); }), 0);

  EXPECT_THAT(FilePort().Calls(), ElementsAre("getFileSize(/abc)"));
  EXPECT_EQ(qn::log_line, GetParam().failure);
}

class QnFsRecordAppend : public FilePortTest {
 protected:
  QnFsRecordAppend() { fnQNFS_printLog_param("nowhere", kNowhere); }
};

TEST_F(QnFsRecordAppend, AppendsTheFirstElementAlone) {
  TextList list({"one", "two", "three"});
  Files().Write(kName, "zero\0\n"s);

  EXPECT_EQ(fnQNFS_Append_List_To_File(kName, list.get(), WriteAndLook), 1);

  EXPECT_EQ(Content(kName), "zero\0\none\0\n"s);
  EXPECT_EQ(last_seen, 9999);
  EXPECT_EQ(FilePort().CountOf("getFileSize"), 0);
  EXPECT_EQ(FilePort().CountOf("CopyFile"), 1) << "with a backup, as any store";
}

TEST_F(QnFsRecordAppend, OfAnEmptyListAppendsNothing) {
  TextList list;
  Files().Write(kName, "old");

  EXPECT_EQ(fnQNFS_Append_List_To_File(kName, list.get(), WriteText), 1);

  EXPECT_EQ(FilePort().Calls()[3], "AppendToFile(0 bytes, /abc)");
  EXPECT_EQ(Content(kName), "old");
}

TEST_F(QnFsRecordAppend, FailsWithThePortAndTellsTheLogNothing) {
  TextList list({"one"});
  FilePort().Fail("AppendToFile", 2);

  EXPECT_EQ(fnQNFS_Append_List_To_File(kName, list.get(), WriteText), 1);
  EXPECT_EQ(fnQNFS_Append_List_To_File(kName, list.get(), WriteText), 0);

  EXPECT_EQ(Content(kName), "one\0\n"s);
  EXPECT_EQ(qn::log_line, kNowhere);
}

TEST_F(QnFsRecordAppend, WithANullAnywhereOrWithoutMemoryTouchesNothing) {
  TextList list({"one"});
  QNListNode empty = {};
  QNList of_null = {&empty, &empty, 1, 0};
  last_seen = -7;

  EXPECT_EQ(fnQNFS_Append_List_To_File(nullptr, list.get(), WriteAndLook), 0);
  EXPECT_EQ(fnQNFS_Append_List_To_File(kName, nullptr, WriteText), 0);
  EXPECT_EQ(fnQNFS_Append_List_To_File(kName, list.get(), nullptr), 0);
  EXPECT_EQ(fnQNFS_Append_List_To_File(kName, &of_null, WriteText), 0);
  const auto append = [&] { return fnQNFS_Append_List_To_File(kName, list.get(), WriteText); };
  EXPECT_EQ(WithRefusal(1, append), 0);

  EXPECT_EQ(last_seen, -7) << "nothing is written for a file without a name";
  EXPECT_THAT(FilePort().Calls(), IsEmpty());
}

TEST_F(QnFsRecordAppend, AppendsZerosForEmptyFieldsBehindTheEnd) {
  TextList list({"one"});

  EXPECT_EQ(fnQNFS_Append_List_To_File(kName, list.get(), WriteManyEmptyFields), 1);

  EXPECT_EQ(Content(kName), std::string(20000, '\0'));
}

}  // namespace

// What the log is told is taken down on the way to it. The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" void __real_fnQNFS_printLog(const char *format, ...);
extern "C" void __wrap_fnQNFS_printLog(const char *format, ...);
extern "C" void __wrap_fnQNFS_printLog(const char *format, ...) {
  log_texts.emplace_back(format);
  __real_fnQNFS_printLog("%s", format);
}
// NOLINTEND(bugprone-reserved-identifier)
