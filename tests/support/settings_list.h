// SPDX-License-Identifier: MIT
// A settings list whose entries are released at the end of its scope, and what
// it holds as text.
#ifndef QNSTACK_TESTS_SUPPORT_SETTINGS_LIST_H
#define QNSTACK_TESTS_SUPPORT_SETTINGS_LIST_H

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "qnstack/qn_fs_ini.h"

namespace qntest {

using Settings = std::vector<std::pair<std::string, std::string>>;

class SettingsList {
 public:
  SettingsList() = default;
  SettingsList(std::initializer_list<std::pair<std::string, std::string>> settings);
  ~SettingsList() { fnQNList_Clear(&list_, fnQNFS_INI_FreeNode); }
  SettingsList(const SettingsList &) = delete;
  SettingsList &operator=(const SettingsList &) = delete;

  QNList *get() { return &list_; }

  // The entry at an index. Fails the running test if there is none.
  QNFSIniEntry *Entry(int index);

  // Keys and values in order, a missing string as "(none)".
  Settings Held() const;

 private:
  QNList list_ = {};
};

}  // namespace qntest

#endif
