// SPDX-License-Identifier: MIT
// The file port for POSIX systems: files below the root directory, readable by
// their owner alone, written so that a crash leaves the old content or the new.
// The application and the library's stores call it. What changes the files of a
// directory holds it meanwhile.
#include "qnstack/qn_fs_file.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>

#include "qn_fs_beneath.h"
#include "qn_fs_descriptor.h"
#include "qn_fs_directory.h"
#include "qn_fs_file_port.h"
#include "qn_fs_replacement.h"
#include "qn_fs_store.h"
#include "qn_fs_unread.h"
#include "qnstack/qn_share_string.h"

namespace {

constexpr int32_t kFailed = -1;

std::size_t Size(int32_t length) { return static_cast<std::size_t>(length); }

// Appends all bytes. When that fails, the file is cut to its size before.
bool AppendWhole(int fd, const void *data, std::size_t size) {
  struct stat before = {};
  if (fstat(fd, &before) != 0) return false;
  if (qn::WriteWhole(fd, data, size) && fsync(fd) == 0) return true;
  // Where this fails too, the bytes that were appended stay.
  [[maybe_unused]] const int cut = ftruncate(fd, before.st_size);
  return false;
}

bool Replace(const char *name, std::string_view content) {
  const qn::LockedDirectory directory(qn::OpenDirectoryOf(name));
  return directory.IsOpen() && qn::ReplaceContent(directory, name, content);
}

// Changes a file in place, which is made if there is none. A directory that may
// only be searched will do for a file that is there.
template <typename Change>
bool ChangeInPlace(const char *name, int flags, Change change) {
  if (!qn::MayWrite(name)) return false;
  const qn::LockedDirectory directory(qn::OpenSearchedDirectoryOf(name));
  qn::Descriptor file = qn::OpenRegularIn(directory.Get(), name, flags);
  const bool is_new = !file.IsOpen();
  if (is_new) file = qn::CreateRegularIn(directory.Get(), name, flags);
  const bool changed = change(file.Get()) && file.Close();
  if (is_new) qn::SyncDirectory(directory.Get());
  return changed;
}

// Deletes an entry that is not a directory; false if it stayed.
bool DeleteEntry(int directory, const char *name) {
  struct stat status = {};
  if (fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return errno == ENOENT;
  return S_ISDIR(status.st_mode) || unlinkat(directory, name, 0) == 0 || errno == ENOENT;
}

// Deletes all that is not a directory; false if something stayed.
bool DeleteEntries(DIR *entries) {
  const int directory = dirfd(entries);
  bool all = true;
  while (true) {
    errno = 0;
    const dirent *entry = readdir(entries);
    if (entry == nullptr) return all && errno == 0;
    all = DeleteEntry(directory, entry->d_name) && all;
  }
}

qn::Descriptor Create(const char *name, int flags) {
  return qn::CreateRegularIn(qn::OpenDirectoryOf(name).Get(), name, flags);
}

// A mode of fopen(), and what it means to open(2).
struct Mode {
  std::string_view name;
  int flags;

  bool Creates() const { return name[0] != 'r'; }
  bool Empties() const { return name[0] == 'w'; }
};
constexpr Mode kModes[] = {
    {"r", O_RDONLY},
    {"r+", O_RDWR},
    {"w", O_WRONLY},
    {"w+", O_RDWR},
    {"a", O_WRONLY | O_APPEND},
    {"a+", O_RDWR | O_APPEND},
};

// Finds a mode. Any 'b' behind its first letter means nothing here.
const Mode *FindMode(const char *text) {
  char name[3] = {};
  std::size_t length = 0;
  for (; text != nullptr && *text != '\0' && length < sizeof name; ++text) {
    if (*text != 'b' || length == 0) name[length++] = *text;
  }
  for (const Mode &mode : kModes) {
    if (mode.name == std::string_view(name, length)) return &mode;
  }
  return nullptr;
}

}  // namespace

int32_t fnQNFS_isFileExisted(const char *name) {
  return qn::LookFor(name) == qn::Presence::kThere ? 1 : 0;
}

int32_t fnQNFS_MkDir(const char *path) {
  return path != nullptr && qn::MakeDirectories(path) ? 1 : 0;
}

QNFSFile fnQNFS_File_Open(const char *name, const char *mode) {
  const Mode *way = FindMode(mode);
  if (way == nullptr || (way->flags != O_RDONLY && !qn::MayWrite(name))) return nullptr;
  qn::Descriptor file = qn::OpenRegular(name, way->flags);
  if (!file.IsOpen() && way->Creates()) file = Create(name, way->flags);
  // fnQNFS_File_Close() frees the cell.
  auto *cell = static_cast<FILE **>(std::malloc(sizeof(FILE *)));
  if (cell == nullptr) return nullptr;
  *cell = fdopen(file.Get(), mode);
  // The file is emptied last, when nothing else can fail.
  if (*cell == nullptr || (way->Empties() && ftruncate(file.Get(), 0) != 0)) {
    if (*cell != nullptr) file.Release();
    fnQNFS_File_Close(cell);
    return nullptr;
  }
  file.Release();
  return cell;
}

int32_t fnQNFS_getFileSize(const char *name) {
  struct stat status = {};
  if (!qn::StatRegular(name, &status)) return kFailed;
  return status.st_size <= qn::kMostFileSize ? static_cast<int32_t>(status.st_size) : kFailed;
}

int32_t fnQNFS_CopyFile(const char *destination, const char *source) {
  qn::WholeFile content;
  return content.ReadFrom(qn::OpenRegular(source, O_RDONLY)) &&
                 Replace(destination, content.Bytes())
             ? 1
             : 0;
}

// Two directories are not locked at once: two moves could wait for each other.
int32_t fnQNFS_MoveFile(const char *destination, const char *source) {
  if (source == nullptr || destination == nullptr) return 0;
  const qn::LockedDirectory to(qn::OpenDirectoryOf(destination));
  // Where both are in one directory, one descriptor of it will do.
  const bool together = qn::DirectoryOf(source) == qn::DirectoryOf(destination);
  const qn::Descriptor other = together ? qn::Descriptor() : qn::OpenDirectoryOf(source);
  const int from = together ? to.Get() : other.Get();
  if (qn::LookForIn(from, source) != qn::Presence::kThere) return 0;
  if (!qn::IsReplaceableIn(to.Get(), destination)) return 0;
  if (renameat(from, qn::BaseOf(source), to.Get(), qn::BaseOf(destination)) != 0) return 0;
  qn::RenameUnread(destination, source);
  qn::SyncDirectory(to.Get());
  if (!together) qn::SyncDirectory(from);
  return 1;
}

int32_t fnQNFS_DeleteFile(const char *name) {
  const qn::LockedDirectory directory(qn::OpenDirectoryOf(name));
  if (!directory.IsOpen() || unlinkat(directory.Get(), qn::BaseOf(name), 0) != 0) return 0;
  qn::ForgetUnread(name);
  return 1;
}

int32_t fnQNFS_DelAllFiles(const char *path) {
  qn::LockedDirectory directory(qn::OpenBeneath(path, O_RDONLY | O_DIRECTORY));
  DIR *entries = fdopendir(directory.Get());
  if (entries == nullptr) return 0;
  directory.Release();
  const bool all = DeleteEntries(entries);
  return closedir(entries) == 0 && all ? 1 : 0;
}

int32_t fnQNFS_RmDir(const char *path) {
  if (path == nullptr) return 0;
  std::string_view directory(path);
  while (directory.ends_with('/')) directory.remove_suffix(1);
  const qn::BeneathName name(directory);
  const qn::Descriptor parent = qn::OpenDirectoryOf(name.Text());
  const char *base = qn::BaseOf(name.Text());
  return unlinkat(parent.Get(), base, AT_REMOVEDIR) == 0 ? 1 : 0;
}

uint32_t fnQNFS_File_CreateDir(const char *path) {
  const std::size_t length = fnQN_STRLEN(path);
  if (length >= QNFS_PATH_BYTES) return 0;
  const std::string_view text(path, length);
  const std::size_t last_slash = text.rfind('/');
  const std::string_view directories(path, last_slash == std::string_view::npos ? 0 : last_slash);
  return qn::MakeDirectories(directories) ? static_cast<uint32_t>(length) : 0;
}

int32_t fnQNFS_ReadFromFile(const char *name, int32_t maximum, void *destination, int32_t *count) {
  if (maximum < 0 || destination == nullptr || count == nullptr) return kFailed;
  qn::Descriptor file = qn::OpenRegular(name, O_RDONLY);
  if (!file.IsOpen()) {
    if (!qn::MeansAbsent(errno)) qn::NoteUnread(name);
    return kFailed;
  }
  const ssize_t got = qn::ReadWhole(file.Get(), destination, Size(maximum));
  if (got < 0 || !file.Close()) {
    qn::NoteUnread(name);
    return kFailed;
  }
  qn::ForgetUnread(name);
  *count = static_cast<int32_t>(got);
  return 0;
}

int32_t fnQNFS_WriteToFile(const void *data, int32_t length, const char *name) {
  if (data == nullptr || length < 0) return kFailed;
  if (!Replace(name, {static_cast<const char *>(data), Size(length)})) return kFailed;
  qn::TellWritten(name);
  return length;
}

int32_t fnQNFS_AppendToFile(const void *data, int32_t length, const char *name) {
  if (data == nullptr || length < 0) return kFailed;
  const auto append = [&](int fd) { return AppendWhole(fd, data, Size(length)); };
  if (!ChangeInPlace(name, O_WRONLY | O_APPEND, append)) return kFailed;
  qn::TellWritten(name);
  return length;
}

int32_t fnQNFS_WriteToFileAtPos(const void *data, int32_t length, int32_t position,
                                const char *name) {
  if (data == nullptr || length < 0 || position < 0) return kFailed;
  const auto write = [&](int fd) {
    return lseek(fd, position, SEEK_SET) == position && qn::WriteWhole(fd, data, Size(length)) &&
           fsync(fd) == 0;
  };
  return ChangeInPlace(name, O_WRONLY, write) ? length : kFailed;
}

int32_t fnQNFS_ReadFromFileAtPos(const char *name, int32_t position, int32_t length,
                                 void *destination) {
  if (destination == nullptr || length < 0 || position < 0) return kFailed;
  qn::Descriptor file = qn::OpenRegular(name, O_RDONLY);
  if (lseek(file.Get(), position, SEEK_SET) != position) return kFailed;
  const ssize_t got = qn::ReadWhole(file.Get(), destination, Size(length));
  // A read that failed gives -1 as well.
  return file.Close() ? static_cast<int32_t>(got) : kFailed;
}
