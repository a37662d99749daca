// SPDX-License-Identifier: MIT
// Guards the trace of the HTTP client: each text goes out where it arises, is
// whole whatever its length, and leaves errno alone.
#include "qn_stack_trace.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <string>
#include <thread>

#include "support/captured_output.h"

namespace {

using qntest::OutputOf;

TEST(QnTrace, PrintsTextsAndNumbersAndANullTextAsAWord) {
  EXPECT_EQ(OutputOf([] { qn::Trace("socket %d recv len:%d", 7, 2048); }),
            "socket 7 recv len:2048");
  EXPECT_STREQ(qn::Traced("/path"), "/path");
  EXPECT_STREQ(qn::Traced(nullptr), "(null)");
}

TEST(QnTrace, IsWholeAtAnyLength) {
  for (const size_t size :
       std::initializer_list<size_t>{1, 511, 512, 513, 4095, 4096, 4097, 100'000, 3'000'000}) {
    SCOPED_TRACE(size);
    const std::string text(size, 'a');
    EXPECT_TRUE(OutputOf([&] { qn::Trace("<%s>", text.c_str()); }) == "<" + text + ">");
  }
}

TEST(QnTrace, StaysInOrderWithOtherOutput) {
  EXPECT_EQ(OutputOf([] {
              std::fputs("before ", stdout);
              qn::Trace("trace ");
              std::fputs("between ", stdout);
              qn::Trace("trace ");
              std::fputs("after", stdout);
            }),
            "before trace between trace after");
}

// A stream that takes nothing makes every print fail.
TEST(QnTrace, KeepsTheErrorNumber) {
  FILE *const standard_output = stdout;
  stdout = std::fopen("/dev/full", "w");
  ASSERT_NE(stdout, nullptr);
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  errno = ECONNREFUSED;
  qn::Trace("text");
  const int error = errno;
  const bool failed = std::ferror(stdout) != 0;
  std::fclose(stdout);
  stdout = standard_output;

  EXPECT_TRUE(failed);
  EXPECT_EQ(error, ECONNREFUSED);
}

// Another thread of the application prints too.
TEST(QnTrace, IsNotCutByOtherOutput) {
  constexpr int kTexts = 200;
  constexpr size_t kSize = 3000;
  const std::string traced(kSize, 't');
  const std::string printed(kSize, 'p');
  const std::string all = OutputOf([&] {
    std::thread printer([&] {
      for (int i = 0; i < kTexts; ++i) std::fputs(printed.c_str(), stdout);
    });
    for (int i = 0; i < kTexts; ++i) qn::Trace("%s", traced.c_str());
    printer.join();
  });

  ASSERT_EQ(all.size(), 2 * kTexts * kSize);
  for (size_t at = 0; at < all.size(); at += kSize) {
    const std::string text = all.substr(at, kSize);
    ASSERT_TRUE(text == traced || text == printed) << at;
  }
}

}  // namespace
