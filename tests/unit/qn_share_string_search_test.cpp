// SPDX-License-Identifier: MIT
// Guards the searches among the string primitives: results point into the
// caller's own text, and the search without case needs nothing but two copies.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qnstack/qn_share_string.h"
#include "support/failing_heap.h"
#include "support/words.h"

namespace {

using qntest::FailingHeap;

TEST(QnStrstr, FindsTheFirstMatchMindingCase) {
  const char *text = "one two Two two";

  EXPECT_EQ(fnQN_STRSTR(text, "two"), text + 4);
  EXPECT_EQ(fnQN_STRSTR(text, "Two"), text + 8);
  EXPECT_EQ(fnQN_STRSTR(text, ""), text);
  EXPECT_EQ(fnQN_STRSTR(text, "three"), nullptr);
}

TEST(QnStrchr, FindsTheFirstOccurrenceAndStrrchrTheLast) {
  const char *text = "a/b/c";

  EXPECT_EQ(fnQN_STRCHR(text, '/'), text + 1);
  EXPECT_EQ(fnQN_STRRCHR(text, '/'), text + 3);
  for (const auto search : {fnQN_STRCHR, fnQN_STRRCHR}) {
    EXPECT_EQ(search(text, '\0'), text + 5);
    EXPECT_EQ(search(text, 'x'), nullptr);
  }
}

TEST(QnStrIStr, PointsIntoTheTextThatWasSearchedAndFoldsAsciiLettersAlone) {
  const char *text = "Content xx CoNnEcT yy connect";
  const char *empty = "";

  EXPECT_EQ(fnQN_STRISTR(text, "content"), text);
  EXPECT_EQ(fnQN_STRISTR(text, "cOnNeCt"), text + 11);
  EXPECT_EQ(fnQN_STRISTR(text, ""), text);
  EXPECT_EQ(fnQN_STRISTR(text, "connects"), nullptr);
  EXPECT_EQ(fnQN_STRISTR(empty, ""), empty);
  EXPECT_EQ(fnQN_STRISTR(empty, "a"), nullptr);
  EXPECT_EQ(fnQN_STRISTR("\xC4", "\xE4"), nullptr);
  EXPECT_EQ(fnQN_STRISTR("@[", "`{"), nullptr);
}

TEST(QnStrIStr, ChangesNeitherArgument) {
  char text[] = "ABC";
  char needle[] = "Bc";

  fnQN_STRISTR(text, needle);

  EXPECT_STREQ(text, "ABC");
  EXPECT_STREQ(needle, "Bc");
}

char LowerOf(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter;
}

// The first offset at which all letters of the needle match, or npos.
size_t ExpectedOffset(const std::string &text, const std::string &needle) {
  for (size_t start = 0; start + needle.size() <= text.size(); ++start) {
    size_t matched = 0;
    while (matched < needle.size() && LowerOf(text[start + matched]) == LowerOf(needle[matched])) {
      ++matched;
    }
    if (matched == needle.size()) return start;
  }
  return std::string::npos;
}

TEST(QnStrIStr, AgreesWithThePlainSearchOnAllShortWords) {
  const std::vector<std::string> texts = qntest::WordsOver("aAb", 5);
  const std::vector<std::string> needles = qntest::WordsOver("aAb", 3);
  for (const std::string &text : texts) {
    for (const std::string &needle : needles) {
      const char *match = fnQN_STRISTR(text.c_str(), needle.c_str());
      const size_t offset =
          match == nullptr ? std::string::npos : static_cast<size_t>(match - text.c_str());
      ASSERT_EQ(offset, ExpectedOffset(text, needle)) << text << " / " << needle;
    }
  }
}

TEST(QnStrIStr, AsksTheHeapForNothing) {
  const char *text = "text";
  FailingHeap heap(1);

  EXPECT_EQ(fnQN_STRISTR(text, "EX"), text + 1);

  EXPECT_EQ(heap.Allocations(), 0);
}

}  // namespace
