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

// Without a location the same URL is asked again.
const std::string kAgain = Answer("again", "", "302 Found");

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
  EXPECT_EQ(result.error, Message("no connection to server " + Loopback(port.port())));
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

TEST(QngetRedirect, GoesOnAsAGetAfterAPost) {
  ScriptedServer target({AnswerWith(Answer("there"))});
  ScriptedServer server({AnswerBodyWith(3, RedirectTo(LocalUrl(target.port(), "/get")))});

  RunQnget({"--data", "-", LocalUrl(server.port())}, {.input = "a=b"});

  EXPECT_THAT(target.Received(0), StartsWith("GET /get HTTP/1.0\r\n"));
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
    {"ToASecureUrl", "https://127.0.0.1/", 3, "qnget speaks plain HTTP, not https"},
    {"ToAPathAlone", "/new", 2, "'/new' names no server"},
    {"ToNothing", "", 2, "'' names no server"},
    {"ToPort0", "http://127.0.0.1:0/", 3, "the port is not from 1 to 65535"},
    {"ToAUrlThatWouldBeCut", "http://127.0.0.1/" + std::string(2000, 'x'), 3,
     "longer than 2000 bytes"},
};

INSTANTIATE_TEST_SUITE_P(Qnget, QngetUnusableRedirect, testing::ValuesIn(kTargets),
                         [](const auto &test) { return std::string(test.param.name); });

}  // namespace
}  // namespace qntest
