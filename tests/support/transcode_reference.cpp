// SPDX-License-Identifier: MIT
// Rule by rule, without a fast path.
#include "support/transcode_reference.h"

#include <gtest/gtest.h>
#include <iconv.h>

namespace qntest {
namespace {

uint32_t ByteAt(std::string_view bytes, std::size_t i) {
  return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0;
}

uint32_t UnitAt(std::string_view bytes, std::size_t i, bool big_endian) {
  const uint32_t first = ByteAt(bytes, i);
  const uint32_t second = ByteAt(bytes, i + 1);
  return big_endian ? first * 256 + second : second * 256 + first;
}

char Byte(uint32_t value) { return static_cast<char>(value & 0xFF); }

// `count` bytes of six bits each, the highest first.
std::string Groups(uint32_t value, int count) {
  std::string text;
  for (int i = count - 1; i >= 0; --i) text += Byte(0x80 | ((value >> (6 * i)) & 0x3F));
  return text;
}

}  // namespace

std::string ReferenceUtf8(uint32_t value, uint32_t lead_mask) {
  if (value <= 0x7F) return std::string(1, Byte(value));
  if (value <= 0x7FF) return Byte(0xC0 | ((value >> 6) & lead_mask)) + Groups(value, 1);
  if (value <= 0xFFFF) return Byte(0xE0 | ((value >> 12) & 0x0F)) + Groups(value, 2);
  if (value <= 0x1FFFF) return Byte(0xF0 | ((value >> 18) & 0x07)) + Groups(value, 3);
  if (value <= 0x3FFFF) return Byte(0xF8 | ((value >> 24) & 0x03)) + Groups(value, 4);
  return Byte(0xFC | ((value >> 30) & 0x01)) + Groups(value, 5);
}

std::string ReferenceStream(std::string_view bytes, bool big_endian) {
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    text += ReferenceUtf8(UnitAt(bytes, i, big_endian), 0x0F);
  }
  return text;
}

std::vector<uint16_t> ReferenceUcs2(std::string_view bytes) {
  std::vector<uint16_t> units;
  for (std::size_t i = 0; i < bytes.size();) {
    const uint32_t b = ByteAt(bytes, i);
    if (b < 0x80) {
      units.push_back(static_cast<uint16_t>(b));
      i += 1;
    } else if ((b & 0xE0) <= 0xDF && b < 0xE0) {
      if (i + 1 < bytes.size()) {
        units.push_back(static_cast<uint16_t>(((b & 0x1F) << 6) | (ByteAt(bytes, i + 1) & 0x3F)));
        i += 2;
      } else {
        i += 1;
      }
    } else if (i + 2 < bytes.size()) {
      units.push_back(static_cast<uint16_t>(((b & 0x0F) << 12) |
                                            ((ByteAt(bytes, i + 1) & 0x3F) << 6) |
                                            (ByteAt(bytes, i + 2) & 0x3F)));
      i += 3;
    } else {
      i += 1;
    }
  }
  return units;
}

std::vector<uint32_t> ReferenceUcs4(std::string_view bytes) {
  bool big_endian = !(bytes.size() >= 2 && ByteAt(bytes, 0) == 0xFF && ByteAt(bytes, 1) == 0xFE);
  std::vector<uint32_t> values;
  std::size_t i = 0;
  while (bytes.size() - i > 1) {
    const uint32_t u = UnitAt(bytes, i, big_endian);
    if (u == 0xFEFF) {
      i += 2;
    } else if (u == 0xFFFE) {
      i += 2;
      big_endian = !big_endian;
    } else if (u < 0xD800 || u > 0xDFFF) {
      values.push_back(u);
      i += 2;
    } else {
      if (u > 0xDBFF || bytes.size() - i <= 3) break;
      const uint32_t v = UnitAt(bytes, i + 2, big_endian);
      if (v < 0xDC00 || v > 0xDFFF) break;
      values.push_back((u << 10) - 0x3600000 + v + 0x2400);
      i += 4;
    }
  }
  return values;
}

std::string Converted(const char *to, const char *from, std::string_view text) {
  const iconv_t converter = iconv_open(to, from);
  std::string source(text);
  std::string result(4 * text.size() + 4, '\0');
  char *in = source.data();
  char *out = result.data();
  size_t left = source.size();
  size_t room = result.size();
  EXPECT_EQ(iconv(converter, &in, &left, &out, &room), 0U);
  EXPECT_EQ(left, 0U);
  iconv_close(converter);
  result.resize(result.size() - room);
  return result;
}

std::string AsBytes(const std::vector<uint16_t> &units, bool big_endian) {
  std::string bytes;
  for (const uint16_t unit : units) {
    const char high = Byte(unit >> 8);
    const char low = Byte(unit);
    bytes += big_endian ? high : low;
    bytes += big_endian ? low : high;
  }
  return bytes;
}

}  // namespace qntest
