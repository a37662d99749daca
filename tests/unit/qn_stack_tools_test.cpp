// SPDX-License-Identifier: MIT
// Guards the helpers that take header and URL text apart: tokens, delimiters to
// skip, and the prefix test.
#include "qnstack/qn_stack_tools.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "qnstack/qn_share_mem.h"
#include "support/failing_heap.h"
#include "support/words.h"

namespace {

using namespace qntest;

struct Token {
  std::optional<std::string> text;
  uint32_t position;

  bool operator==(const Token &) const = default;
};

// One split; the position that it left and a copy of the token.
Token Split(const char *string, const char *delimiters, uint32_t position) {
  char *token = fnQNStack_StrArraySplit(string, delimiters, &position);
  Token result{token == nullptr ? std::nullopt : std::optional<std::string>(token), position};
  fnQN_Free(&token);
  return result;
}

TEST(QnStackStrArraySplit, EndsATokenBeforeTheFirstDelimiter) {
  struct Case {
    const char *string;
    const char *delimiters;
    uint32_t position;
    Token expected;
  };
  const Case kCases[] = {
      {"a,b", ",", 0, {"a", 1}},
      {"a,b", ",", 1, {"", 1}},
      {"a,b", ",", 2, {"b", 3}},
      {"x; y", " ;", 0, {"x", 1}},
      {"host:81/p?q", ":/?", 0, {"host", 4}},
      {"abc", "", 0, {"abc", 3}},
      {"abc", "xyz", 1, {"bc", 3}},
      {"abc", ",", 3, {"", 3}},
      {"abc", ",", 4, {"", 4}},
      {"abc", ",", UINT32_MAX, {"", UINT32_MAX}},
      {"", ",", 0, {"", 0}},
      {"", "", 7, {"", 7}},
      {",,", ",", 0, {"", 0}},
      {"caf\xe9s", "\xe9", 0, {"caf", 3}},
      {"caf\xe9s", "i", 0, {"caf\xe9s", 5}},
  };
  for (const Case &c : kCases) {
    SCOPED_TRACE(testing::PrintToString(c.string) + " at " + std::to_string(c.position));

    EXPECT_EQ(Split(c.string, c.delimiters, c.position), c.expected);
  }
}

TEST(QnStackStrArraySplit, AgreesWithAPlainScanOnAllShortTexts) {
  for (const std::string &string : WordsOver("a,;", 5)) {
    for (const char *delimiters : {"", ",", ",;", "a;", "x"}) {
      for (uint32_t position = 0; position <= string.size() + 1; ++position) {
        std::string expected;
        for (size_t i = position; i < string.size(); ++i) {
          if (std::string_view(delimiters).find(string[i]) != std::string_view::npos) break;
          expected += string[i];
        }
        const auto end = static_cast<uint32_t>(position + expected.size());

        ASSERT_EQ(Split(string.c_str(), delimiters, position), (Token{expected, end}))
            << '"' << string << "\" by \"" << delimiters << "\" at " << position;
      }
    }
  }
}

TEST(QnStackStrArraySplit, KeepsThePositionWhenTheHeapRefuses) {
  uint32_t position = 2;
  FailingHeap heap(1);

  EXPECT_EQ(fnQNStack_StrArraySplit("a,bc", ",", &position), nullptr);

  EXPECT_EQ(position, 2U);
}

TEST(QnStackStrArraySkip, StopsAtTheFirstOtherCharacter) {
  struct Case {
    const char *string;
    const char *delimiters;
    size_t offset;
  };
  constexpr Case kCases[] = {{"  ab", " ", 2},
                             {"   ", " ", 3},
                             {"", " ", 0},
                             {"ab", "", 0},
                             {"ab", " ", 0},
                             {" \t \tab ", " \t", 4},
                             {"\xff\xff-", "\xff", 2},
                             {" a b", " a", 3},
                             {"a  b", " ", 0}};
  for (const Case &c : kCases) {
    EXPECT_EQ(fnQNStack_StrArraySkip(c.string, c.delimiters), c.string + c.offset)
        << testing::PrintToString(c.string);
  }
}

TEST(QnStackStrCmpI, TellsPrefixShorterAndOtherApart) {
  struct Case {
    const char *string;
    const char *prefix;
    int32_t expected;
  };
  constexpr Case kCases[] = {
      {"cache-control: no-cache", "Cache-Control:", 0},
      {"AGE:", "Age:", 0},
      {"Age: 5", "Age:", 0},
      {"Age", "Age:", 1},
      {"", "Age:", 1},
      {"Date: x", "Age:", -1},
      {"xAge:", "Age:", -1},
      {"anything", "", 0},
      {"", "", 0},
      {nullptr, "", 1},
      {"", nullptr, 1},
  };
  for (const Case &c : kCases) {
    SCOPED_TRACE(testing::PrintToString(c.string) + " and " + testing::PrintToString(c.prefix));

    EXPECT_EQ(fnQNStack_StrCMPI(c.string, c.prefix), c.expected);
  }
}

// The other case of an ASCII letter; any other byte is its own.
int OtherCase(int byte) {
  if (byte >= 'a' && byte <= 'z') return byte - 32;
  if (byte >= 'A' && byte <= 'Z') return byte + 32;
  return byte;
}

TEST(QnStackStrCmpI, FoldsAsciiLettersAndNothingElse) {
  for (int a = 1; a < 256; ++a) {
    for (int b = 1; b < 256; ++b) {
      const char string[] = {static_cast<char>(a), 'x', '\0'};
      const char prefix[] = {static_cast<char>(b), '\0'};

      ASSERT_EQ(fnQNStack_StrCMPI(string, prefix), a == b || OtherCase(a) == b ? 0 : -1)
          << a << " and " << b;
    }
  }
}

TEST(QnStackStrCmpI, AsksTheHeapForNothing) {
  FailingHeap heap(1, FailingHeap::Reach::kRest);

  EXPECT_EQ(fnQNStack_StrCMPI("Age: 5", "aGE:"), 0);

  EXPECT_EQ(heap.Allocations(), 0);
}

}  // namespace
