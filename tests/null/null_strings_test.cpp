// SPDX-License-Identifier: MIT
// What NULL gives in the string and memory primitives, the comparisons and the
// helpers that take text apart.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>

#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_share_string.h"
#include "qnstack/qn_stack_mem.h"
#include "qnstack/qn_stack_strings.h"
#include "qnstack/qn_stack_tools.h"
#include "qnstack/qn_stricmp.h"

namespace {

struct FreeText {
  void operator()(char *text) const { fnQN_Free(&text); }
};
using Text = std::unique_ptr<char, FreeText>;

TEST(NullInMemory, IsFreedWithoutAnEffect) {
  char *text = nullptr;

  fnQN_Free(nullptr);
  fnQN_Free(&text);

  EXPECT_EQ(text, nullptr);
}

TEST(NullInMemory, AsSourcePathIsNotReadAndAsBlockIsResizedToANewOne) {
  Text block(static_cast<char *>(fnQN_Malloc_Local(4, nullptr, 0)));
  ASSERT_NE(block, nullptr);

  EXPECT_NE(Text(static_cast<char *>(fnQN_Realloc_Local(block.release(), 8, nullptr, 0))), nullptr);
  EXPECT_NE(Text(static_cast<char *>(fnQN_Realloc_Local(nullptr, 4, __FILE__, 0))), nullptr);
  EXPECT_NE(Text(static_cast<char *>(fnQNStack_ReMalloc(nullptr, 4))), nullptr);
}

TEST(NullInCopies, IsAnEmptyTextForOneFunctionAlone) {
  EXPECT_STREQ(Text(fnQN_MEMSTRCOPY(nullptr)).get(), "");
  EXPECT_EQ(fnQN_STRDUP(nullptr), nullptr);
  EXPECT_EQ(fnQN_StrDup(nullptr), nullptr);
  EXPECT_EQ(fnQNStack_StrDup(nullptr), nullptr);
}

TEST(NullInStrings, AsSourceLeavesTheDestination) {
  char text[16] = "text";

  EXPECT_EQ(fnQN_STRCPY(text, nullptr), text);
  EXPECT_EQ(fnQN_STRNCPY(text, nullptr, 4), text);
  EXPECT_EQ(fnQN_STRCAT(text, nullptr), text);
  EXPECT_EQ(fnQN_STRNCAT(text, nullptr, 4), text);
  EXPECT_EQ(fnQN_STRLCPY(text, nullptr, 2), 0);
  EXPECT_EQ(fnQN_STRLCAT(text, nullptr, 4), 0);

  EXPECT_STREQ(text, "text");
}

TEST(NullInStrings, AsDestinationIsGivenBack) {
  EXPECT_EQ(fnQN_STRCPY(nullptr, "a"), nullptr);
  EXPECT_EQ(fnQN_STRNCPY(nullptr, "a", 1), nullptr);
  EXPECT_EQ(fnQN_STRCAT(nullptr, "a"), nullptr);
  EXPECT_EQ(fnQN_STRNCAT(nullptr, "a", 1), nullptr);
  EXPECT_EQ(fnQN_STRLCPY(nullptr, "a", 1), 0);
  EXPECT_EQ(fnQN_STRLCAT(nullptr, "a", 4), 0);
}

TEST(NullInStrings, CountsAsNothing) {
  EXPECT_EQ(fnQN_STRLEN(nullptr), 0U);
  EXPECT_EQ(fnQN_ATOI(nullptr), 0);
  EXPECT_EQ(fnQN_STRLOWER(nullptr), 0);
}

TEST(NullInStrings, HasNoMatch) {
  EXPECT_EQ(fnQN_MEMSTR(nullptr, "a", 4), nullptr);
  EXPECT_EQ(fnQN_MEMSTR("area", nullptr, 4), nullptr);
  EXPECT_EQ(fnQN_STRSTR(nullptr, "a"), nullptr);
  EXPECT_EQ(fnQN_STRSTR("a", nullptr), nullptr);
  EXPECT_EQ(fnQN_STRISTR(nullptr, "a"), nullptr);
  EXPECT_EQ(fnQN_STRISTR("a", nullptr), nullptr);
  EXPECT_EQ(fnQN_STRCHR(nullptr, 'a'), nullptr);
  EXPECT_EQ(fnQN_STRRCHR(nullptr, 'a'), nullptr);
  EXPECT_EQ(fnQN_STRBEGINS(nullptr, ""), 0);
  EXPECT_EQ(fnQN_STRBEGINS("a", nullptr), 0);
}

TEST(NullInComparisons, EqualsNothing) {
  EXPECT_EQ(fnQN_STRCMP(nullptr, "a"), -1);
  EXPECT_EQ(fnQN_STRCMP("a", nullptr), -1);
  EXPECT_EQ(fnQN_STRCMP(nullptr, nullptr), -1);
  EXPECT_EQ(fnQN_STRNCMP(nullptr, "a", 1), -1);
  EXPECT_EQ(fnQN_STRNCMP("a", nullptr, 1), -1);
  EXPECT_EQ(fnQN_STRICMP(nullptr, "a"), -1);
  EXPECT_EQ(fnQN_STRICMP("a", nullptr), -1);
  EXPECT_EQ(fnQN_STRNICMP(nullptr, "a", 0), -1);
  EXPECT_EQ(fnQN_STRNICMP("a", nullptr, 0), -1);
}

TEST(NullInComparisons, OrdersBeforeEveryText) {
  EXPECT_EQ(fnQNRTL_stricmp(nullptr, "a"), -1);
  EXPECT_EQ(fnQNRTL_stricmp("a", nullptr), 1);
  EXPECT_EQ(fnQNRTL_stricmp(nullptr, nullptr), -1);
  EXPECT_EQ(fnQNRTL_strnicmp(nullptr, "a", 0), -1);
  EXPECT_EQ(fnQNRTL_strnicmp("a", nullptr, 0), 1);
}

TEST(NullInTokens, GivesNoTokenAndLeavesThePosition) {
  uint32_t position = 1;

  EXPECT_EQ(fnQNStack_StrArraySplit(nullptr, ",", &position), nullptr);
  EXPECT_EQ(fnQNStack_StrArraySplit("a,b", nullptr, &position), nullptr);
  EXPECT_EQ(fnQNStack_StrArraySplit("a,b", ",", nullptr), nullptr);

  EXPECT_EQ(position, 1U);
}

TEST(NullInTokens, SkipsNothingAndIsAPrefixOfNullAlone) {
  char text[] = "  a";

  EXPECT_EQ(fnQNStack_StrArraySkip(nullptr, " "), nullptr);
  EXPECT_EQ(fnQNStack_StrArraySkip(text, nullptr), text);
  EXPECT_EQ(fnQNStack_StrCMPI(nullptr, "a"), 1);
  EXPECT_EQ(fnQNStack_StrCMPI("a", nullptr), 1);
  EXPECT_EQ(fnQNStack_StrCMPI(nullptr, nullptr), 0);
}

}  // namespace
