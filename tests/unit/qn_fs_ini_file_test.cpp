// SPDX-License-Identifier: MIT
// Guards the settings list and its file: the bytes, what a failed load or save
// leaves, and a heap that refuses. Sizes, areas and backups are those of the record
// files, which have the same code and the tests of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "qnstack/qn_fs_ini.h"
#include "qnstack/qn_share_mem.h"
#include "support/failing_heap.h"
#include "support/file_port_test.h"
#include "support/settings_list.h"

namespace {

using namespace std::string_literals;
using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr char kIniName[] = "/ini";

class QnFsIniLoad : public FilePortTest {};
class QnFsIniSave : public FilePortTest {};
class QnFsIniWrite : public FilePortTest {};

TEST_F(QnFsIniLoad, TakesKeyAndValueInTurns) {
  struct Case {
    std::string content;
    Settings settings;
  };
  const Case cases[] = {
      {"port\0"s + "80\0\n"s, {{"port", "80"}}},
      {"a\0x\0\nb\0y\0\n"s, {{"a", "x"}, {"b", "y"}}},
      {"a\0x\0\na\0y\0\n"s, {{"a", "x"}, {"a", "y"}}},
      {"a\0\0\n"s, {{"a", ""}}},
      {"\0\0\n"s, {{"", ""}}},
      {"a\0x\0b\0y\0"s, {{"a", "x"}, {"b", "y"}}},
      {"a\0xy"s, {{"a", "xy"}}},
      // A last byte alone is taken for the end of an empty field.
      {"a\0x"s, {{"a", ""}}},
      {"a"s, {{"", ""}}},
      // A key alone has an empty value.
      {"a\0"s, {{"a", ""}}},
      {"ab"s, {{"ab", ""}}},
      {"a\0x\0\nb\0"s, {{"a", "x"}, {"b", ""}}},
      // A value loses the line tag that it begins with.
      {"a\0\nx\0\n"s, {{"a", "x"}}},
      {"", {}},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.content));
    Files().Write(kIniName, c.content);
    SettingsList list;

    fnQNFS_Load_INI_To_List(kIniName, list.get());

    EXPECT_EQ(list.Held(), c.settings);
  }
}

TEST_F(QnFsIniLoad, ReplacesWhatTheListHolds) {
  Files().Write(kIniName, "b\0y\0\n"s);
  SettingsList list{{"a", "x"}};

  fnQNFS_Load_INI_To_List(kIniName, list.get());

  EXPECT_THAT(list.Held(), ElementsAre(Pair("b", "y")));
}

TEST_F(QnFsIniLoad, OfAFileThatCannotBeReadEmptiesTheList) {
  SettingsList missing{{"a", "x"}};
  SettingsList unreadable{{"a", "x"}};

  fnQNFS_Load_INI_To_List(kIniName, missing.get());
  Files().Write(kIniName, "b\0y\0\n"s);
  FilePort().Fail("ReadFromFile");
  fnQNFS_Load_INI_To_List(kIniName, unreadable.get());

  EXPECT_THAT(missing.Held(), IsEmpty());
  EXPECT_THAT(unreadable.Held(), IsEmpty());
}

TEST_F(QnFsIniLoad, AsksForTheSizeBeforeItLooksAtTheList) {
  fnQNFS_Load_INI_To_List(kIniName, nullptr);

  EXPECT_THAT(FilePort().Calls(), ElementsAre("getFileSize(/ini)"));
}

TEST_F(QnFsIniLoad, WithoutRoomForTheFileLeavesTheList) {
  SettingsList list{{"a", "x"}};
  const auto load = [&] { fnQNFS_Load_INI_To_List(kIniName, list.get()); };
  // Some room is left behind a file's content, and the last leaves just that.
  for (const int32_t less : {0, 9999, 10000}) {
    FilePort().Answer("getFileSize", std::numeric_limits<int32_t>::max() - less);
    EXPECT_EQ(RefusalsIn(load, 1), less == 10000 ? 1 : 0) << less;
  }

  EXPECT_THAT(list.Held(), ElementsAre(Pair("a", "x")));
  EXPECT_EQ(FilePort().CountOf("ReadFromFile"), 0);
}

TEST_F(QnFsIniLoad, KeepsWholeEntriesWhereverTheHeapRefuses) {
  Files().Write(kIniName, "a\0x\0\nb\0y\0\n"s);
  // The area, the backup's name, and for each entry its two strings, itself
  // and its node.
  for (int refused = 3; refused <= 10; ++refused) {
    SCOPED_TRACE(refused);
    SettingsList list;
    const FailingHeap heap(refused);

    fnQNFS_Load_INI_To_List(kIniName, list.get());

    const Settings first = {{"a", "x"}};
    EXPECT_EQ(list.Held(), refused > 6 ? first : Settings());
    EXPECT_EQ(heap.LiveBlocks(), 4 * list.get()->count);
  }
}

TEST_F(QnFsIniLoad, InitForgetsWhatTheRecordHeld) {
  for (const bool is_there : {false, true}) {
    SCOPED_TRACE(is_there);
    QNListNode node = {};
    QNList list = {&node, &node, 77, 77};
    if (is_there) Files().Write(kIniName, "b\0y\0\n"s);

    fnQNFS_INI_List_Init(kIniName, &list);

    EXPECT_EQ(list.count, is_there ? 1 : 0);
    EXPECT_EQ(list.head != nullptr, is_there);
    EXPECT_NE(list.head, &node);
    EXPECT_EQ(list.tail, list.head);
    EXPECT_EQ(list.reserved, 0U);
    if (is_there) {
      EXPECT_STREQ(static_cast<QNFSIniEntry *>(list.head->data)->key, "b");
    }
    fnQNList_Clear(&list, fnQNFS_INI_FreeNode);
  }
}

TEST_F(QnFsIniSave, WritesEntryAfterEntry) {
  SettingsList list{{"port", "80"}, {"a", ""}, {"a", "x"}};
  Files().Write(kIniName, "old");

  EXPECT_EQ(fnQNFS_Write_INI_To_File(kIniName, list.get()), 1);

  EXPECT_EQ(Content(kIniName), "port\0"s + "80\0\na\0\0\na\0x\0\n"s);
}

TEST_F(QnFsIniSave, OfAnEmptyListEmptiesTheFile) {
  SettingsList list;
  Files().Write(kIniName, "old");

  EXPECT_EQ(fnQNFS_Write_INI_To_File(kIniName, list.get()), 1);

  EXPECT_EQ(Content(kIniName), "");
}

TEST_F(QnFsIniSave, WritesAMissingValueAsAnEmptyOneAndALineTagWithoutItsZeroByte) {
  SettingsList list{{"a", "x"}, {"b", "\n"}};
  fnQN_Free(&list.Entry(0)->value);

  EXPECT_EQ(fnQNFS_Write_INI_To_File(kIniName, list.get()), 1);

  EXPECT_EQ(Content(kIniName), "a\0\0\nb\0\n\n"s);
}

TEST_F(QnFsIniSave, FailsWithItsArgumentsItsMemoryOrThePort) {
  SettingsList list{{"a", "x"}};
  Files().Write(kIniName, "old");

  const auto write = [&] { return fnQNFS_Write_INI_To_File(kIniName, list.get()); };
  EXPECT_EQ(fnQNFS_Write_INI_To_File(kIniName, nullptr), 0);
  EXPECT_THAT(FilePort().Calls(), IsEmpty());
  FilePort().Answer("getFileSize", std::numeric_limits<int32_t>::max());
  EXPECT_EQ(write(), 0);
  FilePort().Fail("WriteToFile");
  EXPECT_EQ(write(), 0);
  EXPECT_EQ(WithRefusal(1, write), 0);

  EXPECT_EQ(Content(kIniName), "old");
}

TEST_F(QnFsIniSave, IsReadBackByALoad) {
  SettingsList saved{{"proxy", "10.0.0.172:80"}, {"", "x"}, {"agent", "a b\nc"}};
  SettingsList loaded;

  fnQNFS_Write_INI_To_File(kIniName, saved.get());
  fnQNFS_Load_INI_To_List(kIniName, loaded.get());

  EXPECT_EQ(loaded.Held(), saved.Held());
}

// What becomes of the list is held by QnFsIniWriteRam.
TEST_F(QnFsIniWrite, SetsTheValueAndWritesTheFile) {
  SettingsList list{{"a", "x"}, {"b", "y"}};
  Files().Write(kIniName, "old");

  EXPECT_EQ(fnQNFS_INI_Write(kIniName, list.get(), "a", "z"), 1);
  EXPECT_EQ(fnQNFS_INI_Write(kIniName, list.get(), "c", nullptr), 1);

  EXPECT_EQ(Content(kIniName), "a\0z\0\nb\0y\0\nc\0\0\n"s);
  EXPECT_THAT(list.Held(), ElementsAre(Pair("a", "z"), Pair("b", "y"), Pair("c", "")));
}

TEST_F(QnFsIniWrite, ThatFailsOnTheFileKeepsTheChangeInMemory) {
  SettingsList list{{"a", "x"}};
  Files().Write(kIniName, "a\0x\0\n"s);
  FilePort().Fail("WriteToFile", 1);
  FilePort().Fail("WriteToFile", 2);

  EXPECT_EQ(fnQNFS_INI_Write(kIniName, list.get(), "a", "z"), 0);
  EXPECT_EQ(fnQNFS_INI_Write(kIniName, list.get(), "b", "y"), 0);

  EXPECT_THAT(list.Held(), ElementsAre(Pair("a", "z"), Pair("b", "y")));
  EXPECT_EQ(Content(kIniName), "a\0x\0\n"s);
}

TEST_F(QnFsIniWrite, WithoutMemoryForANewKeyOrValueWritesNothing) {
  for (const char *key : {"a", "b"}) {
    SettingsList list{{"a", "x"}};
    const auto write = [&] { return fnQNFS_INI_Write(kIniName, list.get(), key, "z"); };

    EXPECT_EQ(WithRefusal(1, write), 0) << key;
  }
  EXPECT_THAT(FilePort().Calls(), IsEmpty());
}

TEST_F(QnFsIniWrite, WithoutMemoryForTheFileKeepsTheChangeInMemory) {
  SettingsList list{{"a", "x"}};
  const auto write = [&] { return fnQNFS_INI_Write(kIniName, list.get(), "a", "z"); };

  EXPECT_EQ(WithRefusal(2, write), 0);

  EXPECT_THAT(list.Held(), ElementsAre(Pair("a", "z")));
  EXPECT_THAT(FilePort().Calls(), ElementsAre("getFileSize(/ini)"));
}

}  // namespace
