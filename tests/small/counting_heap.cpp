// SPDX-License-Identifier: MIT
// The heap is that of the C library. The size of each block is kept before it.
#include "counting_heap.h"

#include <algorithm>
#include <cstdlib>

#include "qn_share_platform.h"

namespace {

struct alignas(std::max_align_t) Header {
  std::size_t size;
};

std::size_t in_use = 0;
std::size_t peak = 0;

Header *HeaderOf(void *block) { return static_cast<Header *>(block) - 1; }

void Count(std::size_t size) {
  in_use += size;
  peak = std::max(peak, in_use);
}

}  // namespace

void *qn::platform::AllocateZeros(std::size_t size) {
  auto *header = static_cast<Header *>(std::calloc(1, sizeof(Header) + size));
  if (header == nullptr) return nullptr;
  header->size = size;
  Count(size);
  return header + 1;
}

// While a block moves, a heap may hold both, so both are counted at the peak.
void *qn::platform::ResizeBlock(void *block, std::size_t size) {
  void *moved = AllocateZeros(size);
  if (block == nullptr || moved == nullptr) return moved;
  const std::size_t kept = std::min(size, HeaderOf(block)->size);
  std::copy_n(static_cast<char *>(block), kept, static_cast<char *>(moved));
  FreeBlock(block);
  return moved;
}

void qn::platform::FreeBlock(void *block) {
  in_use -= HeaderOf(block)->size;
  std::free(HeaderOf(block));
}

std::size_t small::HeapInUse() { return in_use; }

void small::WatchHeapPeak() { peak = in_use; }

std::size_t small::HeapPeak() { return peak; }
