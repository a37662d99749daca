// SPDX-License-Identifier: MIT
// Guards the index of the cache: loading it from its file, once and when it is
// first needed, and the exact bytes and calls of reading and writing it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "qn_stack_http_cache_internal.h"
#include "support/cache_test.h"
#include "support/failing_heap.h"

namespace {

using namespace qntest;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

class QnCacheIndex : public qntest::CacheTest {};

TEST_F(QnCacheIndex, LoadsOnceInTheOrderOfItsFileAndCountsNothing) {
  WriteIndex(kTwo);
  SetCounters(7, -70);
  EXPECT_EQ(fnQNStack_LoadCache_To_List(), 1);
  EXPECT_EQ(Held(), kTwo);
  EXPECT_THAT(FilePort().Calls(),
              ElementsAreArray(InARow({{"MkDir(/wap/ca/)"}, IndexRead(IndexOf(kTwo).size())})));

  FilePort().ClearCalls();
  EXPECT_EQ(fnQNStack_LoadCache_To_List(), 1);
  EXPECT_THAT(FilePort().Calls(), ElementsAre("MkDir(/wap/ca/)")) << "every time";
  EXPECT_EQ(Held(), kTwo);
  ExpectCounters(7, -70);
}

TEST_F(QnCacheIndex, CountsOnBeyond32BitsByWrapping) {
  qn::http_cache_items = INT32_MAX;
  qn::http_cache_size = INT32_MIN;
  QNCacheEntry entry = {};
  entry.size = -1;

  qn::CountCacheEntry(entry);

  EXPECT_EQ(qn::http_cache_items, INT32_MIN);
  EXPECT_EQ(qn::http_cache_size, INT32_MAX);
}

TEST_F(QnCacheIndex, LoadsAnEmptyIndexWhereThereIsNoFile) {
  EXPECT_EQ(fnQNStack_LoadCache_To_List(), 1);

  EXPECT_THAT(FilePort().Calls(),
              ElementsAre("MkDir(/wap/ca/)", "getFileSize(/wap/ca/ca.txt)",
                          "isFileExisted(/wap/ca/ca.txt.bak)", "getFileSize(/wap/ca/ca.txt)"));
  ASSERT_NE(qn::http_cache_list, nullptr);
  EXPECT_THAT(Held(), IsEmpty());
}

TEST_F(QnCacheIndex, LoadsAnEmptyIndexWhereTheFileCannotBeRead) {
  WriteIndex(kTwo);
  FilePort().Fail("MkDir");
  FilePort().Fail("ReadFromFile");

  EXPECT_EQ(fnQNStack_LoadCache_To_List(), 1);

  ASSERT_NE(qn::http_cache_list, nullptr);
  EXPECT_THAT(Held(), IsEmpty());
}

TEST_F(QnCacheIndex, WritesTheIndexByteForByte) {
  Start({{"U", "NULL", 42, 120, 1000, 900, 0},
         {"", "", INT32_MIN, INT32_MAX, INT32_MIN, INT32_MAX, -1}});
  constexpr char kBytes[] =
      "U\0NULL\0"
      "42\0"
      "120\0"
      "1000\0"
      "900\0"
      "0\0"
      "\0\0"
      "-2147483648\0"
      "2147483647\0"
      "-2147483648\0"
      "2147483647\0"
      "-1\0";
  const std::string bytes(kBytes, sizeof kBytes - 1);

  EXPECT_EQ(qn::SaveCacheIndex(), 1);

  EXPECT_EQ(IndexFile(), bytes);
  EXPECT_THAT(FilePort().Calls(), ElementsAreArray(IndexRewrite(bytes.size())));
}

TEST_F(QnCacheIndex, ReadsWhatIsMissingOfAnEntryAsEmpty) {
  FilePort().files().Write(kIndexName, std::string("http://a/\0label\0-17\0", 20));

  fnQNStack_LoadCache_To_List();

  EXPECT_EQ(Held(), (std::vector<CachedAnswer>{{"http://a/", "label", -17, 0, 0, 0, 0}}));
}

TEST_F(QnCacheIndex, ListIsTheOneThatIsLoadedAndLoadedAgainAfterFree) {
  Start(kTwo);
  const QNList *list = qn::http_cache_list;
  EXPECT_EQ(fnQNFS_http_cache_list(), list);
  EXPECT_THAT(FilePort().Calls(), IsEmpty());

  fnQNStack_Cache_Free();
  SetCounters(7, -70);
  list = fnQNFS_http_cache_list();
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list, qn::http_cache_list);
  EXPECT_EQ(Held(), kTwo);
  ExpectCounters(7, -70);
}

TEST_F(QnCacheIndex, HasNoIndexWhenTheHeapRefusesTheList) {
  {
    FailingHeap heap(1);
    EXPECT_EQ(fnQNStack_LoadCache_To_List(), 0);
  }
  EXPECT_THAT(FilePort().Calls(), ElementsAre("MkDir(/wap/ca/)"));
  for (const auto &use : std::vector<void (*)()>{
           [] { EXPECT_EQ(fnQNFS_http_cache_list(), nullptr); },
           [] { EXPECT_EQ(fnQNStack_Cache_Delete_All(), 0); },
           [] { fnQNStack_Cache_Init(); },
       }) {
    FailingHeap heap(1);
    use();
    EXPECT_EQ(qn::http_cache_list, nullptr);
  }
  // The files go all the same.
  EXPECT_EQ(FilePort().CountOf("DelAllFiles"), 1);
}

}  // namespace
