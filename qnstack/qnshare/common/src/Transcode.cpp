// Text in the character sets of multimedia messages, to UTF-8 and back. Owns
// nothing. Every converter goes once over its source; runs of ASCII, which is
// most of what messages hold, are taken eight source bytes at a time.
#include "qnstack/Transcode.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <limits>
#include <optional>
#include <span>

#include "qnstack/qn_share_mem.h"

namespace {

using Byte = uint8_t;
using Bytes = std::span<const Byte>;

enum class Order { kBig, kLittle };

// Which bits of a two-byte character its lead byte keeps. The byte streams
// have always lost the fifth.
constexpr uint32_t kWholeLead = 0x1F;
constexpr uint32_t kNarrowLead = 0x0F;

constexpr uint32_t kMark = 0xFEFF;
constexpr uint32_t kSwappedMark = 0xFFFE;

// A negative length is an empty text.
Bytes Span(const void *src, int32_t len) {
  return {static_cast<const Byte *>(src), static_cast<std::size_t>(len > 0 ? len : 0)};
}

uint64_t Load8(const Byte *bytes) {
  uint64_t word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

constexpr std::size_t LowByte(Order order) { return order == Order::kBig ? 1 : 0; }

// Bits that are clear in eight bytes of a stream if these are four ASCII units.
constexpr uint64_t NotAscii(Order order) {
  std::array<Byte, 8> bits{};
  for (std::size_t i = 0; i < bits.size(); ++i) bits[i] = i % 2 == LowByte(order) ? 0x80 : 0xFF;
  return std::bit_cast<uint64_t>(bits);
}

constexpr uint64_t kHighBits = 0x8080808080808080U;

template <Order kOrder>
uint32_t Unit(const Byte *bytes) {
  return static_cast<uint32_t>(bytes[LowByte(kOrder)]) |
         static_cast<uint32_t>(bytes[1 - LowByte(kOrder)]) << 8U;
}

// The byte that stands `shift` bits up in a value.
char Following(uint32_t x, uint32_t shift) {
  return static_cast<char>(0x80U | ((x >> shift) & 0x3FU));
}

char *PutTwo(char *out, uint32_t x, uint32_t lead_mask) {
  out[0] = static_cast<char>(0xC0U | ((x >> 6U) & lead_mask));
  out[1] = Following(x, 0);
  return out + 2;
}

char *PutThree(char *out, uint32_t x) {
  out[0] = static_cast<char>(0xE0U | ((x >> 12U) & 0x0FU));
  out[1] = Following(x, 6);
  out[2] = Following(x, 0);
  return out + 3;
}

// A character above U+FFFF: a lead byte and `following` more.
char *PutLong(char *out, uint32_t x, uint32_t lead, uint32_t lead_mask, uint32_t following) {
  *out++ = static_cast<char>(lead | ((x >> (6U * following)) & lead_mask));
  while (following > 0) *out++ = Following(x, 6U * --following);
  return out;
}

// One unit of up to 16 bits.
char *PutUnit(char *out, uint32_t x, uint32_t lead_mask) {
  if (x <= 0x7F) {
    *out = static_cast<char>(x);
    return out + 1;
  }
  return x <= 0x7FF ? PutTwo(out, x, lead_mask) : PutThree(out, x);
}

// Any value, by the thresholds that readers know.
char *PutValue(char *out, uint32_t x) {
  if (x <= 0xFFFF) return PutUnit(out, x, kWholeLead);
  if (x <= 0x1FFFF) return PutLong(out, x, 0xF0, 0x07, 3);
  if (x <= 0x3FFFF) return PutLong(out, x, 0xF8, 0x03, 4);
  return PutLong(out, x, 0xFC, 0x01, 5);
}

// The ASCII units at the front of a stream, as far as they come in fours.
template <Order kOrder>
char *PutAsciiUnits(Bytes *src, char *out) {
  while (src->size() >= 8 && (Load8(src->data()) & NotAscii(kOrder)) == 0) {
    for (std::size_t i = 0; i < 4; ++i) {
      out[i] = static_cast<char>((*src)[2 * i + LowByte(kOrder)]);
    }
    *src = src->subspan(8);
    out += 4;
  }
  return out;
}

// The ASCII bytes at the front of a text as units, as far as they come in
// eights.
uint16_t *PutAsciiBytes(Bytes *src, uint16_t *out) {
  while (src->size() >= 8 && (Load8(src->data()) & kHighBits) == 0) {
    for (std::size_t i = 0; i < 8; ++i) out[i] = (*src)[i];
    *src = src->subspan(8);
    out += 8;
  }
  return out;
}

// The unit of the character at the front of a UTF-8 text. A lead byte that has
// too few behind it is left out.
uint16_t *PutCharacter(Bytes *src, uint16_t *out) {
  const Byte *b = src->data();
  const std::size_t length = b[0] < 0x80 ? 1 : b[0] < 0xE0 ? 2 : 3;
  if (src->size() < length) {
    *src = src->subspan(1);
    return out;
  }
  uint32_t unit = b[0];
  if (length == 2) unit = (b[0] & 0x1FU) << 6U | (b[1] & 0x3FU);
  if (length == 3) unit = (b[0] & 0x0FU) << 12U | (b[1] & 0x3FU) << 6U | (b[2] & 0x3FU);
  *src = src->subspan(length);
  *out = static_cast<uint16_t>(unit);
  return out + 1;
}

bool IsSurrogate(uint32_t unit) { return unit >= 0xD800 && unit <= 0xDFFF; }

// Surrogates and marks mean something in UTF-16, in UCS-2 they do not.
bool IsSpecialInUtf16(uint32_t unit) {
  return IsSurrogate(unit) || unit == kMark || unit == kSwappedMark;
}

enum class Form { kUcs2, kUtf16 };

// The whole units at the front of a stream that stand for themselves.
template <Order kOrder, Form kForm>
char *PutPlainUnits(Bytes *src, char *out) {
  constexpr uint32_t kLead = kForm == Form::kUcs2 ? kNarrowLead : kWholeLead;
  while (src->size() >= 2) {
    out = PutAsciiUnits<kOrder>(src, out);
    for (std::size_t i = 0; i < 4 && src->size() >= 2; ++i) {
      const uint32_t unit = Unit<kOrder>(src->data());
      if (kForm == Form::kUtf16 && IsSpecialInUtf16(unit)) return out;
      out = PutUnit(out, unit, kLead);
      *src = src->subspan(2);
    }
  }
  return out;
}

// A byte stream of UCS-2; a missing last byte counts as 0.
template <Order kOrder>
void PutStream(Bytes src, char *out) {
  out = PutPlainUnits<kOrder, Form::kUcs2>(&src, out);
  if (!src.empty()) {
    const Byte last[2] = {src.front(), 0};
    out = PutUnit(out, Unit<kOrder>(last), kNarrowLead);
  }
  *out = '\0';
}

// Reads UTF-16 value by value, with what the marks say.
class Utf16Reader {
 public:
  explicit Utf16Reader(Bytes src)
      : rest_(src),
        order_(src.size() >= 2 && src[0] == 0xFF && src[1] == 0xFE ? Order::kLittle : Order::kBig) {
  }

  // The next value; nothing at the end or at a surrogate without a partner.
  std::optional<uint32_t> Next() {
    while (rest_.size() >= 2) {
      const uint32_t u = UnitAt(0);
      if (IsSurrogate(u)) return Pair(u);
      rest_ = rest_.subspan(2);
      if (u == kSwappedMark) order_ = order_ == Order::kBig ? Order::kLittle : Order::kBig;
      if (u != kMark && u != kSwappedMark) return u;
    }
    return std::nullopt;
  }

  // Writes what stands for itself, up to the next surrogate or mark.
  char *PutPlain(char *out) {
    return order_ == Order::kBig ? PutPlainUnits<Order::kBig, Form::kUtf16>(&rest_, out)
                                 : PutPlainUnits<Order::kLittle, Form::kUtf16>(&rest_, out);
  }

 private:
  uint32_t UnitAt(std::size_t offset) const {
    const Byte *bytes = rest_.data() + offset;
    return order_ == Order::kBig ? Unit<Order::kBig>(bytes) : Unit<Order::kLittle>(bytes);
  }

  std::optional<uint32_t> Pair(uint32_t high) {
    if (high > 0xDBFF || rest_.size() < 4) return std::nullopt;
    const uint32_t low = UnitAt(2);
    if (low < 0xDC00 || low > 0xDFFF) return std::nullopt;
    rest_ = rest_.subspan(4);
    return 0x10000U + ((high - 0xD800U) << 10U) + (low - 0xDC00U);
  }

  Bytes rest_;
  Order order_;
};

// A buffer for a result; it is written whole, so it comes uncleared.
char *NewResult(std::size_t bytes) {
  if (bytes > std::numeric_limits<uint32_t>::max()) return nullptr;
  return static_cast<char *>(
      fnQN_Realloc_Local(nullptr, static_cast<uint32_t>(bytes), __FILE__, __LINE__));
}

char *DecodeAsItIs(Bytes src) {
  char *out = NewResult(src.size() + 1);
  if (out == nullptr) return nullptr;
  fnQN_MEMCPY(out, src.data(), src.size());
  out[src.size()] = '\0';
  return out;
}

char *DecodeLatin1(Bytes src) {
  char *result = NewResult(2 * src.size() + 1);
  if (result == nullptr) return nullptr;
  char *out = result;
  while (!src.empty()) {
    while (src.size() >= 8 && (Load8(src.data()) & kHighBits) == 0) {
      fnQN_MEMCPY(out, src.data(), 8);
      src = src.subspan(8);
      out += 8;
    }
    for (std::size_t i = 0; i < 8 && !src.empty(); ++i) {
      out = PutUnit(out, src.front(), kWholeLead);
      src = src.subspan(1);
    }
  }
  *out = '\0';
  return result;
}

// Without a mark the buffer is kept: callers know.
char *DecodeUcs2KeepingBuffer(Bytes src) {
  char *out = NewResult(2 * src.size());
  if (out == nullptr || src.size() < 2) return nullptr;
  const uint32_t mark = Unit<Order::kBig>(src.data());
  if (mark == kMark) {
    PutStream<Order::kBig>(src.subspan(2), out);
    return out;
  }
  if (mark == kSwappedMark) {
    PutStream<Order::kLittle>(src.subspan(2), out);
    return out;
  }
  return nullptr;
}

char *DecodeUtf16(Bytes src) {
  char *result = NewResult(2 * src.size() + 1);
  if (result == nullptr) return nullptr;
  Utf16Reader reader(src);
  char *out = reader.PutPlain(result);
  while (const std::optional<uint32_t> value = reader.Next()) {
    out = reader.PutPlain(PutValue(out, *value));
  }
  *out = '\0';
  return result;
}

char *Decode(uint32_t charset, Bytes src) {
  switch (charset) {
    case QN_CHARSET_LATIN1:
      return DecodeLatin1(src);
    case QN_CHARSET_UCS2:
      return DecodeUcs2KeepingBuffer(src);
    case QN_CHARSET_UTF16:
      return DecodeUtf16(src);
    default:
      return DecodeAsItIs(src);
  }
}

}  // namespace

void BigEndianUCS2toUTF8(const void *src, int32_t len, char *out) {
  if (src == nullptr || out == nullptr) return;
  PutStream<Order::kBig>(Span(src, len), out);
}

void LitEndianUCS2toUTF8(const void *src, int32_t len, char *out) {
  if (src == nullptr || out == nullptr) return;
  PutStream<Order::kLittle>(Span(src, len), out);
}

void UCS2toUTF8(const uint16_t *src, int32_t count, char *out) {
  if (src == nullptr || out == nullptr) return;
  const uint16_t *end = src + (count > 0 ? count : 0);
  // Characters of a length come in runs, which a loop of their own goes faster.
  while (src != end) {
    for (; src != end && *src <= 0x7FF; ++src) out = PutUnit(out, *src, kWholeLead);
    for (; src != end && *src > 0x7FF; ++src) out = PutThree(out, *src);
  }
  *out = '\0';
}

void UCS4toUTF8(const uint32_t *src, int32_t count, char *out) {
  if (src == nullptr || out == nullptr) return;
  for (int32_t i = 0; i < count; ++i) out = PutValue(out, src[i]);
  *out = '\0';
}

void UTF8toUCS2(const char *src, int32_t len, uint16_t *out) {
  if (src == nullptr || out == nullptr) return;
  Bytes rest = Span(src, len);
  while (!rest.empty()) {
    out = PutAsciiBytes(&rest, out);
    for (std::size_t i = 0; i < 8 && !rest.empty(); ++i) out = PutCharacter(&rest, out);
  }
  *out = 0;
}

int32_t UTF16toUCS4(const void *src, int32_t len, uint32_t *out) {
  if (src == nullptr || out == nullptr) return 0;
  Utf16Reader reader(Span(src, len));
  int32_t count = 0;
  while (const std::optional<uint32_t> value = reader.Next()) out[count++] = *value;
  out[count] = 0;
  return count;
}

char *fnCharSet_DecodeString2Local(uint32_t charset, const void *src, int32_t *len) {
  if (src == nullptr || len == nullptr || *len < 1) return nullptr;
  char *result = Decode(charset, Span(src, *len));
  if (result != nullptr) *len = static_cast<int32_t>(std::strlen(result));
  return result;
}

void fnCharSet_CharSetFreeStringBuf(char *buf) { fnQN_Free(&buf); }
