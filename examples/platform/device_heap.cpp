// SPDX-License-Identifier: MIT
// The heap of the compiler's C library, and a search for C libraries that have none.
#include <cstdlib>
#include <string_view>

#include "qn_share_platform.h"

void *qn::platform::AllocateZeros(std::size_t size) { return std::calloc(size, 1); }

void *qn::platform::ResizeBlock(void *block, std::size_t size) { return std::realloc(block, size); }

void qn::platform::FreeBlock(void *block) { std::free(block); }

const void *qn::platform::FindBytes(const void *area, std::size_t area_size, const void *needle,
                                    std::size_t needle_size) {
  const std::string_view searched(static_cast<const char *>(area), area_size);
  const std::size_t place = searched.find({static_cast<const char *>(needle), needle_size});
  return place == std::string_view::npos ? nullptr : searched.data() + place;
}
