// SPDX-License-Identifier: MIT
// Guards the table of request headers: look-up by name, replacement in place,
// the six defaults, and what a refusing heap leaves behind.
#include "qnstack/qn_stack_http_head.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "qn_stack_http_head_internal.h"
#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_stack_tools.h"
#include "support/failing_heap.h"

namespace {

using qntest::FreesIn;
using qntest::RefusalsIn;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::Pair;
using testing::StartsWith;

using Entries = std::vector<std::pair<std::string, std::string>>;

// The table in its order; none if there is no table.
Entries Table() {
  Entries entries;
  const QNListNode *node = fnQNList_BeginIter(qn::http_head_list);
  for (; node != nullptr; node = fnQNList_NextIter(node)) {
    const auto *entry = static_cast<const qn::HttpHeadEntry *>(fnQNList_GetData(node));
    entries.emplace_back(entry->name, entry->value);
  }
  return entries;
}

qn::HttpHeadEntry *FirstEntry() {
  return static_cast<qn::HttpHeadEntry *>(fnQNList_GetData(fnQNList_BeginIter(qn::http_head_list)));
}

// Each test has the table to itself.
class QnStackHttpHead : public testing::Test {
 protected:
  QnStackHttpHead() { fnQNStack_Http_Head_FreeAll(); }
  ~QnStackHttpHead() override { fnQNStack_Http_Head_FreeAll(); }
};

TEST_F(QnStackHttpHead, WriteAppendsNewNamesAndReplacesInPlace) {
  EXPECT_EQ(fnQNStack_Http_Head_Read("Accept"), nullptr);
  EXPECT_EQ(qn::http_head_list, nullptr);
  std::string name = "Accept";
  std::string value = "1";
  fnQNStack_Http_Head_Write(name.c_str(), value.c_str());
  name = value = "texts are copied";
  fnQNStack_Http_Head_Write("accept", "2");
  fnQNStack_Http_Head_Write("Accept-Language", "en");
  EXPECT_THAT(Table(),
              ElementsAre(Pair("Accept", "1"), Pair("accept", "2"), Pair("Accept-Language", "en")));

  EXPECT_EQ(FreesIn([] { fnQNStack_Http_Head_Write("Accept", "another"); }), 1);
  EXPECT_THAT(Table(), ElementsAre(Pair("Accept", "another"), Pair("accept", "2"),
                                   Pair("Accept-Language", "en")));
  EXPECT_STREQ(fnQNStack_Http_Head_Read("accept"), "2");
  for (const char *other : {"ACCEPT", "Accept-", "Accept-Language2", ""}) {
    EXPECT_EQ(fnQNStack_Http_Head_Read(other), nullptr) << other;
  }
}

TEST_F(QnStackHttpHead, WriteTakesTheTablesOwnTexts) {
  fnQNStack_Http_Head_Write("Accept", "text/plain");
  fnQNStack_Http_Head_Write("Accept", fnQNStack_Http_Head_Read("Accept"));
  fnQNStack_Http_Head_Write("X-Copy", fnQNStack_Http_Head_Read("Accept"));
  fnQNStack_Http_Head_Write("X-Copy", fnQNStack_Http_Head_Read("X-Copy") + 5);
  EXPECT_THAT(Table(), ElementsAre(Pair("Accept", "text/plain"), Pair("X-Copy", "plain")));

  fnQNStack_Http_Head_Write(FirstEntry()->value, FirstEntry()->name);
  fnQNStack_Http_Head_Write(FirstEntry()->name, FirstEntry()->name);
  EXPECT_THAT(Table(), ElementsAre(Pair("Accept", "Accept"), Pair("X-Copy", "plain"),
                                   Pair("text/plain", "Accept")));
}

TEST_F(QnStackHttpHead, WriteDoesNotBoundItsTexts) {
  const std::string name(3000, 'n');
  const std::string value(70000, 'v');

  fnQNStack_Http_Head_Write(name.c_str(), value.c_str());

  EXPECT_EQ(fnQNStack_Http_Head_Read(name.c_str()), value);
}

TEST_F(QnStackHttpHead, ReadGivesTheTablesOwnText) {
  fnQNStack_Http_Head_Write("Accept", "text/plain");
  const char *value = fnQNStack_Http_Head_Read("Accept");

  fnQNStack_Http_Head_Write("X-Other", "1");

  EXPECT_EQ(value, FirstEntry()->value);
  EXPECT_EQ(fnQNStack_Http_Head_Read("Accept"), value);
  EXPECT_STREQ(value, "text/plain");
}

TEST_F(QnStackHttpHead, SetDefaultWritesSixHeadersInOrder) {
  fnQNStack_Http_Head_SetDefault();

  EXPECT_THAT(
      Table(),
      ElementsAre(Pair("Accept", "*/*,application/vnd.wap.mms-message,text/html"),
                  Pair("Cache-Control", "No-cache"), Pair("Accept-Charset", "utf-8"),
                  Pair("User-Agent", "MRV-WIN K415/WAP2.0 Profile/MIDP-2.0 Configuration/CLDC-1.1"),
                  Pair("Profile", testing::AllOf(StartsWith("http://"),
                                                 EndsWith("/mobile/uaprof/MRV-K415.xml"))),
                  Pair("Accept-Language", "en")));
}

TEST_F(QnStackHttpHead, SetDefaultRestoresInPlaceAndKeepsOtherNames) {
  fnQNStack_Http_Head_Write("X-Test", "1");
  fnQNStack_Http_Head_SetDefault();
  Entries table = Table();
  ASSERT_EQ(table.size(), 7U);
  for (const auto &[name, value] : table) fnQNStack_Http_Head_Write(name.c_str(), "changed");

  fnQNStack_Http_Head_SetDefault();

  table[0].second = "changed";
  EXPECT_EQ(Table(), table);
}

TEST_F(QnStackHttpHead, FreeAllEmptiesAndFreesTheTableAndMayBeCalledTwice) {
  fnQNStack_Http_Head_SetDefault();
  // Node, entry, name and value of each; the list record.
  EXPECT_EQ(FreesIn(fnQNStack_Http_Head_FreeAll), 6 * 4 + 1);
  EXPECT_EQ(qn::http_head_list, nullptr);
  fnQNStack_Http_Head_FreeAll();
  fnQNStack_Http_Head_Write("X-Again", "1");
  EXPECT_THAT(Table(), ElementsAre(Pair("X-Again", "1")));
}

TEST_F(QnStackHttpHead, CompareOrdersByNameAlone) {
  char apple[] = "apple";
  char pear[] = "pear";
  const qn::HttpHeadEntry a = {apple, pear};
  const qn::HttpHeadEntry p = {pear, apple};
  const qn::HttpHeadEntry nameless = {nullptr, apple};

  EXPECT_LT(qn::CompareHeadNames(&a, &p), 0);
  EXPECT_GT(qn::CompareHeadNames(&p, &a), 0);
  EXPECT_EQ(qn::CompareHeadNames(&a, &a), 0);
  EXPECT_EQ(qn::CompareHeadNames(&nameless, &nameless), -1);
  EXPECT_EQ(qn::CompareHeadNames(&a, &nameless), -1);
}

TEST_F(QnStackHttpHead, FreeNodeFreesTheEntryAndClearsThePointer) {
  auto *entry = static_cast<qn::HttpHeadEntry *>(
      fnQN_Malloc_Local(sizeof(qn::HttpHeadEntry), __FILE__, __LINE__));
  ASSERT_NE(entry, nullptr);
  entry->name = fnQNStack_StrDup("name");
  entry->value = fnQNStack_StrDup("value");

  EXPECT_EQ(FreesIn([&] { qn::FreeHeadEntry(&entry); }), 3);

  EXPECT_EQ(entry, nullptr);
  qn::FreeHeadEntry(&entry);
}

TEST_F(QnStackHttpHead, WriteLeavesTheTableToAnyRefusedAllocation) {
  const auto write = [](const char *name, int refused) {
    return RefusalsIn([name] { fnQNStack_Http_Head_Write(name, "new"); }, refused) > 0;
  };
  for (int refused = 1; write("X-New", refused); ++refused) {
    ASSERT_THAT(Table(), IsEmpty()) << "the first, allocation " << refused;
    fnQNStack_Http_Head_FreeAll();
  }
  EXPECT_STREQ(fnQNStack_Http_Head_Read("X-New"), "new");
  for (const char *name : {"Accept", "X-Newer"}) {
    fnQNStack_Http_Head_SetDefault();
    const Entries before = Table();
    for (int refused = 1; write(name, refused); ++refused) {
      ASSERT_EQ(Table(), before) << name << ", allocation " << refused;
    }
    EXPECT_STREQ(fnQNStack_Http_Head_Read(name), "new");
  }
}

}  // namespace
