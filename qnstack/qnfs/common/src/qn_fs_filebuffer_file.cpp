// SPDX-License-Identifier: MIT
// Saving and loading typed file buffers, for record files, settings and
// applications. How the old content is kept meanwhile is the store's to know.
#include <algorithm>

#include "qn_fs_file_image.h"
#include "qn_fs_store.h"
#include "qn_owned.h"
#include "qn_wrapped_sum.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_fs_filebuffer.h"
#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_share_string.h"

namespace {

constexpr char kBackupSuffix[] = ".bak";
constexpr std::size_t kShortestWithBackup = 3;
constexpr int32_t kUnknown = -1;

// Stores `pos` + 1 bytes.
int32_t Store(const char *name, const QNFSBuffer *record, qn::StoreWay way) {
  if (name == nullptr || record == nullptr) return 0;
  return qn::Store(name, record->data, qn::WrappedSum(record->pos, 1), way) ? 1 : 0;
}

// Reads up to `maximum` bytes of a file; sets `count` if it is told how many
// came. The restored backup may be larger than the file for which the caller
// sized the storage: it is read into an area of its own, which replaces the
// storage if that is too small for what came.
int32_t Read(const char *name, int32_t maximum, QNFSBuffer *record, int32_t *count) {
  const int64_t capacity = int64_t{record->last} + 1;
  qn::Owned<char> larger;
  if (maximum > capacity) {
    larger.reset(static_cast<char *>(qn::AllocateZeroed(static_cast<uint64_t>(maximum) + 1)));
    if (larger == nullptr) {
      qn::NoteUnread(name);
      return -1;
    }
  }
  char *area = larger != nullptr ? larger.get() : record->data;
  const int32_t result = fnQNFS_ReadFromFile(name, maximum, area, count);
  *count = std::min(*count, maximum);
  if (larger == nullptr || result != 0 || *count <= 0) return result;
  if (*count <= capacity) {
    fnQN_MEMCPY(record->data, area, static_cast<std::size_t>(*count));
  } else {
    fnQN_Free(&record->data);
    record->data = larger.release();
  }
  return result;
}

}  // namespace

char *fnQNFS_getBak_FileName(const char *name) {
  const std::size_t length = fnQN_STRLEN(name);
  if (length < kShortestWithBackup) return nullptr;
  auto *backup = static_cast<char *>(qn::AllocateZeroed(uint64_t{length} + sizeof kBackupSuffix));
  return fnQN_STRCAT(fnQN_STRCPY(backup, name), kBackupSuffix);
}

int32_t fnQNFS_Write_Buffer_To_File(const char *name, QNFSBuffer *record) {
  return Store(name, record, qn::StoreWay::kReplace);
}

int32_t fnQNFS_Append_Buffer_To_File(const char *name, QNFSBuffer *record) {
  return Store(name, record, qn::StoreWay::kAppend);
}

int32_t fnQNFS_Load_File_To_Buffer(const char *name, QNFSBuffer *record) {
  if (name == nullptr || record == nullptr) return 0;
  if (!qn::RestoreBackup(name)) {
    qn::NoteUnread(name);
    return 0;
  }
  const int32_t size = fnQNFS_getFileSize(name);
  if (size == kUnknown) {
    if (!qn::CountsAsNone(name)) qn::NoteUnread(name);
    return 0;
  }

  int32_t count = kUnknown;
  int32_t result = -1;
  if (size >= -qn::kFileHeadroom && size <= qn::kMostFileBytes - qn::kFileHeadroom) {
    result = Read(name, size + qn::kFileHeadroom, record, &count);
  }
  // A read that failed or gave no count leaves an empty buffer.
  record->last = result == 0 && count >= 0 ? count - 1 : -1;
  record->pos = -1;
  return result == 0 ? 1 : 0;
}
