// SPDX-License-Identifier: MIT
// Guards which conversions of C the formatting functions have, what stands for
// those that they have not, and what becomes of one that they do not know.
#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdint>
#include <string>
#include <string_view>

#include "qnstack/qn_snprintf.h"
#include "support/end_of_memory.h"

namespace {

template <typename... Arguments>
std::string Formatted(const char *format, Arguments... arguments) {
  char text[128] = "";
  fnQNRTL_snprintf(text, sizeof text, format, arguments...);
  return text;
}

TEST(QnSnprintfConversions, AreThoseOfCWithFlagsWidthAndPrecision) {
  void *pointer = nullptr;
  reinterpret_cast<uintptr_t &>(pointer) = 0xAB;

  EXPECT_EQ(Formatted("%d %i %u %x %X %o", -1, -2, 3U, 255U, 255U, 8U), "-1 -2 3 ff FF 10");
  EXPECT_EQ(Formatted("%hd %hu", -1, 65535), "-1 65535");
  EXPECT_EQ(Formatted("%ld %lu %lx", -1L, 2UL, 255UL), "-1 2 ff");
  EXPECT_EQ(Formatted("%" PRId64, INT64_MIN), "-9223372036854775808");
  EXPECT_EQ(Formatted("%" PRIu64, UINT64_MAX), "18446744073709551615");
  EXPECT_EQ(Formatted("%s %c %% %pp", "text", 'c', pointer), "text c % ab");
  EXPECT_EQ(Formatted("%5d|%-5d|%05d|%+d|% d|%#x|%*d", 1, 2, 3, 4, 5, 255U, 3, 6),
            "    1|2    |00003|+4| 5|0xff|  6");
  EXPECT_EQ(Formatted("%.2s|%5s|%.*s", "abc", "abc", 1, "abc"), "ab|  abc|a");
  EXPECT_EQ(Formatted("%f %e", 0.5, 12.5), "0.500000 1.250000e+01");
  EXPECT_EQ(Formatted("%g %g", 0.5, 1e10), ".5 1.e+10") << "no zero before the point";
}

TEST(QnSnprintfConversions, ThatAreNotKnownAreTextAndTakeNoArgument) {
  for (const char *unknown : {"zu", "zd", "hhd", "jd", "td", "a", "F", "Lf", "'d"}) {
    const std::string shown = Formatted(("%" + std::string(unknown) + "|%d").c_str(), 7);

    EXPECT_NE(shown.find('%'), std::string::npos) << unknown;
    EXPECT_EQ(shown.substr(shown.size() - 2), "|7") << unknown;
  }
}

TEST(QnSnprintfConversions, OfEveryOtherLetterAreThatLetterAsText) {
  // The letters of conversions, what may stand before one, and 'p', which has two.
  constexpr std::string_view kKnown = "diuxXofeEgGscnhlqp";
  for (const std::string_view letters :
       {"abcdefghijklmnopqrstuvwxyz", "ABCDEFGHIJKLMNOPQRSTUVWXYZ"}) {
    for (const char letter : letters) {
      if (kKnown.find(letter) != std::string_view::npos) continue;
      const std::string conversion = std::string("%") + letter;

      EXPECT_EQ(Formatted((conversion + "|%d").c_str(), 7), conversion + "|7");
    }
  }
}

TEST(QnSnprintfConversions, OfABarePointerTakeItAndTheCharacterBehindThem) {
  const void *pointer = nullptr;

  EXPECT_EQ(Formatted("%p|%d", pointer, 7), "bogus %p7");
}

TEST(QnSnprintfConversions, ThatTheFormatCutsAreLeftOutAndNothingIsReadBehindIt) {
  const qntest::EndOfMemory memory;
  for (const char *cut : {"%", "%5", "%-", "%+", "%0", "%.", "%.3", "%l", "%h", "%-05.3l", "%p"}) {
    const std::string text = std::string("abc") + cut;
    const char *format = memory.Copy(text.c_str(), text.size() + 1);

    EXPECT_EQ(Formatted(format, 7), "abc") << cut;
  }
}

TEST(QnSnprintfConversions, OfTwoLsAreNotKnownWhereALongHas64Bits) {
  if (sizeof(long) == sizeof(int64_t)) {
    EXPECT_EQ(Formatted("%lld|%d", 7), "%ld|7");
  } else {
    EXPECT_EQ(Formatted("%lld|%d", 5LL, 7), "5|7");
  }
}

}  // namespace
