// SPDX-License-Identifier: MIT
// The length of a text up to a bound, for every module.
#ifndef QNSTACK_QN_LENGTH_H
#define QNSTACK_QN_LENGTH_H

#include <cstddef>
#include <cstring>

namespace qn {

// The length of a text, or `bound` if it has no end before that. Nothing behind the
// terminator or the bound is read.
inline std::size_t LengthWithin(const char *text, std::size_t bound) {
  const void *end = std::memchr(text, '\0', bound);
  return end == nullptr ? bound : static_cast<std::size_t>(static_cast<const char *>(end) - text);
}

}  // namespace qn

#endif
