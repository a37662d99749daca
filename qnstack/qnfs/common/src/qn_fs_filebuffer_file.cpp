// SPDX-License-Identifier: MIT
// Saving and loading typed file buffers, for record files, settings and
// applications. How the old content is kept meanwhile is the store's to know.
#include <algorithm>

#include "qn_fs_file_image.h"
#include "qn_fs_load_area.h"
#include "qn_fs_store.h"
#include "qn_owned.h"
#include "qn_wrapped_sum.h"
#include "qnstack/qn_fs_filebuffer.h"
#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_share_string.h"

namespace {

constexpr char kBackupSuffix[] = ".bak";
constexpr std::size_t kShortestWithBackup = 3;

// Stores `pos` + 1 bytes.
int32_t Store(const char *name, const QNFSBuffer *record, qn::StoreWay way) {
  if (name == nullptr || record == nullptr) return 0;
  return qn::Store(name, record->data, qn::WrappedSum(record->pos, 1), way) ? 1 : 0;
}

}  // namespace

// A restored backup may be larger than the file for which the caller sized the
// storage.
bool qn::LoadArea::MakeRoom(int32_t size) {
  if (size < -kFileHeadroom || size > kMostFileBytes - kFileHeadroom) return false;
  room_ = size + kFileHeadroom;
  const bool fits = room_ <= int64_t{record_->last} + 1;
  if (!fits) larger_.reset(static_cast<char *>(AllocateZeroed(static_cast<uint64_t>(room_) + 1)));
  bytes_ = fits ? record_->data : larger_.get();
  return fits || larger_ != nullptr;
}

int32_t qn::LoadArea::End(int32_t result, int32_t count) {
  const int32_t taken = result == 0 ? std::min(count, room_) : -1;
  if (larger_ != nullptr && taken > int64_t{record_->last} + 1) {
    fnQN_Free(&record_->data);
    record_->data = larger_.release();
  } else if (larger_ != nullptr && taken > 0) {
    fnQN_MEMCPY(record_->data, larger_.get(), static_cast<std::size_t>(taken));
  }
  record_->last = std::max(taken, 0) - 1;
  record_->pos = -1;
  return result == 0 ? 1 : 0;
}

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
  qn::LoadArea area(record);
  return qn::Load(name, &area);
}
