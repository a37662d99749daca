// SPDX-License-Identifier: MIT
// Guards the two string copies of the HTTP stack, which are one operation
// under two names.
#include "qnstack/qn_stack_strings.h"

#include <gtest/gtest.h>

#include <string>

#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_stack_tools.h"
#include "support/failing_heap.h"

namespace {

using qntest::FailingHeap;

struct Copier {
  const char *name;
  char *(*copy)(const char *);
};

class QnStackStrDup : public testing::TestWithParam<Copier> {};

TEST_P(QnStackStrDup, MakesACopyOfItsOwn) {
  for (const std::string &text :
       {std::string(), std::string("x"), std::string("a\r\n\xff\x80 b"), std::string(5000, 'y')}) {
    SCOPED_TRACE(text.substr(0, 10));
    char *copy = GetParam().copy(text.c_str());
    EXPECT_STREQ(copy, text.c_str());
    EXPECT_NE(copy, text.c_str());
    fnQN_Free(&copy);
  }
}

TEST_P(QnStackStrDup, GivesNullWhenTheHeapRefuses) {
  FailingHeap heap(1);

  EXPECT_EQ(GetParam().copy("abc"), nullptr);

  EXPECT_EQ(heap.Refusals(), 1);
}

INSTANTIATE_TEST_SUITE_P(BothNames, QnStackStrDup,
                         testing::Values(Copier{"Strings", fnQN_StrDup},
                                         Copier{"Tools", fnQNStack_StrDup}),
                         [](const auto &each) { return std::string(each.param.name); });

}  // namespace
