// SPDX-License-Identifier: MIT
// Results as bytes: of units and values the high byte comes first, whatever the
// machine's order is.
#include <algorithm>
#include <climits>
#include <cstdint>
#include <string_view>
#include <vector>

#include "crossing.h"
#include "qnstack/qnstack.h"

namespace crossing {
namespace {

constexpr uint32_t kUnits = 0x10000;
constexpr uint32_t kValues = 0x110000;
constexpr uint32_t kStride = 61;  // from one value to the next where they are too many

using Converter = void (*)(const void *, int32_t, char *);

void AppendUnit(std::string &bytes, uint32_t unit, bool big_endian) {
  const char high = static_cast<char>(unit >> 8U);
  const char low = static_cast<char>(unit & 0xFFU);
  bytes += big_endian ? high : low;
  bytes += big_endian ? low : high;
}

void AppendValue(std::string &bytes, uint32_t value) {
  AppendUnit(bytes, value >> 16U, true);
  AppendUnit(bytes, value & 0xFFFFU, true);
}

std::string AllUnits(bool big_endian) {
  std::string bytes;
  for (uint32_t unit = 0; unit < kUnits; ++unit) AppendUnit(bytes, unit, big_endian);
  return bytes;
}

// A text of UTF-16 with a mark: all characters of one unit, and some of two.
std::string Characters(bool big_endian) {
  std::string bytes;
  AppendUnit(bytes, 0xFEFF, big_endian);
  for (uint32_t unit = 1; unit < kUnits; ++unit) {
    if (unit < 0xD800 || unit > 0xDFFF) AppendUnit(bytes, unit, big_endian);
  }
  for (uint32_t value = kUnits; value < kValues; value += kStride) {
    AppendUnit(bytes, 0xD800 + ((value - kUnits) >> 10U), big_endian);
    AppendUnit(bytes, 0xDC00 + ((value - kUnits) & 0x3FFU), big_endian);
  }
  return bytes;
}

std::string Converted(Converter converter, const std::string &bytes) {
  std::string text(bytes.size() * 3 + 1, '\0');
  converter(bytes.data(), static_cast<int32_t>(bytes.size()), text.data());
  return text;
}

std::string OfUnits() {
  std::vector<uint16_t> units(kUnits);
  for (uint32_t unit = 0; unit < kUnits; ++unit) units[unit] = static_cast<uint16_t>(unit);
  std::string text(units.size() * 3 + 1, '\0');
  UCS2toUTF8(units.data(), static_cast<int32_t>(units.size()), text.data());
  return text;
}

// All values of one unit, and some of those above, up to the last.
std::string OfValues() {
  std::vector<uint32_t> values(kUnits);
  for (uint32_t value = 0; value < kUnits; ++value) values[value] = value;
  for (uint32_t value = kUnits; value < kValues; value += kStride) values.push_back(value);
  for (uint64_t value = kValues; value <= UINT32_MAX; value += kStride * kUnits) {
    values.push_back(static_cast<uint32_t>(value));
  }
  std::string text(values.size() * 6 + 1, '\0');
  UCS4toUTF8(values.data(), static_cast<int32_t>(values.size()), text.data());
  return text;
}

std::string ToUnits(const std::string &text) {
  std::vector<uint16_t> units(text.size() + 1);
  UTF8toUCS2(text.data(), static_cast<int32_t>(text.size()), units.data());
  std::string bytes;
  for (const uint16_t unit : units) AppendUnit(bytes, unit, true);
  return bytes;
}

std::string ToValues(const std::string &text) {
  std::vector<uint32_t> values(text.size() / 2 + 1);
  const int32_t count = UTF16toUCS4(text.data(), static_cast<int32_t>(text.size()), values.data());
  std::string bytes;
  for (int32_t i = 0; i <= count; ++i) AppendValue(bytes, values[static_cast<std::size_t>(i)]);
  return bytes;
}

std::string Decoded(uint32_t charset, const std::string &text) {
  auto length = static_cast<int32_t>(text.size());
  char *result = fnCharSet_DecodeString2Local(charset, text.data(), &length);
  std::string bytes =
      result == nullptr ? "nothing" : std::string(result, static_cast<std::size_t>(length));
  fnCharSet_CharSetFreeStringBuf(result);
  return bytes;
}

std::string AllBytes() {
  std::string bytes;
  for (int byte = 1; byte <= UCHAR_MAX; ++byte) bytes += static_cast<char>(byte);
  return bytes;
}

constexpr double kNumbers[] = {0.0,           -0.0,    0.1,           -0.1,      1.0 / 3,
                               2.0 / 3,       0.00005, 1234.5678,     -99.99995, 65535.99999,
                               2147483646.75, 1e-7,    123456789.0123};

}  // namespace

std::string ConvertedTexts() {
  std::string all = Converted(BigEndianUCS2toUTF8, AllUnits(true)) +
                    Converted(LitEndianUCS2toUTF8, AllUnits(false)) + OfUnits();
  const std::string values = OfValues();
  all += values + ToUnits(values) + ToUnits(AllUnits(true));
  for (const bool big_endian : {true, false}) {
    const std::string text = Characters(big_endian);
    all += ToValues(text);
    for (const uint32_t charset : {0U, 3U, 4U, 106U, 1000U, 1015U}) {
      all += Decoded(charset, text) + Decoded(charset, AllBytes());
    }
  }
  return all;
}

std::string WrittenNumbers() {
  std::string all;
  char text[80];
  for (const double number : kNumbers) {
    all += fnQNRTL_ftoa(number, text, 10);
    fnQNRTL_snprintf(text, sizeof text, " %f %x\n", number, static_cast<int>(number));
    all += text;
  }
  for (const int32_t number : {INT32_MIN, -1, 0, 1, INT32_MAX}) {
    all.append(fnQNRTL_itoa(number, text, 10)) += ' ';
    all.append(fnQNRTL_itoa(number, text, 16)) += '\n';
  }
  for (const char byte : AllBytes()) {
    const char word[] = {'1', byte, '2', '\0'};
    fnQNRTL_snprintf(text, sizeof text, "%d %d\n", static_cast<int>(fnQNFS_StrToLong(word)),
                     static_cast<int>(fnQN_ATOI(word)));
    all += text;
  }
  for (uint64_t seconds = 0; seconds <= UINT32_MAX; seconds += 7654321) {
    date_to_httpDate(static_cast<uint32_t>(seconds), text);
    all.append(text) += '\n';
    const int32_t parsed = parse_date_str(text);
    fnQNRTL_snprintf(text, sizeof text, "%d\n", static_cast<int>(parsed));
    all += text;
  }
  return all;
}

}  // namespace crossing
