// SPDX-License-Identifier: MIT
// Guards the decoding of text in the character sets of multimedia messages.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <string_view>

#include "qnstack/Transcode.h"
#include "support/failing_heap.h"
#include "support/transcode_reference.h"

namespace {

using namespace qntest;

constexpr uint32_t kAscii = 3;
constexpr uint32_t kLatin1 = 4;
constexpr uint32_t kUtf8 = 106;
constexpr uint32_t kUnknown = 2026;

// The result, or nothing for NULL; the length must say the same.
std::optional<std::string> Decode(uint32_t charset, std::string_view source) {
  auto exact = std::make_unique<char[]>(source.size());
  source.copy(exact.get(), source.size());
  auto length = static_cast<int32_t>(source.size());
  char *result = fnCharSet_DecodeString2Local(charset, exact.get(), &length);
  if (result == nullptr) {
    EXPECT_EQ(length, static_cast<int32_t>(source.size()));
    return std::nullopt;
  }
  const std::string text(result);
  EXPECT_EQ(length, static_cast<int32_t>(text.size()));
  fnCharSet_CharSetFreeStringBuf(result);
  return text;
}

// Up to the first zero byte, which is where a result ends.
std::string UpToZero(const std::string &text) { return text.substr(0, text.find('\0')); }

std::string Utf8Of(const std::vector<uint32_t> &values) {
  std::string text;
  for (const uint32_t value : values) text += ReferenceUtf8(value);
  return text;
}

TEST(CharSetDecode, Utf8AsciiAndUnknownSetsAreTakenAsTheyAre) {
  for (const uint32_t charset : {kUtf8, kAscii, kUnknown, 0u, 0xFFFFFFFFu}) {
    EXPECT_EQ(Decode(charset, "abc"), "abc");
    EXPECT_EQ(Decode(charset, "\xC3\xA9\xFF"), "\xC3\xA9\xFF");
  }
}

TEST(CharSetDecode, Latin1BecomesTwoBytesFromEightyUp) {
  EXPECT_EQ(Decode(kLatin1, "\xE9"), "\xC3\xA9");
  for (int byte = 1; byte < 256; ++byte) {
    const std::string one(1, static_cast<char>(byte));
    EXPECT_EQ(Decode(kLatin1, one), ReferenceUtf8(static_cast<uint32_t>(byte))) << byte;
  }
}

TEST(CharSetDecode, Latin1OfEveryLengthAndAllHighBytes) {
  for (std::size_t length = 1; length <= 70; ++length) {
    std::string expected;
    for (std::size_t i = 0; i < length; ++i) expected += "\xC3\xBF";
    EXPECT_EQ(Decode(kLatin1, std::string(length, '\xFF')), expected);
    EXPECT_EQ(Decode(kLatin1, std::string(length, 'a') + "\xE9"),
              std::string(length, 'a') + "\xC3\xA9");
  }
}

TEST(CharSetDecode, Ucs2NeedsAMarkAndHasTheNarrowLeadByte) {
  EXPECT_EQ(Decode(kUcs2, std::string("\xFE\xFF\x00\x41", 4)), "A");
  EXPECT_EQ(Decode(kUcs2, std::string("\xFF\xFE\x41\x00", 4)), "A");
  EXPECT_EQ(Decode(kUcs2, std::string("\x00\x41\x00\x42", 4)), std::nullopt);
  EXPECT_EQ(Decode(kUcs2, "\xFE"), std::nullopt);
  EXPECT_EQ(Decode(kUcs2, "\xFE\xFF"), "");
  EXPECT_EQ(Decode(kUcs2, "\xFE\xFF\x04\x10"), "\xC0\x90");
}

TEST(CharSetDecode, Ucs2OfEveryLength) {
  std::mt19937 random(4);
  for (std::size_t length = 0; length <= 70; ++length) {
    std::string bytes(length, '\0');
    for (char &byte : bytes) byte = static_cast<char>(1 + random() % 255);
    EXPECT_EQ(Decode(kUcs2, "\xFE\xFF" + bytes), UpToZero(ReferenceStream(bytes, true)));
    EXPECT_EQ(Decode(kUcs2, "\xFF\xFE" + bytes), UpToZero(ReferenceStream(bytes, false)));
  }
}

TEST(CharSetDecode, Ucs2ReadsNothingBehindAnOddLength) {
  int32_t length = 3;
  char *result = fnCharSet_DecodeString2Local(kUcs2, "\xFE\xFF\x4E\x2D", &length);

  EXPECT_STREQ(result, "\xE4\xB8\x80") << "not the byte behind it";
  fnCharSet_CharSetFreeStringBuf(result);
}

TEST(CharSetDecode, Ucs2WithoutAMarkLeavesNothingOnTheHeap) {
  const FailingHeap heap(FailingHeap::kCountOnly);
  int32_t length = 4;

  EXPECT_EQ(fnCharSet_DecodeString2Local(kUcs2, "abcd", &length), nullptr);

  EXPECT_EQ(heap.LiveBlocks(), 0);
}

// What the heap gives next of that size is not zero.
void DirtyTheHeap(std::size_t size) {
  std::array<void *, 8> blocks = {};
  for (void *&block : blocks) block = std::memset(std::malloc(size), 0x55, size);
  for (void *block : blocks) std::free(block);
}

TEST(CharSetDecode, AsksForRoomOfTheLongestResultAndFillsTheRestWithZeros) {
  struct Case {
    uint32_t charset;
    std::string source;
    std::size_t area;
  };
  const Case cases[] = {{kUtf8, "abcdefgh", 9},
                        {kLatin1, "abcdefgh", 17},
                        {kUcs2, std::string("\xFE\xFF\0a\0b\0c", 8), 16},
                        {kUtf16, std::string("\xFE\xFF\0a\0b\0c", 8), 17}};
  for (const Case &c : cases) {
    auto length = static_cast<int32_t>(c.source.size());
    DirtyTheHeap(c.area);

    FailingHeap heap(FailingHeap::kCountOnly);
    char *result = fnCharSet_DecodeString2Local(c.charset, c.source.data(), &length);

    EXPECT_EQ(heap.BytesAsked(), c.area) << c.charset;
    const auto end = static_cast<std::size_t>(length);
    EXPECT_EQ(std::string(result + end, c.area - end), std::string(c.area - end, '\0'))
        << c.charset;
    fnCharSet_CharSetFreeStringBuf(result);
  }
}

// A mark is skipped anywhere, and a swapped one switches the order.
TEST(CharSetDecode, Utf16IsBigEndianUnlessAMarkSaysOtherwise) {
  struct {
    std::string bytes;
    const char *text;
  } const cases[] = {
      {{"\xFF\xFE\x41\x00\x42\x00", 6}, "AB"},
      {{"\x00\x41", 2}, "A"},
      {{"\xD8\x3D\xDE\x00", 4}, "\xF0\x9F\x98\x80"},
      {"\x04\x10", "\xD0\x90"},
      {"A", ""},
      {{"\0A\xFE\xFF\0B", 6}, "AB"},
      {{"\0A\xFF\376B\0", 6}, "AB"},
      {{"\0A\xFF\376B\0\xFE\xFF\0C", 10}, "ABC"},
      {{"\xFF\376A\0\xFF\376B\0", 8}, "AB"},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(Decode(kUtf16, c.bytes), c.text) << testing::PrintToString(c.bytes);
  }
}

TEST(CharSetDecode, Utf16OfEveryLengthAndKind) {
  std::mt19937 random(5);
  for (std::size_t length = 1; length <= 70; ++length) {
    for (int round = 0; round < 60; ++round) {
      std::string bytes(length, '\0');
      for (std::size_t i = 0; i < length; ++i) {
        const bool other = random() % 8 == 0;
        bytes[i] = static_cast<char>(other ? random() : i % 2 == 0 ? 0 : 1 + random() % 127);
      }
      ASSERT_EQ(Decode(kUtf16, bytes), UpToZero(Utf8Of(ReferenceUcs4(bytes))));
    }
  }
}

TEST(CharSetDecode, Utf16AgreesWithTheCLibraryUpToU1FFFF) {
  for (uint32_t value = 1; value <= 0x1FFFF; value += 0x35) {
    if ((value >= 0xD800 && value <= 0xDFFF) || value == 0xFEFF || value == 0xFFFE) continue;
    std::vector<uint16_t> units = {static_cast<uint16_t>(value)};
    if (value > 0xFFFF) {
      units = {static_cast<uint16_t>(0xD800 + ((value - 0x10000) >> 10)),
               static_cast<uint16_t>(0xDC00 + ((value - 0x10000) & 0x3FF))};
    }
    const std::string bytes = AsBytes(units, false);
    ASSERT_EQ(Decode(kUtf16, "\xFF\xFE" + bytes), Converted("UTF-8", "UTF-16LE", bytes)) << value;
  }
}

// The thresholds are the library's own, not Unicode's.
TEST(CharSetDecode, Utf16AboveU1FFFFTakesFiveAndSixBytes) {
  EXPECT_EQ(Decode(kUtf16, std::string("\xD8\x40\xDC\x00", 4)), "\xF8\x80\xA0\x80\x80");
  EXPECT_EQ(Decode(kUtf16, "\xDB\xFF\xDF\xFF"), "\xFC\x80\x84\x8F\xBF\xBF");
}

TEST(CharSetDecode, ZeroByteEndsTheLengthInEverySet) {
  EXPECT_EQ(Decode(kUtf8, std::string("a\0b", 3)), "a");
  EXPECT_EQ(Decode(kLatin1, std::string("a\0b", 3)), "a");
  EXPECT_EQ(Decode(kUtf16, std::string("\0a\0\0\0b", 6)), "a");
}

TEST(CharSetDecode, NothingToDecodeIsNull) {
  for (const uint32_t charset : {kUtf8, kAscii, kLatin1, kUcs2, kUtf16, kUnknown}) {
    for (const int32_t given : {0, -1, INT32_MIN}) {
      int32_t length = given;
      EXPECT_EQ(fnCharSet_DecodeString2Local(charset, "abc", &length), nullptr);
      EXPECT_EQ(length, given);
    }
  }
}

TEST(CharSetDecode, RefusedMemoryIsNullAndLeavesTheLength) {
  for (const uint32_t charset : {kUtf8, kAscii, kLatin1, kUcs2, kUtf16, kUnknown}) {
    int32_t length = 4;
    const FailingHeap heap(1, FailingHeap::Reach::kRest);
    EXPECT_EQ(fnCharSet_DecodeString2Local(charset, "\xFE\xFF\x04\x10", &length), nullptr);
    EXPECT_EQ(length, 4);
  }
}

}  // namespace
