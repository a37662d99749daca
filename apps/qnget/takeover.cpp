// SPDX-License-Identifier: MIT
// The files are copied, for the folders may lie on different media, and the old
// ones stay until all copies are on the medium. Until then a mark stands beside
// them: who finds it begins again.
#include "takeover.h"

#include <filesystem>
#include <vector>

#include "failure.h"
#include "qnstack/qnstack.h"
#include "settings_file.h"

namespace qnget {
namespace {

constexpr const char *kMark = "/settings-are-being-taken-over";

bool AreOne(const std::string &a, const std::string &b) {
  std::error_code none;
  return std::filesystem::equivalent(a, b, none);
}

bool IsMarked(const std::string &folder) {
  std::error_code none;
  return std::filesystem::exists(folder + kMark, none);
}

bool IsWanted(const Folders &folders) {
  if (folders.old_settings.empty() || folders.settings.empty()) return false;
  if (AreOne(folders.settings, folders.old_settings)) return false;
  // The mark comes before the first file, so whoever sees a file can see it too.
  const bool empty = SettingsFilesIn(folders.settings).empty();
  if (IsMarked(folders.settings)) return true;
  return empty && !SettingsFilesIn(folders.old_settings).empty();
}

void Write(const Store &store, const std::string &file, const std::string &content) {
  store.Use();
  const auto length = static_cast<int32_t>(content.size());
  if (fnQNFS_WriteToFile(content.data(), length, file.c_str()) == length) return;
  throw Failure(kNotWritten, "could not write " + store.Path(file));
}

void Copy(const Store &from, const Store &to, const std::string &file) {
  from.Use();
  Write(to, file, ReadWholeFile(from, file));
}

void RemoveMark(const Store &store) {
  store.Use();
  if (fnQNFS_DeleteFile(kMark) == 1) return;
  throw Failure(kNotWritten, "could not delete " + store.Path(kMark));
}

}  // namespace

void TakeOverSettings(const Folders &folders) {
  if (!IsWanted(folders)) return;
  const Store to(folders.settings, Purpose::kWrite);
  const Store from(folders.old_settings, Purpose::kChange);
  if (!IsWanted(folders)) return;  // another qnget has done it meanwhile
  const std::vector<std::string> files = SettingsFilesIn(folders.old_settings);
  Write(to, kMark, "");
  for (const std::string &file : files) Copy(from, to, file);
  RemoveMark(to);
  from.Use();
  for (const std::string &file : files) fnQNFS_DeleteFile(file.c_str());
  if (files.empty()) return;
  Say("settings have moved from " + folders.old_settings + " to " + folders.settings);
}

}  // namespace qnget
