// SPDX-License-Identifier: MIT
// Reads a word where none may stand. Processors that this project is built on by
// itself do not mind; the sanitizers do.
#include <cstdint>

int main(int argc, char ** /*argv*/) {
  alignas(std::uint32_t) char bytes[8] = {};
  return static_cast<int>(*reinterpret_cast<const std::uint32_t *>(bytes + (argc > 0 ? 1 : 0)));
}
