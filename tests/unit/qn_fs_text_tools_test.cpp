// SPDX-License-Identifier: MIT
// Guards the text tools of the file services: decoding percent escapes in
// place, and reading digits by their places.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "qnstack/qn_fs_comm_tools.h"
#include "support/byte_pairs.h"
#include "support/words.h"

namespace {

int PlainHexDigit(char digit) {
  const size_t place = std::string("0123456789abcdefABCDEF").find(digit);
  if (place == std::string::npos) return -1;
  return static_cast<int>(place < 16 ? place : place - 6);
}

// One escape after the other, moving the rest of the string down each time.
std::string PlainDecoding(std::string s) {
  for (size_t i = 0; i + 2 < s.size(); ++i) {
    if (s[i] != '%') continue;
    const int first = PlainHexDigit(s[i + 1]);
    const int second = PlainHexDigit(s[i + 2]);
    const int value = first == -1 || second == -1 ? -1 : 16 * first + second;
    if (value == 0) continue;
    s[i] = static_cast<char>(value);
    s.erase(i + 1, 2);
  }
  return s;
}

// Decodes within an area that has no byte to spare.
std::string Decoded(const std::string &text) {
  std::vector<char> area(text.c_str(), text.c_str() + text.size() + 1);
  EXPECT_EQ(fnQNFS_URL_ZM(area.data()), 0);
  return area.data();
}

TEST(QnFsUrlZm, DecodesEscapes) {
  struct Case {
    const char *text;
    const char *expected;
  };
  constexpr Case kCases[] = {
      {"a%41b", "aAb"},
      {"%2541", "%41"},
      {"%00x", "%00x"},
      {"%zzq", "\xFFq"},
      {"", ""},
      {"plain/text?a=b", "plain/text?a=b"},
      {"a+b", "a+b"},
      {"%2B%2b", "++"},
      {"%4a%4A%4f%4F", "JJOO"},
      {"%fF%Ff%7F%80", "\xFF\xFF\x7F\x80"},
      {"%01", "\x01"},
      {"%4zq", "\xFFq"},
      {"%z4q", "\xFFq"},
      {"%%41", "\3771"},
      {"%%%41", "\37741"},
      {"%25%34%31", "%41"},
      {"%00%41", "%00A"},
      {"%0%41", "\37741"},
      {"% 1x", "\xFFx"},
      {"%+1x", "\xFFx"},
      {"\xE4%E4", "\xE4\xE4"},
      // Ends inside an escape.
      {"%", "%"},
      {"a%", "a%"},
      {"a%4", "a%4"},
      {"%41%", "A%"},
      {"%41%4", "A%4"},
      {"%%", "%%"},
      {"%z", "%z"},
      {"%00%", "%00%"},
  };
  for (const Case &c : kCases) {
    EXPECT_EQ(Decoded(c.text), c.expected) << c.text;
  }
}

TEST(QnFsUrlZm, AgreesWithStepByStepDecodingOnAllShortStrings) {
  for (const std::string &text : qntest::WordsOver("%410z", 7)) {
    ASSERT_EQ(Decoded(text), PlainDecoding(text)) << '"' << text << '"';
  }
}

TEST(QnFsUrlZm, AgreesWithStepByStepDecodingOnAllPairsOfDigits) {
  qntest::ForEachPairOfBytes([](unsigned char first, unsigned char second) {
    if (first == 0 || second == 0) return;
    const std::string text = {'%', static_cast<char>(first), static_cast<char>(second), 'q'};

    ASSERT_EQ(Decoded(text), PlainDecoding(text)) << testing::PrintToString(text);
  });
}

TEST(QnFsUrlZm, WritesNothingBehindTheString) {
  char area[] = "a%41%41\0%41behind";

  fnQNFS_URL_ZM(area);

  EXPECT_STREQ(area, "aAA");
  EXPECT_STREQ(area + 8, "%41behind");
}

// The sum of all characters by their places.
int32_t PlainNumber(const std::string &s) {
  uint32_t sum = 0;
  for (size_t i = 0; i < s.size(); ++i) {
    uint32_t power = 1;
    for (size_t k = i + 1; k < s.size(); ++k) power *= 10;
    const int code = static_cast<unsigned char>(s[i]);
    const int digit = (code < 128 ? code : code - 256) - 48;
    sum += static_cast<uint32_t>(digit) * power;
  }
  return static_cast<int32_t>(sum);
}

TEST(QnFsStrToLong, AddsCharactersByTheirPlaces) {
  struct Case {
    const char *text;
    int32_t expected;
  };
  constexpr Case kCases[] = {
      {"123", 123},
      {"0", 0},
      {"", 0},
      {"1a", 59},
      {"007", 7},
      {"-5", -25},
      {"+5", -45},
      {" 7", -153},
      {"12 ", 104},
      {"2147483647", INT32_MAX},
      {"2147483648", INT32_MIN},
      {"4294967295", -1},
      {"4294967296", 0},
      {"\xFF", -49},
      {"\x80", -176},
      {"\3770", -490},
  };
  for (const Case &c : kCases) {
    EXPECT_EQ(fnQNFS_StrToLong(c.text), c.expected) << testing::PrintToString(c.text);
  }
}

TEST(QnFsStrToLong, AgreesWithThePowerSumForAnyBytes) {
  std::mt19937 random(123);
  for (int i = 0; i < 5000; ++i) {
    std::string text(random() % 41, '\0');
    for (char &letter : text) letter = static_cast<char>(1 + random() % 255);

    ASSERT_EQ(fnQNFS_StrToLong(text.c_str()), PlainNumber(text)) << testing::PrintToString(text);
  }
}

}  // namespace
