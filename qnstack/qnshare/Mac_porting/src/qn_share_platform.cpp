// SPDX-License-Identifier: MIT
// The system's heap, and the C library's search for bytes, for the base.
#include "qn_share_platform.h"

#include <cstdlib>
#include <cstring>

void *qn::platform::AllocateZeros(std::size_t size) { return std::calloc(size, 1); }

void *qn::platform::ResizeBlock(void *block, std::size_t size) { return std::realloc(block, size); }

void qn::platform::FreeBlock(void *block) { std::free(block); }

const void *qn::platform::FindBytes(const void *area, std::size_t area_size, const void *needle,
                                    std::size_t needle_size) {
  return memmem(area, area_size, needle, needle_size);
}
