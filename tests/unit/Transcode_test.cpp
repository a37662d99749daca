// SPDX-License-Identifier: MIT
// Guards the converters between UCS-2, UTF-16, UCS-4 and UTF-8: every rule, the
// ones that are not Unicode's included, over all units where that is cheap.
#include "qnstack/Transcode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "support/end_of_memory.h"
#include "support/transcode_reference.h"

namespace {

using namespace qntest;
using testing::ElementsAre;
using testing::IsEmpty;

using StreamEncoder = void (*)(const void *src, int32_t len, char *out);

int32_t Length(std::size_t size) { return static_cast<int32_t>(size); }

// A copy behind which nothing can be read, until the next one is made.
template <typename Elements>
const auto *Exact(const Elements &elements) {
  static const EndOfMemory memory(16);
  return memory.Copy(elements.data(), elements.size());
}

// The output up to its terminator, whose place is found by filling the area.
std::string Written(const std::vector<char> &area) {
  std::size_t end = area.size();
  while (end > 0 && area[end - 1] == '\x55') --end;
  EXPECT_GT(end, 0u);
  EXPECT_EQ(area[end - 1], '\0');
  return std::string(area.data(), end - 1);
}

std::string Encode(StreamEncoder encode, std::string_view bytes) {
  std::string whole(bytes);
  if (whole.size() % 2 != 0) whole += '\0';  // it is read too
  std::vector<char> out(3 * ((bytes.size() + 1) / 2) + 1 + 4, '\x55');
  encode(Exact(whole), Length(bytes.size()), out.data());
  return Written(out);
}

std::string EncodeUnits(const std::vector<uint16_t> &units) {
  std::vector<char> out(3 * units.size() + 1 + 4, '\x55');
  UCS2toUTF8(Exact(units), Length(units.size()), out.data());
  return Written(out);
}

std::string EncodeValues(const std::vector<uint32_t> &values) {
  std::vector<char> out(6 * values.size() + 1 + 4, '\x55');
  UCS4toUTF8(Exact(values), Length(values.size()), out.data());
  return Written(out);
}

std::vector<uint16_t> DecodeUtf8(std::string_view bytes) {
  std::vector<uint16_t> out(bytes.size() + 2, 0x5555);
  UTF8toUCS2(Exact(bytes), Length(bytes.size()), out.data());
  while (!out.empty() && out.back() == 0x5555) out.pop_back();
  EXPECT_EQ(out.back(), 0);
  out.pop_back();
  return out;
}

std::vector<uint32_t> DecodeUtf16(std::string_view bytes) {
  std::vector<uint32_t> out(bytes.size() / 2 + 2, 0x55555555);
  const int32_t count = UTF16toUCS4(Exact(bytes), Length(bytes.size()), out.data());
  EXPECT_EQ(out.at(static_cast<std::size_t>(count)), 0u);
  EXPECT_EQ(out.at(static_cast<std::size_t>(count) + 1), 0x55555555u);
  out.resize(static_cast<std::size_t>(count));
  return out;
}

const std::string kMixedUtf8 = "A\xC3\xA9\xE4\xB8\xAD";

// The lead byte of two loses a bit.
TEST(TranscodeStream, EncodesCharactersOfOneTwoAndThreeBytesAndZeros) {
  EXPECT_EQ(Encode(BigEndianUCS2toUTF8, std::string("\x00\x41\x00\xE9\x4E\x2D", 6)), kMixedUtf8);
  EXPECT_EQ(Encode(LitEndianUCS2toUTF8, std::string("\x41\x00\xE9\x00\x2D\x4E", 6)), kMixedUtf8);
  EXPECT_EQ(Encode(BigEndianUCS2toUTF8, "\x04\x10"), "\xC0\x90");
  EXPECT_EQ(Encode(LitEndianUCS2toUTF8, "\x10\x04"), "\xC0\x90");
  EXPECT_EQ(Encode(BigEndianUCS2toUTF8, std::string("\0\0\0A", 4)), std::string("\0A", 2));
}

void ExpectStreamsAsTheReferences(const std::string &bytes) {
  ASSERT_EQ(Encode(BigEndianUCS2toUTF8, bytes), ReferenceStream(bytes, true));
  ASSERT_EQ(Encode(LitEndianUCS2toUTF8, bytes), ReferenceStream(bytes, false));
}

TEST(TranscodeUnits, EveryOneIsEncodedByTheRule) {
  for (uint32_t x = 0; x <= 0xFFFF; ++x) {
    const std::vector<uint16_t> unit = {static_cast<uint16_t>(x)};
    const std::string narrow = ReferenceUtf8(x, 0x0F);
    ASSERT_EQ(Encode(BigEndianUCS2toUTF8, AsBytes(unit, true)), narrow) << x;
    ASSERT_EQ(Encode(LitEndianUCS2toUTF8, AsBytes(unit, false)), narrow) << x;
    ASSERT_EQ(EncodeUnits(unit), ReferenceUtf8(x)) << x;
  }
  EXPECT_EQ(EncodeUnits({0x0410}), "\xD0\x90");
}

TEST(TranscodeStream, EveryLengthWithAndWithoutARunOfAscii) {
  std::mt19937 random(1);
  for (std::size_t length = 0; length <= 70; ++length) {
    for (int round = 0; round < 50; ++round) {
      std::string bytes(length, '\0');
      for (std::size_t i = 0; i < length; ++i) {
        // Mostly ASCII units in one of the orders, broken here and there.
        const bool other = random() % 16 == 0;
        const bool low = (i % 2 == 0) == (round % 2 == 0);
        bytes[i] = static_cast<char>(other ? random() : low ? random() % 128 : 0);
      }
      ASSERT_NO_FATAL_FAILURE(ExpectStreamsAsTheReferences(bytes));
    }
  }
}

// Which bytes are zero says in which order a unit is ASCII.
TEST(TranscodeStream, EveryPatternOfZerosAmongEightAsciiBytes) {
  for (const char byte : {'\x01', 'A', '\x7F'}) {
    for (uint32_t pattern = 0; pattern < 256; ++pattern) {
      std::string bytes(8, '\0');
      for (uint32_t i = 0; i < 8; ++i) {
        if ((pattern >> i & 1U) != 0) bytes[i] = byte;
      }
      ASSERT_NO_FATAL_FAILURE(ExpectStreamsAsTheReferences(bytes)) << pattern;
    }
  }
}

TEST(TranscodeStream, OddLengthTakesTheByteBehindIt) {
  std::array<char, 8> out = {};

  BigEndianUCS2toUTF8("\0A\x4E\x2D", 3, out.data());
  EXPECT_STREQ(out.data(), "A\xE4\xB8\xAD");

  LitEndianUCS2toUTF8("\x2D\x4E", 1, out.data());
  EXPECT_STREQ(out.data(), "\xE4\xB8\xAD");
}

TEST(Transcode, NothingOrLessWritesTheTerminatorAlone) {
  const uint16_t unit = 'A';
  const uint32_t value = 'A';
  for (const int32_t length : {0, -1, INT32_MIN}) {
    SCOPED_TRACE(length);
    char out[4][2] = {{'x', 'x'}, {'x', 'x'}, {'x', 'x'}, {'x', 'x'}};
    uint16_t units[2] = {7, 7};
    uint32_t values[2] = {7, 7};

    BigEndianUCS2toUTF8("", length, out[0]);
    LitEndianUCS2toUTF8("", length, out[1]);
    UCS2toUTF8(&unit, length, out[2]);
    UCS4toUTF8(&value, length, out[3]);
    UTF8toUCS2("A", length, units);
    EXPECT_EQ(UTF16toUCS4("ab", length, values), 0);

    for (const char *text : out) EXPECT_EQ(std::string(text, 2), std::string("\0x", 2));
    EXPECT_THAT(units, ElementsAre(0, 7));
    EXPECT_THAT(values, ElementsAre(0, 7));
  }
  EXPECT_THAT(DecodeUtf16("A"), IsEmpty());
}

TEST(TranscodeUcs2, AgreesWithTheCLibraryOutsideTheSurrogates) {
  for (uint32_t x = 1; x <= 0xFFFF; ++x) {
    // A mark at the start is not text for the C library.
    if ((x >= 0xD800 && x <= 0xDFFF) || x == 0xFEFF || x == 0xFFFE) continue;
    if (x % 7 != 0 && x >= 0x900) continue;
    const std::vector<uint16_t> unit = {static_cast<uint16_t>(x)};
    ASSERT_EQ(EncodeUnits(unit), Converted("UTF-8", "UCS-2LE", AsBytes(unit, false))) << x;
  }
}

TEST(TranscodeUcs4, EveryThresholdIsTheGivenOne) {
  const uint32_t edges[] = {0x7F,      0x80,       0x7FF,      0x800,     0xFFFF,
                            0x10000,   0x1F600,    0x1FFFF,    0x20000,   0x3FFFF,
                            0x40000,   0x10FFFF,   0x1FFFFF,   0x200000,  0x3FFFFFF,
                            0x4000000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
  for (const uint32_t edge : edges) EXPECT_EQ(EncodeValues({edge}), ReferenceUtf8(edge)) << edge;
  EXPECT_EQ(EncodeValues({0x1F600}), "\xF0\x9F\x98\x80");
  EXPECT_EQ(EncodeValues({0x20000}), "\xF8\x80\xA0\x80\x80");
  EXPECT_EQ(EncodeValues({0x10FFFF}), "\xFC\x80\x84\x8F\xBF\xBF");
}

TEST(TranscodeUcs4, EveryBitOfAValueHasItsPlace) {
  for (int bit = 0; bit < 32; ++bit) {
    const uint32_t value = 1U << bit;
    EXPECT_EQ(EncodeValues({value, ~value}), ReferenceUtf8(value) + ReferenceUtf8(~value)) << bit;
  }
}

TEST(TranscodeUtf8, EveryPairOfBytes) {
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      const std::string bytes = {static_cast<char>(first), static_cast<char>(second)};
      ASSERT_EQ(DecodeUtf8(bytes), ReferenceUcs2(bytes)) << first << " " << second;
    }
  }
}

TEST(TranscodeUtf8, RandomTriplesAndLongerTexts) {
  std::mt19937 random(2);
  for (int round = 0; round < 200000; ++round) {
    std::string bytes(3 + (round % 64 == 0 ? random() % 68 : 0), '\0');
    for (char &byte : bytes) byte = static_cast<char>(random());
    ASSERT_EQ(DecodeUtf8(bytes), ReferenceUcs2(bytes));
  }
}

TEST(TranscodeUtf8, CharactersAtEveryPlaceBetweenRunsOfAscii) {
  const std::string ascii = "Every text has its own words.";
  for (const std::string middle : {"", "\xC3\xA9", "\xE4\xB8\xAD", "\xC3", "\xE4\xB8", "\x80"}) {
    for (std::size_t before = 0; before < ascii.size(); ++before) {
      for (std::size_t after = 0; after < ascii.size(); ++after) {
        const std::string bytes = ascii.substr(0, before) + middle + ascii.substr(0, after);
        ASSERT_EQ(DecodeUtf8(bytes), ReferenceUcs2(bytes)) << before << " " << after;
      }
    }
  }
}

TEST(TranscodeUcs2Units, RunsOfEveryKindInEveryOrder) {
  std::mt19937 random(3);
  for (int round = 0; round < 2000; ++round) {
    std::vector<uint16_t> units;
    std::string expected;
    for (int run = 0; run < 6; ++run) {
      const uint32_t most = std::vector<uint32_t>{0x7F, 0x7FF, 0xFFFF}[random() % 3];
      for (std::size_t length = random() % 12; length > 0; --length) {
        units.push_back(static_cast<uint16_t>(random() % (most + 1)));
        expected += ReferenceUtf8(units.back());
      }
    }
    ASSERT_EQ(EncodeUnits(units), expected);
  }
}

TEST(TranscodeUtf8, IsNotCheckedAndWhatTheEndCutsIsSkipped) {
  struct {
    std::string_view bytes;
    std::vector<uint16_t> units;
  } const cases[] = {
      {"\xC3\xA9", {0x00E9}},
      {"\xE4\xB8\xAD", {0x4E2D}},
      {"\xC3", {}},
      {"\xE4", {}},
      {"\344A", {'A'}},  // one byte is skipped, and the rest read anew
      {"\xE4\x81", {}},
      // Stray bytes lead a pair.
      {"\200A", {0x0001}},
      {"\303A", {0x00C1}},
      {"\xF0\x9F\x98\x80", {0x07D8}},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(DecodeUtf8(c.bytes), c.units) << testing::PrintToString(c.bytes);
  }
}

TEST(TranscodeUtf16, MarksGiveAndSwitchTheOrder) {
  EXPECT_THAT(DecodeUtf16(std::string("\xFF\xFE\x41\x00\x3D\xD8\x00\xDE", 8)),
              ElementsAre(0x41, 0x1F600));
  EXPECT_THAT(DecodeUtf16(std::string("\xFE\xFF\x00\x41", 4)), ElementsAre(0x41));
  EXPECT_THAT(DecodeUtf16(std::string("\x00\x41\xFF\xFE\x42\x00", 6)), ElementsAre(0x41, 0x42));
  EXPECT_THAT(DecodeUtf16(std::string("\x00\x41\xFE\xFF\x00\x42", 6)), ElementsAre(0x41, 0x42));
  EXPECT_THAT(DecodeUtf16(std::string("\xFF\xFE\xFE\xFF\x00\x41", 6)), ElementsAre(0x41));
}

// Every kind of unit behind every other, in both orders, cut at every length.
TEST(TranscodeUtf16, EverySituationOfSurrogatesAndMarks) {
  const uint16_t kinds[] = {0x0000, 0x0041, 0x00E9, 0xD7FF, 0xD800, 0xDBFF,
                            0xDC00, 0xDFFF, 0xE000, 0xFEFF, 0xFFFE, 0xFFFF};
  for (const uint16_t a : kinds) {
    for (const uint16_t b : kinds) {
      for (const uint16_t c : kinds) {
        for (const uint16_t d : kinds) {
          for (const bool big_endian : {true, false}) {
            const std::string bytes = AsBytes({a, b, c, d}, big_endian);
            for (const std::size_t length : {8u, 7u, 5u}) {
              const std::string_view cut(bytes.data(), length);
              ASSERT_EQ(DecodeUtf16(cut), ReferenceUcs4(cut));
            }
          }
        }
      }
    }
  }
}

TEST(TranscodeUtf16, AllPairsOfSurrogatesAreTheStandardOnes) {
  for (uint32_t value = 0x10000; value <= 0x10FFFF; value += 0x101) {
    const uint32_t above = value - 0x10000;
    const std::vector<uint16_t> pair = {static_cast<uint16_t>(0xD800 + (above >> 10)),
                                        static_cast<uint16_t>(0xDC00 + (above & 0x3FF))};
    ASSERT_THAT(DecodeUtf16(AsBytes(pair, true)), ElementsAre(value));
  }
}

TEST(TranscodeUtf16, EveryLength) {
  std::mt19937 random(3);
  for (std::size_t length = 0; length <= 70; ++length) {
    for (int round = 0; round < 40; ++round) {
      std::string bytes(length, '\0');
      for (char &byte : bytes) byte = static_cast<char>(random());
      ASSERT_EQ(DecodeUtf16(bytes), ReferenceUcs4(bytes));
    }
  }
}

}  // namespace
