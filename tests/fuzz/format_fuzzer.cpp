// SPDX-License-Identifier: MIT
// The formatter with every kind of conversion, and numbers to text.
//
// Input: from the end backwards, the choices that make up one conversion, its
// argument and the size of the area; the rest is literal text around it.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include "fuzz/exact_bytes.h"
#include "fuzz/fuzzer.h"
#include "qnstack/qn_itoa.h"
#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_snprintf.h"
#include "qnstack/qn_stack_membuffer.h"
#include "support/buffer.h"

// The formats are made at run time.
#pragma clang diagnostic ignored "-Wformat-nonliteral"
#pragma clang diagnostic ignored "-Wformat-security"

namespace {

using qntest::Exact;

constexpr std::size_t kMostLiteral = 40;
constexpr uint32_t kFormattedPiece = 2048;

struct Conversion {
  std::string format;
  char kind;
  bool plain;  // without flags, width and precision
};

// Literal text in a format; a percent sign is doubled.
std::string Literal(FuzzedDataProvider *input) {
  std::string literal;
  for (const char byte : input->ConsumeRandomLengthString(kMostLiteral)) {
    if (byte == '\0') break;
    literal += byte == '%' ? "%%" : std::string(1, byte);
  }
  return literal;
}

Conversion AnyConversion(FuzzedDataProvider *input) {
  static constexpr char kKinds[] = {'d', 'i', 'u', 'o', 'x', 'X', 'c',
                                    's', 'f', 'e', 'g', 'E', 'G'};
  static constexpr const char *kFlags[] = {"", "-", "+", " ", "#", "0", "-+", "+0", "#0"};
  const char kind = input->PickValueInArray(kKinds);
  std::string options = input->PickValueInArray(kFlags);
  if (input->ConsumeBool()) options += std::to_string(input->ConsumeIntegralInRange(0, 600));
  if (input->ConsumeBool()) {
    // The portable runtime's "%#g" bears no more.
    const int most = std::strchr("fegEG", kind) != nullptr ? 500 : 600;
    options += "." + std::to_string(input->ConsumeIntegralInRange(0, most));
  }
  const std::string format = Literal(input) + "%" + options + kind + Literal(input);
  return {format, kind, options.empty()};
}

// Calls `format` (a function that takes a size and gives a result and an area)
// for a large size and for one that may cut, and holds the two against each
// other.
template <typename Format>
std::string Formatted(FuzzedDataProvider *input, const Format &format) {
  constexpr uint32_t kLarge = 4096;
  const Exact<char> large(kLarge);
  const int32_t full = format(large.get(), kLarge);
  EXPECT_GE(full, 0);
  EXPECT_LT(full, static_cast<int32_t>(kLarge));
  const std::string text(large.get(), static_cast<std::size_t>(full));
  EXPECT_EQ(large.get()[full], '\0');
  EXPECT_EQ(format(nullptr, 0), full);

  const auto size = input->ConsumeIntegralInRange<uint32_t>(1, 400);
  const Exact<char> small(size);
  const int32_t result = format(small.get(), size);
  const bool cut = text.size() >= size;
  EXPECT_EQ(result, cut ? static_cast<int32_t>(size) : full);
  const std::size_t held = std::min<std::size_t>(text.size(), size - 1);
  EXPECT_EQ(std::string(small.get(), held), text.substr(0, held));
  EXPECT_EQ(small.get()[held], '\0');
  return text;
}

// What the C library makes of a conversion without options.
template <typename Argument>
void ExpectAsInC(const Conversion &conversion, const std::string &text, Argument argument) {
  if (!conversion.plain || std::strchr("diuoxXcs", conversion.kind) == nullptr) return;
  char expected[4096];
  const int length = std::snprintf(expected, sizeof expected, conversion.format.c_str(), argument);
  EXPECT_EQ(text, std::string(expected, static_cast<std::size_t>(length)));
}

template <typename Argument>
void TryConversion(FuzzedDataProvider *input, const Conversion &conversion, Argument argument) {
  const char *format = conversion.format.c_str();
  const std::string text = Formatted(input, [&](char *area, uint32_t size) {
    return fnQNRTL_snprintf(area, size, format, argument);
  });
  ExpectAsInC(conversion, text, argument);

  qntest::Buffer buffer(0);
  const int32_t result = fnQN_MemBuffer_Printf(buffer.get(), format, argument);
  EXPECT_EQ(result, static_cast<int32_t>(std::min<std::size_t>(text.size(), kFormattedPiece)));
  const std::string piece = text.substr(0, kFormattedPiece - 1);
  EXPECT_EQ(buffer.Fields().held, std::string(piece.c_str()));
}

void TryFormatting(FuzzedDataProvider *input) {
  const Conversion conversion = AnyConversion(input);
  if (conversion.kind == 's') {
    const std::string bytes = input->ConsumeRandomLengthString(kMostLiteral);
    const qntest::ExactText text(bytes);
    TryConversion(input, conversion, static_cast<const char *>(text.get()));
  } else if (std::strchr("fegEG", conversion.kind) != nullptr) {
    const auto bits = input->ConsumeIntegral<uint64_t>();
    double number = 0;
    std::memcpy(&number, &bits, sizeof number);
    // Numbers of more digits are none that the portable runtime can write.
    if (std::abs(number) < 1e70) TryConversion(input, conversion, number);
  } else {
    TryConversion(input, conversion, input->ConsumeIntegral<int32_t>());
  }
}

std::string PlainItoa(int32_t value, int32_t radix) {
  if (radix < 2) return "";
  const bool negative = radix == 10 && value < 0;
  auto rest = negative ? -int64_t{value} : int64_t{static_cast<uint32_t>(value)};
  std::string text;
  do {
    text.insert(text.begin(), "0123456789abcdefghijklmnopqrstuvwxyz"[rest % radix]);
    rest /= radix;
  } while (rest > 0);
  return negative ? "-" + text : text;
}

std::string Itoa(int32_t value, int32_t radix) {
  const std::string expected = PlainItoa(value, radix);
  const Exact<char> area(expected.size() + 1);
  EXPECT_EQ(fnQNRTL_itoa(value, area.get(), radix), area.get());
  return area.get();
}

void TryItoa(FuzzedDataProvider *input) {
  const auto radix = input->ConsumeIntegralInRange<int32_t>(-1, 36);
  const auto value = input->ConsumeIntegral<int32_t>();
  EXPECT_EQ(Itoa(value, radix), PlainItoa(value, radix));
}

int32_t Saturated(double value) {
  using Limits = std::numeric_limits<int32_t>;
  if (std::isnan(value)) return Limits::min();
  return static_cast<int32_t>(std::clamp<double>(std::trunc(value), Limits::min(), Limits::max()));
}

void TryFtoa(FuzzedDataProvider *input) {
  const auto radix = input->ConsumeIntegralInRange<int32_t>(2, 36);
  const auto bits = input->ConsumeIntegral<uint64_t>();
  double value = 0;
  std::memcpy(&value, &bits, sizeof value);
  if (input->ConsumeBool()) value = static_cast<double>(static_cast<int64_t>(bits)) / 1e6;

  const Exact<char> area(radix == 10 ? 14 : 38);
  EXPECT_EQ(fnQNRTL_ftoa(value, area.get(), radix), area.get());
  const std::string text = area.get();
  const int32_t integer_part = Saturated(value);
  const std::string whole = PlainItoa(integer_part, radix) + ".";
  EXPECT_TRUE(text.starts_with(whole)) << text;
  EXPECT_LE(text.size(), std::max<std::size_t>(12, whole.size() + 1)) << text;
  const bool in_range = std::abs(value) < 2147483647.0;
  if (radix == 10 && in_range && (value >= 0 || value <= -1)) {
    // Cut and not rounded, so never further from zero than the value.
    const double digits = static_cast<double>(text.size() - whole.size());
    const double error = std::abs(value) - std::abs(std::strtod(text.c_str(), nullptr));
    EXPECT_GE(error, -1e-6) << text;
    EXPECT_LT(error, std::pow(10.0, -digits) + 1e-6) << text;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static constexpr void (*kTrials[])(FuzzedDataProvider *) = {TryFormatting, TryItoa, TryFtoa};
  FuzzedDataProvider input(data, size);
  input.PickValueInArray(kTrials)(&input);
  return 0;
}
