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
  uint64_t length;
};

void PrintTo(const Framed &framed, std::ostream *out) { *out << framed.name; }

class QngetBodyFrame : public testing::TestWithParam<Framed> {};

TEST_P(QngetBodyFrame, IsReadFromTheHead) {
  const BodyFrame frame = FrameOfLines(GetParam().lines);

  EXPECT_EQ(frame.problem, "");
  EXPECT_EQ(frame.notice, "");
  EXPECT_EQ(frame.kind, GetParam().kind);
  EXPECT_EQ(frame.length, GetParam().length);
}

const Framed kFramed[] = {
    {"WithoutAnything", "", Kind::kUntilClose, 0},
    {"WithALength", "Content-Length: 5\r\n", Kind::kLength, 5},
    {"WithALengthOf0", "Content-Length: 0\r\n", Kind::kLength, 0},
    {"WithALengthBeyond31Bits", "Content-Length: 3000000000\r\n", Kind::kLength, 3000000000},
    {"WithTheLargestLength", "Content-Length: 9223372036854775807\r\n", Kind::kLength, INT64_MAX},
    {"WithTheSameLengthTwice", "Content-Length: 5\r\nContent-Length: 5\r\n", Kind::kLength, 5},
    {"WithAListOfOneLength", "Content-Length: 5, 05\r\n", Kind::kLength, 5},
    {"Chunked", "Transfer-Encoding: chunked\r\n", Kind::kChunked, 0},
    {"ChunkedInCapitals", "TRANSFER-ENCODING: Chunked\r\n", Kind::kChunked, 0},
    {"ChunkedDespiteALength", "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n", Kind::kChunked,
     0},
    {"ChunkedDespiteABadLength", "Content-Length: x\r\nTransfer-Encoding: chunked\r\n",
     Kind::kChunked, 0},
    {"WithTheCodingThatIsNone", "Transfer-Encoding: identity\r\nContent-Length: 5\r\n",
     Kind::kLength, 5},
};

INSTANTIATE_TEST_SUITE_P(Qnget, QngetBodyFrame, testing::ValuesIn(kFramed),
                         [](const auto &test) { return std::string(test.param.name); });

struct Unframed {
  const char *name;
  const char *lines;
  const char *problem;
};

void PrintTo(const Unframed &unframed, std::ostream *out) { *out << unframed.name; }

class QngetNoBodyFrame : public testing::TestWithParam<Unframed> {};

TEST_P(QngetNoBodyFrame, IsSaidWithItsReason) {
  EXPECT_THAT(FrameOfLines(GetParam().lines).problem, HasSubstr(GetParam().problem));
}

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

INSTANTIATE_TEST_SUITE_P(Qnget, QngetNoBodyFrame, testing::ValuesIn(kUnframed),
                         [](const auto &test) { return std::string(test.param.name); });

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

TEST(QngetBody, ReachesUpToItsLength) {
  BodyDecoder decoder({Kind::kLength, 5});

  const Decoded decoded = DecodeInPieces(decoder, "helloMORE", 2);

  EXPECT_EQ(decoded.content, "hello");
  EXPECT_EQ(decoded.rest, "MORE");
  EXPECT_TRUE(decoder.Done());
  EXPECT_EQ(decoder.Cut(), "");
}

TEST(QngetBody, IsCutBelowItsLength) {
  BodyDecoder decoder({Kind::kLength, 5000000000});

  DecodeInPieces(decoder, "hello", 5);

  EXPECT_FALSE(decoder.Done());
  EXPECT_EQ(decoder.Cut(), "after 5 of 5000000000 bytes");
}

TEST(QngetBody, WithoutALengthIsNeverDoneNorCut) {
  BodyDecoder decoder({Kind::kUntilClose});

  EXPECT_EQ(DecodeInPieces(decoder, "hello", 2).content, "hello");

  EXPECT_FALSE(decoder.Done());
  EXPECT_EQ(decoder.Cut(), "");
}

TEST(QngetBody, ThatIsNoneIsDoneAtOnce) {
  BodyDecoder decoder({Kind::kNone});

  EXPECT_EQ(DecodeInPieces(decoder, "hello", 5).rest, "hello");

  EXPECT_TRUE(decoder.Done());
}

TEST(QngetBody, IsCutBeforeItsLastChunk) {
  BodyDecoder decoder({Kind::kChunked});

  DecodeInPieces(decoder, "5\r\nhello\r\n", 3);

  EXPECT_EQ(decoder.Cut(), "after 5 bytes, before its last chunk");
}

TEST(QngetBody, IsCutWithoutTheEndOfItsTrailers) {
  BodyDecoder decoder({Kind::kChunked});

  DecodeInPieces(decoder, "5\r\nhello\r\n0\r\nX: y\r\n", 3);

  EXPECT_FALSE(decoder.Done());
  EXPECT_NE(decoder.Cut(), "");
}

struct Chunked {
  const char *name;
  std::string bytes;
  std::string content;
};

void PrintTo(const Chunked &chunked, std::ostream *out) { *out << chunked.name; }

class QngetChunks : public testing::TestWithParam<Chunked> {};

TEST_P(QngetChunks, AreDecodedInPiecesOfAnySize) {
  for (size_t size = 1; size <= GetParam().bytes.size() + 1; ++size) {
    ChunkDecoder decoder;

    const Decoded decoded = DecodeInPieces(decoder, GetParam().bytes + "MORE", size);

    EXPECT_EQ(decoder.Problem(), "");
    EXPECT_TRUE(decoder.Done());
    EXPECT_EQ(decoded.content, GetParam().content);
    EXPECT_EQ(decoded.rest, "MORE");
  }
}

const Chunked kChunked[] = {
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

INSTANTIATE_TEST_SUITE_P(Qnget, QngetChunks, testing::ValuesIn(kChunked),
                         [](const auto &test) { return std::string(test.param.name); });

struct Broken {
  const char *name;
  std::string bytes;
  std::string content;  // that is given before the problem shows
  const char *problem;
};

void PrintTo(const Broken &broken, std::ostream *out) { *out << broken.name; }

class QngetBrokenChunks : public testing::TestWithParam<Broken> {};

TEST_P(QngetBrokenChunks, AreSaidWithTheirReason) {
  for (const size_t size : {size_t{1}, size_t{7}, GetParam().bytes.size()}) {
    ChunkDecoder decoder;

    const Decoded decoded = DecodeInPieces(decoder, GetParam().bytes, size);

    EXPECT_THAT(decoder.Problem(), HasSubstr(GetParam().problem));
    EXPECT_FALSE(decoder.Done());
    EXPECT_EQ(decoded.content, GetParam().content);
  }
}

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

INSTANTIATE_TEST_SUITE_P(Qnget, QngetBrokenChunks, testing::ValuesIn(kBroken),
                         [](const auto &test) { return std::string(test.param.name); });

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
