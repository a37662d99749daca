// SPDX-License-Identifier: MIT
// Guards the settings list in memory: setting and reading values, values and
// keys that are the list's own strings, and a heap that refuses.
#include "qnstack/qn_fs_ini.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_share_string.h"
#include "support/failing_heap.h"
#include "support/file_port_test.h"
#include "support/settings_list.h"

namespace {

using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class QnFsIniWriteRam : public FilePortTest {};
class QnFsIniRead : public FilePortTest {};

TEST_F(QnFsIniWriteRam, AppendsCopiesOfANewKeyAndTouchesNoFile) {
  SettingsList list{{"a", "1"}};
  char key[] = "key";
  char value[] = "value";

  EXPECT_EQ(fnQNFS_INI_WriteRAM(list.get(), key, value), 1);
  key[0] = value[0] = 'X';

  EXPECT_THAT(list.Held(), ElementsAre(Pair("a", "1"), Pair("key", "value")));
  EXPECT_THAT(FilePort().Calls(), IsEmpty());
}

TEST_F(QnFsIniWriteRam, ReplacesTheValueInItsPlace) {
  SettingsList list{{"a", "1"}, {"b", "2"}, {"c", "3"}};
  const QNFSIniEntry *entry = list.Entry(1);
  const char *key = entry->key;

  EXPECT_EQ(fnQNFS_INI_WriteRAM(list.get(), "b", "longer than before"), 1);

  EXPECT_THAT(list.Held(),
              ElementsAre(Pair("a", "1"), Pair("b", "longer than before"), Pair("c", "3")));
  EXPECT_EQ(list.Entry(1), entry);
  EXPECT_EQ(entry->key, key);
}

TEST_F(QnFsIniWriteRam, TellsLetterCasesApartAndReplacesTheFirstOfTwoEntries) {
  SettingsList list{{"key", "1"}, {"key", "2"}};

  EXPECT_EQ(fnQNFS_INI_WriteRAM(list.get(), "Key", "3"), 1);
  EXPECT_EQ(fnQNFS_INI_WriteRAM(list.get(), "ke", "4"), 1);
  EXPECT_EQ(fnQNFS_INI_WriteRAM(list.get(), "key", "5"), 1);

  EXPECT_THAT(list.Held(),
              ElementsAre(Pair("key", "5"), Pair("key", "2"), Pair("Key", "3"), Pair("ke", "4")));
}

TEST_F(QnFsIniWriteRam, TakesTheListsOwnStrings) {
  SettingsList list{{"a", "1"}, {"b", "a"}};

  EXPECT_EQ(fnQNFS_INI_WriteRAM(list.get(), "a", list.Entry(0)->value), 1);
  EXPECT_EQ(fnQNFS_INI_WriteRAM(list.get(), list.Entry(1)->key, list.Entry(1)->value), 1);
  EXPECT_THAT(list.Held(), ElementsAre(Pair("a", "1"), Pair("b", "a")));

  EXPECT_EQ(fnQNFS_INI_WriteRAM(list.get(), list.Entry(1)->value, list.Entry(1)->value + 1), 1);
  EXPECT_EQ(fnQNFS_INI_WriteRAM(list.get(), list.Entry(1)->key, list.Entry(1)->key), 1);
  EXPECT_THAT(list.Held(), ElementsAre(Pair("a", ""), Pair("b", "b")));
}

TEST_F(QnFsIniWriteRam, WithoutMemoryForANewKeyLeavesTheList) {
  // The value, the key, the entry and its node.
  for (int refused = 1; refused <= 4; ++refused) {
    SCOPED_TRACE(refused);
    SettingsList list{{"a", "1"}};
    {
      const FailingHeap heap(refused);
      EXPECT_EQ(fnQNFS_INI_WriteRAM(list.get(), "b", "2"), 0);
      EXPECT_EQ(heap.LiveBlocks(), 0);
    }

    EXPECT_THAT(list.Held(), ElementsAre(Pair("a", "1")));
  }
}

TEST_F(QnFsIniWriteRam, WithoutMemoryForANewValueLeavesNone) {
  SettingsList list{{"a", "1"}, {"b", "2"}};

  EXPECT_EQ(WithRefusal(1, [&] { return fnQNFS_INI_WriteRAM(list.get(), "a", "3"); }), 0);

  EXPECT_EQ(list.Entry(0)->value, nullptr);
  EXPECT_EQ(fnQNFS_INI_WriteRAM(list.get(), "a", "4"), 1);
  EXPECT_THAT(list.Held(), ElementsAre(Pair("a", "4"), Pair("b", "2")));
}

TEST_F(QnFsIniRead, CopiesTheValueOfTheFirstEntryWithItsTerminatorAlone) {
  SettingsList list{{"a", "1"}, {"port", "8080"}, {"port", "81"}, {"empty", ""}};
  char value[] = "??????";

  EXPECT_EQ(fnQNFS_INI_Read("/file", list.get(), "empty", value), 1);
  EXPECT_EQ(std::string(value, 2), std::string("\0?", 2));
  EXPECT_EQ(fnQNFS_INI_Read("/file", list.get(), "port", value), 1);
  EXPECT_EQ(std::string(value, 6), std::string("8080\0?", 6));

  EXPECT_THAT(FilePort().Calls(), IsEmpty());
}

TEST_F(QnFsIniRead, LeavesTheDestinationWhereNothingIsFound) {
  SettingsList list{{"key", "1"}, {"valueless", "1"}};
  fnQN_Free(&list.Entry(1)->value);
  char value[] = "?";

  for (const char *key : {"Key", "ke", "", "valueless"}) {
    EXPECT_EQ(fnQNFS_INI_Read("/file", list.get(), key, value), 0) << key;
  }

  EXPECT_STREQ(value, "?");
}

TEST(QnFsIniCompare, OrdersAsTheKeysDo) {
  char text[] = "key";
  const QNFSIniEntry entry = {text, nullptr};
  struct Case {
    const char *key;
    int sign;
  };
  constexpr Case kCases[] = {{"key", 0}, {"kez", 1}, {"ke", -1}, {"Key", -1}};
  for (const Case &c : kCases) {
    const int result = fnQNFS_INI_Compare(&c.key, &entry);

    EXPECT_EQ((result > 0) - (result < 0), c.sign) << testing::PrintToString(c.key);
  }
}

TEST(QnFsIniFreeNode, ReleasesWhatTheEntryHoldsAndClearsTheVariable) {
  struct Case {
    const char *key;
    const char *value;
    int frees;
  };
  constexpr Case kCases[] = {
      {"a", "1", 3}, {"a", nullptr, 2}, {nullptr, "1", 2}, {nullptr, nullptr, 1}};
  for (const Case &c : kCases) {
    auto *entry =
        static_cast<QNFSIniEntry *>(fnQN_Malloc_Local(sizeof(QNFSIniEntry), __FILE__, __LINE__));
    *entry = {fnQN_STRDUP(c.key), fnQN_STRDUP(c.value)};
    FailingHeap heap(FailingHeap::kCountOnly);

    fnQNFS_INI_FreeNode(&entry);

    EXPECT_EQ(heap.Frees(), c.frees);
    EXPECT_EQ(entry, nullptr);
  }
}

}  // namespace
