// SPDX-License-Identifier: MIT
// Numbers to text in any radix: the names of the cache's files, and whatever
// applications write.
#include "qnstack/qn_itoa.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "qnstack/qn_share_string.h"

namespace {

constexpr std::size_t kMostFractionDigits = 4;
constexpr std::size_t kMostTextBeforePoint = 11;  // with more there is no room for a fraction

// Digits from ten up are letters; beyond radix 36 they run on past 'z'.
constexpr char DigitText(uint32_t digit) {
  return static_cast<char>(digit <= 9 ? '0' + digit : 'a' + (digit - 10));
}

// Toward zero; beyond 32 bits the nearest limit, not-a-number the least value.
int32_t TruncateToInt32(double value) {
  using Limits = std::numeric_limits<int32_t>;
  if (value >= 2147483648.0) return Limits::max();
  return value > -2147483649.0 ? static_cast<int32_t>(value) : Limits::min();
}

// The part after the point. It is taken positive for negative numbers, but one
// between -1 and 0 keeps its sign and so gets no digits.
double FractionOf(double value, int32_t integer_part) {
  if (integer_part < 0) return -value + integer_part;
  if (integer_part > 0) return value - integer_part;
  return value;
}

}  // namespace

char *fnQNRTL_itoa(int32_t value, char *buf, int32_t radix) {
  if (buf == nullptr) return nullptr;
  char *out = buf;
  if (radix >= 2) {
    auto rest = static_cast<uint32_t>(value);
    if (radix == 10 && value < 0) {
      *out++ = '-';
      rest = 0U - rest;
    }
    char *const digits = out;
    const auto divisor = static_cast<uint32_t>(radix);
    do {
      *out++ = DigitText(rest % divisor);
      rest /= divisor;
    } while (rest != 0);
    std::reverse(digits, out);
  }
  *out = '\0';
  return buf;
}

char *fnQNRTL_ftoa(double value, char *buf, int32_t radix) {
  if (buf == nullptr) return nullptr;
  const int32_t integer_part = TruncateToInt32(value);
  fnQNRTL_itoa(integer_part, buf, radix);
  if (radix < 2) return buf;
  const std::size_t length = fnQN_STRLEN(buf);
  char *out = buf + length;
  *out++ = '.';

  double fraction = FractionOf(value, integer_part);
  if (fraction == 0.0) {
    *out++ = '0';
  } else if (length < kMostTextBeforePoint) {
    std::size_t room = std::min(kMostFractionDigits, kMostTextBeforePoint - length);
    for (; room > 0 && fraction > 0.0; --room) {
      // A register of some platforms holds more than a double; memory does not.
      const volatile double scaled = fraction * radix;
      const int32_t digit = TruncateToInt32(scaled);
      *out++ = DigitText(static_cast<uint32_t>(digit));
      // One rounding only: the digits depend on the exact remainder.
      fraction = std::fma(fraction, 10.0, -static_cast<double>(digit));
    }
  }
  *out = '\0';
  return buf;
}
