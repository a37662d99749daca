// SPDX-License-Identifier: MIT
// The exit codes of qnget for requests that do not arrive, and the messages, which
// name the hop that failed: the proxy if one is set, else the server.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qnget_program.h"
#include "support/process.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

using testing::HasSubstr;

TEST(QngetResolving, FailsForServerAndProxy) {
  // The first is an address that the resolver refuses without asking anyone.
  EXPECT_THAT(RunQnget({"http://1.2.3.4.5:81/"}),
              FailsWith(2, "could not resolve server 1.2.3.4.5:81: there is no such name"));
  EXPECT_THAT(RunQnget({"-p", "1.2.3.4.5:8080", "http://mms.invalid/"}),
              FailsWith(2, "could not resolve proxy 1.2.3.4.5:8080: there is no such name"));
  EXPECT_THAT(
      RunQnget({"http://255.255.255.255/"}),
      FailsWith(2, "could not resolve server 255.255.255.255:80: it has no address to connect to"));
}

TEST(QngetResolving, SaysWhichWayTheResolverFailed) {
  const std::pair<std::string, const char *> failures[] = {
      {"unknown", "there is no such name"},
      {"later", "the name server does not answer for now"},
      {"broken", "the name server failed"},
      {"empty", "the name has no IPv4 address"},
  };
  for (const auto &[name, reason] : failures) {
    EXPECT_THAT(RunProgram(FailingResolverCommand({"http://" + name + "/"})),
                FailsWith(2, "could not resolve server " + name + ":80: " + reason));
  }
}

TEST(QngetConnecting, FailsForServerAndProxy) {
  const RefusingPort port;
  const std::string address = Loopback(port.port());

  EXPECT_THAT(RunQnget({LocalUrl(port.port())}),
              FailsWith(3, "no connection to server " + address + ": Connection refused"));
  EXPECT_THAT(RunQnget({"-p", address, "http://mms.invalid/"}),
              FailsWith(3, "no connection to proxy " + address + ": Connection refused"));
}

// More than fits into the buffers between the two ends.
const std::string kLargeBody(20000000, 'x');

TEST(QngetSending, FailsWhenThePeerResetsDuringTheBody) {
  const std::pair<const char *, Words> calls[] = {
      {"server", {"--data", "-", kUrl}},
      {"proxy", {"-p", "HOST:PORT", "--data", "-", "http://mms.invalid/"}}};
  for (const auto &[hop, arguments] : calls) {
    // Which of the two reasons shows hangs on when the reset comes.
    const std::string message = std::string("sending failed to ") + hop + " HOST:PORT: ";
    EXPECT_THAT(RunOn({{ReadHeader(), Reset()}}, arguments, {.input = kLargeBody}),
                testing::AnyOf(FailsWith(3, message + "Connection reset by peer"),
                               FailsWith(3, message + "Broken pipe")));
  }
}

// A server that takes no more says why before it closes.
TEST(QngetSending, DeliversTheAnswerThatCameBeforeItFailed) {
  const std::string answer = Answer("too large", "", "413 Too Large");

  const Exchange result = RunOn({{ReadHeader(), SendBytes(answer), Close()}}, {"--data", "-", kUrl},
                                {.input = kLargeBody});

  EXPECT_EQ(result.exit_code, 22);
  EXPECT_EQ(result.output, "too large");
  EXPECT_THAT(result.error, HasSubstr("; it had answered already\n"));
  EXPECT_THAT(result.error, testing::EndsWith(Message("the answer has status 413")));
}

}  // namespace
}  // namespace qntest
