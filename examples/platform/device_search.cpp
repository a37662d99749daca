// SPDX-License-Identifier: MIT
// A search for C libraries that have none. It is quick for the short texts that
// separate the parts of a message, and not linear for long ones.
#include <string_view>

#include "qn_share_platform.h"

const void *qn::platform::FindBytes(const void *area, std::size_t area_size, const void *needle,
                                    std::size_t needle_size) {
  const std::string_view searched(static_cast<const char *>(area), area_size);
  const std::size_t place = searched.find({static_cast<const char *>(needle), needle_size});
  return place == std::string_view::npos ? nullptr : searched.data() + place;
}
