// SPDX-License-Identifier: MIT
// Guards redirects on the wire: to which server they lead, and with which request.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "wire_exchange.h"

namespace {

using namespace qntest;

using WireRedirect = qntest::WireExchange;

TEST_P(WireRedirect, IsFollowed) { RunRow(); }

constexpr char kOk[] = "HTTP/1.0 200 OK\r\n\r\nabc";
constexpr char kForm[] = "application/x-www-form-urlencoded";

std::string FoundAt(const std::string &location, const std::string &more = {}) {
  return "HTTP/1.0 302 Found\r\nLocation: " + location + "\r\n" + more + "\r\nelsewhere";
}

const ExchangeRow kRedirects[] = {
    {"ToAnotherHostAndPort",
     {"GET", "http://mmsc.test/m"},
     {{"mmsc.test",
       80,
       {AnswerWith(FoundAt("http://other.test:8080/n"))},
       {RequestText("GET /m", "mmsc.test:80")}},
      {"other.test", 8080, {AnswerWith(kOk)}, {RequestText("GET /n", "other.test:8080")}}},
     1,
     "abc",
     200},
    {"ToAnotherHostThroughAGateway",
     {"GET", "http://mmsc.test/m", {}, {}, true},
     {{kGateway,
       kGatewayPort,
       {AnswerWith(FoundAt("http://other.test:81/n")), AnswerWith(kOk)},
       {RequestText("GET http://mmsc.test/m", "mmsc.test:80"),
        RequestText("GET http://other.test:81/n", "other.test:81")}}},
     1,
     "abc",
     200},
    {"OfAPostWithACookieThatGoesAlong",
     {"POST", "http://mmsc.test/m", "hello"},
     {{"mmsc.test",
       80,
       {AnswerBodyWith(5, FoundAt("http://mmsc.test/n", "Set-Cookie: sid=42\r\n")),
        AnswerWith(kOk)},
       {RequestText("POST /m", "mmsc.test:80", BodyHeaders(kForm, 5)) + "hello",
        RequestText("GET /n", "mmsc.test:80", "Cookie: sid=42\r\nCookie2: \"1\"\r\n")}}},
     1,
     "abc",
     200},
    // Its header is complete while its body still comes in: the connection is
    // closed under the server.
    {"BeforeItsEnd",
     {"GET", "http://mmsc.test/m"},
     {{"mmsc.test",
       80,
       {{ReadHeader(), SendBytes(FoundAt("http://mmsc.test/n") + std::string(30000, 'x')),
         ReadToEnd()},
        AnswerWith(kOk)},
       {RequestText("GET /m", "mmsc.test:80"), RequestText("GET /n", "mmsc.test:80")}}},
     1,
     "abc",
     200},
};

INSTANTIATE_TEST_SUITE_P(, WireRedirect, testing::ValuesIn(kRedirects), TopicOf);

}  // namespace
