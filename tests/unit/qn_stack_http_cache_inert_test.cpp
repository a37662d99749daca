// SPDX-License-Identifier: MIT
// Guards the cache on the inert file port, where nothing can be written or
// read: saves fail after they have made room, and the index loads empty.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "qn_owned.h"
#include "qn_stack_http_cache_internal.h"
#include "qnstack/qn_fs_comm_tools.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_stack_tools.h"

namespace {

using testing::ElementsAre;
using testing::Pair;

std::vector<std::pair<std::string, int32_t>> told;

int32_t Tell(const char *name, int32_t operation) {
  told.emplace_back(name, operation);
  return 0;
}

class QnCacheOnInertPort : public testing::Test {
 protected:
  QnCacheOnInertPort() {
    fnQNFS_SetCardSynFileFunc(Tell);
    told.clear();
    fnQNStack_Cache_Init();
  }
  ~QnCacheOnInertPort() override { fnQNStack_Cache_Free(); }

  // An entry such as a port that can read would have found.
  static void Hold(const char *url, int32_t expires) {
    auto *entry = qn::NewRecord<QNCacheEntry>();
    entry->url = fnQNStack_StrDup(url);
    entry->label = fnQNStack_StrDup("NULL");
    entry->size = 10;
    entry->expires = expires;
    fnQNList_AddTail(fnQNFS_http_cache_list(), entry);
    ++qn::http_cache_items;
    qn::http_cache_size += entry->size;
  }
};

TEST_F(QnCacheOnInertPort, LoadsAnEmptyIndex) {
  EXPECT_EQ(fnQNStack_LoadCache_To_List(), 1);

  ASSERT_NE(fnQNFS_http_cache_list(), nullptr);
  EXPECT_EQ(fnQNList_GetCount(fnQNFS_http_cache_list()), 0);
  EXPECT_EQ(qn::http_cache_items, 0);
  EXPECT_EQ(qn::http_cache_size, 0);
}

TEST_F(QnCacheOnInertPort, FailsToSaveAfterItHasMadeRoom) {
  const int32_t now = fnQNFS_getLocalTime();
  Hold("fresh", now + 100000);
  Hold("stale", now);

  EXPECT_EQ(fnQNStack_Cache_Save("new", nullptr, "body", 4, now + 100000, 0), 0);

  ASSERT_EQ(fnQNList_GetCount(qn::http_cache_list), 1);
  EXPECT_NE(fnQNStack_Cache_FindbyUrl("fresh"), nullptr);
  EXPECT_EQ(qn::http_cache_items, 1);
  EXPECT_EQ(qn::http_cache_size, 10);
  ASSERT_EQ(told.size(), 1U);  // of the body alone; the index is not written
  EXPECT_TRUE(told[0].first.starts_with("/wap/ca/")) << told[0].first;
  EXPECT_NE(told[0].first, "/wap/ca/ca.txt");
}

TEST_F(QnCacheOnInertPort, StillServesAHit) {
  const int32_t now = fnQNFS_getLocalTime();
  Hold("first", now + 100000);
  Hold("second", now + 100000);

  const QNCacheEntry *entry = fnQNStack_Cache_FindbyUrl_NoExpired("second");

  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(qn::http_cache_list->head->data, entry);
  EXPECT_THAT(told, ElementsAre(Pair("/wap/ca/ca.txt", 2)));
}

TEST_F(QnCacheOnInertPort, ReadsNoBody) {
  std::string buffer = "????";

  EXPECT_EQ(fnQNStack_Cache_LoadFileToBuffer(1, buffer.data(), 4), -1);

  EXPECT_EQ(buffer, "????");
}

TEST_F(QnCacheOnInertPort, ForgetsAllButReportsThatTheIndexWasNotWritten) {
  Hold("u", fnQNFS_getLocalTime());

  EXPECT_EQ(fnQNStack_Cache_Delete_All(), 0);

  EXPECT_EQ(fnQNList_GetCount(qn::http_cache_list), 0);
  EXPECT_THAT(told, ElementsAre(Pair("/wap/ca/ca.txt", 2)));
}

}  // namespace
