// SPDX-License-Identifier: MIT
// Guards what is no proper answer: the client keeps to its rules of lines and
// hands out the rest, whatever the bytes are.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "answer_model.h"
#include "hostile_test.h"

namespace {

using namespace qntest;

constexpr int32_t kHuge = std::numeric_limits<int32_t>::max();

std::string Bytes(const char *text, std::size_t size) { return {text, size}; }

struct Garbage {
  std::string topic;
  std::string answer;
  int32_t status;
  int32_t length;
  std::string delivered;
};

const std::vector<Garbage> kGarbage = {
    {"Nothing", "", 0, 0, ""},
    {"HeaderAlone", "HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\n", 200, 5, ""},
    {"HeaderWithoutItsEmptyLine", "HTTP/1.0 200 OK\r\nContent-Length: 5\r\n", 200, 5, ""},
    {"StatusLineAlone", "HTTP/1.0 200 OK\r\n", 200, 0, ""},
    {"StatusLineWithoutItsEnd", "HTTP/1.0 200 OK", 0, 0, "HTTP/1.0 200 OK"},
    {"EmptyLineFirst", "\r\nHTTP/1.0 200 OK\r\n\r\nabc", 0, 0, "HTTP/1.0 200 OK\r\n\r\nabc"},
    {"BareLineFeeds", "HTTP/1.0 200 OK\n\nabc", 0, 0, "HTTP/1.0 200 OK\n\nabc"},
    {"BareCarriageReturns", "HTTP/1.0 200 OK\r\rabc\r\n\r\nd", 200, 0, "d"},
    {"BodyWithoutAHeader", "<html>hello</html>", 0, 0, "<html>hello</html>"},
    {"BodyOfLinesWithoutAHeader", "one\r\ntwo\r\nthree", 0, 0, "three"},
    {"StatusWithoutANumber", "HTTP/1.0 OK\r\n\r\nabc", 0, 0, "abc"},
    {"StatusOfWordsAlone", "HTTP/\r\n\r\nabc", 0, 0, "abc"},
    {"StatusBelowZero", "HTTP/1.0 -200 OK\r\n\r\nabc", -200, 0, "abc"},
    {"StatusBeyondAllNumbers", "HTTP/1.0 99999999999 OK\r\n\r\nabc", kHuge, 0, "abc"},
    {"LengthBelowZero", "HTTP/1.0 200 OK\r\nContent-Length: -5\r\n\r\nabc", 200, -5, "abc"},
    {"LengthBeyondAllNumbers", "HTTP/1.0 200 OK\r\nContent-Length: 99999999999999999999\r\n\r\nabc",
     200, kHuge, "abc"},
    {"LengthWithoutANumber", "HTTP/1.0 200 OK\r\nContent-Length: many\r\n\r\nabc", 200, -1, "abc"},
    {"LengthTwice", "HTTP/1.0 200 OK\r\nContent-Length: 3\r\nContent-Length: 9\r\n\r\nabc", 200, 9,
     "abc"},
    {"ZeroBytesAlone", Bytes("\0\0\0\0", 4), 0, 0, Bytes("\0\0\0\0", 4)},
    {"ZeroByteInALine", Bytes("HTTP/1.0 200 OK\r\nX: a\0b\r\n\r\nabc", 30), 200, 0,
     Bytes("X: a\0b\r\n\r\nabc", 13)},
    {"ZeroByteInTheStatusLine", Bytes("HTTP/1.0\0 200 OK\r\n\r\nabc", 23), 0, 0,
     Bytes("HTTP/1.0\0 200 OK\r\n\r\nabc", 23)},
    {"ZeroBytesInTheBody", Bytes("HTTP/1.0 200 OK\r\n\r\na\0\0b", 23), 200, 0, Bytes("a\0\0b", 4)},
    {"ChunksAreNotUnderstood",
     "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n", 200, 0,
     "3\r\nabc\r\n0\r\n"},
    {"CookieWithoutAName", "HTTP/1.0 200 OK\r\nSet-Cookie:\r\nSet-Cookie: ;;;\r\n\r\nabc", 200, 0,
     "abc"},
    {"NamesWithoutValues",
     "HTTP/1.0 200 OK\r\nContent-Type:\r\nContent-Encoding:\r\nContent-Length:\r\n\r\nabc", 200, -1,
     "abc"},
};

class HostileGarbage : public qntest::HostileTest {
 protected:
  Ending EndingOf(const std::string &answer, int32_t &length) {
    Serve({AnswerWith(answer)});
    const Context ctx(fnQNStack_Http_Open_Get(Url().c_str()));
    const Ending ending = ReadToEnding(ctx.get());
    length = ctx->retCtxLen;
    return ending;
  }
};

INSTANTIATE_TEST_SUITE_P(, HostileGarbage, qntest::kRoutes, qntest::RouteName);

TEST_P(HostileGarbage, IsReadByTheRules) {
  for (const Garbage &garbage : kGarbage) {
    SCOPED_TRACE(garbage.topic);
    int32_t length = 0;
    EXPECT_EQ(EndingOf(garbage.answer, length),
              (Ending{0, 5, 1, garbage.status, garbage.delivered}));
    EXPECT_EQ(length, garbage.length);
  }
  Measured(std::to_string(kGarbage.size()) + " answers");
}

TEST_P(HostileGarbage, RandomBytesAreReadByTheRules) {
  std::mt19937 random(20090615);
  for (int i = 0; i < 200; ++i) {
    SCOPED_TRACE(i);
    std::string answer(random() % 15000, '\0');
    for (char &byte : answer) byte = static_cast<char>(random());
    const ModelAnswer expected = ModelOf(answer);
    int32_t length = 0;
    ASSERT_EQ(EndingOf(answer, length), (Ending{0, 5, 1, expected.status, expected.body}));
  }
  Measured("200 answers");
}

// Scraps of answers in any order. None makes a redirect, and none is a media
// type: of two in one answer the first is kept for good.
TEST_P(HostileGarbage, RandomScrapsAreReadByTheRules) {
  const std::vector<std::string> scraps = {
      "HTTP/1.0 ", "http/", "200",         "-1",    "\r\n",         "\r\n\r\n",
      "\n",        "\r",    "Set-Cookie:", "=",     "X: ",          "Content-Length: ",
      "Path=",     ";",     " ",           "\t",    "99999999999",  "Content-Encoding: gzip",
      ":",         "\xff",  "abc",         "\v\f ", Bytes("\0", 1), std::string(3000, 'y')};
  std::mt19937 random(31337);
  for (int i = 0; i < 300; ++i) {
    SCOPED_TRACE(i);
    std::string answer;
    for (std::size_t count = random() % 30; count > 0; --count) {
      // The zero byte is rare: nothing behind it is looked at.
      const std::size_t scrap = random() % (scraps.size() + 20);
      answer += scraps[scrap < scraps.size() ? scrap : scrap % 6];
    }
    if (answer.size() > 20000) answer.resize(20000);
    const ModelAnswer expected = ModelOf(answer);
    int32_t length = 0;
    ASSERT_EQ(EndingOf(answer, length), (Ending{0, 5, 1, expected.status, expected.body}))
        << testing::PrintToString(answer);
  }
  Measured("300 answers");
}

}  // namespace
