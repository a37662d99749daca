// SPDX-License-Identifier: MIT
// What answers come to with qnget: each ends at its own end, though the server keeps
// the connection, and never beyond it; and what is no whole answer fails with its
// reason. Which bytes make a body is held by the tests of BodyDecoder and HeadReader.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qnget_program.h"
#include "support/process.h"
#include "support/scratch_folder.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

const std::string kChunkedHead = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
const std::string kChunked = kChunkedHead + "3\r\nabc\r\n0\r\n\r\n";

// A server that sends this and then keeps the connection until the client closes.
ConnectionScript Keeping(const std::string &answer) {
  return {ReadHeader(), SendBytes(answer), ReadToEnd()};
}

TEST(QngetKeptConnection, IsNotWaitedFor) {
  ExpectEach({
      {"BehindALength", Keeping(Answer("abc")), {kUrl}, "abc"},
      {"BehindALengthOf0", Keeping(Answer("")), {kUrl}, ""},
      {"BehindTheLastChunk", Keeping(kChunked), {kUrl}, "abc"},
      {"BehindNoContent", Keeping("HTTP/1.1 204 No\r\nContent-Length: 5\r\n\r\n"), {kUrl}, ""},
      {"BehindNothingModified",
       Keeping("HTTP/1.1 304 No\r\nContent-Length: 5\r\n\r\n"),
       {kUrl},
       ""},
      {"BehindTheHeaderAlone", Keeping(kChunkedHead), {"-X", "HEAD", kUrl}, ""},
      {"BehindTheLengthOfABodyThatIsNotAskedFor",
       Keeping(kOk + "Content-Length: 5\r\n\r\n"),
       {"-X", "HEAD", kUrl},
       ""},
      {"BehindARawAnswer", Keeping(kChunked), {"--raw", kUrl}, kChunked},
  });
}

TEST(QngetExcess, IsLeftOutAndSaid) {
  const auto more = [](const std::string &answer) { return AnswerWith(answer + "MORE"); };
  const std::string said =
      Message("4 bytes behind the end of the answer from server HOST:PORT are left out");
  ExpectEach({
      {"BehindALength", more(Answer("abc")), {kUrl}, "abc", said},
      {"BehindTheLastChunk", more(kChunked), {kUrl}, "abc", said},
      {"BehindNoContent", more("HTTP/1.0 204 No Content\r\n\r\n"), {kUrl}, "", said},
      {"BehindTheHeaderAlone", more(kOk + "\r\n"), {"-X", "HEAD", kUrl}, "", said},
      {"BehindARawAnswer", more(kChunked), {"--raw", kUrl}, kChunked, said},
  });
}

TEST(QngetCompleteness, AcceptsTheAnswer) {
  const std::string large = ScatteredBytes(70000);
  const std::string chunk = "11170\r\n" + large + "\r\n";
  ExpectEach({
      {"WithoutALength", AnswerWith(kOk + "\r\nabc"), {kUrl}, "abc"},
      {"WithAHeaderOfOneLine", AnswerWith("HTTP/1.0 200\r\n\r\n"), {kUrl}, ""},
      {"WithLineFeedsAlone",
       AnswerWith("HTTP/1.0 200 OK\nContent-Length: 3\n\nabc"),
       {kUrl},
       "abc"},
      {"InLargeChunks",
       AnswerWith(kChunkedHead + chunk + chunk + chunk + "0;x=y\r\nT: u\r\n\r\n"),
       {kUrl},
       large + large + large},
      {"BehindSomeInterimAnswers",
       AnswerWith(kInterim + "HTTP/1.1 103 Hints\r\nLink: x\r\n\r\n" + kOk + "\r\nabc"),
       {kUrl},
       "abc"},
      {"WithAHeaderOf200KB",
       AnswerWith(Answer("abc", "X: " + std::string(200000, 'x') + "\r\n")),
       {kUrl},
       "abc"},
      {"WithALengthBeyondAllNumbers",
       AnswerWith(kOk + "Content-Length: 99999999999999999999\r\n\r\nabc"),
       {kUrl},
       "abc",
       Message("a length of 99999999999999999999 bytes cannot be checked")},
  });
}

struct BadAnswer {
  const char *name;
  ConnectionScript script;
  const char *message;
};

const BadAnswer kBadAnswers[] = {
    {"ResetAtOnce", {ReadHeader(), Reset()}, "receiving failed from HOP: Connection reset by peer"},
    {"Nothing", AnswerWith(""), "no answer from HOP"},
    {"NoStatusLine", AnswerWith("hello\r\n\r\nbody"), "no status line in the answer from HOP"},
    {"PartOfAStatusLine", AnswerWith("HTTP/1.0 200"), "no status line in the answer from HOP"},
    {"PartOfTheHeader", AnswerWith(kOk + "Content-Type: text/pl"),
     "the answer from HOP ends within its header"},
    {"HeaderWithoutItsEnd", AnswerWith(kOk + "Content-Type: text/plain\r\n"),
     "the answer from HOP ends within its header"},
    {"PartOfTheBody", AnswerWith(kOk + "Content-Length: 5\r\n\r\nabc"),
     "the answer from HOP ends after 3 of 5 bytes"},
    {"ResetWithinTheBody",
     {ReadHeader(), SendBytes(kOk + "Content-Length: 5\r\n\r\n"), Reset()},
     "the answer from HOP ends after 0 of 5 bytes: Connection reset by peer"},
    {"PartOfAnErrorsBody", AnswerWith("HTTP/1.0 404 No\r\nContent-Length: 5\r\n\r\nabc"),
     "the answer from HOP ends after 3 of 5 bytes"},
    {"ResetWithinTheHeader",
     {ReadHeader(), SendBytes(kOk), Reset()},
     "the answer from HOP ends within its header: Connection reset by peer"},
    {"ResetWithinABodyOfUnknownLength",
     {ReadHeader(), SendBytes(kOk + "\r\nabc"), Reset()},
     "the answer from HOP ends after 3 bytes: Connection reset by peer"},
    {"PartOfTheChunks", AnswerWith(kChunkedHead + "3\r\nabc\r\n5\r\nde"),
     "the answer from HOP ends after 5 bytes, before its last chunk"},
    {"BadChunks", AnswerWith(kChunkedHead + "3\r\nabc\r\n-1\r\n"),
     "the answer from HOP is broken: the size of a chunk cannot be read"},
    {"AnotherTransferCoding",
     AnswerWith("HTTP/1.1 200 OK\r\nTransfer-Encoding: gzip, chunked\r\n\r\n0\r\n\r\n"),
     "the answer from HOP has the transfer coding 'gzip, chunked', and qnget knows chunked alone"},
    {"ContradictoryLengths", AnswerWith(kOk + "Content-Length: 3\r\nContent-Length: 4\r\n\r\nabc"),
     "the answer from HOP has Content-Length lines that contradict each other"},
    {"ALengthThatIsNoNumber", AnswerWith(kOk + "Content-Length: much\r\n\r\nabc"),
     "the answer from HOP has a Content-Length that is no number"},
    {"AStatusBelow100", AnswerWith("HTTP/1.0 099 Odd\r\n\r\nabc"),
     "the answer from HOP has the status 99, which is none"},
    {"AnotherProtocol",
     {ReadHeader(), SendBytes("HTTP/1.1 101 Now\r\n\r\n"), AwaitSignal()},
     "the answer from HOP switches to another protocol"},
    {"AZeroByteInTheHeader", AnswerWith(kOk + std::string("X: \0\r\n\r\nabc", 10)),
     "the answer from HOP has a zero byte in its header"},
    {"AnInterimAnswerAlone", AnswerWith(kInterim), "no answer from HOP"},
    {"InterimAnswersWithoutEnd",
     {ReadHeader(), SendUntilGone(kInterim)},
     "the answer from HOP has a header of more than 256 KiB"},
    {"AHeaderLineThatNeverEnds",
     {ReadHeader(), SendBytes(kOk + "X: "), SendUntilGone(std::string(1000, 'x'))},
     "the answer from HOP has a header of more than 256 KiB"},
};

TEST(QngetReceiving, FailsAndLeavesTheOutputFileAsItWas) {
  const ScratchFolder folder;
  const std::string file = folder.write("kept", "old");
  for (const BadAnswer &bad : kBadAnswers) {
    SCOPED_TRACE(bad.name);

    EXPECT_THAT(RunOn({bad.script}, {"-o", file, kUrl}),
                FailsWith(4, Replaced(bad.message, "HOP", "server HOST:PORT")));

    EXPECT_EQ(folder.read("kept"), "old");
    EXPECT_EQ(folder.names(), Words{"kept"});
  }
}

TEST(QngetReceiving, NamesTheProxyThatWasAsked) {
  for (const BadAnswer &bad : {kBadAnswers[0], kBadAnswers[1], kBadAnswers[2], kBadAnswers[6]}) {
    SCOPED_TRACE(bad.name);
    EXPECT_THAT(RunOn({bad.script}, {"-p", "HOST:PORT", "http://mms.invalid/"}),
                FailsWith(4, Replaced(bad.message, "HOP", "proxy HOST:PORT")));
  }
}

// Without --fail the body of an answer with an error status is delivered.
TEST(QngetErrorStatus, IsExitCode22) {
  const ConnectionScript error = AnswerWith(Answer("look", "", "400 Bad"));
  const std::string said = Message("the answer has status 400");
  ExpectEach({
      {"Error", error, {kUrl}, "look", said, 22},
      {"NoErrorYet", AnswerWith(Answer("fine", "", "399 x")), {kUrl}, "fine"},
      {"ErrorWithFail", error, {"--fail", kUrl}, "", said, 22},
      {"NoErrorWithFail", AnswerWith(Answer("fine")), {"-f", kUrl}, "fine"},
      {"ErrorWithFailAndInfo",
       error,
       {"-f", "-i", kUrl},
       "",
       "status: 400\ntype: unknown\nlength: 4\nencoding: none\nurl: " + kUrl + "\n" + said,
       22},
  });
}

TEST(QngetErrorStatus, ReplacesTheFileUnlessItFails) {
  const ScratchFolder folder;
  const std::string file = folder.write("f", "old");
  const std::string error = Answer("look", "", "503 Later");

  EXPECT_EQ(RunOnAnswer(error, {"-f", "-o", file, kUrl}).exit_code, 22);
  EXPECT_EQ(folder.read("f"), "old");
  EXPECT_EQ(folder.names(), Words{"f"});

  EXPECT_EQ(RunOnAnswer(error, {"-o", file, kUrl}).exit_code, 22);
  EXPECT_EQ(folder.read("f"), "look");
}

}  // namespace
}  // namespace qntest
