// SPDX-License-Identifier: MIT
// Redirects as qnget shows them: followed ten times, the final URL, and those
// that it does not follow.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qnget_program.h"
#include "support/process.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

const std::string kAgain = RedirectTo("/");

TEST(QngetRedirect, DeliversTheBodyOfTheLastAnswer) {
  ScriptedServer target({AnswerWith(Answer("there"))});
  ScriptedServer server({AnswerWith(RedirectTo(LocalUrl(target.port(), "/new")))});

  const ProcessResult result = RunQnget({LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "there");
  EXPECT_THAT(target.Received(0), StartsWith("GET /new HTTP/1.0\r\n"));
}

TEST(QngetRedirect, ShowsTheUrlThatAnswered) {
  ScriptedServer target({AnswerWith(Answer("there", "Content-Location: /other\r\n"))});
  const std::string url = LocalUrl(target.port(), "/new");
  ScriptedServer server({AnswerWith(RedirectTo(url))});

  EXPECT_THAT(RunQnget({"-i", LocalUrl(server.port())}).error, HasSubstr("\nurl: " + url + "\n"));
}

TEST(QngetRedirect, DoesNotTakeTheRedirectsLengthForTheFinalOne) {
  ScriptedServer target({AnswerWith("HTTP/1.0 200 OK\r\n\r\nabc")});
  ScriptedServer server({AnswerWith(RedirectTo(LocalUrl(target.port())))});

  const ProcessResult result = RunQnget({"-i", LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_THAT(result.error, HasSubstr("\nlength: unknown\n"));
}

TEST(QngetRedirect, DoesNotTakeTheRedirectsStatusForTheFinalOne) {
  ScriptedServer target({AnswerWith("")});
  ScriptedServer server({AnswerWith(RedirectTo(LocalUrl(target.port())))});

  const ProcessResult result = RunQnget({LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 4);
  EXPECT_EQ(result.error, Message("no answer from server " + Loopback(target.port())));
}

TEST(QngetRedirect, NamesTheServerThatFailed) {
  const RefusingPort port;
  ScriptedServer server({AnswerWith(RedirectTo(LocalUrl(port.port())))});

  const ProcessResult result = RunQnget({LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 3);
  EXPECT_EQ(result.error,
            Message("no connection to server " + Loopback(port.port()) + ": Connection refused"));
}

TEST(QngetRedirect, IsFollowedTenTimes) {
  ScriptedServer target({AnswerWith(Answer("there"))});
  std::vector<ConnectionScript> scripts(9, AnswerWith(kAgain));
  scripts.push_back(AnswerWith(RedirectTo(LocalUrl(target.port()))));
  ScriptedServer server(scripts);

  const ProcessResult result = RunQnget({LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "there");
}

TEST(QngetRedirect, FailsTheEleventhTime) {
  ScriptedServer server(std::vector<ConnectionScript>(11, AnswerWith(kAgain)));
  const std::string url = LocalUrl(server.port());

  const ProcessResult result = RunQnget({url});

  EXPECT_EQ(result.exit_code, 5);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.error, Message("more than 10 redirects, the last to " + url));
}

struct Reference {
  const char *name;
  const char *location;
  const char *asked;  // on the same server
};

void PrintTo(const Reference &reference, std::ostream *out) { *out << reference.name; }

class QngetRelativeRedirect : public testing::TestWithParam<Reference> {};

TEST_P(QngetRelativeRedirect, IsResolved) {
  ScriptedServer server({AnswerWith(RedirectTo(GetParam().location)), AnswerWith(Answer("there"))});
  const std::string asked = GetParam().asked;

  const ProcessResult result = RunQnget({"-i", LocalUrl(server.port(), "/a/b?c")});

  EXPECT_EQ(result.output, "there");
  EXPECT_THAT(server.Received(1), StartsWith("GET " + asked + " HTTP/1.0\r\n"));
  EXPECT_THAT(result.error, HasSubstr("\nurl: " + LocalUrl(server.port(), asked) + "\n"));
}

// All other forms are ResolveReference()'s.
const Reference kReferences[] = {
    {"ToANeighbour", "new", "/a/new"},
    {"WithAFragment", "/new#f", "/new"},
};

INSTANTIATE_TEST_SUITE_P(Qnget, QngetRelativeRedirect, testing::ValuesIn(kReferences),
                         [](const auto &test) { return std::string(test.param.name); });

TEST(QngetRedirect, IsFollowedToAnotherServerByItsNameAlone) {
  ScriptedServer target({AnswerWith(Answer("there"))});
  ScriptedServer server({AnswerWith(RedirectTo("//" + Loopback(target.port()) + "/new"))});

  EXPECT_EQ(RunQnget({LocalUrl(server.port())}).output, "there");
  EXPECT_THAT(target.Received(0), StartsWith("GET /new HTTP/1.0\r\n"));
}

TEST(QngetRedirect, GoesThroughTheProxyAgain) {
  ScriptedServer proxy({AnswerWith(RedirectTo("../new")), AnswerWith(Answer("there"))});

  RunQnget({"-p", Loopback(proxy.port()), "http://mms.invalid:81/a/b"});

  EXPECT_THAT(proxy.Received(1), StartsWith("GET http://mms.invalid:81/new HTTP/1.0\r\n"));
}

// Its server may keep the connection open, and the body does not matter.
TEST(QngetRedirect, IsFollowedBeforeItsBodyHasCome) {
  const std::string head = "HTTP/1.0 302 Found\r\nLocation: /new\r\nContent-Length: 9\r\n\r\n";
  ScriptedServer server(
      {{ReadHeader(), SendBytes(head), ReadToEnd()}, AnswerWith(Answer("there"))});

  EXPECT_EQ(RunQnget({LocalUrl(server.port())}).output, "there");
}

TEST(QngetRedirect, WithoutALocationIsTheFinalAnswer) {
  ScriptedServer server({AnswerWith(Answer("here", "", "302 Found"))});

  const ProcessResult result = RunQnget({LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "here");
}

TEST(QngetRedirect, WithAChoiceIsTheFinalAnswer) {
  ScriptedServer server({AnswerWith(RedirectTo("/new", "300 Multiple Choices"))});

  const ProcessResult result = RunQnget({LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "elsewhere");
}

TEST(QngetRedirect, GoesOnAsAGetAfterAPost) {
  ScriptedServer server({AnswerBodyWith(3, RedirectTo("/get")), AnswerWith(Answer("there"))});

  const ProcessResult result = RunQnget({"--data", "-", LocalUrl(server.port())}, {.input = "a=b"});

  EXPECT_EQ(result.output, "there");
  EXPECT_EQ(result.error,
            Message("redirected with status 302; the POST goes on as a GET without its body"));
  EXPECT_THAT(server.Received(1), StartsWith("GET /get HTTP/1.0\r\n"));
  EXPECT_THAT(server.Received(1), testing::Not(HasSubstr("Content-")));
  EXPECT_THAT(server.Received(1), testing::EndsWith("\r\n\r\n"));
}

TEST(QngetRedirect, PostsAgainWithTheStatusesForThat) {
  for (const std::string status : {"307 Temporary Redirect", "308 Permanent Redirect"}) {
    ScriptedServer server(
        {AnswerBodyWith(3, RedirectTo("/again", status)), AnswerBodyWith(3, Answer("there"))});

    const ProcessResult result =
        RunQnget({"--data", "-", LocalUrl(server.port())}, {.input = "a=b"});

    EXPECT_EQ(result.error, "");
    EXPECT_THAT(server.Received(1), StartsWith("POST /again HTTP/1.0\r\n"));
    EXPECT_THAT(server.Received(1), testing::EndsWith("Content-Length: 3\r\n\r\na=b"));
  }
}

TEST(QngetRedirect, OfAHeadStaysAHead) {
  ScriptedServer server({AnswerWith(RedirectTo("/new", "303 See Other")), AnswerWith(Answer(""))});

  RunQnget({"-X", "HEAD", LocalUrl(server.port())});

  EXPECT_THAT(server.Received(1), StartsWith("HEAD /new HTTP/1.0\r\n"));
}

TEST(QngetRedirect, TakesItsCookieAlong) {
  const std::string redirect = "HTTP/1.0 302 Found\nSet-Cookie: sid=7; Path=/\nLocation: /in\n\n";
  ScriptedServer server({AnswerWith(redirect), AnswerWith(Answer("there"))});

  RunQnget({LocalUrl(server.port())});

  EXPECT_THAT(server.Received(1), HasSubstr("\r\nCookie: sid=7\r\n"));
}

TEST(QngetRedirect, TellsOnlyTheFirstServerWhoTheUserIs) {
  ScriptedServer other({AnswerWith(Answer("there"))});
  ScriptedServer server(
      {AnswerWith(RedirectTo("/next")), AnswerWith(RedirectTo(LocalUrl(other.port())))});

  RunQnget({"-H", "Authorization: Basic eA==", "-H", "Cookie: a=b", "-H", "X-A: 1",
            LocalUrl(server.port())});

  const std::string secret = "\r\nAuthorization: Basic eA==\r\nCookie: a=b\r\nX-A: 1\r\n";
  EXPECT_THAT(server.Received(0), HasSubstr(secret));
  EXPECT_THAT(server.Received(1), HasSubstr(secret));
  EXPECT_THAT(other.Received(0), testing::Not(HasSubstr("Authorization")));
  EXPECT_THAT(other.Received(0), testing::Not(HasSubstr("Cookie")));
  EXPECT_THAT(other.Received(0), HasSubstr("\r\nX-A: 1\r\n"));
}

struct Target {
  const char *name;
  std::string url;
  int exit_code;
  const char *problem;
};

void PrintTo(const Target &target, std::ostream *out) { *out << target.name; }

class QngetUnusableRedirect : public testing::TestWithParam<Target> {};

TEST_P(QngetUnusableRedirect, IsRefused) {
  ScriptedServer server({AnswerWith(RedirectTo(GetParam().url))});

  const ProcessResult result = RunQnget({LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, GetParam().exit_code);
  EXPECT_EQ(result.error, Message(std::string("redirected to a URL that cannot be followed: ") +
                                  GetParam().problem));
}

const Target kTargets[] = {
    {"ToASecureUrl", "https://127.0.0.1/", 7, "qnget speaks plain HTTP, not https"},
    {"ToAnotherScheme", "ftp://127.0.0.1/", 3, "qnget speaks plain HTTP, not ftp"},
    {"ToNoServer", "http:///new", 2, "'http:///new' names no server"},
    {"ToWhatATerminalObeys", "/\x1B[2J", 3, "it has control characters"},
};

INSTANTIATE_TEST_SUITE_P(Qnget, QngetUnusableRedirect, testing::ValuesIn(kTargets),
                         [](const auto &test) { return std::string(test.param.name); });

}  // namespace
}  // namespace qntest
