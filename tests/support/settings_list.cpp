// SPDX-License-Identifier: MIT
#include "support/settings_list.h"

#include <gtest/gtest.h>

#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_share_string.h"

namespace qntest {
namespace {

std::string Shown(const char *text) { return text != nullptr ? text : "(none)"; }

}  // namespace

SettingsList::SettingsList(std::initializer_list<std::pair<std::string, std::string>> settings) {
  for (const auto &[key, value] : settings) {
    auto *entry =
        static_cast<QNFSIniEntry *>(fnQN_Malloc_Local(sizeof(QNFSIniEntry), __FILE__, __LINE__));
    *entry = {fnQN_STRDUP(key.c_str()), fnQN_STRDUP(value.c_str())};
    fnQNList_AddTail(&list_, entry);
  }
}

QNFSIniEntry *SettingsList::Entry(int index) {
  auto *entry = static_cast<QNFSIniEntry *>(fnQNList_GetData(fnQNList_Find_ByNum(&list_, index)));
  EXPECT_NE(entry, nullptr);
  return entry;
}

Settings SettingsList::Held() const {
  Settings held;
  for (const QNListNode *node = list_.head; node != nullptr; node = node->next) {
    const auto *entry = static_cast<const QNFSIniEntry *>(node->data);
    held.emplace_back(Shown(entry->key), Shown(entry->value));
  }
  return held;
}

}  // namespace qntest
