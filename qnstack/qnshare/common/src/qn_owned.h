// SPDX-License-Identifier: MIT
// Memory inside the library: zero-filled blocks and records, blocks that are
// freed at the end of a scope, and copies of text that need not be terminated.
// Every module takes its memory through these.
#ifndef QNSTACK_QN_OWNED_H
#define QNSTACK_QN_OWNED_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <string_view>

#include "qnstack/qn_share_mem.h"

namespace qn {

// Zero-filled memory, or null when the heap refuses or `size` needs more than
// the 32 bits that fnQN_Malloc_Local() takes. Sizes are summed up in 64 bits,
// because std::size_t would wrap on a platform where it has 32.
inline void *AllocateZeroed(uint64_t size, const char *file = __builtin_FILE(),
                            int32_t line = __builtin_LINE()) {
  if (size > std::numeric_limits<uint32_t>::max()) return nullptr;
  return fnQN_Malloc_Local(static_cast<uint32_t>(size), file, line);
}

// A zero-filled record of type T, or null.
template <typename T>
T *NewRecord() {
  return static_cast<T *>(AllocateZeroed(sizeof(T)));
}

// The pointer, of whatever type, that the variable at `address` holds. Release
// callbacks are handed such an address.
template <typename T>
T *PointerAt(const void *address) {
  T *pointer = nullptr;
  std::memcpy(&pointer, address, sizeof pointer);
  return pointer;
}

struct FreeBlock {
  void operator()(void *block) const { fnQN_Free(&block); }
};

// A block that is freed at the end of its scope.
template <typename T>
using Owned = std::unique_ptr<T, FreeBlock>;

// A new terminated copy of `text`, or null when the heap refuses.
inline char *CopyText(std::string_view text) {
  auto *copy = static_cast<char *>(AllocateZeroed(uint64_t{text.size()} + 1));
  if (copy != nullptr) std::memcpy(copy, text.data(), text.size());
  return copy;
}

}  // namespace qn

#endif
