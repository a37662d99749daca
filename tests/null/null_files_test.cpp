// SPDX-License-Identifier: MIT
// What NULL gives in the record files, the typed file buffer, the settings and
// the cache. The same on both file ports; on the POSIX one the files are there,
// so that NULL alone is the reason for a failure.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_fs_file_record.h"
#include "qnstack/qn_fs_filebuffer.h"
#include "qnstack/qn_fs_ini.h"
#include "qnstack/qn_stack_http_cache.h"
#include "support/scratch_folder.h"
#include "support/settings_list.h"
#include "support/text_list.h"
#include "support/typed_buffer.h"

namespace {

using namespace qntest;

constexpr char kName[] = "/file";
constexpr char kField[] = "field\0\n";
const std::string kContent(kField, sizeof kField - 1);

class NullInFiles : public testing::Test {
 protected:
  NullInFiles() {
    fnQNFS_SetFullPath(folder_.path().c_str());
    folder_.write("file", kContent);
  }
  ~NullInFiles() override { fnQNFS_SetFullPath(nullptr); }

  ScratchFolder folder_;
};

TEST_F(NullInFiles, InARecordFileLoadsNothing) {
  TextList list({"held"});

  fnQNFS_Load_File_To_List(nullptr, list.get(), ReadText);
  fnQNFS_Load_File_To_List(kName, nullptr, ReadText);
  fnQNFS_Load_File_To_List(kName, list.get(), nullptr);
  fnQNFS_Load_File_To_ListEx(nullptr, list.get(), ReadText);
  fnQNFS_Load_File_To_ListEx(kName, nullptr, ReadText);
  fnQNFS_Load_File_To_ListEx(kName, list.get(), nullptr);

  EXPECT_EQ(list.Texts(), (std::vector<std::string>{"held"}));
}

TEST_F(NullInFiles, InARecordFileSavesNothing) {
  TextList list({"held"});

  EXPECT_EQ(fnQNFS_Save_List_To_File(nullptr, list.get(), WriteText), 0);
  EXPECT_EQ(fnQNFS_Save_List_To_File(kName, nullptr, WriteText), 0);
  EXPECT_EQ(fnQNFS_Save_List_To_File(kName, list.get(), nullptr), 0);
  EXPECT_EQ(fnQNFS_Save_List_To_FileEx(nullptr, list.get(), WriteText), 0);
  EXPECT_EQ(fnQNFS_Save_List_To_FileEx(kName, nullptr, WriteText), 0);
  EXPECT_EQ(fnQNFS_Save_List_To_FileEx(kName, list.get(), nullptr), 0);
  EXPECT_EQ(fnQNFS_Append_List_To_File(nullptr, list.get(), WriteText), 0);
  EXPECT_EQ(fnQNFS_Append_List_To_File(kName, nullptr, WriteText), 0);
  EXPECT_EQ(fnQNFS_Append_List_To_File(kName, list.get(), nullptr), 0);

  EXPECT_EQ(folder_.read("file"), kContent);
}

TEST_F(NullInFiles, InALookUpOfARecordOrABackupFindsNothing) {
  TextList list({"held"});

  EXPECT_EQ(fnQNFS_List_Find_Node(nullptr, 1, fnQNFS_INI_Compare), nullptr);
  EXPECT_EQ(fnQNFS_List_Find_Node(list.get(), 1, nullptr), nullptr);
  EXPECT_EQ(fnQNFS_getBak_FileName(nullptr), nullptr);
}

TEST_F(NullInFiles, AsBufferIsNeitherWrittenNorRead) {
  char byte = '?';
  int32_t status = 5;

  fnQNFS_Init_Buffer(nullptr, 8);
  fnQNFS_Buffer_WriteString(nullptr, "a", 1);
  fnQNFS_Buffer_WriteMem(nullptr, "a", 1);
  fnQNFS_Buffer_WriteInteger(nullptr, 1);
  fnQNFS_Buffer_WriteLong(nullptr, 1);
  fnQNFS_Buffer_WriteDateTime(nullptr, QNTime{});
  fnQNFS_Buffer_WriteLineTag(nullptr);
  fnQNFS_Buffer_WriteLine(nullptr, "a");
  fnQNFS_Buffer_ReadMem(nullptr, 1, &byte);
  EXPECT_EQ(fnQNFS_Buffer_ReadString(nullptr), nullptr);
  EXPECT_EQ(fnQNFS_Buffer_ReadInteger(nullptr, &status), 1);
  EXPECT_EQ(status, -1);
  EXPECT_EQ(fnQNFS_Buffer_ReadLong(nullptr, nullptr), 1);
  EXPECT_EQ(fnQNFS_Buffer_IsEnd(nullptr), 0);
  EXPECT_EQ(byte, '?');
}

TEST_F(NullInFiles, AsBufferIsAValidDateOfZeros) {
  int32_t flag = 5;

  const QNTime time = fnQNFS_Buffer_ReadDateTime(nullptr, &flag);

  EXPECT_EQ(flag, 1);
  EXPECT_EQ(time.year, 0U);
  EXPECT_EQ(fnQNFS_Buffer_ReadDateTime(nullptr, nullptr).year, 0U);
}

TEST_F(NullInFiles, AsTextOrBlockIsAnEmptyFieldAndAsLineNone) {
  TypedBuffer buffer(16);

  fnQNFS_Buffer_WriteString(buffer.get(), nullptr, 3);
  fnQNFS_Buffer_WriteMem(buffer.get(), nullptr, 3);
  fnQNFS_Buffer_WriteLine(buffer.get(), nullptr);

  EXPECT_EQ(buffer.Image(), std::string(2, '\0'));
}

TEST_F(NullInFiles, AsStatusReceivesNothingAndAsDestinationReadsNothing) {
  TypedBuffer buffer(std::string_view("1\0002\0003:1:1:1:1:1:1\0", 18));

  fnQNFS_Buffer_ReadMem(buffer.get(), 3, nullptr);
  fnQNFS_Buffer_ReadMem(buffer.get(), 1, nullptr);
  EXPECT_EQ(fnQNFS_Buffer_ReadInteger(buffer.get(), nullptr), 1);
  EXPECT_EQ(fnQNFS_Buffer_ReadLong(buffer.get(), nullptr), 2);
  EXPECT_EQ(fnQNFS_Buffer_ReadDateTime(buffer.get(), nullptr).year, 3U);
}

TEST_F(NullInFiles, IsNeitherSavedNorLoaded) {
  TypedBuffer buffer(kContent);

  EXPECT_EQ(fnQNFS_Write_Buffer_To_File(nullptr, buffer.get()), 0);
  EXPECT_EQ(fnQNFS_Write_Buffer_To_File(kName, nullptr), 0);
  EXPECT_EQ(fnQNFS_Append_Buffer_To_File(nullptr, buffer.get()), 0);
  EXPECT_EQ(fnQNFS_Append_Buffer_To_File(kName, nullptr), 0);
  EXPECT_EQ(fnQNFS_Load_File_To_Buffer(nullptr, buffer.get()), 0);
  EXPECT_EQ(fnQNFS_Load_File_To_Buffer(kName, nullptr), 0);

  EXPECT_EQ(folder_.read("file"), kContent);
  EXPECT_EQ(buffer.Read(), "field");
}

TEST_F(NullInFiles, AsFileOfSettingsEmptiesTheListAndAsListLoadsNothing) {
  SettingsList loaded({{"key", "value"}});
  QNList initialised = {};

  fnQNFS_Load_INI_To_List(nullptr, loaded.get());
  fnQNFS_INI_List_Init(nullptr, &initialised);
  fnQNFS_Load_INI_To_List(kName, nullptr);
  fnQNFS_INI_List_Init(kName, nullptr);

  EXPECT_EQ(loaded.Held(), Settings());
  EXPECT_EQ(initialised.count, 0);
}

TEST_F(NullInFiles, InSettingsIsNotWritten) {
  SettingsList list({{"key", "value"}});

  EXPECT_EQ(fnQNFS_Write_INI_To_File(nullptr, list.get()), 0);
  EXPECT_EQ(fnQNFS_Write_INI_To_File(kName, nullptr), 0);
  EXPECT_EQ(fnQNFS_INI_Write(nullptr, list.get(), "key", "new"), 0);
  EXPECT_EQ(fnQNFS_INI_Write(kName, nullptr, "key", "new"), 0);
  EXPECT_EQ(fnQNFS_INI_Write(kName, list.get(), nullptr, "new"), 0);
  EXPECT_EQ(fnQNFS_INI_WriteRAM(nullptr, "key", "new"), 0);
  EXPECT_EQ(fnQNFS_INI_WriteRAM(list.get(), nullptr, "new"), 0);

  EXPECT_EQ(list.Held(), (Settings{{"key", "value"}}));
  EXPECT_EQ(folder_.read("file"), kContent);
}

TEST_F(NullInFiles, AsValueOfASettingIsAnEmptyText) {
  SettingsList list({{"a", "value"}, {"b", "value"}});

  fnQNFS_INI_Write(kName, list.get(), "a", nullptr);
  EXPECT_EQ(fnQNFS_INI_WriteRAM(list.get(), "b", nullptr), 1);
  EXPECT_EQ(fnQNFS_INI_WriteRAM(list.get(), "c", nullptr), 1);

  EXPECT_EQ(list.Held(), (Settings{{"a", ""}, {"b", ""}, {"c", ""}}));
}

TEST_F(NullInFiles, InSettingsIsNotFound) {
  SettingsList list({{"key", "value"}});
  char value[8] = "before";

  EXPECT_EQ(fnQNFS_INI_Read(nullptr, list.get(), "key", value), 0);
  EXPECT_EQ(fnQNFS_INI_Read(kName, nullptr, "key", value), 0);
  EXPECT_EQ(fnQNFS_INI_Read(kName, list.get(), nullptr, value), 0);
  EXPECT_EQ(fnQNFS_INI_Read(kName, list.get(), "key", nullptr), 0);

  EXPECT_STREQ(value, "before");
}

TEST_F(NullInFiles, AsKeyOrEntryEqualsNothingAndIsReleasedWithoutAnEffect) {
  SettingsList list({{"key", "value"}});
  const char *key = "key";
  const char *missing = nullptr;
  QNFSIniEntry *entry = nullptr;

  fnQNFS_INI_FreeNode(nullptr);
  fnQNFS_INI_FreeNode(&entry);
  EXPECT_EQ(fnQNFS_INI_Compare(nullptr, list.Entry(0)), -1);
  EXPECT_EQ(fnQNFS_INI_Compare(&key, nullptr), -1);
  EXPECT_EQ(fnQNFS_INI_Compare(&missing, list.Entry(0)), -1);

  EXPECT_EQ(entry, nullptr);
}

class NullInCache : public NullInFiles {
 protected:
  NullInCache() {
    fnQNStack_Cache_Free();
    fnQNStack_Cache_Init();
  }
  ~NullInCache() override { fnQNStack_Cache_Free(); }

  static int32_t Later() { return fnQNFS_getLocalTime() + 10000; }
};

TEST_F(NullInCache, AsUrlOrBodyIsRefusedWhateverItsLength) {
  EXPECT_EQ(fnQNStack_Cache_Save(nullptr, "label", "body", 4, Later(), 0), 0);
  EXPECT_EQ(fnQNStack_Cache_Save("url", "label", nullptr, 4, Later(), 0), 0);
  EXPECT_EQ(fnQNStack_Cache_Save("url", "label", nullptr, 0, Later(), 0), 0);
  EXPECT_EQ(fnQNStack_Cache_FindbyUrl(nullptr), nullptr);
  EXPECT_EQ(fnQNStack_Cache_FindbyUrl_NoExpired(nullptr), nullptr);

  EXPECT_EQ(fnQNList_GetCount(fnQNFS_http_cache_list()), 0);
}

TEST_F(NullInCache, AsDestinationFails) {
  folder_.write("7", "body");
  EXPECT_NE(fnQNStack_Cache_LoadFileToBuffer(7, nullptr, 4), 0);
}

TEST_F(NullInCache, AsHeaderLineCountsForNothing) {
  fnQNStack_Cache_InitTime();
  fnQNStack_Cache_ParseCacheTime("Cache-Control: max-age=60");

  EXPECT_EQ(fnQNStack_Cache_ParseCacheTime(nullptr), 0);

  EXPECT_NE(fnQNStack_Cache_getExpired(), -1);
}

TEST_F(NullInCache, AsLabelIsTheTextNull) {
  const int32_t saved = fnQNStack_Cache_Save("url", nullptr, "body", 4, Later(), 0);

  // The inert port saves no body.
  const QNCacheEntry *entry = fnQNStack_Cache_FindbyUrl("url");
  ASSERT_EQ(saved == 1, entry != nullptr);
  if (entry != nullptr) {
    EXPECT_STREQ(entry->label, "NULL");
  }
}

}  // namespace
