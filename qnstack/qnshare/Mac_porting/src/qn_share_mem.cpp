// Allocation and raw memory on the system heap. Owns nothing; every other
// module allocates, frees and copies through here.
#include "qnstack/qn_share_mem.h"

#include <cstdlib>
#include <cstring>

#include "qn_owned.h"

void *fnQN_Malloc_Local(uint32_t size, const char * /*file*/, int32_t /*line*/) {
  // A size of 0 gives a block too, on every heap: NULL means refused alone.
  return std::calloc(size == 0 ? 1 : size, 1);
}

void *qn::AllocateUncleared(uint64_t size) {
  return size > UINT32_MAX ? nullptr : std::malloc(static_cast<std::size_t>(size));
}

void qn::Release(void *block) { std::free(block); }

void fnQN_Free(void *address) {
  if (address == nullptr) return;
  // The variable may be a pointer of any type, so it is read and written as
  // bytes.
  void *block = nullptr;
  std::memcpy(&block, address, sizeof block);
  if (block == nullptr) return;
  std::free(block);
  block = nullptr;
  std::memcpy(address, &block, sizeof block);
}

void *fnQN_Realloc_Local(void *ptr, uint32_t size, const char * /*file*/, int32_t /*line*/) {
  return std::realloc(ptr, size);
}

void *fnQN_MEMCPY(void *dst, const void *src, size_t n) { return std::memcpy(dst, src, n); }

void *fnQN_MEMSET(void *dst, int byte, size_t n) { return std::memset(dst, byte, n); }

void *fnQN_MEMCHR(const void *buf, int byte, size_t n) {
  return const_cast<void *>(std::memchr(buf, byte, n));
}

int fnQN_MEMCMP(const void *a, const void *b, size_t n) { return std::memcmp(a, b, n); }

void *fnQN_MEMSTR(const void *buf, const char *needle, int32_t len) {
  if (buf == nullptr || needle == nullptr || len <= 0) return nullptr;
  // Searching one byte less leaves the byte that must follow the match.
  return memmem(buf, static_cast<size_t>(len) - 1, needle, std::strlen(needle));
}

char *fnQN_MEMSTRCOPY(const char *s) { return qn::CopyText(s == nullptr ? "" : s); }
