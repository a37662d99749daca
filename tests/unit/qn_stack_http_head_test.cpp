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

using qntest::FailingHeap;
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

TEST_F(QnStackHttpHead, HasNoTableBeforeTheFirstWrite) {
  EXPECT_EQ(fnQNStack_Http_Head_Read("Accept"), nullptr);
  EXPECT_EQ(qn::http_head_list, nullptr);
}

TEST_F(QnStackHttpHead, WriteAppendsNewNames) {
  fnQNStack_Http_Head_Write("X-One", "1");
  fnQNStack_Http_Head_Write("X-Two", "2");

  EXPECT_THAT(Table(), ElementsAre(Pair("X-One", "1"), Pair("X-Two", "2")));
}

TEST_F(QnStackHttpHead, WriteReplacesInPlace) {
  fnQNStack_Http_Head_Write("X-One", "1");
  fnQNStack_Http_Head_Write("X-Two", "2");

  fnQNStack_Http_Head_Write("X-One", "another");

  EXPECT_THAT(Table(), ElementsAre(Pair("X-One", "another"), Pair("X-Two", "2")));
}

TEST_F(QnStackHttpHead, WriteMindsTheCaseOfNames) {
  fnQNStack_Http_Head_Write("Accept", "1");
  fnQNStack_Http_Head_Write("accept", "2");

  EXPECT_THAT(Table(), ElementsAre(Pair("Accept", "1"), Pair("accept", "2")));
  EXPECT_STREQ(fnQNStack_Http_Head_Read("accept"), "2");
  EXPECT_EQ(fnQNStack_Http_Head_Read("ACCEPT"), nullptr);
}

TEST_F(QnStackHttpHead, WriteMatchesWholeNamesOnly) {
  fnQNStack_Http_Head_Write("Accept-Language", "en");

  EXPECT_EQ(fnQNStack_Http_Head_Read("Accept"), nullptr);
  EXPECT_EQ(fnQNStack_Http_Head_Read("Accept-Language2"), nullptr);
  EXPECT_EQ(fnQNStack_Http_Head_Read(""), nullptr);
}

TEST_F(QnStackHttpHead, WriteCopiesItsTexts) {
  char name[] = "X-One";
  char value[] = "1";

  fnQNStack_Http_Head_Write(name, value);
  name[0] = '?';
  value[0] = '?';

  EXPECT_THAT(Table(), ElementsAre(Pair("X-One", "1")));
}

TEST_F(QnStackHttpHead, WriteOfANullNameAddsAnEntryEachTime) {
  fnQNStack_Http_Head_Write(nullptr, "1");
  fnQNStack_Http_Head_Write(nullptr, "2");

  EXPECT_EQ(fnQNList_GetCount(qn::http_head_list), 2);
  EXPECT_EQ(fnQNStack_Http_Head_Read(nullptr), nullptr);
}

TEST_F(QnStackHttpHead, WriteTakesAValueThatWasJustRead) {
  fnQNStack_Http_Head_Write("Accept", "text/plain");

  fnQNStack_Http_Head_Write("Accept", fnQNStack_Http_Head_Read("Accept"));
  fnQNStack_Http_Head_Write("X-Copy", fnQNStack_Http_Head_Read("Accept"));
  fnQNStack_Http_Head_Write("X-Copy", fnQNStack_Http_Head_Read("X-Copy") + 5);

  EXPECT_THAT(Table(), ElementsAre(Pair("Accept", "text/plain"), Pair("X-Copy", "plain")));
}

TEST_F(QnStackHttpHead, WriteTakesStoredTextsAsNameAndValue) {
  fnQNStack_Http_Head_Write("Accept", "X-New");

  fnQNStack_Http_Head_Write(FirstEntry()->value, FirstEntry()->name);
  fnQNStack_Http_Head_Write(FirstEntry()->name, FirstEntry()->name);

  EXPECT_THAT(Table(), ElementsAre(Pair("Accept", "Accept"), Pair("X-New", "Accept")));
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

TEST_F(QnStackHttpHead, SetDefaultIsReadByExactName) {
  fnQNStack_Http_Head_SetDefault();

  EXPECT_STREQ(fnQNStack_Http_Head_Read("User-Agent"),
               "MRV-WIN K415/WAP2.0 Profile/MIDP-2.0 Configuration/CLDC-1.1");
  EXPECT_EQ(fnQNStack_Http_Head_Read("user-agent"), nullptr);
}

TEST_F(QnStackHttpHead, SetDefaultRestoresWithoutDuplicates) {
  fnQNStack_Http_Head_SetDefault();
  const Entries defaults = Table();
  for (const auto &[name, value] : defaults) fnQNStack_Http_Head_Write(name.c_str(), "changed");

  fnQNStack_Http_Head_SetDefault();

  EXPECT_EQ(Table(), defaults);
}

TEST_F(QnStackHttpHead, SetDefaultKeepsOtherNamesAndTheirPlaces) {
  fnQNStack_Http_Head_Write("X-Test", "1");
  fnQNStack_Http_Head_Write("Accept", "text/plain");

  fnQNStack_Http_Head_SetDefault();

  const Entries table = Table();
  ASSERT_EQ(table.size(), 7U);
  EXPECT_THAT(table[0], Pair("X-Test", "1"));
  EXPECT_THAT(table[1], Pair("Accept", "*/*,application/vnd.wap.mms-message,text/html"));
}

TEST_F(QnStackHttpHead, WriteAfterSetDefaultKeepsItsPlaceOrAppends) {
  fnQNStack_Http_Head_SetDefault();

  fnQNStack_Http_Head_Write("Accept", "text/plain");
  fnQNStack_Http_Head_Write("X-Test", "1");

  const Entries table = Table();
  ASSERT_EQ(table.size(), 7U);
  EXPECT_THAT(table.front(), Pair("Accept", "text/plain"));
  EXPECT_THAT(table.back(), Pair("X-Test", "1"));
}

TEST_F(QnStackHttpHead, FreeAllEmptiesAndFreesTheTable) {
  fnQNStack_Http_Head_SetDefault();
  int frees = 0;
  {
    FailingHeap heap(FailingHeap::kCountOnly);
    fnQNStack_Http_Head_FreeAll();
    frees = heap.Frees();
  }

  EXPECT_EQ(qn::http_head_list, nullptr);
  EXPECT_EQ(fnQNStack_Http_Head_Read("Accept"), nullptr);
  EXPECT_EQ(frees, 6 * 4 + 1);  // node, entry, name and value of each; the list record
}

TEST_F(QnStackHttpHead, FreeAllTwiceIsHarmless) {
  fnQNStack_Http_Head_SetDefault();
  fnQNStack_Http_Head_FreeAll();

  fnQNStack_Http_Head_FreeAll();

  EXPECT_EQ(qn::http_head_list, nullptr);
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
  int frees = 0;
  {
    FailingHeap heap(FailingHeap::kCountOnly);
    qn::FreeHeadEntry(&entry);
    frees = heap.Frees();
  }

  EXPECT_EQ(entry, nullptr);
  EXPECT_EQ(frees, 3);
}

TEST_F(QnStackHttpHead, FreeNodeOfANullEntryDoesNothing) {
  qn::HttpHeadEntry *entry = nullptr;
  FailingHeap heap(FailingHeap::kCountOnly);
  qn::FreeHeadEntry(&entry);
  EXPECT_EQ(heap.Frees(), 0);
}

TEST_F(QnStackHttpHead, WriteLeavesTheTableToAnyRefusedAllocation) {
  fnQNStack_Http_Head_SetDefault();
  const Entries before = Table();
  for (const char *name : {"Accept", "X-New"}) {
    for (int refused = 1;; ++refused) {
      SCOPED_TRACE(std::string(name) + ", allocation " + std::to_string(refused));
      int refusals = 0;
      {
        FailingHeap heap(refused);
        fnQNStack_Http_Head_Write(name, "new");
        refusals = heap.Refusals();
      }
      if (refusals == 0) break;

      ASSERT_EQ(Table(), before);
    }
    EXPECT_STREQ(fnQNStack_Http_Head_Read(name), "new");
    fnQNStack_Http_Head_FreeAll();
    fnQNStack_Http_Head_SetDefault();
  }
}

TEST_F(QnStackHttpHead, FirstWriteStoresNothingForARefusedAllocation) {
  for (int refused = 1;; ++refused) {
    SCOPED_TRACE(refused);
    int refusals = 0;
    {
      FailingHeap heap(refused);
      fnQNStack_Http_Head_Write("X-New", "1");
      refusals = heap.Refusals();
    }
    if (refusals == 0) break;

    ASSERT_THAT(Table(), IsEmpty());
    ASSERT_EQ(fnQNStack_Http_Head_Read("X-New"), nullptr);
    fnQNStack_Http_Head_FreeAll();
  }
  EXPECT_STREQ(fnQNStack_Http_Head_Read("X-New"), "1");
}

}  // namespace
