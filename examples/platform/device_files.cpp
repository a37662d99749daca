// SPDX-License-Identifier: MIT
// A few files in memory. A name is a whole path, so that a directory is there as
// soon as it is named, and a write replaces the content in one step.
#include <algorithm>
#include <array>
#include <string_view>

#include "qn_fs_file_port.h"
#include "qn_owned.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_share_string.h"

namespace {

constexpr int32_t kFailed = -1;

struct File {
  char name[48];  // empty: there is none
  char *bytes;
  int32_t size;

  std::string_view Content() const { return {bytes, static_cast<std::size_t>(size)}; }
};
std::array<File, 16> files;

File *Find(std::string_view name) {
  for (File &file : files) {
    if (name == file.name) return &file;
  }
  return nullptr;
}

// A file by the name that a caller gave, or null.
File *FindNamed(const char *name) {
  return name == nullptr || *name == '\0' ? nullptr : Find(name);
}

void Delete(File *file) {
  fnQN_Free(&file->bytes);
  *file = File{};
}

// Gives a file, new or not, a content of two pieces; the old one stays on failure.
bool Replace(const char *name, std::string_view head, std::string_view tail) {
  if (name == nullptr || *name == '\0' || fnQN_STRLEN(name) >= sizeof File::name) return false;
  File *file = Find(name);
  if (file == nullptr) file = Find("");
  const uint64_t size = uint64_t{head.size()} + tail.size();
  if (file == nullptr || size > INT32_MAX) return false;
  auto *bytes = static_cast<char *>(qn::AllocateZeroed(size));
  if (bytes == nullptr) return false;
  std::copy(tail.begin(), tail.end(), std::copy(head.begin(), head.end(), bytes));
  Delete(file);
  fnQN_STRCPY(file->name, name);
  file->bytes = bytes;
  file->size = static_cast<int32_t>(size);
  return true;
}

int32_t StoreAndTell(const char *name, std::string_view head, const void *data, int32_t length) {
  if (data == nullptr || length < 0) return kFailed;
  const std::string_view tail(static_cast<const char *>(data), static_cast<std::size_t>(length));
  if (!Replace(name, head, tail)) return kFailed;
  qn::TellWritten(name);
  return length;
}

}  // namespace

int32_t fnQNFS_isFileExisted(const char *name) { return FindNamed(name) == nullptr ? 0 : 1; }

int32_t fnQNFS_getFileSize(const char *name) {
  const File *file = FindNamed(name);
  return file == nullptr ? kFailed : file->size;
}

int32_t fnQNFS_ReadFromFile(const char *name, int32_t maximum, void *destination, int32_t *count) {
  const File *file = FindNamed(name);
  if (file == nullptr || maximum < 0 || destination == nullptr || count == nullptr) return kFailed;
  *count = std::min(maximum, file->size);
  std::copy_n(file->bytes, *count, static_cast<char *>(destination));
  return 0;
}

int32_t fnQNFS_WriteToFile(const void *data, int32_t length, const char *name) {
  return StoreAndTell(name, {}, data, length);
}

int32_t fnQNFS_AppendToFile(const void *data, int32_t length, const char *name) {
  const File *file = FindNamed(name);
  return StoreAndTell(name, file == nullptr ? std::string_view() : file->Content(), data, length);
}

int32_t fnQNFS_CopyFile(const char *destination, const char *source) {
  const File *file = FindNamed(source);
  return file != nullptr && Replace(destination, file->Content(), {}) ? 1 : 0;
}

int32_t fnQNFS_MoveFile(const char *destination, const char *source) {
  File *file = FindNamed(source);
  if (file == nullptr || destination == nullptr || *destination == '\0') return 0;
  if (fnQN_STRLEN(destination) >= sizeof file->name) return 0;
  File *replaced = Find(destination);
  if (replaced == file) return 1;
  if (replaced != nullptr) Delete(replaced);
  fnQN_STRCPY(file->name, destination);
  return 1;
}

int32_t fnQNFS_DeleteFile(const char *name) {
  File *file = FindNamed(name);
  if (file == nullptr) return 0;
  Delete(file);
  return 1;
}

int32_t fnQNFS_DelAllFiles(const char *path) {
  if (path == nullptr) return 0;
  const std::string_view folder(path);
  for (File &file : files) {
    const std::string_view name(file.name);
    if (name.empty() || !name.starts_with(folder)) continue;
    const std::size_t end = name.rfind('/');
    if (end == folder.size() || end + 1 == folder.size()) Delete(&file);
  }
  return 1;
}

int32_t fnQNFS_MkDir(const char *path) { return path == nullptr ? 0 : 1; }

int32_t fnQNFS_RmDir(const char *path) { return path == nullptr ? 0 : 1; }

uint32_t fnQNFS_File_CreateDir(const char *path) {
  return path == nullptr ? 0 : static_cast<uint32_t>(fnQN_STRLEN(path));
}

// The library calls none of these.
QNFSFile fnQNFS_File_Open(const char * /*name*/, const char * /*mode*/) { return nullptr; }

int32_t fnQNFS_WriteToFileAtPos(const void * /*data*/, int32_t /*length*/, int32_t /*position*/,
                                const char * /*name*/) {
  return kFailed;
}

int32_t fnQNFS_ReadFromFileAtPos(const char * /*name*/, int32_t /*position*/, int32_t /*length*/,
                                 void * /*destination*/) {
  return kFailed;
}
