// Guards the trace lines of the HTTP client: each is what formatted output
// would print, however long its texts are.
#include "qn_stack_trace.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <string>

#include "support/captured_output.h"

namespace {

using qntest::OutputOf;

TEST(QnTrace, JoinsTextsAndNumbers) {
  EXPECT_EQ(OutputOf([] { qn::Trace("socket ", 7, " recv len:", int32_t{2048}); }),
            "socket 7 recv len:2048");
}

TEST(QnTrace, WritesNumbersOfAllSizes) {
  EXPECT_EQ(OutputOf([] { qn::Trace(INT32_MIN, " ", 0, " ", -1, " ", INT32_MAX); }),
            "-2147483648 0 -1 2147483647");
}

TEST(QnTrace, ShowsNullAsFormattedOutputDoes) {
  const char *missing = nullptr;
  EXPECT_EQ(OutputOf([&] { qn::Trace("path  = ", missing); }), "path  = (null)");
}

TEST(QnTrace, WritesNothingForNothing) {
  EXPECT_EQ(OutputOf([] { qn::Trace(""); }), "");
}

TEST(QnTrace, KeepsTextsOfAnyLengthInOrder) {
  for (const size_t size :
       std::initializer_list<size_t>{1, 127, 128, 254, 255, 256, 257, 600, 100'000}) {
    SCOPED_TRACE(size);
    const std::string first(size, 'a');
    const std::string second(size, 'b');
    EXPECT_EQ(OutputOf([&] { qn::Trace("<", first, second, 5, ">"); }),
              "<" + first + second + "5>");
  }
}

TEST(QnTrace, SharesTheBufferOfStandardOutput) {
  EXPECT_EQ(OutputOf([] {
              std::fputs("before ", stdout);
              qn::Trace("trace ");
              std::fputs("after", stdout);
            }),
            "before trace after");
}

}  // namespace
