// SPDX-License-Identifier: MIT
/**
 * @file settings.hpp
 * @brief Settings: the keys and values of one file. Included by qnstack.hpp.
 */
#ifndef QNSTACK_CPP_SETTINGS_HPP
#define QNSTACK_CPP_SETTINGS_HPP

#include <cstddef>
#include <optional>
#include <string>

#include "qnstack/cpp/arguments.hpp"
#include "qnstack/cpp/list.hpp"

namespace qnstack {

/**
 * @addtogroup face
 * @{
 */

/**
 * The settings of one file, in the file's order; may be moved, not copied. A
 * `for` over it gives entries to look at.
 */
class Settings {
 public:
  /** An entry: a key and its value. */
  using value_type = QNFSIniEntry;
  /** A number of entries. */
  using size_type = std::size_t;
  /** Goes over the entries to look at them. */
  using const_iterator = List<QNFSIniEntry>::const_iterator;
  /** The same: entries are changed by Set(). */
  using iterator = const_iterator;

  /**
   * Loads a file; see Load().
   *
   * @param file the file's name, which is kept for Load() and Save(). NULL and a
   *        text that is refused name no file.
   */
  explicit Settings(const Terminated &file) noexcept : file_(fnQNStack_StrDup(file.get())) {
    Load();
  }

  /**
   * Loads the file anew by fnQNFS_Load_INI_To_List(); what has not been saved is
   * gone. A file that cannot be read is one without settings.
   */
  void Load() noexcept { fnQNFS_Load_INI_To_List(file_.get(), entries_.get()); }
  /**
   * Writes the file by fnQNFS_Write_INI_To_File(), under the limits said there.
   *
   * @return whether it has been written.
   */
  [[nodiscard]] bool Save() noexcept {
    return file_ != nullptr && fnQNFS_Write_INI_To_File(file_.get(), entries_.get()) == 1;
  }
  /** @return the file's name; NULL if there is none, also where the heap refused it. */
  [[nodiscard]] const char *file() const noexcept { return file_.get(); }

  /**
   * The value of a key, whatever its length.
   *
   * @param key the key, compared exactly.
   * @return the value; none for a key that is not set, for NULL and for a text
   *         that is refused.
   */
  [[nodiscard]] std::optional<std::string> Value(const Terminated &key) const {
    const const_iterator found = Find(key);
    if (found == end() || found->value == nullptr) return std::nullopt;
    return std::string(found->value);
  }
  /**
   * Sets a value in memory by fnQNFS_INI_WriteRAM(); Save() writes it.
   *
   * @param key the key; new ones come last.
   * @param value the value; NULL as an empty text.
   * @return whether it is set; false for a NULL key, a text that is refused, or
   *         when the heap refuses.
   */
  bool Set(const Terminated &key, const Terminated &value) noexcept {
    if (value.IsRefused()) return false;
    return fnQNFS_INI_WriteRAM(entries_.get(), key.get(), value.get()) == 1;
  }
  /**
   * Takes a key out in memory, as often as it stands there; Save() writes that.
   *
   * @param key the key, compared exactly.
   * @return whether it was there.
   */
  bool Unset(const Terminated &key) noexcept {
    const size_type before = size();
    for (const_iterator found = Find(key); found != end(); found = Find(key)) entries_.erase(found);
    return size() != before;
  }

  /** @return an iterator on the first entry. */
  [[nodiscard]] const_iterator begin() const noexcept { return entries_.begin(); }
  /** @return the iterator behind the last entry. */
  [[nodiscard]] const_iterator end() const noexcept { return entries_.end(); }
  /** @return the number of entries. */
  [[nodiscard]] size_type size() const noexcept { return entries_.size(); }
  /** @return whether there are none. */
  [[nodiscard]] bool empty() const noexcept { return entries_.empty(); }

  /** @return the list, for the functions that change one; it moves with its owner. */
  [[nodiscard]] QNList *get() noexcept { return entries_.get(); }
  /** @return the list, for the functions that look at one. */
  [[nodiscard]] const QNList *get() const noexcept { return entries_.get(); }

 private:
  const_iterator Find(const Terminated &key) const noexcept {
    const char *text = key.get();
    if (text == nullptr) return end();
    return {get(), fnQNList_CompareFind(get(), &text, &fnQNFS_INI_Compare)};
  }

  Text file_;
  List<QNFSIniEntry> entries_{&fnQNFS_INI_FreeNode};
};

/**
 * Loads a settings file.
 *
 * @param file as for Settings.
 * @return the settings.
 */
[[nodiscard]] inline Settings LoadSettings(const Terminated &file) noexcept {
  return Settings(file);
}

/**
 * The value of a setting.
 *
 * @param settings the settings.
 * @param key as for Settings::Value().
 * @return as Settings::Value().
 */
[[nodiscard]] inline std::optional<std::string> SettingOf(const Settings &settings,
                                                          const Terminated &key) {
  return settings.Value(key);
}

/** @} */

}  // namespace qnstack

#endif
