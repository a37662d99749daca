// SPDX-License-Identifier: MIT
// Guards the C++ face's conversions of text: the bytes of the C functions, as
// strings of the right length.
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "qnstack/qnstack.hpp"
#include "support/failing_heap.h"

namespace {

using namespace std::string_literals;
using qntest::FailingHeap;

TEST(FaceCharset, DecodesByNumber) {
  const FailingHeap heap(FailingHeap::kCountOnly);

  EXPECT_EQ(qnstack::Decode(QN_CHARSET_UTF16, "\xFF\xFEH\0i\0"s), "Hi");
  EXPECT_EQ(qnstack::Decode(QN_CHARSET_LATIN1, "\xE9"), "\u00e9");
  EXPECT_EQ(qnstack::Decode(QN_CHARSET_UTF8, "a\0b"s), "a");
  EXPECT_EQ(qnstack::Decode(QN_CHARSET_UTF8, ""), std::nullopt);
  EXPECT_EQ(heap.LiveBlocks(), 0);
}

TEST(FaceCharset, ConvertsStreamsOfUcs2WithTheirOddities) {
  EXPECT_EQ(qnstack::Utf8FromBigEndianUcs2("\0A\0\xE9\x4E\x2D"s), "A\u00e9\u4e2d");
  EXPECT_EQ(qnstack::Utf8FromLittleEndianUcs2("A\0\xE9\0\x2D\x4E"s), "A\u00e9\u4e2d");
  EXPECT_EQ(qnstack::Utf8FromBigEndianUcs2("\x04\x10"), "\xC0\x90") << "a bit is lost";
  EXPECT_EQ(qnstack::Utf8FromLittleEndianUcs2("\x10\x04"), "\xC0\x90");
  EXPECT_EQ(qnstack::Utf8FromBigEndianUcs2("\xFE\xFF\0A"s), "\uFEFF\x41") << "a mark stays";
}

TEST(FaceCharset, TakesAMissingLastByteForZero) {
  EXPECT_EQ(qnstack::Utf8FromBigEndianUcs2("\0A\x4E"s), "A\u4e00");
  EXPECT_EQ(qnstack::Utf8FromLittleEndianUcs2("A\0B"s), "AB");
  EXPECT_EQ(qnstack::Utf8FromBigEndianUcs2("\xFF"), "\uFF00") << "three bytes of one";
}

TEST(FaceCharset, ConvertsUnitsAndValues) {
  EXPECT_EQ(qnstack::Utf8FromUcs2(u"A\u0410\u4e2d"), "A\u0410\u4e2d");
  EXPECT_EQ(qnstack::Utf8FromUcs4(U"A\u0410\U0001F600"), "A\u0410\U0001F600");
  EXPECT_EQ(qnstack::Utf8FromUcs4(U"\U00020000"), "\xF8\x80\xA0\x80\x80");
  EXPECT_EQ(qnstack::Utf8FromUcs4(std::u32string(3, char32_t{0xFFFFFFFF})).size(), 18U);
  EXPECT_EQ(qnstack::Utf8FromUcs2(std::u16string(3, u'\uFFFF')), "\uFFFF\uFFFF\uFFFF");
}

TEST(FaceCharset, ConvertsUtf8ToUnits) {
  EXPECT_EQ(qnstack::Ucs2FromUtf8("A\u00e9\u4e2d"), u"A\u00e9\u4e2d");
  EXPECT_EQ(qnstack::Ucs2FromUtf8("plain letters"), u"plain letters") << "one unit for a byte";
  EXPECT_EQ(qnstack::Ucs2FromUtf8("\xC3"), u"") << "it is cut";
  EXPECT_EQ(qnstack::Ucs2FromUtf8("\uFFFF"), u"\uFFFF");
}

TEST(FaceCharset, ConvertsUtf16ToValues) {
  EXPECT_EQ(qnstack::Ucs4FromUtf16("\xFF\xFE\x41\0\x3D\xD8\0\xDE"s), U"A\U0001F600");
  EXPECT_EQ(qnstack::Ucs4FromUtf16("\0A\0B\0"s), U"AB") << "an odd byte is not looked at";
  EXPECT_EQ(qnstack::Ucs4FromUtf16("\0A\xD8\x3D\0B"s), U"A") << "it has no partner";
}

TEST(FaceCharset, KeepsZeros) {
  EXPECT_EQ(qnstack::Utf8FromBigEndianUcs2("\0A\0\0\0B\0\0"s), "A\0B\0"s);
  EXPECT_EQ(qnstack::Utf8FromUcs2(u"A\0B\0"s), "A\0B\0"s);
  EXPECT_EQ(qnstack::Utf8FromUcs4(U"A\0B\0"s), "A\0B\0"s);
  EXPECT_EQ(qnstack::Ucs2FromUtf8("A\0B\0"s), u"A\0B\0"s);
  EXPECT_EQ(qnstack::Ucs4FromUtf16("\0A\0\0\0B\0\0"s), U"A\0B\0"s);
}

TEST(FaceCharset, ConvertsNothingToNothing) {
  EXPECT_EQ(qnstack::Utf8FromBigEndianUcs2({}), "");
  EXPECT_EQ(qnstack::Utf8FromLittleEndianUcs2({}), "");
  EXPECT_EQ(qnstack::Utf8FromUcs2({}), "");
  EXPECT_EQ(qnstack::Utf8FromUcs4({}), "");
  EXPECT_EQ(qnstack::Ucs2FromUtf8({}), u"");
  EXPECT_EQ(qnstack::Ucs4FromUtf16({}), U"");
}

TEST(FaceCharset, ConvertsNothingWhoseLengthHasNoNumber) {
  const std::string_view huge("", std::size_t{INT32_MAX} + 1);

  EXPECT_EQ(qnstack::Utf8FromBigEndianUcs2(huge), "");
  EXPECT_EQ(qnstack::Utf8FromLittleEndianUcs2(huge), "");
  EXPECT_EQ(qnstack::Ucs2FromUtf8(huge), u"");
  EXPECT_EQ(qnstack::Ucs4FromUtf16(huge), U"");
  EXPECT_EQ(qnstack::Utf8FromUcs2({u"", std::size_t{INT32_MAX} + 1}), "");
  EXPECT_EQ(qnstack::Utf8FromUcs4({U"", std::size_t{INT32_MAX} + 1}), "");
  EXPECT_EQ(qnstack::Decode(QN_CHARSET_UTF8, huge), std::nullopt);
}

}  // namespace
