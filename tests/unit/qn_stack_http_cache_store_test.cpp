// SPDX-License-Identifier: MIT
// Guards the cache store: the index in memory and in its file, the counters,
// the bodies' names and the exact calls by which files are read and deleted.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "qn_stack_http_cache_internal.h"
#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_stack_tools.h"
#include "support/cache_test.h"
#include "support/failing_heap.h"

namespace {

using namespace qntest;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

// The values before any call of the program.
const QNList *const list_at_load = qn::http_cache_list;
const int32_t items_at_load = qn::http_cache_items;
const int32_t size_at_load = qn::http_cache_size;
const int32_t mode_at_load = fnQNStack_Cache_getState();

class QnCacheStore : public qntest::CacheTest {};

TEST_F(QnCacheStore, BeginsWithoutAnIndex) {
  EXPECT_EQ(list_at_load, nullptr);
  EXPECT_EQ(items_at_load, 0);
  EXPECT_EQ(size_at_load, 0);
  EXPECT_EQ(mode_at_load, 2);
}

TEST_F(QnCacheStore, CountsAtEachInitWithoutReadingAgain) {
  WriteIndex(kTwo);
  for (int i = 0; i < 2; ++i) {
    SetCounters(7, -70);
    fnQNStack_Cache_Init();
    ExpectCounters(2, 200);
  }
  EXPECT_EQ(FilePort().CountOf("ReadFromFile"), 1);
  EXPECT_EQ(FilePort().Calls().back(), "MkDir(/wap/ca/)");
}

TEST_F(QnCacheStore, CountsSizesAsTheyWrap) {
  WriteIndex({{.url = "a", .size = INT32_MAX}, {.url = "b", .size = 2}, {.url = "c", .size = -5}});

  fnQNStack_Cache_Init();

  ExpectCounters(3, INT32_MAX - 3);
}

TEST_F(QnCacheStore, FreeGivesEveryBlockBackAndKeepsCountersAndFiles) {
  Start(kTwo);
  // Of each entry the record, two strings and a node; and the list.
  for (const int frees : {2 * 4 + 1, 0}) {
    EXPECT_EQ(FreesIn(fnQNStack_Cache_Free), frees);
    EXPECT_EQ(qn::http_cache_list, nullptr);
    ExpectCounters(2, 200);
  }
  EXPECT_EQ(IndexFile(), IndexOf(kTwo));
  EXPECT_THAT(FilePort().Calls(), IsEmpty());
}

TEST_F(QnCacheStore, FreeNodeLeavesTheVariableAndTakesNulls) {
  auto *entry = static_cast<QNCacheEntry *>(fnQN_Malloc_Local(sizeof(QNCacheEntry), nullptr, 0));
  entry->url = fnQNStack_StrDup("u");
  entry->label = fnQNStack_StrDup("l");
  void *variable = entry;
  const void *before = variable;
  EXPECT_EQ(FreesIn([&] { qn::FreeCacheEntry(&variable); }), 3);
  EXPECT_EQ(variable, before);

  variable = nullptr;
  EXPECT_EQ(FreesIn([&] {
              qn::FreeCacheEntry(nullptr);
              qn::FreeCacheEntry(&variable);
            }),
            0);
}

TEST_F(QnCacheStore, NamesBodiesByTheirNumber) {
  struct Case {
    int32_t file_no;
    const char *name;
  };
  constexpr Case kCases[] = {{-5, "/wap/ca/-5"},
                             {0, "/wap/ca/0"},
                             {42, "/wap/ca/42"},
                             {-4928, "/wap/ca/-4928"},
                             {INT32_MAX, "/wap/ca/2147483647"},
                             {INT32_MIN, "/wap/ca/-2147483648"}};
  for (const Case &c : kCases) {
    const qn::BodyName name(c.file_no);

    EXPECT_STREQ(name.Text(), c.name);
  }
}

TEST_F(QnCacheStore, DeletesABodyAndTakesItOffTheCountersOnly) {
  Start(kTwo);
  const auto &entry = *static_cast<const QNCacheEntry *>(qn::http_cache_list->head->data);

  EXPECT_EQ(qn::DeleteCacheBody(entry), 1);
  ExpectCounters(1, 80);
  EXPECT_EQ(qn::DeleteCacheBody(entry), 0);
  ExpectCounters(0, -40);

  EXPECT_THAT(FilePort().Calls(),
              ElementsAre("DeleteFile(/wap/ca/-4928)", "DeleteFile(/wap/ca/-4928)"));
  EXPECT_EQ(Held(), kTwo);
}

TEST_F(QnCacheStore, ReadsABodyAsFarAsThereIsRoomAndGivesNoLength) {
  FilePort().files().Write("/wap/ca/-17", "content");
  std::string buffer(10, '?');
  EXPECT_EQ(fnQNStack_Cache_LoadFileToBuffer(5, buffer.data(), 10), -1);
  EXPECT_EQ(buffer, "??????????");
  EXPECT_EQ(fnQNStack_Cache_LoadFileToBuffer(-17, buffer.data(), 4), 0);
  EXPECT_EQ(buffer, "cont??????");
  FilePort().ClearCalls();
  EXPECT_EQ(fnQNStack_Cache_LoadFileToBuffer(-17, buffer.data(), 10), 0);
  EXPECT_EQ(buffer, "content???");
  EXPECT_THAT(FilePort().Calls(), ElementsAre("ReadFromFile(/wap/ca/-17, 10)"));
}

TEST_F(QnCacheStore, DeleteAllLoadsThenDeletesThenWritesAnEmptyIndex) {
  WriteIndex(kTwo);
  FilePort().files().Write("/wap/ca/-4928", "body");
  SetCounters(7, -70);

  EXPECT_EQ(fnQNStack_Cache_Delete_All(), 1);

  EXPECT_THAT(FilePort().Calls(), ElementsAreArray(InARow({{"MkDir(/wap/ca/)"},
                                                           IndexRead(IndexOf(kTwo).size()),
                                                           {"DelAllFiles(/wap/ca/)"},
                                                           IndexRewrite(0)})));
  EXPECT_THAT(Held(), IsEmpty());
  EXPECT_THAT(FilePort().files().Names(), ElementsAre(kIndexName));
  EXPECT_EQ(IndexFile(), "");
  ExpectCounters(7, -70);

  const QNList *list = qn::http_cache_list;
  EXPECT_EQ(fnQNStack_Cache_Delete_All(), 1);
  EXPECT_EQ(qn::http_cache_list, list);
  fnQNStack_Cache_Init();
  ExpectCounters(0, 0);
}

TEST_F(QnCacheStore, DeleteAllGivesTheResultOfTheIndexAlone) {
  Start(kTwo);
  FilePort().Fail("WriteToFile");
  EXPECT_EQ(fnQNStack_Cache_Delete_All(), 0);
  EXPECT_THAT(Held(), IsEmpty());

  FilePort().Fail("DelAllFiles");
  EXPECT_EQ(fnQNStack_Cache_Delete_All(), 1);
}

TEST_F(QnCacheStore, KeepsAnyMode) {
  for (const int32_t mode : {0, 1, -1, INT32_MIN, INT32_MAX}) {
    fnQNStack_Cache_setMode(mode);

    EXPECT_EQ(fnQNStack_Cache_getState(), mode);
  }
}

}  // namespace
