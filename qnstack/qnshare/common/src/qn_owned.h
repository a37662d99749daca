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
// the 32 bits that the allocator takes.
inline void *AllocateZeroed(std::size_t size, const char *file = __builtin_FILE(),
                            int32_t line = __builtin_LINE()) {
  if (size > std::numeric_limits<uint32_t>::max()) return nullptr;
  return fnQN_Malloc_Local(static_cast<uint32_t>(size), file, line);
}

// A zero-filled record of type T, or null.
template <typename T>
T *NewRecord(const char *file = __builtin_FILE(), int32_t line = __builtin_LINE()) {
  return static_cast<T *>(AllocateZeroed(sizeof(T), file, line));
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
  void operator()(void *block) const { fnQN_Free(&block); }
};

// A block that is freed at the end of its scope.
template <typename T>
using Owned = std::unique_ptr<T, FreeBlock>;

// A new terminated copy of `text`, or null when the heap refuses.
inline char *CopyText(std::string_view text, const char *file = __builtin_FILE(),
                      int32_t line = __builtin_LINE()) {
  auto *copy = static_cast<char *>(AllocateZeroed(text.size() + 1, file, line));
  if (copy != nullptr) std::memcpy(copy, text.data(), text.size());
  return copy;
}

}  // namespace qn

#endif
