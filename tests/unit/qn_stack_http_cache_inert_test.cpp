// SPDX-License-Identifier: MIT
// Guards the cache on the inert file port, where nothing can be written or
// read: saves fail after they have made room, and the index loads empty.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "qn_owned.h"
#include "qn_stack_http_cache_internal.h"
#include "qnstack/qn_fs_comm_tools.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_stack_tools.h"

namespace {

std::vector<std::string> told_names;

int32_t TellName(const char *name, int32_t /*operation*/) {
  told_names.emplace_back(name);
  return 0;
}

class QnCacheOnInertPort : public testing::Test {
 protected:
  QnCacheOnInertPort() {
    fnQNFS_SetCardSynFileFunc(TellName);
    told_names.clear();
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

TEST_F(QnCacheOnInertPort, LoadsAnEmptyIndexAndFailsToSaveAfterItHasMadeRoom) {
  EXPECT_EQ(fnQNStack_LoadCache_To_List(), 1);
  ASSERT_NE(fnQNFS_http_cache_list(), nullptr);
  EXPECT_EQ(fnQNList_GetCount(fnQNFS_http_cache_list()), 0);
  EXPECT_EQ(qn::http_cache_items, 0);
  const int32_t now = fnQNFS_getLocalTime();
  Hold("fresh", now + 100000);
  Hold("stale", now);

  EXPECT_EQ(fnQNStack_Cache_Save("new", nullptr, "body", 4, now + 100000, 0), 0);

  ASSERT_EQ(fnQNList_GetCount(qn::http_cache_list), 1);
  EXPECT_NE(fnQNStack_Cache_FindbyUrl("fresh"), nullptr);
  EXPECT_EQ(qn::http_cache_items, 1);
  EXPECT_EQ(qn::http_cache_size, 10);
  ASSERT_EQ(told_names.size(), 1U);  // of the body alone; the index is not written
  EXPECT_NE(told_names[0], "/wap/ca/ca.txt");
  EXPECT_EQ(fnQNStack_Cache_Delete_All(), 0) << "it tells that the index was not written";
  EXPECT_EQ(fnQNList_GetCount(qn::http_cache_list), 0);
}

}  // namespace
