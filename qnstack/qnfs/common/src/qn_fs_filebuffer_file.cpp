// SPDX-License-Identifier: MIT
// Saving and loading typed file buffers, for record files, settings and
// applications. A save first puts the old content under the file's name with
// ".bak"; it is put back when the save fails or when a load finds it.
#include <algorithm>

#include "qn_fs_file_image.h"
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

using StoreFunction = int32_t (*)(const void *data, int32_t length, const char *name);

// Stores `pos` + 1 bytes under the protection of the backup.
int32_t StoreProtected(const char *name, const QNFSBuffer *record, StoreFunction store) {
  if (name == nullptr || record == nullptr) return 0;
  const qn::Owned<char> backup(fnQNFS_getBak_FileName(name));
  if (backup != nullptr) {
    fnQNFS_DeleteFile(backup.get());
    fnQNFS_MoveFile(backup.get(), name);
    fnQNFS_CopyFile(name, backup.get());
  }
  if (store(record->data, qn::WrappedSum(record->pos, 1), name) == -1) {
    fnQNFS_DeleteFile(name);
    if (backup != nullptr) fnQNFS_MoveFile(name, backup.get());
    return 0;
  }
  if (backup != nullptr) fnQNFS_DeleteFile(backup.get());
  return 1;
}

// A backup that is still there is that of a save that did not finish.
void RestoreBackup(const char *name) {
  const qn::Owned<char> backup(fnQNFS_getBak_FileName(name));
  if (backup == nullptr || fnQNFS_isFileExisted(backup.get()) <= 0) return;
  fnQNFS_DeleteFile(name);
  fnQNFS_MoveFile(name, backup.get());
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
    if (larger == nullptr) return -1;
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
  return StoreProtected(name, record, fnQNFS_WriteToFile);
}

int32_t fnQNFS_Append_Buffer_To_File(const char *name, QNFSBuffer *record) {
  return StoreProtected(name, record, fnQNFS_AppendToFile);
}

int32_t fnQNFS_Load_File_To_Buffer(const char *name, QNFSBuffer *record) {
  if (name == nullptr || record == nullptr) return 0;
  RestoreBackup(name);
  const int32_t size = fnQNFS_getFileSize(name);
  if (size == kUnknown) return 0;

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
