// SPDX-License-Identifier: MIT
// Settings: the defaults of options, kept in files of the library's settings
// store. There are general ones and those of operators.
#ifndef QNGET_SETTINGS_H
#define QNGET_SETTINGS_H

#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "qnstack/qnstack.h"
#include "store.h"

namespace qnget {

/** What can be set, under the name of its option, and the check of its values. */
struct SettingKind {
  const char *key;
  std::string (*check)(const std::string &value);
};

std::span<const SettingKind> SettingKinds();

/** The kind of a key; nullptr for an unknown one. */
const SettingKind *FindSettingKind(const std::string &key);

/** Why a value cannot be kept under a known key; empty if it can. */
std::string ProblemOfSetting(const SettingKind &kind, const std::string &value);

/** A list of settings that frees its entries, also where loading them throws. */
struct IniList : QNList {
  IniList() { fnQNList_Init(this); }
  ~IniList() { fnQNList_Clear(this, fnQNFS_INI_FreeNode); }
  IniList(const IniList &) = delete;
  IniList &operator=(const IniList &) = delete;
};

/** One file of settings, as it stands, held against other qngets. */
class Settings {
 public:
  /**
   * The settings of an operator, or the general ones for an empty name. Throws
   * Failure for a file that is there and cannot be read, so that nobody goes on
   * without what stands in it.
   */
  Settings(const Folders &folders, const std::string &operator_name, Purpose purpose);

  /** Whether the file is there. */
  bool Exist() const { return exist_; }

  std::optional<std::string> Get(const std::string &key) const;
  std::vector<std::pair<std::string, std::string>> All() const;

  /** Both write the file, or throw Failure. */
  void Set(const std::string &key, const std::string &value);
  void Unset(const std::string &key);

 private:
  bool Load();
  QNListNode *Find(const std::string &key) const;
  [[noreturn]] void FailToWrite() const;

  std::string file_;
  Store store_;
  IniList list_;
  bool exist_;
};

/**
 * What counts where no option says otherwise, by key: the general settings, and
 * over them those of the operator if a name is given. Throws Failure, also for an
 * operator without a file.
 */
std::map<std::string, std::string> SettingsInForce(const Folders &folders,
                                                   const std::string &operator_name);

}  // namespace qnget

#endif
