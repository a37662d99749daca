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

// An address that the resolver refuses without asking anyone.
const char *const kNoAddress = "1.2.3.4.5";

void ExpectFailure(const ProcessResult &result, int exit_code, const std::string &message) {
  EXPECT_EQ(result.exit_code, exit_code);
  EXPECT_EQ(result.error, Message(message));
}

TEST(QngetResolving, FailsForTheServer) {
  ExpectFailure(RunQnget({"http://" + std::string(kNoAddress) + "/"}), 2,
                "could not resolve server 1.2.3.4.5");
}

TEST(QngetResolving, FailsForTheProxy) {
  ExpectFailure(RunQnget({"-p", std::string(kNoAddress) + ":8080", "http://mms.invalid/"}), 2,
                "could not resolve proxy 1.2.3.4.5");
}

TEST(QngetConnecting, FailsForTheServer) {
  const RefusingPort port;

  ExpectFailure(RunQnget({LocalUrl(port.port())}), 3,
                "no connection to server " + Loopback(port.port()));
}

TEST(QngetConnecting, FailsForTheProxy) {
  const RefusingPort port;

  ExpectFailure(RunQnget({"-p", Loopback(port.port()), "http://mms.invalid/"}), 3,
                "no connection to proxy " + Loopback(port.port()));
}

TEST(QngetSending, FailsWhenThePeerResetsDuringTheBody) {
  ScriptedServer server({{ReadHeader(), Reset()}});
  const std::string body(20000000, 'x');

  ExpectFailure(RunQnget({"--data", "-", LocalUrl(server.port())}, {.input = body}), 3,
                "sending failed to server " + Loopback(server.port()));
}

TEST(QngetSending, NamesTheProxyWhenOneIsSet) {
  ScriptedServer proxy({{ReadHeader(), Reset()}});
  const std::string body(20000000, 'x');

  ExpectFailure(RunQnget({"-p", Loopback(proxy.port()), "--data", "-", "http://mms.invalid/"},
                         {.input = body}),
                3, "sending failed to proxy " + Loopback(proxy.port()));
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
    {"ResetAtOnce", {ReadHeader(), Reset()}, "receiving failed from ", ""},
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
     " ends after 0 of 5 bytes"},
    {"PartOfAnErrorsBody", AnswerWith("HTTP/1.0 404 No\r\nContent-Length: 5\r\n\r\nabc"),
     "the answer from ", " ends after 3 of 5 bytes"},
    {"HeaderLineThatNeverEnds",
     {ReadHeader(), SendBytes("HTTP/1.0 200 OK\r\nX: " + std::string(30000, 'x')), AwaitSignal()},
     "no progress in receiving from ",
     ""},
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
    {"WithALengthThatIsNoNumber", "HTTP/1.0 200 OK\r\nContent-Length: much\r\n\r\nabc", "abc"},
    {"WithNoContentDespiteALength", "HTTP/1.0 204 No\r\nContent-Length: 5\r\n\r\n", ""},
    {"BehindAnInterimAnswer",
     "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.0 200 OK\r\nContent-Length: 3\r\n\r\nabc", "abc"},
    {"WithAHeaderOfOneLine", "HTTP/1.0 200\r\n\r\n", ""},
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
