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

std::string ShownOf(const std::vector<ConnectionScript> &scripts, const Words &arguments = {kUrl},
                    const ProcessOptions &options = {}) {
  return RunOn(scripts, Joined(kPlain, arguments), options).error;
}

TEST(QngetVerbose, ShowsEachHop) {
  const std::string connected = "* connected to server HOST:PORT at 127.0.0.1\n";
  const std::string header = "> Host: HOST:PORT\n> Accept: a\n> \n";

  EXPECT_EQ(ShownOf({AnswerWith("HTTP/1.0 302 Found\r\nLocation: new\r\n\r\n"),
                     AnswerWith("HTTP/1.0 200 OK\r\nX: y\r\n\r\nbody")},
                    {"http://HOST:PORT/m"}),
            connected + "> GET /m HTTP/1.0\n" + header +
                "< HTTP/1.0 302 Found\n< Location: new\n< \n"
                "* status 302 redirects to http://HOST:PORT/new\n" +
                connected + "> GET /new HTTP/1.0\n" + header + "< HTTP/1.0 200 OK\n< X: y\n< \n");
}

TEST(QngetVerbose, ShowsTheProxyThatIsAsked) {
  const std::string shown =
      ShownOf({AnswerWith(Answer("x"))}, {"-p", "HOST:PORT", "http://mms.invalid/"});

  EXPECT_THAT(shown, HasSubstr("* connected to proxy HOST:PORT"));
  EXPECT_THAT(shown, HasSubstr("> GET http://mms.invalid/ HTTP/1.0\n"));
}

TEST(QngetVerbose, ShowsInterimAnswersAndMakesControlCharactersVisible) {
  const std::string interim = "HTTP/1.1 100 Continue\r\nX: \x1B[2J\x07\x9B 1m\t\xC3\xBC\r\n\r\n";

  EXPECT_THAT(ShownOf({AnswerWith(interim + Answer("x"))}),
              HasSubstr("< HTTP/1.1 100 Continue\n< X: \\x1b[2J\\x07\\x9b 1m\\x09\\xc3\\xbc\n< \n"
                        "< HTTP/1.0 200 OK\n"));
}

TEST(QngetVerbose, ShowsNoBody) {
  const std::string shown =
      ShownOf({AnswerWith(Answer("answer"))}, {"--data", "-", kUrl}, {.input = "secret"});

  EXPECT_THAT(shown, HasSubstr("> Content-Length: 6\n> \n"));
  EXPECT_THAT(shown, Not(HasSubstr("secret")));
  EXPECT_THAT(shown, Not(HasSubstr("answer")));
}

TEST(QngetVerbose, ShowsTheHeaderOfARawAnswer) {
  EXPECT_THAT(ShownOf({AnswerWith(Answer("x"))}, {"--raw", kUrl}),
              HasSubstr("\n< HTTP/1.0 200 OK\n"));
}

TEST(QngetVerbose, ShowsAConnectionThatIsRefusedAsAFailureAlone) {
  const RefusingPort port;

  EXPECT_THAT(
      RunQnget({"-v", LocalUrl(port.port())}),
      FailsWith(3, "no connection to server " + Loopback(port.port()) + ": Connection refused"));
}

}  // namespace
}  // namespace qntest
