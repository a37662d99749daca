// SPDX-License-Identifier: MIT
// The list is always loaded before it is written: the loading is what brings a
// backup back that an interrupted write left behind.
#include "settings.h"

#include <algorithm>

#include "checks.h"
#include "failure.h"
#include "proxy.h"
#include "settings_file.h"
#include "takeover.h"

namespace qnget {
namespace {

// One value is well below what the library lets a file grow by at a time.
constexpr size_t kLongestValue = 2000;

constexpr SettingKind kKinds[] = {
    {"proxy", CheckProxy},
    {"user-agent", CheckHeaderValue},
    {"profile", CheckHeaderValue},
    {"accept", CheckHeaderValue},
    {"accept-language", CheckHeaderValue},
    {"timeout", CheckTimeout},
};

std::string Text(const char *text) { return text == nullptr ? "" : text; }

const QNFSIniEntry *EntryAt(const QNListNode *node) {
  return static_cast<const QNFSIniEntry *>(fnQNList_GetData(node));
}

const std::string &AfterTakeover(const Folders &folders) {
  TakeOverSettings(folders);
  return folders.settings;
}

}  // namespace

std::span<const SettingKind> SettingKinds() { return kKinds; }

const SettingKind *FindSettingKind(const std::string &key) {
  const auto *found = std::find_if(std::begin(kKinds), std::end(kKinds),
                                   [&](const SettingKind &kind) { return kind.key == key; });
  return found == std::end(kKinds) ? nullptr : found;
}

std::string ProblemOfSetting(const SettingKind &kind, const std::string &value) {
  if (value.empty()) return {};
  return value.size() > kLongestValue ? "longer than 2000 bytes" : kind.check(value);
}

Settings::Settings(const Folders &folders, const std::string &operator_name, Purpose purpose)
    : file_(SettingsFile(operator_name)),
      store_(AfterTakeover(folders), purpose),
      exist_(store_.IsOpen() && Load()) {}

// False if there is no such file. Loading deletes the file where there is a backup,
// so both are read before, and what has become of them afterwards.
bool Settings::Load() {
  bool there = false;
  for (const std::string &name : {file_, BackupOf(file_)}) {
    if (!IsThere(store_, name)) continue;
    ReadWholeFile(store_, name);
    there = true;
  }
  fnQNFS_Load_INI_To_List(file_.c_str(), &list_);
  if (there && !ReadWholeFile(store_, file_).empty() && fnQNList_BeginIter(&list_) == nullptr) {
    throw Failure(kNotWritten, "could not load " + store_.Path(file_));
  }
  return there;
}

std::optional<std::string> Settings::Get(const std::string &key) const {
  const QNListNode *node = Find(key);
  if (node == nullptr) return {};
  return Text(EntryAt(node)->value);
}

std::vector<std::pair<std::string, std::string>> Settings::All() const {
  std::vector<std::pair<std::string, std::string>> all;
  for (const QNListNode *node = fnQNList_BeginIter(&list_); node != nullptr; node = node->next) {
    all.emplace_back(Text(EntryAt(node)->key), Text(EntryAt(node)->value));
  }
  return all;
}

void Settings::Set(const std::string &key, const std::string &value) {
  if (fnQNFS_INI_Write(file_.c_str(), &list_, key.c_str(), value.c_str()) != 1) FailToWrite();
}

// A file may have a key twice; the second must not come to light.
void Settings::Unset(const std::string &key) {
  bool changed = false;
  while (QNListNode *node = Find(key)) {
    void *entry = fnQNList_GetData(node);
    fnQNList_Remove(&list_, node);
    fnQNFS_INI_FreeNode(&entry);
    changed = true;
  }
  if (changed && fnQNFS_Write_INI_To_File(file_.c_str(), &list_) != 1) FailToWrite();
}

QNListNode *Settings::Find(const std::string &key) const {
  const char *text = key.c_str();
  return fnQNList_CompareFind(&list_, &text, fnQNFS_INI_Compare);
}

void Settings::FailToWrite() const {
  throw Failure(kNotWritten, "could not write " + store_.Path(file_));
}

std::map<std::string, std::string> SettingsInForce(const Folders &folders,
                                                   const std::string &operator_name) {
  std::map<std::string, std::string> all;
  const auto take = [&](const std::string &name) {
    const Settings settings(folders, name, Purpose::kRead);
    if (!name.empty() && !settings.Exist()) {
      throw Failure(kUsage, "there are no settings of operator " + name);
    }
    for (const SettingKind &kind : SettingKinds()) {
      if (const auto value = settings.Get(kind.key)) all[kind.key] = *value;
    }
  };
  take("");
  if (!operator_name.empty()) take(operator_name);
  return all;
}

}  // namespace qnget
