// SPDX-License-Identifier: MIT
#include "support/memory_files.h"

namespace qntest {
namespace {

std::string_view WithoutSlash(std::string_view path) {
  return path.ends_with('/') ? path.substr(0, path.size() - 1) : path;
}

std::string_view DirectoryOf(std::string_view name) {
  const size_t slash = name.rfind('/');
  return slash == std::string_view::npos ? std::string_view() : name.substr(0, slash);
}

}  // namespace

std::string *MemoryFiles::FindOrMake(std::string_view name) {
  const auto found = files_.find(name);
  if (found != files_.end()) return &found->second;
  const std::string_view directory = DirectoryOf(name);
  if (name.empty() || HasDirectory(name) || (directories_required_ && !HasDirectory(directory)) ||
      !MakeDirectory(directory)) {
    return nullptr;
  }
  return &files_[std::string(name)];
}

bool MemoryFiles::Exists(std::string_view name) const { return files_.contains(name); }

std::optional<std::string> MemoryFiles::Content(std::string_view name) const {
  const auto found = files_.find(name);
  return found != files_.end() ? std::optional(found->second) : std::nullopt;
}

std::vector<std::string> MemoryFiles::Names() const {
  std::vector<std::string> names;
  for (const auto &[name, bytes] : files_) names.push_back(name);
  return names;
}

bool MemoryFiles::Write(std::string_view name, std::string_view bytes) {
  std::string *file = FindOrMake(name);
  if (file != nullptr) *file = bytes;
  return file != nullptr;
}

bool MemoryFiles::Append(std::string_view name, std::string_view bytes) {
  std::string *file = FindOrMake(name);
  if (file != nullptr) file->append(bytes);
  return file != nullptr;
}

bool MemoryFiles::Copy(std::string_view destination, std::string_view source) {
  const std::optional<std::string> bytes = Content(source);
  return bytes && Write(destination, *bytes);
}

bool MemoryFiles::Move(std::string_view destination, std::string_view source) {
  return Copy(destination, source) && (destination == source || Delete(source));
}

bool MemoryFiles::Delete(std::string_view name) {
  const auto found = files_.find(name);
  if (found == files_.end()) return false;
  files_.erase(found);
  return true;
}

bool MemoryFiles::HasDirectory(std::string_view path) const {
  const std::string_view directory = WithoutSlash(path);
  return directory.empty() || directories_.contains(directory);
}

bool MemoryFiles::MakeDirectory(std::string_view path) {
  const std::string_view directory = WithoutSlash(path);
  if (directory.empty()) return true;
  if (Exists(directory) || !MakeDirectory(DirectoryOf(directory))) return false;
  directories_.emplace(directory);
  return true;
}

bool MemoryFiles::DeleteFilesIn(std::string_view path) {
  const std::string_view directory = WithoutSlash(path);
  std::erase_if(files_, [&](const auto &file) { return DirectoryOf(file.first) == directory; });
  return HasDirectory(directory);
}

}  // namespace qntest
