// SPDX-License-Identifier: MIT
// What -v shows: each hop's request as it was sent and every header as it came,
// with nothing that a terminal might obey.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qnget_program.h"
#include "support/process.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

using testing::HasSubstr;
using testing::Not;

const std::vector<std::string> kPlain{
    "-v", "-H", "Accept: a", "-H", "User-Agent:", "-H", "Profile:", "-H", "Accept-Language:"};

std::string ShownWith(std::vector<std::string> arguments, const ProcessOptions &options = {}) {
  arguments.insert(arguments.begin(), kPlain.begin(), kPlain.end());
  return RunQnget(arguments, options).error;
}

TEST(QngetVerbose, ShowsEachHop) {
  ScriptedServer server({AnswerWith("HTTP/1.0 302 Found\r\nLocation: new\r\n\r\n"),
                         AnswerWith("HTTP/1.0 200 OK\r\nX: y\r\n\r\nbody")});
  const std::string connected =
      "* connected to server " + Loopback(server.port()) + " at 127.0.0.1\n";
  const std::string header = "> Host: " + Loopback(server.port()) + "\n> Accept: a\n> \n";

  EXPECT_EQ(ShownWith({LocalUrl(server.port(), "/m")}),
            connected + "> GET /m HTTP/1.0\n" + header +
                "< HTTP/1.0 302 Found\n< Location: new\n< \n" + "* status 302 redirects to " +
                LocalUrl(server.port(), "/new") + "\n" + connected + "> GET /new HTTP/1.0\n" +
                header + "< HTTP/1.0 200 OK\n< X: y\n< \n");
}

TEST(QngetVerbose, ShowsTheProxyThatIsAsked) {
  ScriptedServer proxy({AnswerWith(Answer("x"))});

  const std::string shown = ShownWith({"-p", Loopback(proxy.port()), "http://mms.invalid/"});

  EXPECT_THAT(shown, HasSubstr("* connected to proxy " + Loopback(proxy.port())));
  EXPECT_THAT(shown, HasSubstr("> GET http://mms.invalid/ HTTP/1.0\n"));
}

TEST(QngetVerbose, ShowsInterimAnswers) {
  ScriptedServer server({AnswerWith("HTTP/1.1 100 Continue\r\n\r\n" + Answer("x"))});

  EXPECT_THAT(ShownWith({LocalUrl(server.port())}),
              HasSubstr("< HTTP/1.1 100 Continue\n< \n< HTTP/1.0 200 OK\n"));
}

TEST(QngetVerbose, MakesControlCharactersVisible) {
  const std::string line =
      "X: \x1B[2J\x07\x9B"
      "1m\t\xC3\xBC\r\n";
  ScriptedServer server({AnswerWith(Answer("x", line))});

  EXPECT_THAT(ShownWith({LocalUrl(server.port())}),
              HasSubstr("< X: \\x1b[2J\\x07\\x9b1m\\x09\\xc3\\xbc\n"));
}

TEST(QngetVerbose, ShowsNoBody) {
  ScriptedServer server({AnswerBodyWith(6, Answer("answer"))});

  const std::string shown =
      ShownWith({"--data", "-", LocalUrl(server.port())}, {.input = "secret"});

  EXPECT_THAT(shown, HasSubstr("> Content-Length: 6\n> \n"));
  EXPECT_THAT(shown, Not(HasSubstr("secret")));
  EXPECT_THAT(shown, Not(HasSubstr("answer")));
}

TEST(QngetVerbose, ShowsTheHeaderOfARawAnswer) {
  ScriptedServer server({AnswerWith(Answer("x"))});

  EXPECT_THAT(ShownWith({"--raw", LocalUrl(server.port())}), HasSubstr("\n< HTTP/1.0 200 OK\n"));
}

TEST(QngetVerbose, ShowsAConnectionThatIsRefusedAsAFailureAlone) {
  const RefusingPort port;

  EXPECT_EQ(ShownWith({LocalUrl(port.port())}),
            Message("no connection to server " + Loopback(port.port()) + ": Connection refused"));
}

}  // namespace
}  // namespace qntest
