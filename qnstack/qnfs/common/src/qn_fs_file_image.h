// SPDX-License-Identifier: MIT
// A typed file buffer with storage of its own. Record files and the settings
// save from one and load into one.
#ifndef QNSTACK_QN_FS_FILE_IMAGE_H
#define QNSTACK_QN_FS_FILE_IMAGE_H

#include <algorithm>
#include <cstdint>
#include <limits>

#include "qn_fs_store.h"
#include "qn_owned.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_fs_filebuffer.h"
#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_share_string.h"

namespace qn {

inline constexpr int32_t kMostFileBytes = std::numeric_limits<int32_t>::max();
// Bytes that a file may grow by between two saves.
inline constexpr int32_t kFileHeadroom = 10000;

// Writes a whole string as a field.
inline void WriteTextField(QNFSBuffer *record, const char *text) {
  const std::size_t length = std::min<std::size_t>(fnQN_STRLEN(text), kMostFileBytes);
  fnQNFS_Buffer_WriteString(record, text, static_cast<int32_t>(length));
}

class FileImage {
 public:
  // With room for kFileHeadroom bytes.
  FileImage() : FileImage(int32_t{0}) {}
  // With room for what the file holds, and for kFileHeadroom bytes more.
  explicit FileImage(const char *name) : FileImage(fnQNFS_getFileSize(name)) {}
  ~FileImage() { fnQN_Free(&record_.data); }
  FileImage(const FileImage &) = delete;
  FileImage &operator=(const FileImage &) = delete;

  bool IsAllocated() const { return record_.data != nullptr; }
  QNFSBuffer *Record() { return &record_; }

  // Whether there was no file to make the image of, or an empty one.
  bool IsOfNothing(const char *name) const { return size_ <= 0 && CountsAsNone(name); }

  // fnQNFS_Write_Buffer_To_File() and fnQNFS_Append_Buffer_To_File() of what was
  // written here. What was cut for want of the file's size is not written.
  int32_t Write(const char *name) {
    if (size_ < 0 && !CountsAsNone(name)) return 0;
    return CoverPosition() ? fnQNFS_Write_Buffer_To_File(name, &record_) : 0;
  }
  int32_t Append(const char *name) {
    return CoverPosition() ? fnQNFS_Append_Buffer_To_File(name, &record_) : 0;
  }

 private:
  explicit FileImage(int32_t size)
      : capacity_(int64_t{std::max(0, size)} + kFileHeadroom), size_(size) {
    if (capacity_ > kMostFileBytes) return;
    // One zero byte stands behind the capacity, as a field may fill all of it.
    record_.data = static_cast<char *>(AllocateZeroed(static_cast<uint64_t>(capacity_) + 1));
    record_.last = static_cast<int32_t>(capacity_ - 1);
  }

  // Empty fields move the position on even where the storage has ended. Before
  // a save the storage then grows up to the position, with zeros.
  bool CoverPosition() {
    if (record_.pos <= capacity_) return true;
    auto *larger = static_cast<char *>(AllocateZeroed(static_cast<uint64_t>(record_.pos) + 1));
    if (larger == nullptr) return false;
    fnQN_MEMCPY(larger, record_.data, static_cast<std::size_t>(capacity_));
    fnQN_Free(&record_.data);
    record_.data = larger;
    capacity_ = record_.pos;
    return true;
  }

  QNFSBuffer record_ = {nullptr, -1, -1};
  int64_t capacity_;
  const int32_t size_;  // of the file; negative if that is unknown
};

}  // namespace qn

#endif
