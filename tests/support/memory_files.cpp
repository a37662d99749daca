// SPDX-License-Identifier: MIT
#include "support/memory_files.h"

#include <sys/types.h>

#include <algorithm>
#include <utility>

namespace qntest {
namespace {

// What a stream knows of its file.
struct StreamCookie {
  std::shared_ptr<std::string> bytes;
  std::shared_ptr<int> open_streams;
  size_t position = 0;
  bool appends = false;
};

std::string_view WithoutSlash(std::string_view path) {
  return path.ends_with('/') ? path.substr(0, path.size() - 1) : path;
}

std::string_view DirectoryOf(std::string_view name) {
  const size_t slash = name.rfind('/');
  return slash == std::string_view::npos ? std::string_view() : name.substr(0, slash);
}

// Replaces what stands at `position`; a gap before it becomes zeros.
void Overwrite(std::string &bytes, size_t position, std::string_view added) {
  bytes.resize(std::max(bytes.size(), position + added.size()));
  std::copy(added.begin(), added.end(), bytes.begin() + static_cast<std::ptrdiff_t>(position));
}

ssize_t ReadStream(void *cookie, char *buffer, size_t size) {
  auto *stream = static_cast<StreamCookie *>(cookie);
  if (stream->position >= stream->bytes->size()) return 0;
  const size_t taken = stream->bytes->copy(buffer, size, stream->position);
  stream->position += taken;
  return static_cast<ssize_t>(taken);
}

ssize_t WriteStream(void *cookie, const char *buffer, size_t size) {
  auto *stream = static_cast<StreamCookie *>(cookie);
  if (stream->appends) stream->position = stream->bytes->size();
  Overwrite(*stream->bytes, stream->position, std::string_view(buffer, size));
  stream->position += size;
  return static_cast<ssize_t>(size);
}

int SeekStream(void *cookie, off64_t *offset, int whence) {
  auto *stream = static_cast<StreamCookie *>(cookie);
  const size_t base = whence == SEEK_CUR   ? stream->position
                      : whence == SEEK_END ? stream->bytes->size()
                                           : 0;
  const off64_t target = static_cast<off64_t>(base) + *offset;
  if (target < 0) return -1;
  stream->position = static_cast<size_t>(target);
  *offset = target;
  return 0;
}

int CloseStream(void *cookie) {
  const std::unique_ptr<StreamCookie> stream(static_cast<StreamCookie *>(cookie));
  --*stream->open_streams;
  return 0;
}

}  // namespace

MemoryFiles::Bytes MemoryFiles::Find(std::string_view name) const {
  const auto found = files_.find(name);
  return found == files_.end() ? nullptr : found->second;
}

MemoryFiles::Bytes MemoryFiles::FindOrMake(std::string_view name) {
  if (Bytes found = Find(name)) return found;
  const std::string_view directory = DirectoryOf(name);
  if (name.empty() || HasDirectory(name) || (directories_required_ && !HasDirectory(directory)) ||
      !MakeDirectory(directory)) {
    return nullptr;
  }
  return files_[std::string(name)] = std::make_shared<std::string>();
}

bool MemoryFiles::Exists(std::string_view name) const { return files_.contains(name); }

std::optional<std::string> MemoryFiles::Content(std::string_view name) const {
  const Bytes found = Find(name);
  return found ? std::optional(*found) : std::nullopt;
}

std::vector<std::string> MemoryFiles::Names() const {
  std::vector<std::string> names;
  for (const auto &[name, bytes] : files_) names.push_back(name);
  return names;
}

bool MemoryFiles::Write(std::string_view name, std::string_view bytes) {
  const Bytes file = FindOrMake(name);
  if (file) *file = bytes;
  return file != nullptr;
}

bool MemoryFiles::Append(std::string_view name, std::string_view bytes) {
  const Bytes file = FindOrMake(name);
  if (file) file->append(bytes);
  return file != nullptr;
}

bool MemoryFiles::WriteAt(std::string_view name, size_t position, std::string_view bytes) {
  const Bytes file = Find(name);
  if (file) Overwrite(*file, position, bytes);
  return file != nullptr;
}

bool MemoryFiles::Copy(std::string_view destination, std::string_view source) {
  const std::optional<std::string> bytes = Content(source);
  return bytes && Write(destination, *bytes);
}

bool MemoryFiles::Move(std::string_view destination, std::string_view source) {
  const Bytes moved = Find(source);
  if (!moved || !FindOrMake(destination)) return false;
  files_.erase(files_.find(source));
  files_[std::string(destination)] = moved;
  return true;
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

bool MemoryFiles::RemoveDirectory(std::string_view path) {
  const std::string directory(WithoutSlash(path));
  const auto file_inside = [&](const auto &file) { return DirectoryOf(file.first) == directory; };
  const auto directory_inside = [&](const auto &other) { return DirectoryOf(other) == directory; };
  if (std::any_of(files_.begin(), files_.end(), file_inside) ||
      std::any_of(directories_.begin(), directories_.end(), directory_inside)) {
    return false;
  }
  return directories_.erase(directory) == 1;
}

FILE *MemoryFiles::Open(std::string_view name, std::string_view mode) {
  if (mode.empty() || std::string_view("rwa").find(mode[0]) == std::string_view::npos) {
    return nullptr;
  }
  const Bytes file = mode[0] == 'r' ? Find(name) : FindOrMake(name);
  if (!file) return nullptr;
  if (mode[0] == 'w') file->clear();
  auto cookie = std::make_unique<StreamCookie>(
      StreamCookie{.bytes = file, .open_streams = open_streams_, .appends = mode[0] == 'a'});
  FILE *stream = fopencookie(cookie.get(), std::string(mode).c_str(),
                             {ReadStream, WriteStream, SeekStream, CloseStream});
  if (stream != nullptr) {
    static_cast<void>(cookie.release());  // the stream's own from here on
    ++*open_streams_;
    setvbuf(stream, nullptr, _IONBF, 0);
  }
  return stream;
}

}  // namespace qntest
