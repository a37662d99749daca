// Memory inside the library: zero-filled blocks that know where they were
// asked for, owned temporaries, and copies of text that is not terminated.
// Every module allocates and frees through these.
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
// the 32 bits that the allocator takes. Its type is wider than those, so that a
// sum on the way to it does not wrap where std::size_t has 32 bits.
inline void *AllocateZeroed(uint64_t size, const char *file = __builtin_FILE(),
                            int32_t line = __builtin_LINE()) {
  if (size > std::numeric_limits<uint32_t>::max()) return nullptr;
  return fnQN_Malloc_Local(static_cast<uint32_t>(size), file, line);
}

// The same for memory that is written whole at once: it comes as it is.
void *AllocateUncleared(uint64_t size);

// Frees a block whose pointer is not needed any more; null does nothing.
void Release(void *block);

// A zero-filled record of type T, or null.
template <typename T>
T *NewRecord() {
  void *block = AllocateUncleared(sizeof(T));
  return block == nullptr ? nullptr : static_cast<T *>(std::memset(block, 0, sizeof(T)));
}

// The pointer that a variable of some pointer type at `address` holds: what a
// release function is handed.
template <typename T>
T *PointerAt(const void *address) {
  T *pointer = nullptr;
  std::memcpy(&pointer, address, sizeof pointer);
  return pointer;
}

struct FreeBlock {
  void operator()(void *block) const { Release(block); }
};

// A block that is freed at the end of its scope.
template <typename T>
using Owned = std::unique_ptr<T, FreeBlock>;

// A new terminated copy of `text`, or null when the heap refuses.
inline char *CopyText(std::string_view text) {
  auto *copy = static_cast<char *>(AllocateUncleared(text.size() + 1));
  if (copy == nullptr) return nullptr;
  std::memcpy(copy, text.data(), text.size());
  copy[text.size()] = '\0';
  return copy;
}

}  // namespace qn

#endif
