// SPDX-License-Identifier: MIT
// Guards cookies on the wire: what one answer sets, the next request sends back
// or does not.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "wire_exchange.h"

namespace {

using namespace qntest;

class WireCookie : public qntest::WireTest {
 protected:
  // A whole exchange, ended before the next.
  static void Fetch(const qntest::Asked &asked) {
    const Context ctx = qntest::Open(asked);
    std::string delivered;
    int32_t result = -2;
    while (result == -2 || result > 0) result = ReadOnce(ctx, delivered).result;
    EXPECT_EQ(result, 0) << asked.url;
  }

  static std::string Setting(const std::string &lines) {
    return "HTTP/1.0 200 OK\r\n" + lines + "\r\n";
  }
};

TEST_F(WireCookie, IsSentBackToItsHost) {
  ScriptedServer &server =
      Serve("mmsc.test", 80,
            {AnswerWith(Setting("Set-Cookie: sid=abc; Path=/mms; Domain=x\r\n")), AnswerWith("")});
  Fetch({"GET", "http://mmsc.test/m"});
  Fetch({"GET", "http://mmsc.test/elsewhere"});
  EXPECT_EQ(server.Received(0), RequestText("GET /m", "mmsc.test:80"));
  EXPECT_EQ(server.Received(1),
            RequestText("GET /elsewhere", "mmsc.test:80", CookieHeaders("sid=abc")));
}

TEST_F(WireCookie, IsSentOnAnyPortOfItsHost) {
  Serve("mmsc.test", 80, {AnswerWith(Setting("Set-Cookie: sid=abc\r\n"))});
  ScriptedServer &other = Serve("mmsc.test", 8080, {AnswerWith("")});
  Fetch({"GET", "http://mmsc.test/m"});
  Fetch({"GET", "http://mmsc.test:8080/m"});
  EXPECT_EQ(other.Received(0), RequestText("GET /m", "mmsc.test:8080", CookieHeaders("sid=abc")));
}

TEST_F(WireCookie, ThroughAGatewayItBelongsToTheServer) {
  ScriptedServer &gateway =
      Serve(kGateway, kGatewayPort,
            {AnswerWith(Setting("Set-Cookie: sid=abc\r\n")), AnswerWith(""), AnswerWith("")});
  UseGateway();
  Fetch({"GET", "http://mmsc.test/m"});
  Fetch({"GET", "http://mmsc.test/m"});
  Fetch({"GET", "http://other.test/m"});
  EXPECT_EQ(gateway.Received(1),
            RequestText("GET http://mmsc.test/m", "mmsc.test:80", CookieHeaders("sid=abc")));
  EXPECT_EQ(gateway.Received(2), RequestText("GET http://other.test/m", "other.test:80"));
}

}  // namespace
