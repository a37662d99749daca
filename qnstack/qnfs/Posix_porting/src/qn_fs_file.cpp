// SPDX-License-Identifier: MIT
// The file port for POSIX systems: files below the root directory, readable by
// their owner alone, written so that a crash leaves the old content or the new.
// The application and the library's stores call it.
#include "qnstack/qn_fs_file.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <limits>
#include <string_view>

#include "qn_fs_beneath.h"
#include "qn_fs_descriptor.h"
#include "qn_fs_file_port.h"
#include "qn_fs_replacement.h"
#include "qn_fs_store.h"
#include "qn_fs_unread.h"
#include "qnstack/qn_share_string.h"

namespace {

constexpr int32_t kFailed = -1;
// A load adds 10000 bytes to the size, in 32 bits.
constexpr off_t kMostFileSize = std::numeric_limits<int32_t>::max() - 10000;

std::size_t Size(int32_t length) { return static_cast<std::size_t>(length); }

// Appends all bytes. When that fails, the file is cut to its size before.
bool AppendWhole(int fd, const void *data, std::size_t size) {
  struct stat before = {};
  if (fstat(fd, &before) != 0) return false;
  if (qn::WriteWhole(fd, data, size) && fsync(fd) == 0) return true;
  static_cast<void>(ftruncate(fd, before.st_size) == 0);  // if that fails too, they stay
  return false;
}

// The directory part of a name, with the slash at its end.
std::string_view DirectoryOf(std::string_view name) {
  return {name.data(), name.rfind('/') + 1};  // 0 without a slash
}

bool IsDirectory(int directory, const dirent &entry) {
  if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
  struct stat status = {};
  return fstatat(directory, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
         S_ISDIR(status.st_mode);
}

// Deletes all that is not a directory; false if something stayed.
bool DeleteEntries(DIR *entries) {
  const int directory = dirfd(entries);
  bool all = true;
  errno = 0;
  while (const dirent *entry = readdir(entries)) {
    if (!IsDirectory(directory, *entry) && unlinkat(directory, entry->d_name, 0) != 0 &&
        errno != ENOENT) {
      all = false;
    }
    errno = 0;
  }
  return all && errno == 0;
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
  qn::Descriptor file = way->Creates() ? qn::OpenOrCreateRegular(name, way->flags)
                                       : qn::OpenRegular(name, way->flags);
  if (!file.IsOpen()) return nullptr;
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
  return status.st_size <= kMostFileSize ? static_cast<int32_t>(status.st_size) : kFailed;
}

int32_t fnQNFS_CopyFile(const char *destination, const char *source) {
  qn::WholeFile content;
  return content.Read(source) && qn::ReplaceContent(destination, content.Bytes()) ? 1 : 0;
}

int32_t fnQNFS_MoveFile(const char *destination, const char *source) {
  if (source == nullptr || destination == nullptr) return 0;
  if (qn::LookFor(source) != qn::Presence::kThere) return 0;
  qn::Place to = qn::FindPlace(destination);
  if (!to.IsFound() || !qn::IsReplaceable(destination, &to)) return 0;
  // Where both are in one directory, one descriptor of it will do.
  const bool together = DirectoryOf(source) == DirectoryOf(destination);
  const qn::Place from = together ? qn::Place() : qn::FindPlace(source);
  if (!together && !from.IsFound()) return 0;
  const qn::Descriptor &directory = together ? to.directory : from.directory;
  const char *base = source + DirectoryOf(source).size();
  if (renameat(directory.Get(), base, to.directory.Get(), to.base) != 0) return 0;
  qn::RenameUnread(destination, source);
  qn::SyncDirectory(to.directory);
  if (!together) qn::SyncDirectory(from.directory);
  return 1;
}

int32_t fnQNFS_DeleteFile(const char *name) {
  const qn::Place place = qn::FindPlace(name);
  if (!place.IsFound() || unlinkat(place.directory.Get(), place.base, 0) != 0) return 0;
  qn::ForgetUnread(name);
  return 1;
}

int32_t fnQNFS_DelAllFiles(const char *path) {
  qn::Descriptor directory = qn::OpenBeneath(path, O_RDONLY | O_DIRECTORY);
  if (!directory.IsOpen()) return 0;
  DIR *entries = fdopendir(directory.Get());
  if (entries == nullptr) return 0;
  directory.Release();
  const bool all = DeleteEntries(entries);
  return closedir(entries) == 0 && all ? 1 : 0;
}

int32_t fnQNFS_RmDir(const char *path) {
  std::string_view directory(path == nullptr ? "" : path);
  while (directory.ends_with('/')) directory.remove_suffix(1);
  const qn::BeneathName name(directory);
  const qn::Place place = qn::FindPlace(name.Text());
  return place.IsFound() && unlinkat(place.directory.Get(), place.base, AT_REMOVEDIR) == 0 ? 1 : 0;
}

uint32_t fnQNFS_File_CreateDir(const char *path) {
  const std::size_t length = fnQN_STRLEN(path);
  if (length == 0 || length >= QNFS_PATH_BYTES) return 0;
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
  const std::string_view content(static_cast<const char *>(data), Size(length));
  if (!qn::ReplaceContent(name, content)) return kFailed;
  qn::TellWritten(name);
  return length;
}

int32_t fnQNFS_AppendToFile(const void *data, int32_t length, const char *name) {
  if (data == nullptr || length < 0 || !qn::MayWrite(name)) return kFailed;
  qn::Descriptor file = qn::OpenOrCreateRegular(name, O_WRONLY | O_APPEND);
  if (!file.IsOpen() || !AppendWhole(file.Get(), data, Size(length)) || !file.Close()) {
    return kFailed;
  }
  qn::TellWritten(name);
  return length;
}

int32_t fnQNFS_WriteToFileAtPos(const void *data, int32_t length, int32_t position,
                                const char *name) {
  if (data == nullptr || length < 0 || position < 0 || !qn::MayWrite(name)) return kFailed;
  qn::Descriptor file = qn::OpenOrCreateRegular(name, O_WRONLY);
  const bool written = file.IsOpen() && lseek(file.Get(), position, SEEK_SET) == position &&
                       qn::WriteWhole(file.Get(), data, Size(length)) && fsync(file.Get()) == 0 &&
                       file.Close();
  return written ? length : kFailed;
}

int32_t fnQNFS_ReadFromFileAtPos(const char *name, int32_t position, int32_t length,
                                 void *destination) {
  if (destination == nullptr || length < 0 || position < 0) return kFailed;
  qn::Descriptor file = qn::OpenRegular(name, O_RDONLY);
  if (!file.IsOpen() || lseek(file.Get(), position, SEEK_SET) != position) return kFailed;
  const ssize_t got = qn::ReadWhole(file.Get(), destination, Size(length));
  return got >= 0 && file.Close() ? static_cast<int32_t>(got) : kFailed;
}
