// ASCII letters without a locale, and looking at text without copying it.
#ifndef QNSTACK_QN_ASCII_H
#define QNSTACK_QN_ASCII_H

#include <cstddef>
#include <string_view>

namespace qn {

// 'A' to 'Z' as 'a' to 'z', every other byte as it is.
constexpr unsigned char FoldByte(char byte) {
  const auto value = static_cast<unsigned char>(byte);
  return value >= 'A' && value <= 'Z' ? static_cast<unsigned char>(value + ('a' - 'A')) : value;
}

// Whether `text` begins with `prefix`, ignoring the case of ASCII letters.
constexpr bool BeginsWithIgnoringCase(std::string_view text, std::string_view prefix) {
  if (text.size() < prefix.size()) return false;
  for (std::size_t i = 0; i < prefix.size(); ++i) {
    if (FoldByte(text[i]) != FoldByte(prefix[i])) return false;
  }
  return true;
}

}  // namespace qn

#endif
