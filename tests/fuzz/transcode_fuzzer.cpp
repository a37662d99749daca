// SPDX-License-Identifier: MIT
// The transcoders and character sets against the plain references, into areas
// of exactly the room that each asks for.
//
// Input: the last byte chooses the converter, the one before it the character
// set; the rest is the text.

#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/exact_bytes.h"
#include "fuzz/fuzzer.h"
#include "qnstack/Transcode.h"
#include "support/transcode_reference.h"

namespace {

using namespace qntest;

// What a terminated result in an area holds, zero bytes of the text included.
std::string Filled(const Exact<char> &area, std::size_t length) {
  EXPECT_LT(length, area.size());
  EXPECT_EQ(area.get()[length], '\0');
  return {area.get(), length};
}

template <typename T>
Exact<T> ExactUnits(std::string_view bytes) {
  Exact<T> units(bytes.size() / sizeof(T));
  std::memcpy(units.get(), bytes.data(), units.size() * sizeof(T));
  return units;
}

// An odd length gives the same, as the byte behind it is read too.
void TryStream(std::string_view bytes, bool big_endian) {
  bytes.remove_suffix(bytes.size() % 2);
  const Exact<char> src = ExactCopy(bytes);
  const Exact<char> out(3 * (bytes.size() / 2) + 1);
  const auto convert = big_endian ? BigEndianUCS2toUTF8 : LitEndianUCS2toUTF8;
  if (!bytes.empty()) convert(src.get(), src.length() - 1, out.get());
  const std::string of_odd_length(out.get(), out.size());
  convert(src.get(), src.length(), out.get());
  if (!bytes.empty()) EXPECT_STREQ(out.get(), of_odd_length.c_str());
  const std::string expected = qntest::ReferenceStream(bytes, big_endian);
  EXPECT_EQ(Filled(out, expected.size()), expected);
}

void TryUcs2(std::string_view bytes) {
  const Exact<uint16_t> src = ExactUnits<uint16_t>(bytes);
  const Exact<char> out(3 * src.size() + 1);
  UCS2toUTF8(src.get(), src.length(), out.get());
  std::string expected;
  for (std::size_t i = 0; i < src.size(); ++i) expected += qntest::ReferenceUtf8(src.get()[i]);
  EXPECT_EQ(Filled(out, expected.size()), expected);

  const Exact<char> text = ExactCopy(expected);
  const Exact<uint16_t> back(text.size() + 1);
  UTF8toUCS2(text.get(), text.length(), back.get());
  EXPECT_EQ(std::vector<uint16_t>(back.get(), back.get() + src.size()),
            std::vector<uint16_t>(src.get(), src.get() + src.size()));
}

void TryUcs4(std::string_view bytes) {
  const Exact<uint32_t> src = ExactUnits<uint32_t>(bytes);
  const Exact<char> out(6 * src.size() + 1);
  UCS4toUTF8(src.get(), src.length(), out.get());
  std::string expected;
  for (std::size_t i = 0; i < src.size(); ++i) expected += qntest::ReferenceUtf8(src.get()[i]);
  EXPECT_EQ(Filled(out, expected.size()), expected);
}

void TryUtf8(std::string_view bytes) {
  const Exact<char> src = ExactCopy(bytes);
  const Exact<uint16_t> out(bytes.size() + 1);
  UTF8toUCS2(src.get(), src.length(), out.get());
  std::vector<uint16_t> expected = qntest::ReferenceUcs2(bytes);
  expected.push_back(0);
  EXPECT_EQ(std::vector<uint16_t>(out.get(), out.get() + expected.size()), expected);
}

void TryUtf16(std::string_view bytes) {
  const Exact<char> src = ExactCopy(bytes);
  const Exact<uint32_t> out(bytes.size() / 2 + 1);
  const int32_t count = UTF16toUCS4(src.get(), src.length(), out.get());
  std::vector<uint32_t> expected = qntest::ReferenceUcs4(bytes);
  ASSERT_EQ(count, static_cast<int32_t>(expected.size()));
  expected.push_back(0);
  EXPECT_EQ(std::vector<uint32_t>(out.get(), out.get() + expected.size()), expected);
}

bool HasMark(std::string_view bytes) {
  return bytes.starts_with("\xFE\xFF") || bytes.starts_with("\xFF\xFE");
}

std::string Decoded(uint32_t charset, std::string_view bytes) {
  std::string text;
  switch (charset) {
    case QN_CHARSET_LATIN1:
      for (const char byte : bytes) {
        text += qntest::ReferenceUtf8(static_cast<unsigned char>(byte));
      }
      return text;
    case QN_CHARSET_UCS2:
      return qntest::ReferenceStream(bytes.substr(2), bytes[0] == '\xFE');
    case QN_CHARSET_UTF16:
      for (const uint32_t value : qntest::ReferenceUcs4(bytes)) {
        text += qntest::ReferenceUtf8(value);
      }
      return text;
    default:
      return std::string(bytes);
  }
}

void TryDecoding(uint32_t charset, std::string_view bytes) {
  const Exact<char> src = ExactCopy(bytes);
  int32_t length = src.length();
  char *result = fnCharSet_DecodeString2Local(charset, src.get(), &length);
  const bool decodes = !bytes.empty() && (charset != QN_CHARSET_UCS2 || HasMark(bytes));
  EXPECT_EQ(result != nullptr, decodes);
  if (result != nullptr) {
    const std::string expected = Decoded(charset, bytes);
    EXPECT_EQ(std::string_view(result, expected.size()), expected);
    EXPECT_EQ(result[expected.size()], '\0');
    EXPECT_EQ(length,
              static_cast<int32_t>(expected.find('\0') == std::string::npos ? expected.size()
                                                                            : expected.find('\0')));
  } else {
    EXPECT_EQ(length, src.length());
  }
  fnCharSet_CharSetFreeStringBuf(result);
}

// A negative length is an empty text, whatever the source.
void TryNegative(int32_t length) {
  char out[4] = "???";
  uint16_t units[2] = {7, 7};
  uint32_t values[2] = {7, 7};
  BigEndianUCS2toUTF8("x", length, out);
  EXPECT_STREQ(out, "");
  LitEndianUCS2toUTF8("x", length, out);
  UCS2toUTF8(units, length, out);
  UCS4toUTF8(values, length, out);
  EXPECT_STREQ(out, "");
  UTF8toUCS2("x", length, units);
  EXPECT_EQ(units[0], 0);
  EXPECT_EQ(UTF16toUCS4("x", length, values), 0);
  EXPECT_EQ(values[0], 0U);
  EXPECT_EQ(fnCharSet_DecodeString2Local(QN_CHARSET_UTF8, "x", &length), nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static constexpr uint32_t kCharsets[] = {QN_CHARSET_US_ASCII, QN_CHARSET_LATIN1, QN_CHARSET_UTF8,
                                           QN_CHARSET_UCS2, QN_CHARSET_UTF16};
  FuzzedDataProvider input(data, size);
  const auto trial = input.ConsumeIntegralInRange<int>(0, 7);
  const auto choice = input.ConsumeIntegral<uint8_t>();
  const std::string bytes = input.ConsumeRemainingBytesAsString();
  switch (trial) {
    case 0:
    case 1:
      TryStream(bytes, trial == 0);
      break;
    case 2:
      TryUcs2(bytes);
      break;
    case 3:
      TryUcs4(bytes);
      break;
    case 4:
      TryUtf8(bytes);
      break;
    case 5:
      TryUtf16(bytes);
      break;
    case 6:
      TryDecoding(choice < std::size(kCharsets) ? kCharsets[choice] : choice, bytes);
      break;
    default:
      TryNegative(std::numeric_limits<int32_t>::min() + choice);
  }
  return 0;
}
