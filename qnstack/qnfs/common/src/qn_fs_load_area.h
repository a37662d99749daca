// SPDX-License-Identifier: MIT
// Where a load puts a file's content: in the record's storage or, where that is
// too small for the file, in a larger one that takes its place.
#ifndef QNSTACK_QN_FS_LOAD_AREA_H
#define QNSTACK_QN_FS_LOAD_AREA_H

#include <cstdint>

#include "qn_owned.h"

struct QNFSBuffer;

namespace qn {

class LoadArea {
 public:
  explicit LoadArea(QNFSBuffer *record) : record_(record) {}

  // Makes room for a file of that size and for what it may grow by. False if the
  // size cannot be that of a file, or the heap refuses.
  bool MakeRoom(int32_t size);
  int32_t Room() const { return room_; }
  char *Bytes() const { return bytes_; }

  // Ends the load with what fnQNFS_ReadFromFile() gives for its result and for
  // its count. The load's own result. A read that failed or gave no count leaves
  // an empty buffer; without this call the record stays as it was.
  int32_t End(int32_t result, int32_t count);

 private:
  QNFSBuffer *record_;
  char *bytes_ = nullptr;
  int32_t room_ = 0;
  Owned<char> larger_;
};

}  // namespace qn

#endif
