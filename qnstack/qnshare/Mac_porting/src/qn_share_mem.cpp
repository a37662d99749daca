// SPDX-License-Identifier: MIT
// Memory on the platform's heap, and the C library's memory functions. All memory
// of the library comes from here and goes back here.
#include "qnstack/qn_share_mem.h"

#include <cstring>

#include "qn_owned.h"
#include "qn_share_platform.h"

void *fnQN_Malloc_Local(uint32_t size, const char * /*file*/, int32_t /*line*/) {
  // A size of 0 gives a block too, so that NULL always means that the heap refused.
  return qn::platform::AllocateZeros(size == 0 ? 1 : size);
}

void fnQN_Free(void *address) {
  if (address == nullptr) return;
  void *block = qn::PointerAt<void>(address);
  if (block == nullptr) return;
  qn::platform::FreeBlock(block);
  // The variable may be a pointer of any type, so it is written as bytes.
  block = nullptr;
  std::memcpy(address, &block, sizeof block);
}

void *fnQN_Realloc_Local(void *ptr, uint32_t size, const char * /*file*/, int32_t /*line*/) {
  return qn::platform::ResizeBlock(ptr, size);
}

void *fnQN_MEMCPY(void *dst, const void *src, size_t n) { return std::memcpy(dst, src, n); }

void *fnQN_MEMSET(void *dst, int byte, size_t n) { return std::memset(dst, byte, n); }

void *fnQN_MEMCHR(const void *buf, int byte, size_t n) {
  return const_cast<void *>(std::memchr(buf, byte, n));
}

int fnQN_MEMCMP(const void *a, const void *b, size_t n) { return std::memcmp(a, b, n); }

void *fnQN_MEMSTR(const void *buf, const char *needle, int32_t len) {
  if (buf == nullptr || needle == nullptr || len <= 0) return nullptr;
  // A match that ends at the very last byte does not count: callers have relied
  // on that.
  const auto searched = static_cast<size_t>(len) - 1;
  return const_cast<void *>(qn::platform::FindBytes(buf, searched, needle, std::strlen(needle)));
}

char *fnQN_MEMSTRCOPY(const char *s) { return qn::CopyText(s == nullptr ? "" : s); }
