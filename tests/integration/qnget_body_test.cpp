// SPDX-License-Identifier: MIT
// The bodies of answers, taken out of what a connection brings: how far they
// reach, and the chunked coding, however its bytes are divided and whatever a
// peer writes into it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "body.h"
#include "chunks.h"
#include "qnget_program.h"

namespace qntest {
namespace {

using qnget::BodyDecoder;
using qnget::BodyFrame;
using qnget::ChunkDecoder;
using qnget::FrameOf;
using qnget::ReadAnswerHead;
using testing::HasSubstr;
using Kind = BodyFrame::Kind;

struct Decoded {
  std::string content;
  std::string rest;  // bytes that were not taken
};

// Gives a decoder the bytes in pieces of one size.
template <typename Decoder>
Decoded DecodeInPieces(Decoder &decoder, std::string_view bytes, size_t size) {
  Decoded decoded;
  while (!bytes.empty() && !decoder.Done() && decoder.Problem().empty()) {
    std::string_view piece = bytes.substr(0, size);
    const size_t given = piece.size();
    decoded.content += decoder.Take(piece);
    bytes.remove_prefix(given - piece.size());
  }
  decoded.rest = bytes;
  return decoded;
}

BodyFrame FrameOfLines(const std::string &lines, const std::string &status = "200 OK") {
  return FrameOf(ReadAnswerHead("HTTP/1.1 " + status + "\r\n" + lines + "\r\n"), false);
}

struct Framed {
  const char *name;
  const char *lines;
  Kind kind;
  uint64_t length = 0;
};

const Framed kFramed[] = {
    {"WithoutAnything", "", Kind::kUntilClose},
    {"WithALength", "Content-Length: 5\r\n", Kind::kLength, 5},
    {"WithALengthOf0", "Content-Length: 0\r\n", Kind::kLength, 0},
    {"WithALengthBeyond31Bits", "Content-Length: 3000000000\r\n", Kind::kLength, 3000000000},
    {"WithTheLargestLength", "Content-Length: 9223372036854775807\r\n", Kind::kLength, INT64_MAX},
    {"WithTheSameLengthTwice", "Content-Length: 5\r\nContent-Length: 5\r\n", Kind::kLength, 5},
    {"WithAListOfOneLength", "Content-Length: 5, 05\r\n", Kind::kLength, 5},
    {"Chunked", "Transfer-Encoding: chunked\r\n", Kind::kChunked},
    {"ChunkedInCapitals", "TRANSFER-ENCODING: Chunked\r\n", Kind::kChunked},
    {"ChunkedDespiteALength", "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n",
     Kind::kChunked},
    {"ChunkedDespiteABadLength", "Content-Length: x\r\nTransfer-Encoding: chunked\r\n",
     Kind::kChunked},
    {"WithTheCodingThatIsNone", "Transfer-Encoding: identity\r\nContent-Length: 5\r\n",
     Kind::kLength, 5},
};

TEST(QngetBodyFrame, IsReadFromTheHead) {
  for (const Framed &row : kFramed) {
    SCOPED_TRACE(row.name);
    const BodyFrame frame = FrameOfLines(row.lines);

    EXPECT_EQ(frame.problem, "");
    EXPECT_EQ(frame.notice, "");
    EXPECT_EQ(frame.kind, row.kind);
    EXPECT_EQ(frame.length, row.length);
  }
}

struct Unframed {
  const char *name;
  const char *lines;
  const char *problem;
};

const Unframed kUnframed[] = {
    {"TwoLengths", "Content-Length: 5\r\nContent-Length: 6\r\n", "contradict each other"},
    {"TwoLengthsInAList", "Content-Length: 5, 6\r\n", "contradict each other"},
    {"AWordForALength", "Content-Length: much\r\n", "no number"},
    {"ANegativeLength", "Content-Length: -5\r\n", "no number"},
    {"ALengthWithASign", "Content-Length: +5\r\n", "no number"},
    {"ALengthWithAUnit", "Content-Length: 5k\r\n", "no number"},
    {"AHexadecimalLength", "Content-Length: 0x5\r\n", "no number"},
    {"AnEmptyLength", "Content-Length:\r\n", "no number"},
    {"AnotherCoding", "Transfer-Encoding: gzip\r\n", "'gzip'"},
    {"TwoCodings", "Transfer-Encoding: gzip, chunked\r\n", "'gzip, chunked'"},
    {"ChunkedTwice", "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n",
     "'chunked, chunked'"},
    {"ACodingThatATerminalObeys", "Transfer-Encoding: \x1B[2J\r\n", "'\\x1b[2J'"},
};

TEST(QngetNoBodyFrame, IsSaidWithItsReason) {
  for (const Unframed &row : kUnframed) {
    SCOPED_TRACE(row.name);
    EXPECT_THAT(FrameOfLines(row.lines).problem, HasSubstr(row.problem));
  }
}

TEST(QngetBodyFrameOf, AnswersThatHaveNoBody) {
  const std::string lines = "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n";

  EXPECT_EQ(FrameOfLines(lines, "204 No Content").kind, Kind::kNone);
  EXPECT_EQ(FrameOfLines(lines, "304 Not Modified").kind, Kind::kNone);
  EXPECT_EQ(FrameOf(ReadAnswerHead("HTTP/1.1 200 OK\r\n" + lines), true).kind, Kind::kNone);
}

TEST(QngetBodyFrameOf, ALengthBeyond63BitsSaysThatItIsNotChecked) {
  for (const std::string length : {"9223372036854775808", "99999999999999999999999"}) {
    const BodyFrame frame = FrameOfLines("Content-Length: " + length + "\r\n");

    EXPECT_EQ(frame.problem, "");
    EXPECT_EQ(frame.kind, Kind::kUntilClose);
    EXPECT_THAT(frame.notice, HasSubstr(length + " bytes cannot be checked"));
  }
}

struct Taken {
  const char *name;
  BodyFrame frame;
  const char *bytes;
  const char *content;
  const char *rest;
  bool done;
  const char *cut;
};

const Taken kTaken[] = {
    {"UpToItsLength", {Kind::kLength, 5}, "helloMORE", "hello", "MORE", true, ""},
    {"BelowItsLength",
     {Kind::kLength, 5000000000},
     "hello",
     "hello",
     "",
     false,
     "after 5 of 5000000000 bytes"},
    {"WithoutALength", {Kind::kUntilClose}, "hello", "hello", "", false, ""},
    {"WithoutABody", {Kind::kNone}, "hello", "", "hello", true, ""},
    {"BeforeTheLastChunk",
     {Kind::kChunked},
     "5\r\nhello\r\n",
     "hello",
     "",
     false,
     "after 5 bytes, before its last chunk"},
    {"WithoutTheEndOfItsTrailers",
     {Kind::kChunked},
     "5\r\nhello\r\n0\r\nX: y\r\n",
     "hello",
     "",
     false,
     "after 5 bytes, before its last chunk"},
};

TEST(QngetBody, IsTakenAsFarAsItReaches) {
  for (const Taken &row : kTaken) {
    SCOPED_TRACE(row.name);
    BodyDecoder decoder(row.frame);

    const Decoded decoded = DecodeInPieces(decoder, row.bytes, 2);

    EXPECT_EQ(decoded.content, row.content);
    EXPECT_EQ(decoded.rest, row.rest);
    EXPECT_EQ(decoder.Done(), row.done);
    EXPECT_EQ(decoder.Cut(), row.cut);
  }
}

struct Chunked {
  const char *name;
  std::string bytes;
  std::string content;
};

const Chunked kChunkedBodies[] = {
    {"None", "0\r\n\r\n", ""},
    {"One", "5\r\nhello\r\n0\r\n\r\n", "hello"},
    {"Some", "5\r\nhello\r\n1\r\n,\r\n6\r\n world\r\n0\r\n\r\n", "hello, world"},
    {"WithLineEndsInTheContent", "4\r\n\r\n\r\n\r\n0\r\n\r\n", "\r\n\r\n"},
    {"WithLineFeedsAlone", "5\nhello\n0\n\n", "hello"},
    {"WithHexadecimalSizes", "a\r\n0123456789\r\nB\r\n0123456789a\r\n0\r\n\r\n",
     "01234567890123456789a"},
    {"WithZerosBeforeTheSize", "0005\r\nhello\r\n000\r\n\r\n", "hello"},
    {"WithABlankBehindTheSize", "5 \t\r\nhello\r\n0 \r\n\r\n", "hello"},
    {"WithExtensions", "5;a=b;c\r\nhello\r\n0 ; x=\"y\"\r\n\r\n", "hello"},
    {"WithTrailers", "5\r\nhello\r\n0\r\nX: y\r\nContent-Length: 7\r\n\r\n", "hello"},
};

TEST(QngetChunks, AreDecodedInPiecesOfAnySize) {
  for (const Chunked &row : kChunkedBodies) {
    SCOPED_TRACE(row.name);
    for (size_t size = 1; size <= row.bytes.size() + 1; ++size) {
      ChunkDecoder decoder;

      const Decoded decoded = DecodeInPieces(decoder, row.bytes + "MORE", size);

      EXPECT_EQ(decoder.Problem(), "");
      EXPECT_TRUE(decoder.Done());
      EXPECT_EQ(decoded.content, row.content);
      EXPECT_EQ(decoded.rest, "MORE");
    }
  }
}

struct Broken {
  const char *name;
  std::string bytes;
  std::string content;  // that is given before the problem shows
  const char *problem;
};

const char *const kUnreadable = "the size of a chunk cannot be read";
const char *const kTooLongLine = "a line between its chunks is too long";

const Broken kBroken[] = {
    {"WithAWordForASize", "size\r\nhello\r\n0\r\n\r\n", "", kUnreadable},
    {"WithoutASize", "\r\nhello\r\n0\r\n\r\n", "", kUnreadable},
    {"WithAnExtensionAlone", ";a=b\r\nhello\r\n0\r\n\r\n", "", kUnreadable},
    {"WithANegativeSize", "-5\r\nhello\r\n0\r\n\r\n", "", kUnreadable},
    {"WithASignedSize", "+5\r\nhello\r\n0\r\n\r\n", "", kUnreadable},
    {"WithAPrefixedSize", "0x5\r\nhello\r\n0\r\n\r\n", "", kUnreadable},
    {"WithTwoSizes", "5 5\r\nhello\r\n0\r\n\r\n", "", kUnreadable},
    {"WithASizeAboveAllNumbers", "ffffffffffffffffffff\r\nhello\r\n0\r\n\r\n", "", kUnreadable},
    {"WithASizeOf64Bits", "ffffffffffffffff\r\nhello\r\n0\r\n\r\n", "", kUnreadable},
    {"WithASizeOfMinus1", "8000000000000000\r\nhello\r\n0\r\n\r\n", "", kUnreadable},
    {"WithAZeroByteInTheSize", std::string("5\0\r\nhello", 9), "", kUnreadable},
    {"WithMoreThanTheSize", "5\r\nhello!\r\n0\r\n\r\n", "hello", "a chunk is longer than its size"},
    {"WithoutALineEndBehind", "5\r\nhello0\r\n\r\n", "hello", "a chunk is longer than its size"},
    {"WithTwoReturnsBehind", "5\r\nhello\r\r\n0\r\n\r\n", "hello",
     "a chunk is longer than its size"},
    {"WithALongSize", std::string(5000, '0') + "5\r\nhello\r\n0\r\n\r\n", "", kTooLongLine},
    {"WithALongExtension", "5;" + std::string(5000, 'x') + "\r\nhello\r\n0\r\n\r\n", "",
     kTooLongLine},
    {"WithALongTrailer", "0\r\nX: " + std::string(70000, 'y') + "\r\n\r\n", "", kTooLongLine},
};

TEST(QngetBrokenChunks, AreSaidWithTheirReason) {
  for (const Broken &row : kBroken) {
    SCOPED_TRACE(row.name);
    for (const size_t size : {size_t{1}, size_t{7}, row.bytes.size()}) {
      ChunkDecoder decoder;

      const Decoded decoded = DecodeInPieces(decoder, row.bytes, size);

      EXPECT_THAT(decoder.Problem(), HasSubstr(row.problem));
      EXPECT_FALSE(decoder.Done());
      EXPECT_EQ(decoded.content, row.content);
    }
  }
}

TEST(QngetChunkTrailers, AreBoundedTogether) {
  std::string bytes = "0\r\n";
  for (int i = 0; i < 1000; ++i) bytes += "X: " + std::string(97, 'y') + "\r\n";
  ChunkDecoder decoder;

  DecodeInPieces(decoder, bytes + "\r\n", 1000);

  EXPECT_EQ(decoder.Problem(), kTooLongLine);
}

TEST(QngetChunkSize, MayBeOf63Bits) {
  ChunkDecoder decoder;

  EXPECT_EQ(DecodeInPieces(decoder, "7fffffffffffffff\r\nhello", 100).content, "hello");

  EXPECT_EQ(decoder.Problem(), "");
}

// What a peer may send at random ends with a problem or asks for more; nothing
// is given that did not come.
TEST(QngetHostileChunks, GiveNoMoreThanTheyAre) {
  std::mt19937 random(7);
  const std::string_view alphabet("0123456789abcdefF;\r\n xX-", 24);
  for (int round = 0; round < 20000; ++round) {
    std::string bytes(random() % 60, '\0');
    for (char &byte : bytes) byte = alphabet[random() % alphabet.size()];
    ChunkDecoder decoder;

    const Decoded decoded = DecodeInPieces(decoder, bytes, 1 + random() % 20);

    ASSERT_LE(decoded.content.size() + decoded.rest.size(), bytes.size());
    ASSERT_TRUE(decoder.Problem().empty() || !decoder.Done());
  }
}

}  // namespace
}  // namespace qntest
