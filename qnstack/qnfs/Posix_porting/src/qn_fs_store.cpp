// SPDX-License-Identifier: MIT
// Stores and loads on the POSIX file port. A write replaces a file in one step and
// leaves the old content when it fails, so no ".bak" is made. One that was left by
// a save of another port is put in place first: until then it is the file's
// content. Both hold the file's directory from beginning to end.
#include "qn_fs_store.h"

#include <sys/stat.h>

#include <cerrno>
#include <string_view>

#include "qn_fs_directory.h"
#include "qn_fs_file_port.h"
#include "qn_fs_replacement.h"
#include "qn_fs_unread.h"

namespace {

constexpr int32_t kFailed = -1;

bool StoreLocked(const char *name, std::string_view content, qn::StoreWay way) {
  const qn::LockedDirectory directory(qn::OpenDirectoryOf(name));
  if (!directory.IsOpen() || !qn::RestoreBackupIn(directory.Get(), name)) return false;
  qn::WholeFile old;
  const bool known = way == qn::StoreWay::kReplace ||
                     old.ReadFrom(qn::OpenRegularIn(directory.Get(), name, O_RDONLY)) ||
                     qn::LookForIn(directory.Get(), name) == qn::Presence::kAbsent;
  return known && qn::ReplaceContent(directory, name, old.Bytes(), content);
}

// What is there and was not taken is noted. The record stays as it was.
int32_t FailToLoad(const char *name) {
  qn::NoteUnread(name);
  return 0;
}

// The same, with an empty record.
int32_t FailToRead(const char *name, qn::LoadArea *area) {
  qn::NoteUnread(name);
  return area->End(kFailed, 0);
}

int32_t LoadContent(const char *name, qn::Descriptor *file, off_t size, qn::LoadArea *area) {
  if (!area->MakeRoom(static_cast<int32_t>(size))) return FailToRead(name, area);
  if (area->Bytes() == nullptr) return area->End(kFailed, 0);
  const ssize_t got =
      qn::ReadWhole(file->Get(), area->Bytes(), static_cast<std::size_t>(area->Room()));
  const bool read = got >= 0 && file->Close();
  if (!read) return FailToRead(name, area);
  qn::ForgetUnread(name);
  return area->End(0, static_cast<int32_t>(got));
}

}  // namespace

bool qn::Store(const char *name, const void *data, int32_t length, StoreWay way) {
  if (data == nullptr || length < 0) return false;
  const std::string_view content(static_cast<const char *>(data), static_cast<std::size_t>(length));
  if (!StoreLocked(name, content, way)) return false;
  TellWritten(name);
  return true;
}

int32_t qn::Load(const char *name, LoadArea *area) {
  const LockedDirectory directory(OpenSearchedDirectoryOf(name));
  if (!directory.IsOpen()) return MeansAbsent(errno) ? 0 : FailToLoad(name);
  if (!RestoreBackupIn(directory.Get(), name)) return FailToLoad(name);
  Descriptor file = OpenRegularIn(directory.Get(), name, O_RDONLY);
  struct stat status = {};
  if (!file.IsOpen()) return MeansAbsent(errno) ? 0 : FailToRead(name, area);
  if (!IsRegularFile(file, &status) || status.st_size > kMostFileSize) return FailToLoad(name);
  return LoadContent(name, &file, status.st_size, area);
}

bool qn::CountsAsNone(const char *name) { return LookFor(name) == Presence::kAbsent; }
