// SPDX-License-Identifier: MIT
// The C library's heap and its search for bytes, for the base.
#include "qn_share_platform.h"

#include <cstdlib>
#include <cstring>
#include <string_view>

void *qn::platform::AllocateZeros(std::size_t size) { return std::calloc(size, 1); }

void *qn::platform::ResizeBlock(void *block, std::size_t size) { return std::realloc(block, size); }

void qn::platform::FreeBlock(void *block) { std::free(block); }

// POSIX.1-2008 has no search that is linear whatever is searched.
const void *qn::platform::FindBytes(const void *area, std::size_t area_size, const void *needle,
                                    std::size_t needle_size) {
#ifdef QNSTACK_PLAIN_POSIX
  const std::string_view searched(static_cast<const char *>(area), area_size);
  const std::size_t place = searched.find({static_cast<const char *>(needle), needle_size});
  return place == std::string_view::npos ? nullptr : searched.data() + place;
#else
  return memmem(area, area_size, needle, needle_size);
#endif
}
