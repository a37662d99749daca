// SPDX-License-Identifier: MIT
/**
 * @file charset.hpp
 * @brief Text in the character sets of messages, to UTF-8 and back, as strings
 *        of the right length. Included by qnstack.hpp.
 *
 * The bytes are those of the C functions with their oddities, which are named
 * here too. A text above 2 GiB gives an empty result. Zero bytes and zero units
 * within a text are kept, except by Decode().
 */
#ifndef QNSTACK_CPP_CHARSET_HPP
#define QNSTACK_CPP_CHARSET_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qnstack/cpp/arguments.hpp"

namespace qnstack {

/**
 * @addtogroup face
 * @{
 */

/**
 * Decodes a text to UTF-8 by fnCharSet_DecodeString2Local().
 *
 * @param charset as there.
 * @param bytes the text.
 * @return the result up to its first zero byte; none where the C function gives
 *         NULL, so for an empty text too, and for one above 2 GiB.
 */
[[nodiscard]] inline std::optional<std::string> Decode(uint32_t charset, std::string_view bytes) {
  int32_t length = detail::LengthOf(bytes.size());
  const std::unique_ptr<char, void (*)(char *)> text(
      fnCharSet_DecodeString2Local(charset, bytes.data(), &length),
      &fnCharSet_CharSetFreeStringBuf);
  if (text == nullptr) return std::nullopt;
  return std::string(text.get(), static_cast<std::size_t>(length));
}

/** @cond */
namespace detail {

// The most bytes of UTF-8 that a converter makes of one unit or value.
constexpr std::size_t kBytesPerUnit = 3;
constexpr std::size_t kBytesPerValue = 6;

// The converters write a zero at the end and do not tell the length, and the
// text may hold zeros too. So the area is filled with another value first: the
// last zero in it is then the end.
template <typename Area, typename Convert>
Area Converted(std::size_t most, Convert convert) {
  using Unit = typename Area::value_type;
  Area area(most + 1, static_cast<Unit>(-1));
  convert(area.data());
  const auto end = std::find(area.rbegin(), area.rend(), Unit()).base();
  area.resize(static_cast<std::size_t>(end - area.begin()) - 1);
  return area;
}

inline bool CanBeConverted(std::size_t size) noexcept { return LengthOf(size) > 0; }

using ConvertStream = void (*)(const void *, int32_t, char *);

// With an odd length a converter reads one byte more, so that byte is added.
inline std::string FromStream(std::string_view bytes, ConvertStream convert) {
  if (!CanBeConverted(bytes.size())) return {};
  if (bytes.size() % 2 != 0) return FromStream(std::string(bytes).append(1, '\0'), convert);
  return Converted<std::string>(bytes.size() / 2 * kBytesPerUnit, [&](char *out) {
    convert(bytes.data(), LengthOf(bytes.size()), out);
  });
}

}  // namespace detail
/** @endcond */

/**
 * Converts big-endian UCS-2 bytes to UTF-8 by BigEndianUCS2toUTF8(). Characters
 * from U+0400 to U+07FF lose a bit (U+0410 gives C0 90), surrogates are encoded
 * one by one, and of an odd length the missing last byte counts as 0.
 *
 * @param bytes the bytes, without a byte-order mark: one is converted as a
 *        character.
 * @return the text.
 */
[[nodiscard]] inline std::string Utf8FromBigEndianUcs2(std::string_view bytes) {
  return detail::FromStream(bytes, &BigEndianUCS2toUTF8);
}

/**
 * Converts little-endian UCS-2 bytes to UTF-8 by LitEndianUCS2toUTF8(), with the
 * oddities of Utf8FromBigEndianUcs2().
 *
 * @param bytes the bytes, without a byte-order mark.
 * @return the text.
 */
[[nodiscard]] inline std::string Utf8FromLittleEndianUcs2(std::string_view bytes) {
  return detail::FromStream(bytes, &LitEndianUCS2toUTF8);
}

/**
 * Converts UCS-2 units to UTF-8 by UCS2toUTF8(). No bit is lost; surrogates are
 * encoded one by one.
 *
 * @param units the units, in the machine's order.
 * @return the text.
 */
[[nodiscard]] inline std::string Utf8FromUcs2(std::u16string_view units) {
  if (!detail::CanBeConverted(units.size())) return {};
  const std::vector<uint16_t> source(units.begin(), units.end());
  return detail::Converted<std::string>(source.size() * detail::kBytesPerUnit, [&](char *out) {
    UCS2toUTF8(source.data(), detail::LengthOf(source.size()), out);
  });
}

/**
 * Converts UCS-4 values to UTF-8 by UCS4toUTF8(). Values above U+1FFFF take five
 * bytes and above U+3FFFF six, unlike RFC 3629.
 *
 * @param values the values.
 * @return the text.
 */
[[nodiscard]] inline std::string Utf8FromUcs4(std::u32string_view values) {
  if (!detail::CanBeConverted(values.size())) return {};
  const std::vector<uint32_t> source(values.begin(), values.end());
  return detail::Converted<std::string>(source.size() * detail::kBytesPerValue, [&](char *out) {
    UCS4toUTF8(source.data(), detail::LengthOf(source.size()), out);
  });
}

/**
 * Converts UTF-8 to UCS-2 units by UTF8toUCS2(). What is no UTF-8 is not
 * refused, and four-byte sequences are taken for three bytes.
 *
 * @param text the text.
 * @return the units, in the machine's order.
 */
[[nodiscard]] inline std::u16string Ucs2FromUtf8(std::string_view text) {
  if (!detail::CanBeConverted(text.size())) return {};
  const auto units = detail::Converted<std::vector<uint16_t>>(text.size(), [&](uint16_t *out) {
    UTF8toUCS2(text.data(), detail::LengthOf(text.size()), out);
  });
  return {units.begin(), units.end()};
}

/**
 * Converts UTF-16 bytes to UCS-4 values by UTF16toUCS4(). The order is
 * big-endian unless the text starts with FF FE; marks are dropped wherever they
 * stand, and the text ends at a surrogate that has no partner.
 *
 * @param bytes the bytes; an odd last one is not looked at.
 * @return the values.
 */
[[nodiscard]] inline std::u32string Ucs4FromUtf16(std::string_view bytes) {
  if (!detail::CanBeConverted(bytes.size())) return {};
  std::vector<uint32_t> values(bytes.size() / 2 + 1);
  const int32_t count = UTF16toUCS4(bytes.data(), detail::LengthOf(bytes.size()), values.data());
  return {values.begin(), values.begin() + count};
}

/** @} */

}  // namespace qnstack

#endif
