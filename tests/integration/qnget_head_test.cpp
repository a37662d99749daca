// SPDX-License-Identifier: MIT
// The heads of answers: found in what a connection brings, taken apart, and
// followed in an answer that is delivered raw.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "answer_head.h"
#include "head_reader.h"
#include "qnget_program.h"
#include "raw_answer.h"
#include "visible.h"

namespace qntest {
namespace {

using qnget::AnswerHead;
using qnget::HeadReader;
using qnget::RawAnswer;
using qnget::ReadAnswerHead;
using testing::ElementsAre;

constexpr size_t kMostBytes = 262144;

struct StatusLine {
  const char *line;
  int status;
};

const StatusLine kLines[] = {
    {"HTTP/1.0 200 OK", 200},
    {"HTTP/1.1 404 Not Found", 404},
    {"HTTP/1.1 200", 200},
    {"http/1.0 200 ok", 200},
    {"HTTP/2 200", 200},
    {"HTTP/1.1  204  None", 204},
    {"HTTP/1.1\t200", 200},
    {"HTTP/1.1 099 x", 99},
    {"HTTP/1.1 999", 999},
    {"HTTP/1.1 20", 0},
    {"HTTP/1.1 2000", 0},
    {"HTTP/1.1 -20", 0},
    {"HTTP/1.1 2x0", 0},
    {"HTTP/1.1", 0},
    {"HTTP/1.1 ", 0},
    {"HTTP 200", 0},
    {"hello", 0},
    {"", 0},
};

TEST(QngetStatus, IsReadFromTheFirstLine) {
  for (const StatusLine &row : kLines) {
    SCOPED_TRACE(row.line);
    EXPECT_EQ(ReadAnswerHead(row.line + std::string("\r\n\r\n")).status, row.status);
  }
}

TEST(QngetHeadFields, AreFoundWhateverTheirCase) {
  const AnswerHead head =
      ReadAnswerHead("HTTP/1.0 200 OK\r\nA:1\r\nb \t:\t2 \r\nA: 3\r\nno colon\r\n\r\n");

  EXPECT_EQ(head.First("a"), "1");
  EXPECT_EQ(head.First("B"), "2");
  EXPECT_EQ(head.First("c"), std::nullopt);
  EXPECT_THAT(head.Members("A"), ElementsAre("1", "3"));
}

TEST(QngetHeadFields, GoOnInLinesThatBeginWithABlank) {
  EXPECT_EQ(ReadAnswerHead("HTTP/1.0 200 OK\nA: 1\n  2\n\t3\n").First("A"), "1 2 3");
}

TEST(QngetHeadFields, GiveTheMembersOfAllLists) {
  EXPECT_THAT(ReadAnswerHead("HTTP/1.0 200 OK\r\nA: x, ,y ,\r\nA: z\r\n").Members("a"),
              ElementsAre("x", "y", "z"));
}

TEST(QngetHeadFields, GiveTheMediaTypeAlone) {
  const auto type = [](const std::string &line) {
    return ReadAnswerHead("HTTP/1.0 200 OK\r\n" + line + "\r\n").MediaType();
  };

  EXPECT_EQ(type("Content-Type: text/html; charset=utf-8"), "text/html");
  EXPECT_EQ(type("Content-Type:text/html;charset=utf-8"), "text/html");
  EXPECT_EQ(type("Content-Type: text/html charset"), "text/html");
  EXPECT_EQ(type("X: y"), "");
}

bool IsDone(const HeadReader &reader) { return reader.Complete(); }
bool IsDone(const RawAnswer &answer) { return answer.Done(); }

// Gives the reader the bytes in pieces of one size until it is done; returns what it
// leaves.
template <typename Reader>
std::string TakeInPieces(Reader &reader, std::string_view bytes, size_t size) {
  while (!bytes.empty() && !IsDone(reader)) {
    std::string_view piece = bytes.substr(0, size);
    const size_t given = piece.size();
    reader.Take(piece);
    bytes.remove_prefix(given - piece.size());
  }
  return std::string(bytes);
}

TEST(QngetHeadReader, FindsTheEmptyLineInPiecesOfAnySize) {
  for (const std::string end : {"\r\n", "\n"}) {
    const std::string head = "HTTP/1.0 200 OK" + end + "A: b" + end + "C: d" + end + end;
    for (size_t size = 1; size <= head.size() + 5; ++size) {
      HeadReader reader;

      EXPECT_EQ(TakeInPieces(reader, head + "\r\nbody", size), "\r\nbody");

      EXPECT_TRUE(reader.Complete());
      EXPECT_EQ(reader.Text(), head);
    }
  }
}

TEST(QngetHeadReader, DoesNotTakeAReturnForAnEmptyLine) {
  HeadReader reader;

  TakeInPieces(reader, "HTTP/1.0 200 OK\r\n\r\r\n\rX: y\r\n", 100);

  EXPECT_FALSE(reader.Complete());
}

TEST(QngetHeadReader, TellsAtOnceWhatIsNoHead) {
  for (const std::string begin : {"h", "HTTPS", "<html>", "\r\n", "HTP"}) {
    HeadReader reader;
    TakeInPieces(reader, begin, 100);
    EXPECT_EQ(reader.IsNoHead(), begin != "h") << begin;
  }
}

TEST(QngetHeadReader, IsFullBeyond256KiB) {
  HeadReader reader;
  TakeInPieces(reader, "HTTP/1.0 200 OK\r\nX: ", 100);
  TakeInPieces(reader, std::string(kMostBytes - reader.Text().size(), 'x'), 30000);
  EXPECT_FALSE(reader.IsTooLong());

  TakeInPieces(reader, "x", 1);

  EXPECT_TRUE(reader.IsTooLong());
}

TEST(QngetHeadReader, CountsEarlierHeads) {
  HeadReader reader;
  const std::string head = "HTTP/1.1 100 Continue\r\n\r\n";
  size_t heads = 0;
  for (; !reader.IsTooLong(); ++heads) {
    reader.Restart();
    TakeInPieces(reader, head, 100);
    ASSERT_LT(heads, kMostBytes);
  }

  EXPECT_EQ(heads, kMostBytes / head.size() + 1);
}

struct RawCase {
  const char *name;
  std::string bytes;
  std::string rest;  // that does not belong to it
  bool done;
  const char *cut;
};

const RawCase kAnswers[] = {
    {"OfALength", kOk + "Content-Length: 3\r\n\r\nabcMORE", "MORE", true, ""},
    {"BelowALength", kOk + "Content-Length: 3\r\n\r\nab", "", false, "after 2 of 3 bytes"},
    {"OfChunks", kOk + "Transfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n\r\nMORE", "MORE", true,
     ""},
    {"WithoutALength", kOk + "\r\nabc", "", false, ""},
    {"WithoutABody", "HTTP/1.0 204 No\r\nContent-Length: 3\r\n\r\nMORE", "MORE", true, ""},
    {"BehindAnInterimOne", kInterim + kOk + "Content-Length: 3\r\n\r\nabcMORE", "MORE", true, ""},
    {"OfAnInterimOneAlone", kInterim, "", false, "within its header"},
    {"WithinTheHeader", kOk + "X: y\r\n", "", false, "within its header"},
    {"WithoutAStatusLine", "hello\r\n\r\nabc", "", false, ""},
    {"WithALengthThatIsNone", kOk + "Content-Length: x\r\n\r\nabc", "", false, ""},
    {"WithChunksThatAreNone", kOk + "Transfer-Encoding: chunked\r\n\r\nsize\r\nabc", "", false, ""},
    {"InAnotherProtocol", "HTTP/1.1 101 Now\r\nContent-Length: 0\r\n\r\nabc", "", false, ""},
    {"WithAnEndlessHeader", kOk + "X: " + std::string(kMostBytes, 'x') + "\r\n\r\n", "", false, ""},
};

TEST(QngetRawAnswer, IsFollowedToItsEnd) {
  for (const RawCase &row : kAnswers) {
    SCOPED_TRACE(row.name);
    for (const size_t size : {size_t{1}, size_t{10}, row.bytes.size()}) {
      RawAnswer answer(false, false);

      EXPECT_EQ(TakeInPieces(answer, row.bytes, size), row.rest);

      EXPECT_EQ(answer.Done(), row.done);
      EXPECT_EQ(answer.Cut(), row.cut);
    }
  }
}

TEST(QngetRawAnswerToHead, EndsWithItsHeader) {
  RawAnswer answer(true, false);
  std::string_view bytes = "HTTP/1.0 200 OK\r\nContent-Length: 3\r\n\r\nabc";

  answer.Take(bytes);

  EXPECT_TRUE(answer.Done());
  EXPECT_EQ(bytes, "abc");
}

TEST(QngetVisible, HasNothingThatATerminalObeys) {
  EXPECT_EQ(qnget::Visible("a~ b\\"), "a~ b\\");
  EXPECT_EQ(qnget::Visible(std::string_view("\x1B[2J\0\t\r\x7F\x9B\xC3\xBC", 11)),
            "\\x1b[2J\\x00\\x09\\x0d\\x7f\\x9b\\xc3\\xbc");
}

}  // namespace
}  // namespace qntest
