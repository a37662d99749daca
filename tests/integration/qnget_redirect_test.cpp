// SPDX-License-Identifier: MIT
// Redirects as qnget shows them: followed ten times, the final URL, and those
// that it does not follow. What a Location leads to is held by ResolveReference()'s
// tests, and which request follows which status by QngetFollowing.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qnget_program.h"
#include "support/process.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const ConnectionScript kThere = AnswerWith(Answer("there"));

ConnectionScript Redirecting(const std::string &url, const std::string &status = "302 Found") {
  return AnswerWith(RedirectTo(url, status));
}

TEST(QngetRedirect, DeliversTheBodyOfTheLastAnswer) {
  const std::string other = Answer("there", "Content-Location: /other\r\n");

  const Exchange result =
      RunOn({Redirecting("new#f"), AnswerWith(other)}, {"-i", "http://HOST:PORT/a/b?c"});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "there");
  EXPECT_THAT(result.error, HasSubstr("\nurl: http://HOST:PORT/a/new\n"));
  EXPECT_THAT(result.requests, ElementsAre(StartsWith("GET /a/b?c HTTP/1.0\r\n"),
                                           StartsWith("GET /a/new HTTP/1.0\r\n")));
}

TEST(QngetRedirect, DoesNotTakeTheRedirectsLengthForTheFinalOne) {
  EXPECT_THAT(
      RunOn({Redirecting("/"), AnswerWith("HTTP/1.0 200 OK\r\n\r\nabc")}, {"-i", kUrl}).error,
      HasSubstr("\nlength: unknown\n"));
}

TEST(QngetRedirect, NamesTheServerThatFailed) {
  const RefusingPort port;
  ScriptedServer silent({AnswerWith("")});

  EXPECT_THAT(
      RunOn({Redirecting(LocalUrl(port.port()))}),
      FailsWith(3, "no connection to server " + Loopback(port.port()) + ": Connection refused"));
  EXPECT_THAT(RunOn({Redirecting(LocalUrl(silent.port()))}),
              FailsWith(4, "no answer from server " + Loopback(silent.port())));
}

TEST(QngetRedirect, IsFollowedTenTimes) {
  std::vector<ConnectionScript> scripts(10, Redirecting("/"));
  scripts.push_back(kThere);

  EXPECT_THAT(RunOn(scripts), Delivers("there"));
}

TEST(QngetRedirect, FailsTheEleventhTime) {
  const Exchange result = RunOn(std::vector<ConnectionScript>(11, Redirecting("/")));

  EXPECT_EQ(result.output, "");
  EXPECT_THAT(result, FailsWith(5, "more than 10 redirects, the last to " + kUrl));
}

TEST(QngetRedirect, IsFollowedToAnotherServerByItsNameAlone) {
  ScriptedServer target({kThere});

  EXPECT_EQ(RunOn({Redirecting("//" + Loopback(target.port()) + "/new")}).output, "there");
  EXPECT_THAT(target.Received(0), StartsWith("GET /new HTTP/1.0\r\n"));
}

TEST(QngetRedirect, GoesThroughTheProxyAgain) {
  const Exchange result =
      RunOn({Redirecting("../new"), kThere}, {"-p", "HOST:PORT", "http://mms.invalid:81/a/b"});

  EXPECT_THAT(result.requests.back(), StartsWith("GET http://mms.invalid:81/new HTTP/1.0\r\n"));
}

// Its server may keep the connection open, and the body does not matter.
TEST(QngetRedirect, IsFollowedBeforeItsBodyHasCome) {
  const std::string head = "HTTP/1.0 302 Found\r\nLocation: /new\r\nContent-Length: 9\r\n\r\n";

  EXPECT_EQ(RunOn({{ReadHeader(), SendBytes(head), ReadToEnd()}, kThere}).output, "there");
}

TEST(QngetRedirect, IsTheFinalAnswerWhereItLeadsNowhere) {
  ExpectEach({
      {"WithoutALocation", AnswerWith(Answer("here", "", "302 Found")), {kUrl}, "here"},
      {"WithAChoice", Redirecting("/new", "300 Multiple Choices"), {kUrl}, "elsewhere"},
  });
}

TEST(QngetRedirect, GoesOnAsAGetAfterAPost) {
  const Exchange result =
      RunOn({Redirecting("/get"), kThere}, {"--data", "-", kUrl}, {.input = "a=b"});

  EXPECT_EQ(result.output, "there");
  EXPECT_EQ(result.error,
            Message("redirected with status 302; the POST goes on as a GET without its body"));
  EXPECT_THAT(result.requests.back(), StartsWith("GET /get HTTP/1.0\r\n"));
  EXPECT_THAT(result.requests.back(), Not(HasSubstr("Content-")));
  EXPECT_THAT(result.requests.back(), testing::EndsWith("\r\n\r\n"));
}

TEST(QngetRedirect, PostsAgainWithTheStatusesForThat) {
  const Exchange result = RunOn({Redirecting("/2", "307 Temporary Redirect"),
                                 Redirecting("/3", "308 Permanent Redirect"), kThere},
                                {"--data", "-", kUrl}, {.input = "a=b"});

  EXPECT_THAT(result, Delivers("there"));
  const auto posted = [](const std::string &path) {
    return testing::AllOf(StartsWith("POST " + path + " HTTP/1.0\r\n"),
                          testing::EndsWith("Content-Length: 3\r\n\r\na=b"));
  };
  EXPECT_THAT(result.requests, ElementsAre(posted("/"), posted("/2"), posted("/3")));
}

TEST(QngetRedirect, OfAHeadStaysAHead) {
  const Exchange result =
      RunOn({Redirecting("/new", "303 See Other"), AnswerWith(Answer(""))}, {"-X", "HEAD", kUrl});

  EXPECT_THAT(result.requests.back(), StartsWith("HEAD /new HTTP/1.0\r\n"));
}

TEST(QngetRedirect, TakesItsCookieAlong) {
  const std::string redirect = "HTTP/1.0 302 Found\nSet-Cookie: sid=7; Path=/\nLocation: /in\n\n";

  EXPECT_THAT(RunOn({AnswerWith(redirect), kThere}).requests.back(),
              HasSubstr("\r\nCookie: sid=7\r\n"));
}

TEST(QngetRedirect, TellsOnlyTheFirstServerWhoTheUserIs) {
  ScriptedServer other({kThere});

  const Exchange result =
      RunOn({Redirecting("/next"), Redirecting(LocalUrl(other.port()))},
            {"-H", "Authorization: Basic eA==", "-H", "Cookie: a=b", "-H", "X-A: 1", kUrl});

  const std::string secret = "\r\nAuthorization: Basic eA==\r\nCookie: a=b\r\nX-A: 1\r\n";
  EXPECT_THAT(result.requests, ElementsAre(HasSubstr(secret), HasSubstr(secret)));
  EXPECT_THAT(other.Received(0), Not(HasSubstr("Authorization")));
  EXPECT_THAT(other.Received(0), Not(HasSubstr("Cookie")));
  EXPECT_THAT(other.Received(0), HasSubstr("\r\nX-A: 1\r\n"));
}

TEST(QngetRedirect, IsRefusedToAUrlThatCannotBeFollowed) {
  const std::string refused = "qnget: redirected to a URL that cannot be followed: ";
  ExpectEach({
      {"ToASecureUrl",
       Redirecting("https://127.0.0.1/"),
       {kUrl},
       "",
       refused + "qnget speaks plain HTTP, not https\n",
       7},
      {"ToAnotherScheme",
       Redirecting("ftp://127.0.0.1/"),
       {kUrl},
       "",
       refused + "qnget speaks plain HTTP, not ftp\n",
       3},
      {"ToNoServer",
       Redirecting("http:///new"),
       {kUrl},
       "",
       refused + "'http:///new' names no server\n",
       2},
      {"ToWhatATerminalObeys",
       Redirecting("/\x1B[2J"),
       {kUrl},
       "",
       refused + "it has control characters\n",
       3},
  });
}

}  // namespace
}  // namespace qntest
