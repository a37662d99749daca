// SPDX-License-Identifier: MIT
// The exit codes of qnget for transfers that fail, and the messages, which
// name the hop that failed: the proxy if one is set, else the server.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qnget_program.h"
#include "support/process.h"
#include "support/scratch_folder.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

using testing::HasSubstr;

// An address that the resolver refuses without asking anyone.
const char *const kNoAddress = "1.2.3.4.5";

// Which of the two reasons shows hangs on when the reset comes.
auto SendingFailed(const std::string &hop) {
  const std::string message = "sending failed to " + hop + ": ";
  return testing::AnyOf(Message(message + "Connection reset by peer"),
                        Message(message + "Broken pipe"));
}

void ExpectFailure(const ProcessResult &result, int exit_code, const std::string &message) {
  EXPECT_EQ(result.exit_code, exit_code);
  EXPECT_EQ(result.error, Message(message));
}

TEST(QngetResolving, FailsForTheServer) {
  ExpectFailure(RunQnget({"http://" + std::string(kNoAddress) + ":81/"}), 2,
                "could not resolve server 1.2.3.4.5:81: there is no such name");
}

TEST(QngetResolving, FailsForTheProxy) {
  ExpectFailure(RunQnget({"-p", std::string(kNoAddress) + ":8080", "http://mms.invalid/"}), 2,
                "could not resolve proxy 1.2.3.4.5:8080: there is no such name");
}

TEST(QngetResolving, FailsForAnAddressThatIsNobodys) {
  ExpectFailure(RunQnget({"http://255.255.255.255/"}), 2,
                "could not resolve server 255.255.255.255:80: it has no address to connect to");
}

TEST(QngetResolving, SaysWhichWayTheResolverFailed) {
  const std::pair<const char *, const char *> failures[] = {
      {"unknown", "there is no such name"},
      {"later", "the name server does not answer for now"},
      {"broken", "the name server failed"},
      {"empty", "the name has no IPv4 address"},
  };
  for (const auto &[name, reason] : failures) {
    ExpectFailure(RunProgram(FailingResolverCommand({std::string("http://") + name + "/"})), 2,
                  std::string("could not resolve server ") + name + ":80: " + reason);
  }
}

TEST(QngetConnecting, FailsForTheServer) {
  const RefusingPort port;

  ExpectFailure(RunQnget({LocalUrl(port.port())}), 3,
                "no connection to server " + Loopback(port.port()) + ": Connection refused");
}

TEST(QngetConnecting, FailsForTheProxy) {
  const RefusingPort port;

  ExpectFailure(RunQnget({"-p", Loopback(port.port()), "http://mms.invalid/"}), 3,
                "no connection to proxy " + Loopback(port.port()) + ": Connection refused");
}

TEST(QngetSending, FailsWhenThePeerResetsDuringTheBody) {
  ScriptedServer server({{ReadHeader(), Reset()}});
  const std::string body(20000000, 'x');

  const ProcessResult result = RunQnget({"--data", "-", LocalUrl(server.port())}, {.input = body});

  EXPECT_EQ(result.exit_code, 3);
  EXPECT_THAT(result.error, SendingFailed("server " + Loopback(server.port())));
}

TEST(QngetSending, NamesTheProxyWhenOneIsSet) {
  ScriptedServer proxy({{ReadHeader(), Reset()}});
  const std::string body(20000000, 'x');

  const ProcessResult result = RunQnget(
      {"-p", Loopback(proxy.port()), "--data", "-", "http://mms.invalid/"}, {.input = body});

  EXPECT_EQ(result.exit_code, 3);
  EXPECT_THAT(result.error, SendingFailed("proxy " + Loopback(proxy.port())));
}

// A server that takes no more says why before it closes.
TEST(QngetSending, DeliversTheAnswerThatCameBeforeItFailed) {
  const std::string answer = Answer("too large", "", "413 Too Large");
  ScriptedServer server({{ReadHeader(), SendBytes(answer), Close()}});

  const ProcessResult result =
      RunQnget({"--data", "-", LocalUrl(server.port())}, {.input = std::string(20000000, 'x')});

  EXPECT_EQ(result.exit_code, 22);
  EXPECT_EQ(result.output, "too large");
  EXPECT_THAT(result.error, HasSubstr("; it had answered already\n"));
  EXPECT_THAT(result.error, testing::EndsWith(Message("the answer has status 413")));
}

struct BadAnswer {
  const char *name;
  ConnectionScript script;
  const char *before;  // the message around the hop's name
  const char *after;
};

void PrintTo(const BadAnswer &answer, std::ostream *out) { *out << answer.name; }

class QngetReceiving : public testing::TestWithParam<BadAnswer> {};

TEST_P(QngetReceiving, FailsForTheServer) {
  ScriptedServer server({GetParam().script});

  ExpectFailure(RunQnget({LocalUrl(server.port())}), 4,
                GetParam().before + ("server " + Loopback(server.port())) + GetParam().after);
}

TEST_P(QngetReceiving, FailsForTheProxy) {
  ScriptedServer proxy({GetParam().script});

  ExpectFailure(RunQnget({"-p", Loopback(proxy.port()), "http://mms.invalid/"}), 4,
                GetParam().before + ("proxy " + Loopback(proxy.port())) + GetParam().after);
}

TEST_P(QngetReceiving, LeavesTheOutputFileAsItWas) {
  const ScratchFolder folder;
  const std::string file = folder.write("kept", "old");
  ScriptedServer server({GetParam().script});

  EXPECT_EQ(RunQnget({"-o", file, LocalUrl(server.port())}).exit_code, 4);

  EXPECT_EQ(folder.read("kept"), "old");
  EXPECT_EQ(folder.names(), std::vector<std::string>{"kept"});
}

const BadAnswer kBadAnswers[] = {
    {"ResetAtOnce",
     {ReadHeader(), Reset()},
     "receiving failed from ",
     ": Connection reset by peer"},
    {"Nothing", AnswerWith(""), "no answer from ", ""},
    {"NoStatusLine", AnswerWith("hello\r\n\r\nbody"), "no status line in the answer from ", ""},
    {"PartOfAStatusLine", AnswerWith("HTTP/1.0 200"), "no status line in the answer from ", ""},
    {"PartOfTheHeader", AnswerWith("HTTP/1.0 200 OK\r\nContent-Type: text/pl"), "the answer from ",
     " ends within its header"},
    {"HeaderWithoutItsEnd", AnswerWith("HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\n"),
     "the answer from ", " ends within its header"},
    {"PartOfTheBody", AnswerWith("HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\nabc"),
     "the answer from ", " ends after 3 of 5 bytes"},
    {"ResetWithinTheBody",
     {ReadHeader(), SendBytes("HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\n"), Reset()},
     "the answer from ",
     " ends after 0 of 5 bytes: Connection reset by peer"},
    {"PartOfAnErrorsBody", AnswerWith("HTTP/1.0 404 No\r\nContent-Length: 5\r\n\r\nabc"),
     "the answer from ", " ends after 3 of 5 bytes"},
    {"ResetWithinTheHeader",
     {ReadHeader(), SendBytes("HTTP/1.0 200 OK\r\n"), Reset()},
     "the answer from ",
     " ends within its header: Connection reset by peer"},
    {"ResetWithinABodyOfUnknownLength",
     {ReadHeader(), SendBytes("HTTP/1.0 200 OK\r\n\r\nabc"), Reset()},
     "the answer from ",
     " ends after 3 bytes: Connection reset by peer"},
    {"PartOfTheChunks",
     AnswerWith("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n5\r\nde"),
     "the answer from ", " ends after 5 bytes, before its last chunk"},
    {"PartOfMoreThan31Bits", AnswerWith("HTTP/1.0 200 OK\r\nContent-Length: 3000000000\r\n\r\nabc"),
     "the answer from ", " ends after 3 of 3000000000 bytes"},
    {"BadChunks",
     AnswerWith("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n-1\r\n"),
     "the answer from ", " is broken: the size of a chunk cannot be read"},
    {"AnotherTransferCoding",
     AnswerWith("HTTP/1.1 200 OK\r\nTransfer-Encoding: gzip, chunked\r\n\r\n0\r\n\r\n"),
     "the answer from ", " has the transfer coding 'gzip, chunked', and qnget knows chunked alone"},
    {"ContradictoryLengths",
     AnswerWith("HTTP/1.0 200 OK\r\nContent-Length: 3\r\nContent-Length: 4\r\n\r\nabc"),
     "the answer from ", " has Content-Length lines that contradict each other"},
    {"ALengthThatIsNoNumber", AnswerWith("HTTP/1.0 200 OK\r\nContent-Length: much\r\n\r\nabc"),
     "the answer from ", " has a Content-Length that is no number"},
    {"AStatusBelow100", AnswerWith("HTTP/1.0 099 Odd\r\n\r\nabc"), "the answer from ",
     " has the status 99, which is none"},
    {"AnotherProtocol",
     {ReadHeader(), SendBytes("HTTP/1.1 101 Now\r\n\r\n"), AwaitSignal()},
     "the answer from ",
     " switches to another protocol"},
    {"AZeroByteInTheHeader", AnswerWith(std::string("HTTP/1.0 200 OK\r\nX: \0\r\n\r\nabc", 27)),
     "the answer from ", " has a zero byte in its header"},
    {"AnInterimAnswerAlone", AnswerWith("HTTP/1.1 100 Continue\r\n\r\n"), "no answer from ", ""},
    {"InterimAnswersWithoutEnd",
     {ReadHeader(), SendUntilGone("HTTP/1.1 100 Continue\r\n\r\n")},
     "the answer from ",
     " has a header of more than 256 KiB"},
    {"AHeaderLineThatNeverEnds",
     {ReadHeader(), SendBytes("HTTP/1.0 200 OK\r\nX: "), SendUntilGone(std::string(1000, 'x'))},
     "the answer from ",
     " has a header of more than 256 KiB"},
};

INSTANTIATE_TEST_SUITE_P(Qnget, QngetReceiving, testing::ValuesIn(kBadAnswers),
                         [](const auto &test) { return std::string(test.param.name); });

struct GoodAnswer {
  const char *name;
  std::string answer;
  const char *body;
};

void PrintTo(const GoodAnswer &answer, std::ostream *out) { *out << answer.name; }

class QngetCompleteness : public testing::TestWithParam<GoodAnswer> {};

TEST_P(QngetCompleteness, AcceptsTheAnswer) {
  ScriptedServer server({AnswerWith(GetParam().answer)});

  const ProcessResult result = RunQnget({LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, GetParam().body);
  EXPECT_EQ(result.error, "");
}

const GoodAnswer kGoodAnswers[] = {
    {"WithoutALength", "HTTP/1.0 200 OK\r\n\r\nabc", "abc"},
    {"WithALengthOf0", "HTTP/1.0 200 OK\r\nContent-Length: 0\r\n\r\n", ""},
    {"WithNoContentDespiteALength", "HTTP/1.0 204 No\r\nContent-Length: 5\r\n\r\n", ""},
    {"BehindAnInterimAnswer",
     "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.0 200 OK\r\nContent-Length: 3\r\n\r\nabc", "abc"},
    {"WithAHeaderOfOneLine", "HTTP/1.0 200\r\n\r\n", ""},
    {"WithLineFeedsAlone", "HTTP/1.0 200 OK\nContent-Length: 3\n\nabc", "abc"},
    {"WithTheSameLengthTwice",
     "HTTP/1.0 200 OK\r\nContent-Length: 3\r\nContent-Length: 3\r\n\r\nabc", "abc"},
    {"InChunks",
     "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2;x=y\r\nab\r\n1\r\nc\r\n0\r\nT: "
     "u\r\n\r\n",
     "abc"},
    {"InChunksDespiteALength",
     "HTTP/1.1 200 OK\r\nContent-Length: 1\r\nTransfer-Encoding: "
     "chunked\r\n\r\n3\r\nabc\r\n0\r\n\r\n",
     "abc"},
    {"BehindSomeInterimAnswers",
     "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Hints\r\nLink: x\r\n\r\n"
     "HTTP/1.0 200 OK\r\n\r\nabc",
     "abc"},
    {"WithAHeaderOf200KB",
     "HTTP/1.0 200 OK\r\nX: " + std::string(200000, 'x') + "\r\nContent-Length: 3\r\n\r\nabc",
     "abc"},
};

INSTANTIATE_TEST_SUITE_P(Qnget, QngetCompleteness, testing::ValuesIn(kGoodAnswers),
                         [](const auto &test) { return std::string(test.param.name); });

TEST(QngetHead, NeedsNoBodyForALength) {
  ScriptedServer server({AnswerWith("HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\n")});

  const ProcessResult result = RunQnget({"-X", "HEAD", LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.error, "");
}

TEST(QngetHead, DeliversNoBodyThatComesAllTheSame) {
  ScriptedServer server({AnswerWith(Answer("body"))});

  EXPECT_EQ(RunQnget({"-X", "HEAD", LocalUrl(server.port())}).output, "");
}

TEST(QngetErrorStatus, IsExitCode22WithTheBodyDelivered) {
  ScriptedServer server({AnswerWith(Answer("look", "", "404 Not Found"))});

  const ProcessResult result = RunQnget({LocalUrl(server.port())});

  EXPECT_EQ(result.output, "look");
  ExpectFailure(result, 22, "the answer has status 404");
}

TEST(QngetErrorStatus, BeginsAt400) {
  ScriptedServer server(
      {AnswerWith(Answer("", "", "400 Bad")), AnswerWith(Answer("", "", "299 x"))});

  EXPECT_EQ(RunQnget({LocalUrl(server.port())}).exit_code, 22);
  EXPECT_EQ(RunQnget({LocalUrl(server.port())}).exit_code, 0);
}

TEST(QngetErrorStatus, WritesItsBodyToTheFile) {
  const ScratchFolder folder;
  ScriptedServer server({AnswerWith(Answer("look", "", "500 Broken"))});

  EXPECT_EQ(RunQnget({"-o", folder.path("f"), LocalUrl(server.port())}).exit_code, 22);

  EXPECT_EQ(folder.read("f"), "look");
}

}  // namespace
}  // namespace qntest
