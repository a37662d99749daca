// ASCII letters without a locale, and looking at text without copying it.
#ifndef QNSTACK_QN_ASCII_H
#define QNSTACK_QN_ASCII_H

#include <cstddef>
#include <cstring>
#include <string_view>

namespace qn {

// 'A' to 'Z' as 'a' to 'z', every other byte as it is.
constexpr unsigned char FoldByte(char byte) {
  const auto value = static_cast<unsigned char>(byte);
  return value >= 'A' && value <= 'Z' ? static_cast<unsigned char>(value + ('a' - 'A')) : value;
}

// Whether `text` begins with `folded`, which has no upper case, when the case
// of its ASCII letters is ignored.
constexpr bool BeginsWithFolded(std::string_view text, std::string_view folded) {
  if (text.size() < folded.size()) return false;
  for (std::size_t i = 0; i < folded.size(); ++i) {
    if (FoldByte(text[i]) != static_cast<unsigned char>(folded[i])) return false;
  }
  return true;
}

// As fnQN_STRCMP(); most texts that differ do so at once, which needs no call
// to be seen.
inline int CompareText(const char *a, const char *b) {
  if (a == nullptr || b == nullptr) return -1;
  const int difference = static_cast<unsigned char>(*a) - static_cast<unsigned char>(*b);
  return difference != 0 ? difference : std::strcmp(a, b);
}

}  // namespace qn

#endif
