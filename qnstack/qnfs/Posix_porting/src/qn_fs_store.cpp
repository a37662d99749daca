// SPDX-License-Identifier: MIT
// Stores on the POSIX file port. A write replaces a file in one step and leaves
// the old content when it fails, so no ".bak" is made. One that was left by a save
// of another port is put in place first: until then it is the file's content.
#include "qn_fs_store.h"

#include <array>
#include <cstring>
#include <string_view>

#include "qn_fs_beneath.h"
#include "qn_fs_file_port.h"
#include "qn_fs_replacement.h"
#include "qn_fs_unread.h"
#include "qnstack/qn_fs_file.h"

namespace {

constexpr std::string_view kBackupSuffix = ".bak";
constexpr std::size_t kShortestWithBackup = 3;

// The name of a file's backup, without the heap, whose refusal would hide it.
// Empty for a name that has none.
class BackupName {
 public:
  explicit BackupName(std::string_view name) {
    if (name.size() < kShortestWithBackup || name.size() >= QNFS_PATH_BYTES) return;
    std::memcpy(text_.data(), name.data(), name.size());
    std::memcpy(text_.data() + name.size(), kBackupSuffix.data(), kBackupSuffix.size());
  }
  const char *Text() const { return text_.data(); }

 private:
  std::array<char, QNFS_PATH_BYTES + kBackupSuffix.size()> text_ = {};
};

// The old content and, behind it, the new bytes as one new content.
bool AppendWhole(const char *name, const void *data, int32_t length) {
  qn::WholeFile old;
  const bool known = old.Read(name) || qn::LookFor(name) == qn::Presence::kAbsent;
  if (!known || data == nullptr || length < 0) return false;
  const std::string_view added(static_cast<const char *>(data), static_cast<std::size_t>(length));
  if (!qn::ReplaceContent(name, old.Bytes(), added)) return false;
  qn::TellWritten(name);
  return true;
}

}  // namespace

bool qn::Store(const char *name, const void *data, int32_t length, StoreWay way) {
  if (!RestoreBackup(name)) return false;
  if (way == StoreWay::kAppend) return AppendWhole(name, data, length);
  return fnQNFS_WriteToFile(data, length, name) != -1;
}

bool qn::CountsAsNone(const char *name) { return LookFor(name) == Presence::kAbsent; }

bool qn::RestoreBackup(const char *name) {
  const BackupName backup(name);
  switch (LookFor(backup.Text())) {
    case Presence::kAbsent:
      return true;
    case Presence::kThere:
      return fnQNFS_MoveFile(name, backup.Text()) == 1;
    default:
      return false;
  }
}
