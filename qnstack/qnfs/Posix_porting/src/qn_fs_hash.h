// SPDX-License-Identifier: MIT
// A number made of a text, for names and marks that shall rarely be alike.
#ifndef QNSTACK_QN_FS_HASH_H
#define QNSTACK_QN_FS_HASH_H

#include <cstdint>
#include <string_view>

namespace qn {

// FNV-1a; different seeds give different numbers for one text.
constexpr uint64_t HashOf(std::string_view text, uint64_t seed = 0) {
  uint64_t hash = 0xcbf29ce484222325U ^ (seed * 0x9e3779b97f4a7c15U);
  for (const char c : text) {
    hash ^= static_cast<unsigned char>(c);
    hash *= 0x100000001b3U;
  }
  return hash;
}

}  // namespace qn

#endif
