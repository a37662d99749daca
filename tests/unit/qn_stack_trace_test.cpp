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
  EXPECT_EQ(OutputOf([] { qn::Trace().Line("socket ", 7, " recv len:", int32_t{2048}); }),
            "socket 7 recv len:2048");
}

TEST(QnTrace, WritesNumbersOfAllSizes) {
  EXPECT_EQ(OutputOf([] { qn::Trace().Line(INT32_MIN, " ", 0, " ", -1, " ", INT32_MAX); }),
            "-2147483648 0 -1 2147483647");
}

TEST(QnTrace, ShowsNullAsFormattedOutputDoes) {
  const char *missing = nullptr;
  EXPECT_EQ(OutputOf([&] { qn::Trace().Line("path  = ", missing); }), "path  = (null)");
}

TEST(QnTrace, WritesNothingForNothing) {
  EXPECT_EQ(OutputOf([] { qn::Trace().Line(""); }), "");
}

TEST(QnTrace, KeepsTextsOfAnyLengthInOrder) {
  for (const size_t size :
       std::initializer_list<size_t>{1, 254, 255, 256, 257, 510, 511, 512, 513, 1200, 100'000}) {
    SCOPED_TRACE(size);
    const std::string first(size, 'a');
    const std::string second(size, 'b');
    EXPECT_EQ(OutputOf([&] { qn::Trace().Line("<", first, second, 5, ">"); }),
              "<" + first + second + "5>");
  }
}

TEST(QnTrace, HandsOverTheLinesOfACallAtItsEnd) {
  EXPECT_EQ(OutputOf([] {
              qn::Trace trace;
              trace.Line("first ", 1);
              std::fputs("in between ", stdout);
              trace.Line(" second ", 2);
            }),
            "in between first 1 second 2");
}

TEST(QnTrace, HandsOverEarlierWhenItIsTold) {
  EXPECT_EQ(OutputOf([] {
              qn::Trace trace;
              trace.Line("first ");
              trace.Flush();
              std::fputs("in between ", stdout);
              trace.Line("second");
            }),
            "first in between second");
}

TEST(QnTrace, KeepsManyLinesInOrder) {
  constexpr int kLines = 1000;
  std::string expected;
  for (int i = 0; i < kLines; ++i) expected += "line " + std::to_string(i);
  EXPECT_EQ(OutputOf([] {
              qn::Trace trace;
              for (int i = 0; i < kLines; ++i) trace.Line("line ", i);
            }),
            expected);
}

TEST(QnTrace, SharesTheBufferOfStandardOutput) {
  EXPECT_EQ(OutputOf([] {
              std::fputs("before ", stdout);
              qn::Trace().Line("trace ");
              std::fputs("after", stdout);
            }),
            "before trace after");
}

}  // namespace
