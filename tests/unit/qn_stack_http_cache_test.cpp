// SPDX-License-Identifier: MIT
// Guards the search for a text whatever its case and the month names of HTTP dates.
#include "qnstack/qn_stack_http_cache.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "support/words.h"

namespace {

using namespace qntest;

// ASCII letters to lower case, by a table of its own.
std::string Folded(const std::string &text) {
  static const std::string upper = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  static const std::string lower = "abcdefghijklmnopqrstuvwxyz";
  std::string folded;
  for (const char byte : text) {
    const size_t letter = upper.find(byte);
    folded += letter == std::string::npos ? byte : lower[letter];
  }
  return folded;
}

// Where `needle` was found; npos for nowhere.
size_t Found(const std::string &haystack, const std::string &needle) {
  const char *match = stristr(haystack.c_str(), needle.c_str());
  return match == nullptr ? std::string::npos : static_cast<size_t>(match - haystack.c_str());
}

TEST(QnStristr, GivesTheFirstMatchInTheHaystack) {
  struct Case {
    const char *haystack;
    const char *needle;
    size_t offset;
  };
  constexpr Case kCases[] = {
      {"aaab", "AAB", 1},
      {"Max-Age=5", "max-age=", 0},
      {"no-cache, MAX-AGE=5", "max-age=", 10},
      {"ababac", "abac", 2},
      {"abcABC", "ABC", 0},
      {"abc", "c", 2},
      {"abc", "", 0},
      {"", "", 0},
      {"", "a", std::string::npos},
      {"ab", "abc", std::string::npos},
      {"abc", "abd", std::string::npos},
      {"x[y", "{", std::string::npos},
      {"x@y", "`", std::string::npos},
      {"x\xc9y", "\xe9", std::string::npos},
      {"x\xe9y", "\xe9Y", 1},
  };
  for (const Case &c : kCases) {
    SCOPED_TRACE(testing::PrintToString(c.haystack) + " and " + testing::PrintToString(c.needle));

    EXPECT_EQ(Found(c.haystack, c.needle), c.offset);
  }
}

TEST(QnStristr, FoldsAsciiLettersAndNothingElse) {
  for (int a = 1; a < 256; ++a) {
    for (int b = 1; b < 256; ++b) {
      const std::string haystack(1, static_cast<char>(a));
      const std::string needle(1, static_cast<char>(b));

      ASSERT_EQ(Found(haystack, needle) == 0, Folded(haystack) == Folded(needle))
          << a << " and " << b;
    }
  }
}

TEST(QnStristr, AgreesWithAPlainSearchOnRepetitiveTexts) {
  const std::vector<std::string> words = WordsOver("abAc", 3);
  std::mt19937 random(7);
  const auto below = [&](size_t bound) {
    return std::uniform_int_distribution<size_t>(0, bound - 1)(random);
  };
  for (int round = 0; round < 3000; ++round) {
    // A short word over and over, with a few letters changed.
    const std::string word = words[1 + below(words.size() - 1)];
    std::string haystack;
    while (haystack.size() < 60) haystack += word;
    for (size_t changes = below(4); changes > 0; --changes) haystack[below(60)] = "abB"[below(3)];
    const size_t start = below(50);
    std::string needle = haystack.substr(start, 1 + below(haystack.size() - start));
    if (below(2) == 0) needle[below(needle.size())] = 'b';

    ASSERT_EQ(Found(haystack, needle), Folded(haystack).find(Folded(needle)))
        << '"' << haystack << "\" and \"" << needle << '"';
  }
}

TEST(QnStackGetMonth, NumbersTheTwelveNamesAndRefusesAnyOtherText) {
  int32_t number = 0;
  for (const char *name :
       {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"}) {
    EXPECT_EQ(fnQNStack_getMonth(name), ++number) << name;
  }
  for (const char *name : {"jan", "JAN", "January", "Ja", "", " Jan", "Jan ", "Mai", "Dez"}) {
    EXPECT_EQ(fnQNStack_getMonth(name), -1) << name;
  }
}

}  // namespace
