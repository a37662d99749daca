// SPDX-License-Identifier: MIT
// What qnget sends: the exact bytes of its requests for each option that has a
// part in them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "qnget_program.h"
#include "support/process.h"
#include "support/scratch_folder.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

using testing::HasSubstr;

// The header lines of a request that none of the options changes.
const std::vector<std::string> kPlainHeaders{"--accept",  "a", "--user-agent",      "u",
                                             "--profile", "p", "--accept-language", "l"};
const std::string kPlainLines =
    "Accept: a\r\nUser-Agent: u\r\nProfile: p\r\nAccept-Language: l\r\n";

std::vector<std::string> WithPlainHeaders(std::vector<std::string> arguments) {
  arguments.insert(arguments.end(), kPlainHeaders.begin(), kPlainHeaders.end());
  return arguments;
}

// Runs qnget against a server that reads a header and `body_bytes` more;
// returns what that has received.
std::string RequestOf(ScriptedServer &server, const std::vector<std::string> &arguments,
                      const ProcessOptions &options = {}) {
  const ProcessResult result = RunQnget(WithPlainHeaders(arguments), options);
  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_EQ(server.Finish(), "");
  return server.Received(0);
}

TEST(QngetRequest, IsAGetByDefault) {
  ScriptedServer server({AnswerWith(Answer("x"))});

  const std::string request = RequestOf(server, {LocalUrl(server.port(), "/a?b=c")});

  EXPECT_EQ(request, "GET /a?b=c HTTP/1.0\r\nHost: " + Loopback(server.port()) + "\r\n" +
                         kPlainLines + "\r\n");
}

TEST(QngetRequest, CarriesTheHandsetsHeadersByDefault) {
  ScriptedServer server({AnswerWith(Answer("x"))});

  RunQnget({LocalUrl(server.port())});

  const std::string request = server.Received(0);
  EXPECT_THAT(request, HasSubstr("\r\nAccept: */*,application/vnd.wap.mms-message,text/html\r\n"));
  EXPECT_THAT(request, HasSubstr("\r\nUser-Agent: MRV-WIN K415/WAP2.0 "));
  EXPECT_THAT(request, HasSubstr("/mobile/uaprof/MRV-K415.xml\r\n"));
  EXPECT_THAT(request, HasSubstr("\r\nAccept-Language: en\r\n"));
}

TEST(QngetRequest, CarriesTheLibrarysHeaderWhereAnEmptyOneIsGiven) {
  ScriptedServer server({AnswerWith(Answer("x")), AnswerWith(Answer("x"))});

  RunQnget({"--user-agent", "", LocalUrl(server.port())});
  RunQnget({"--user-agent=", LocalUrl(server.port())});

  EXPECT_THAT(server.Received(0), HasSubstr("\r\nUser-Agent: MRV-WIN"));
  EXPECT_THAT(server.Received(1), HasSubstr("\r\nUser-Agent: MRV-WIN"));
}

TEST(QngetRequest, CarriesFurtherHeaderFields) {
  ScriptedServer server({AnswerWith(Answer("x"))});

  const std::string request = RequestOf(
      server, {"-H", "X-A: 1", "--header", "x-b:2", "-H", "X-A: 3", LocalUrl(server.port())});

  EXPECT_EQ(request, "GET / HTTP/1.0\r\nHost: " + Loopback(server.port()) + "\r\n" + kPlainLines +
                         "X-A: 1\r\nx-b: 2\r\nX-A: 3\r\n\r\n");
}

TEST(QngetRequest, ReplacesAndLeavesOutTheHandsetsHeaders) {
  ScriptedServer server({AnswerWith(Answer("x"))});

  const std::string request =
      RequestOf(server, {"-H", "accept: b", "-H", "Profile:", LocalUrl(server.port())});

  EXPECT_EQ(request, "GET / HTTP/1.0\r\nHost: " + Loopback(server.port()) +
                         "\r\nAccept: b\r\nUser-Agent: u\r\nAccept-Language: l\r\n\r\n");
}

TEST(QngetRequest, TakesTheBodysTypeFromAHeaderField) {
  ScriptedServer server({AnswerBodyWith(3, Answer("x"))});

  const std::string request =
      RequestOf(server, {"--data", "-", "-H", "content-type: text/plain", LocalUrl(server.port())},
                {.input = "abc"});

  EXPECT_TRUE(
      request.ends_with(kPlainLines + "Content-Type: text/plain\r\nContent-Length: 3\r\n\r\nabc"));
}

TEST(QngetRequest, IsForTheRootWhereTheUrlHasAQueryAlone) {
  ScriptedServer server({AnswerWith(Answer("x"))});

  const std::string request = RequestOf(server, {Loopback(server.port()) + "?x=1#part"});

  EXPECT_THAT(request, testing::StartsWith("GET /?x=1 HTTP/1.0\r\n"));
}

TEST(QngetRequest, GoesToTheProxyInAbsoluteForm) {
  ScriptedServer proxy({AnswerWith(Answer("x"))});

  const std::string request =
      RequestOf(proxy, {"-p", Loopback(proxy.port()), "http://mms.invalid:8002/m"});

  EXPECT_EQ(request, "GET http://mms.invalid:8002/m HTTP/1.0\r\nHost: mms.invalid:8002\r\n" +
                         kPlainLines + "\r\n");
}

TEST(QngetRequest, TakesTheLongNameOfTheProxyOption) {
  ScriptedServer proxy({AnswerWith(Answer("x"))});

  const std::string request =
      RequestOf(proxy, {"--proxy=" + Loopback(proxy.port()), "http://mms.invalid/m"});

  EXPECT_THAT(request, testing::StartsWith("GET http://mms.invalid/m HTTP/1.0\r\n"));
}

TEST(QngetRequest, AsksForTheHeaderAlone) {
  ScriptedServer server({AnswerWith(Answer("x"))});

  const std::string request = RequestOf(server, {"-X", "HEAD", LocalUrl(server.port())});

  EXPECT_THAT(request, testing::StartsWith("HEAD / HTTP/1.0\r\n"));
}

TEST(QngetRequest, PostsAFile) {
  const ScratchFolder folder;
  const std::string pdu("\x8c\x80\0\r\n\x98", 6);
  ScriptedServer server({AnswerBodyWith(pdu.size(), Answer("x"))});

  const std::string request =
      RequestOf(server, {"--data", folder.write("pdu", pdu), "--content-type",
                         "application/vnd.wap.mms-message", LocalUrl(server.port())});

  EXPECT_EQ(request, "POST / HTTP/1.0\r\nHost: " + Loopback(server.port()) + "\r\n" + kPlainLines +
                         "Content-Type: application/vnd.wap.mms-message\r\n"
                         "Content-Length: 6\r\n\r\n" +
                         pdu);
}

TEST(QngetRequest, PostsStandardInput) {
  ScriptedServer server({AnswerBodyWith(5, Answer("x"))});

  const std::string request =
      RequestOf(server, {"--data", "-", LocalUrl(server.port())}, {.input = "a=b&c"});

  EXPECT_THAT(request, HasSubstr("Content-Type: application/x-www-form-urlencoded\r\n"
                                 "Content-Length: 5\r\n\r\na=b&c"));
}

TEST(QngetRequest, PostsALargeInputWhole) {
  const std::string body = ScatteredBytes(300000);
  ScriptedServer server({AnswerBodyWith(body.size(), Answer("x"))});

  const std::string request =
      RequestOf(server, {"--data", "-", LocalUrl(server.port())}, {.input = body});

  ASSERT_GT(request.size(), body.size());
  EXPECT_TRUE(request.ends_with("\r\n\r\n" + body));
}

TEST(QngetRequest, PostsNothingWhenThereIsNoData) {
  ScriptedServer server({AnswerWith(Answer("x"))});

  const std::string request = RequestOf(server, {"-X", "POST", LocalUrl(server.port())});

  EXPECT_EQ(request, "POST / HTTP/1.0\r\nHost: " + Loopback(server.port()) + "\r\n" + kPlainLines +
                         "Content-Length: 0\r\n\r\n");
}

TEST(QngetRequest, TellsTheTypeOfAnEmptyBody) {
  ScriptedServer server({AnswerWith(Answer("x"))});

  const std::string request =
      RequestOf(server, {"--data", "/dev/null", "--content-type", "a/b", LocalUrl(server.port())});

  EXPECT_EQ(request, "POST / HTTP/1.0\r\nHost: " + Loopback(server.port()) + "\r\n" + kPlainLines +
                         "Content-Type: a/b\r\nContent-Length: 0\r\n\r\n");
}

TEST(QngetRequest, AsksTheCachesOnTheWayToStandAside) {
  const ScratchFolder folder;
  ScriptedServer server({AnswerWith(Answer("x")), AnswerWith(Answer("x"))});
  const std::string url = LocalUrl(server.port());

  RunQnget({"--root", folder.path("root"), "--cache", url});
  RunQnget({"--root", folder.path("root"), "--refresh", url});

  EXPECT_THAT(server.Received(0), testing::Not(HasSubstr("Cache-Control")));
  EXPECT_THAT(server.Received(1), HasSubstr("\r\nCache-Control: no-cache\r\n\r\n"));
}

TEST(QngetRequest, PutsAFile) {
  const ScratchFolder folder;
  ScriptedServer server({AnswerBodyWith(3, Answer("x"))});

  const std::string request = RequestOf(
      server, {"-X", "PUT", "--data", folder.write("f", "abc"), LocalUrl(server.port(), "/f")});

  // Nothing but what a POST has: servers refuse the library's own line of a PUT.
  EXPECT_EQ(request, "PUT /f HTTP/1.0\r\nHost: " + Loopback(server.port()) + "\r\n" + kPlainLines +
                         "Content-Type: application/x-www-form-urlencoded\r\n"
                         "Content-Length: 3\r\n\r\nabc");
}

}  // namespace
}  // namespace qntest
