// SPDX-License-Identifier: MIT
// Converters between UCS-2, UCS-4, UTF-16 and UTF-8, and the decoding of a text
// in the character set that a multimedia message declares. Applications call
// them; no other part of the library does.
#include "qnstack/Transcode.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "qn_owned.h"

namespace {

using Byte = uint8_t;

enum class Order { kBig, kLittle };

// The bits of the lead byte of a two-byte character. The converters of byte
// streams have always left out the highest one.
constexpr uint32_t kWholeLead = 0x1F;
constexpr uint32_t kNarrowLead = 0x0F;

// The byte-order mark, as it reads in the right order and in the other one.
constexpr uint32_t kMark = 0xFEFF;
constexpr uint32_t kSwappedMark = 0xFFFE;

constexpr uint32_t UnitAt(const Byte *bytes, Order order) {
  const uint32_t first = bytes[0];
  const uint32_t second = bytes[1];
  return order == Order::kBig ? first << 8U | second : second << 8U | first;
}

// Writes a lead byte and the `following` bytes behind it, six bits in each.
char *PutSequence(char *out, uint32_t x, uint32_t lead, uint32_t following) {
  *out++ = static_cast<char>(lead);
  while (following-- > 0) *out++ = static_cast<char>(0x80U | ((x >> (6U * following)) & 0x3FU));
  return out;
}

// Writes a value up to U+FFFF and returns the place behind it.
inline char *PutUnit(char *out, uint32_t x, uint32_t two_byte_lead) {
  if (x <= 0x7F) {
    *out = static_cast<char>(x);
    return out + 1;
  }
  return x <= 0x7FF ? PutSequence(out, x, 0xC0U | ((x >> 6U) & two_byte_lead), 1)
                    : PutSequence(out, x, 0xE0U | x >> 12U, 2);
}

// Above U+FFFF the thresholds are not those of RFC 3629; readers know these. Only in
// the longest form a bit of the value reaches the lead byte.
inline char *PutValue(char *out, uint32_t x) {
  if (x <= 0xFFFF) return PutUnit(out, x, kWholeLead);
  if (x <= 0x1FFFF) return PutSequence(out, x, 0xF0, 3);
  if (x <= 0x3FFFF) return PutSequence(out, x, 0xF8, 4);
  return PutSequence(out, x, 0xFCU | (x >> 30U & 1U), 5);
}

// Writes `units` pairs of bytes and returns the place behind them.
template <Order kOrder>
char *PutPairs(char *out, const Byte *src, std::size_t units) {
  for (; units > 0; --units, src += 2) out = PutUnit(out, UnitAt(src, kOrder), kNarrowLead);
  return out;
}

// The byte behind an odd length is the second byte of the last unit.
template <Order kOrder>
void PutStream(const void *src, int32_t len, char *out) {
  if (src == nullptr || out == nullptr) return;
  const auto bytes = static_cast<std::size_t>(std::max(len, 0));
  *PutPairs<kOrder>(out, static_cast<const Byte *>(src), (bytes + 1) / 2) = '\0';
}

constexpr bool IsSurrogate(uint32_t unit) { return unit >= 0xD800 && unit <= 0xDFFF; }

// The value of two surrogates; 0 if they are no high one and a low one.
constexpr uint32_t PairValue(uint32_t high, uint32_t low) {
  if (high > 0xDBFF || low < 0xDC00 || low > 0xDFFF) return 0;
  return 0x10000U + ((high - 0xD800U) << 10U) + (low - 0xDC00U);
}

// Hands every value of a UTF-16 text to `put`, up to a surrogate without a partner.
template <typename Put>
void ReadUtf16(const void *src, int32_t len, Put put) {
  const auto *bytes = static_cast<const Byte *>(src);
  Order order = Order::kBig;
  for (int32_t i = 0; len - i > 1; i += 2) {
    uint32_t value = UnitAt(bytes + i, order);
    if (value == kMark) continue;
    if (value == kSwappedMark) {
      order = order == Order::kBig ? Order::kLittle : Order::kBig;
      continue;
    }
    if (IsSurrogate(value)) {
      value = len - i > 3 ? PairValue(value, UnitAt(bytes + i + 2, order)) : 0;
      if (value == 0) return;
      i += 2;
    }
    put(value);
  }
}

// A zero-filled area for a result, so that the terminator stands in it already.
char *NewArea(uint64_t bytes) { return static_cast<char *>(qn::AllocateZeroed(bytes)); }

char *CopyAsItIs(std::string_view src) {
  char *result = NewArea(uint64_t{src.size()} + 1);
  if (result != nullptr) std::memcpy(result, src.data(), src.size());
  return result;
}

char *DecodeLatin1(std::string_view src) {
  char *result = NewArea(uint64_t{2} * src.size() + 1);
  if (result == nullptr) return nullptr;
  char *out = result;
  for (const char byte : src) out = PutUnit(out, static_cast<Byte>(byte), kWholeLead);
  return result;
}

// The units behind the byte-order mark. What comes is all that may be read, so
// the second byte of a last unit that is cut counts as 0.
template <Order kOrder>
char *DecodeUcs2(std::string_view src) {
  char *result = NewArea(uint64_t{2} * src.size());
  if (result == nullptr) return nullptr;
  const auto *bytes = reinterpret_cast<const Byte *>(src.data());
  char *out = PutPairs<kOrder>(result, bytes + 2, src.size() / 2 - 1);
  const Byte cut[] = {bytes[src.size() - 1], 0};
  if (src.size() % 2 != 0) PutPairs<kOrder>(out, cut, 1);
  return result;
}

char *DecodeUtf16(std::string_view src) {
  char *result = NewArea(uint64_t{2} * src.size() + 1);
  if (result == nullptr) return nullptr;
  char *out = result;
  ReadUtf16(src.data(), static_cast<int32_t>(src.size()),
            [&out](uint32_t value) { out = PutValue(out, value); });
  return result;
}

char *Decode(uint32_t charset, std::string_view src) {
  switch (charset) {
    case QN_CHARSET_LATIN1:
      return DecodeLatin1(src);
    case QN_CHARSET_UCS2:
      if (src.starts_with("\xFE\xFF")) return DecodeUcs2<Order::kBig>(src);
      return src.starts_with("\xFF\xFE") ? DecodeUcs2<Order::kLittle>(src) : nullptr;
    case QN_CHARSET_UTF16:
      return DecodeUtf16(src);
    default:
      return CopyAsItIs(src);
  }
}

}  // namespace

void BigEndianUCS2toUTF8(const void *src, int32_t len, char *out) {
  PutStream<Order::kBig>(src, len, out);
}

void LitEndianUCS2toUTF8(const void *src, int32_t len, char *out) {
  PutStream<Order::kLittle>(src, len, out);
}

void UCS2toUTF8(const uint16_t *src, int32_t count, char *out) {
  if (src == nullptr || out == nullptr) return;
  for (int32_t i = 0; i < count; ++i) out = PutUnit(out, src[i], kWholeLead);
  *out = '\0';
}

void UCS4toUTF8(const uint32_t *src, int32_t count, char *out) {
  if (src == nullptr || out == nullptr) return;
  for (int32_t i = 0; i < count; ++i) out = PutValue(out, src[i]);
  *out = '\0';
}

void UTF8toUCS2(const char *src, int32_t len, uint16_t *out) {
  if (src == nullptr || out == nullptr) return;
  int32_t i = 0;
  while (i < len) {
    const auto *b = reinterpret_cast<const Byte *>(src) + i;
    const int32_t length = b[0] < 0x80 ? 1 : b[0] < 0xE0 ? 2 : 3;
    if (length > len - i) {  // the end cuts the character: this byte is skipped
      ++i;
      continue;
    }
    uint32_t unit = b[0];
    if (length == 2) unit = (b[0] & 0x1FU) << 6U | (b[1] & 0x3FU);
    if (length == 3) unit = (b[0] & 0x0FU) << 12U | (b[1] & 0x3FU) << 6U | (b[2] & 0x3FU);
    *out++ = static_cast<uint16_t>(unit);
    i += length;
  }
  *out = 0;
}

int32_t UTF16toUCS4(const void *src, int32_t len, uint32_t *out) {
  if (src == nullptr || out == nullptr) return 0;
  int32_t count = 0;
  ReadUtf16(src, len, [&](uint32_t value) { out[count++] = value; });
  out[count] = 0;
  return count;
}

char *fnCharSet_DecodeString2Local(uint32_t charset, const void *src, int32_t *len) {
  if (src == nullptr || len == nullptr || *len < 1) return nullptr;
  char *result = Decode(charset, {static_cast<const char *>(src), static_cast<std::size_t>(*len)});
  if (result != nullptr) *len = static_cast<int32_t>(std::strlen(result));
  return result;
}

void fnCharSet_CharSetFreeStringBuf(char *buf) { fnQN_Free(&buf); }
