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
const Words kPlainHeaders{"--accept",  "a", "--user-agent",      "u",
                          "--profile", "p", "--accept-language", "l"};
const std::string kPlainLines =
    "Host: HOST:PORT\r\nAccept: a\r\nUser-Agent: u\r\nProfile: p\r\nAccept-Language: l\r\n";
const std::string kFormLines =
    kPlainLines + "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: 3\r\n\r\n";

struct Sent {
  Words arguments;
  std::string request;
};

void ExpectSent(const std::vector<Sent> &table) {
  for (const Sent &sent : table) {
    SCOPED_TRACE(testing::PrintToString(sent.arguments));
    EXPECT_EQ(RequestOf(Joined(kPlainHeaders, sent.arguments), {.input = "a=b"}), sent.request);
  }
}

TEST(QngetRequest, WithoutABody) {
  const std::string plain = kPlainLines + "\r\n";
  ExpectSent({
      {{"http://HOST:PORT/a?b=c"}, "GET /a?b=c HTTP/1.0\r\n" + plain},
      {{"HOST:PORT?x=1#part"}, "GET /?x=1 HTTP/1.0\r\n" + plain},
      {{"-X", "HEAD", kUrl}, "HEAD / HTTP/1.0\r\n" + plain},
      {{"-H", "X-A: 1", "--header", "x-b:2", "-H", "X-A: 3", kUrl},
       "GET / HTTP/1.0\r\n" + kPlainLines + "X-A: 1\r\nx-b: 2\r\nX-A: 3\r\n\r\n"},
      {{"-H", "accept: b", "-H", "Profile:", kUrl},
       "GET / HTTP/1.0\r\nHost: HOST:PORT\r\nAccept: b\r\nUser-Agent: u\r\n"
       "Accept-Language: l\r\n\r\n"},
  });
}

TEST(QngetRequest, WithABody) {
  const ScratchFolder folder;
  const std::string pdu("\x8c\x80\0\r\n\x98", 6);
  ExpectSent({
      {{"--data", "-", kUrl}, "POST / HTTP/1.0\r\n" + kFormLines + "a=b"},
      {{"--data", folder.write("pdu", pdu), "--content-type", "application/vnd.wap.mms-message",
        kUrl},
       "POST / HTTP/1.0\r\n" + kPlainLines +
           "Content-Type: application/vnd.wap.mms-message\r\nContent-Length: 6\r\n\r\n" + pdu},
      {{"--data", "-", "-H", "content-type: text/plain", kUrl},
       "POST / HTTP/1.0\r\n" + kPlainLines +
           "Content-Type: text/plain\r\nContent-Length: 3\r\n\r\na=b"},
      {{"-X", "POST", kUrl}, "POST / HTTP/1.0\r\n" + kPlainLines + "Content-Length: 0\r\n\r\n"},
      {{"--data", "/dev/null", "--content-type", "a/b", kUrl},
       "POST / HTTP/1.0\r\n" + kPlainLines + "Content-Type: a/b\r\nContent-Length: 0\r\n\r\n"},
      // Nothing but what a POST has: servers refuse the library's own line of a PUT.
      {{"-X", "PUT", "--data", "-", "http://HOST:PORT/f"},
       "PUT /f HTTP/1.0\r\n" + kFormLines + "a=b"},
  });
}

TEST(QngetRequest, GoesToTheProxyInAbsoluteForm) {
  const std::string lines = Replaced(kPlainLines, "HOST:PORT", "mms.invalid:8002");
  const std::string url = "http://mms.invalid:8002/m";
  ExpectSent({
      {{"-p", "HOST:PORT", url}, "GET " + url + " HTTP/1.0\r\n" + lines + "\r\n"},
      {{"--proxy=HOST:PORT", url}, "GET " + url + " HTTP/1.0\r\n" + lines + "\r\n"},
  });
}

TEST(QngetRequest, CarriesTheLibrarysHeaderWhereAnEmptyOneIsGiven) {
  EXPECT_THAT(RequestOf({"--user-agent", "", kUrl}), HasSubstr("\r\nUser-Agent: MRV-WIN"));
  EXPECT_THAT(RequestOf({"--user-agent=", kUrl}), HasSubstr("\r\nUser-Agent: MRV-WIN"));
}

TEST(QngetRequest, PostsALargeInputWhole) {
  const std::string body = ScatteredBytes(300000);

  const std::string request = RequestOf({"--data", "-", kUrl}, {.input = body});

  EXPECT_TRUE(request.ends_with("\r\n\r\n" + body));
}

TEST(QngetRequest, AsksTheCachesOnTheWayToStandAside) {
  const ScratchFolder folder;
  const std::string root = folder.path("root");

  EXPECT_THAT(RequestOf({"--root", root, "--cache", kUrl}),
              testing::Not(HasSubstr("Cache-Control")));
  EXPECT_THAT(RequestOf({"--root", root, "--refresh", kUrl}),
              HasSubstr("\r\nCache-Control: no-cache\r\n\r\n"));
}

}  // namespace
}  // namespace qntest
