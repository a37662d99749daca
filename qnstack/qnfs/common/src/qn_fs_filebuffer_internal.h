// A typed file buffer with storage of its own: what record files and settings
// save from and load into.
#ifndef QNSTACK_QN_FS_FILEBUFFER_INTERNAL_H
#define QNSTACK_QN_FS_FILEBUFFER_INTERNAL_H

#include <cstdint>

#include "qnstack/qn_fs_filebuffer.h"

namespace qn {

// Bytes that a file may grow by between two saves.
inline constexpr int32_t kFileHeadroom = 10000;

// fnQNFS_Buffer_WriteString() of a whole string; one beyond its count's 32
// bits is not written.
void WriteTextField(QNFSBuffer *record, const char *text);

// A buffer on the heap, freed at the end of its scope. One zero byte stands
// behind its capacity, as a field may fill it to the end.
class FileImage {
 public:
  explicit FileImage(int64_t capacity);
  ~FileImage();
  FileImage(const FileImage &) = delete;
  FileImage &operator=(const FileImage &) = delete;

  bool IsAllocated() const { return record_.data != nullptr; }
  QNFSBuffer *Record() { return &record_; }

  // fnQNFS_Write_Buffer_To_File() and its kin for what was written here. Empty
  // fields move the position on even behind the storage; what is saved of
  // them is zeros.
  int32_t Write(const char *name);
  int32_t Append(const char *name);

 private:
  bool CoverPosition();

  QNFSBuffer record_;
  int64_t capacity_;
};

}  // namespace qn

#endif
