// SPDX-License-Identifier: MIT
#include "visible.h"

namespace qnget {

std::string Visible(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string visible;
  for (const char c : text) {
    if (c >= ' ' && c <= '~') {
      visible += c;
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    visible.append({'\\', 'x', kDigits[byte >> 4], kDigits[byte & 0xf]});
  }
  return visible;
}

}  // namespace qnget
