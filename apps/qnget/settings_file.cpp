// SPDX-License-Identifier: MIT
#include "settings_file.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string_view>

#include "failure.h"
#include "qnstack/qnstack.h"

namespace qnget {
namespace {

constexpr std::string_view kGeneral = "/settings.ini";
constexpr std::string_view kOperatorStart = "/operator-";
constexpr std::string_view kOperatorEnd = ".ini";
constexpr std::string_view kBackup = ".bak";

bool IsSettingsFile(std::string_view file) {
  if (file.ends_with(kBackup)) file.remove_suffix(kBackup.size());
  return file == kGeneral || (file.starts_with(kOperatorStart) && file.ends_with(kOperatorEnd));
}

[[noreturn]] void FailToRead(const std::string &path, const std::string &reason) {
  throw Failure(kNotWritten, "could not read " + path + ": " + reason);
}

// Why the library could not read what has that name; `file` without its slash.
std::string ReasonOf(const Store &store, const char *file) {
  struct stat found {};
  if (fstatat(store.Descriptor(), file, &found, AT_SYMLINK_NOFOLLOW) != 0) return strerror(errno);
  if (S_ISLNK(found.st_mode)) return "a link that leads to no file below this folder";
  if (!S_ISREG(found.st_mode)) return "not a file";
  const int descriptor = openat(store.Descriptor(), file, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return strerror(errno);
  close(descriptor);
  return strerror(EIO);
}

}  // namespace

std::string SettingsFile(const std::string &operator_name) {
  if (operator_name.empty()) return std::string(kGeneral);
  return std::string(kOperatorStart) + operator_name + std::string(kOperatorEnd);
}

std::string BackupOf(const std::string &file) { return file + std::string(kBackup); }

std::vector<std::string> SettingsFilesIn(const std::string &folder) {
  std::vector<std::string> files;
  std::error_code problem;
  std::filesystem::directory_iterator entry(folder, problem);
  if (problem == std::errc::no_such_file_or_directory || problem == std::errc::not_a_directory) {
    return {};
  }
  for (; !problem && entry != std::filesystem::directory_iterator(); entry.increment(problem)) {
    const std::string file = "/" + entry->path().filename().string();
    if (IsSettingsFile(file)) files.push_back(file);
  }
  if (problem) FailToRead("folder " + folder, problem.message());
  std::sort(files.begin(), files.end());
  return files;
}

bool IsThere(const Store &store, const std::string &file) {
  struct stat found {};
  if (fstatat(store.Descriptor(), file.c_str() + 1, &found, AT_SYMLINK_NOFOLLOW) == 0) return true;
  if (errno != ENOENT) FailToRead(store.Path(file), strerror(errno));
  return false;
}

std::string ReadWholeFile(const Store &store, const std::string &file) {
  const int32_t size = fnQNFS_getFileSize(file.c_str());
  std::string content(size < 0 ? 0 : static_cast<size_t>(size), '\0');
  int32_t count = -1;
  if (size < 0 || fnQNFS_ReadFromFile(file.c_str(), size, content.data(), &count) != 0 ||
      count != size) {
    FailToRead(store.Path(file), ReasonOf(store, file.c_str() + 1));
  }
  return content;
}

}  // namespace qnget
