// SPDX-License-Identifier: MIT
// ASCII letters, whatever the locale is.
#ifndef QNSTACK_QN_ASCII_H
#define QNSTACK_QN_ASCII_H

namespace qn {

// 'A' to 'Z' as 'a' to 'z', every other byte as it is.
constexpr unsigned char FoldByte(char byte) {
  const auto value = static_cast<unsigned char>(byte);
  return value >= 'A' && value <= 'Z' ? static_cast<unsigned char>(value + ('a' - 'A')) : value;
}

}  // namespace qn

#endif
