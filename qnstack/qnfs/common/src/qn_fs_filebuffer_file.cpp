// Saving and loading typed file buffers. The old content stands under the
// file's name with ".bak" from before the file is touched until the new one is
// written, and is put back when that fails or when a load finds it.
#include <algorithm>
#include <cstdint>
#include <limits>

#include "qn_fs_filebuffer_internal.h"
#include "qn_owned.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_fs_file_record.h"
#include "qnstack/qn_fs_filebuffer.h"
#include "qnstack/qn_share_mem.h"

namespace {

constexpr int32_t kUnknown = -1;
constexpr int32_t kMostBytes = std::numeric_limits<int32_t>::max();

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
  if (store(record->data, record->pos + 1, name) == -1) {
    fnQNFS_DeleteFile(name);
    if (backup != nullptr) fnQNFS_MoveFile(name, backup.get());
    return 0;
  }
  if (backup != nullptr) fnQNFS_DeleteFile(backup.get());
  return 1;
}

// A backup that is still there belongs to a save that did not finish.
void RestoreBackup(const char *name) {
  const qn::Owned<char> backup(fnQNFS_getBak_FileName(name));
  if (backup == nullptr || fnQNFS_isFileExisted(backup.get()) <= 0) return;
  fnQNFS_DeleteFile(name);
  fnQNFS_MoveFile(name, backup.get());
}

// Whoever sized the storage may not have known of a larger backup that was
// restored since: such a file is read beside it, and its bytes replace the
// storage where they do not fit.
int32_t ReadBeside(const char *name, int32_t maximum, QNFSBuffer *record, int32_t *count) {
  qn::Owned<char> area(
      static_cast<char *>(qn::AllocateZeroed(static_cast<std::size_t>(maximum) + 1)));
  if (area == nullptr) return -1;
  const int32_t result = fnQNFS_ReadFromFile(name, maximum, area.get(), count);
  *count = std::min(*count, maximum);
  if (result != 0 || *count <= 0) return result;
  if (*count <= int64_t{record->last} + 1) {
    fnQN_MEMCPY(record->data, area.get(), static_cast<std::size_t>(*count));
  } else {
    fnQN_Free(&record->data);
    record->data = area.release();
  }
  return result;
}

int32_t Read(const char *name, int32_t maximum, QNFSBuffer *record, int32_t *count) {
  if (maximum > int64_t{record->last} + 1) return ReadBeside(name, maximum, record, count);
  const int32_t result = fnQNFS_ReadFromFile(name, maximum, record->data, count);
  *count = std::min(*count, maximum);
  return result;
}

}  // namespace

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
  if (size >= -qn::kFileHeadroom && size <= kMostBytes - qn::kFileHeadroom) {
    result = Read(name, size + qn::kFileHeadroom, record, &count);
  }
  // A read that failed or gave no count leaves an empty buffer.
  const bool loaded = result == 0 && count >= 0;
  record->last = loaded ? count - 1 : -1;
  record->pos = -1;
  return result == 0 ? 1 : 0;
}

namespace qn {

FileImage::FileImage(int64_t capacity) : record_{nullptr, -1, -1}, capacity_(capacity) {
  if (capacity < 0 || capacity > kMostBytes) return;
  // The area comes zero-filled, so the record is set up without another fill.
  record_.data = static_cast<char *>(AllocateZeroed(static_cast<std::size_t>(capacity) + 1));
  record_.last = static_cast<int32_t>(capacity - 1);
}

FileImage::~FileImage() { fnQN_Free(&record_.data); }

bool FileImage::CoverPosition() {
  if (record_.pos <= capacity_) return true;
  auto *covering = static_cast<char *>(AllocateZeroed(static_cast<std::size_t>(record_.pos) + 1));
  if (covering == nullptr) return false;
  fnQN_MEMCPY(covering, record_.data, static_cast<std::size_t>(capacity_) + 1);
  fnQN_Free(&record_.data);
  record_.data = covering;
  capacity_ = record_.pos;
  return true;
}

int32_t FileImage::Write(const char *name) {
  return CoverPosition() ? fnQNFS_Write_Buffer_To_File(name, &record_) : 0;
}

int32_t FileImage::Append(const char *name) {
  return CoverPosition() ? fnQNFS_Append_Buffer_To_File(name, &record_) : 0;
}

}  // namespace qn
