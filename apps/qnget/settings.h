// An operator's settings: the defaults of options, kept in a file of the
// library's settings store below the root.
#ifndef QNGET_SETTINGS_H
#define QNGET_SETTINGS_H

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

/** The settings as they stand in their file, held against other qngets. */
class Settings {
 public:
  /** `operator_name` may be empty: the settings that no operator's name is given for. */
  Settings(const std::string &root, const std::string &operator_name, IfMissing missing);
  ~Settings();

  Settings(const Settings &) = delete;
  Settings &operator=(const Settings &) = delete;

  /** Whether the file is there. */
  bool Exist() const;

  std::optional<std::string> Get(const std::string &key) const;
  std::vector<std::pair<std::string, std::string>> All() const;

  /** Both write the file, or throw Failure. */
  void Set(const std::string &key, const std::string &value);
  void Unset(const std::string &key);

 private:
  QNListNode *Find(const std::string &key) const;
  [[noreturn]] void FailToWrite() const;

  std::string root_;
  std::string file_;
  Store store_;
  QNList list_;
};

}  // namespace qnget

#endif
