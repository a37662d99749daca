// SPDX-License-Identifier: MIT
// Guards redirects on the wire: to which server they lead, with which request, and
// up to which one.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "wire_exchange.h"

namespace {

using namespace qntest;

using WireRedirect = qntest::WireExchange;
using WireRedirectChain = qntest::WireTest;

TEST_P(WireRedirect, IsFollowedCallByCall) { RunRow(); }

constexpr char kOk[] = "HTTP/1.0 200 OK\r\n\r\nabc";
constexpr char kForm[] = "application/x-www-form-urlencoded";

std::string Moved(int status, const std::string &lines) {
  return "HTTP/1.0 " + std::to_string(status) + " Moved\r\n" + lines + "\r\nelsewhere";
}

std::string FoundAt(const std::string &location) {
  return Moved(302, "Location: " + location + "\r\n");
}

// Sent, redirected, sent again, received, done.
const std::vector<CallRow> kFollowed = {
    {-2, 3, 0, 0, 1}, {-2, 0, 1, 1, -1}, {-2, 3, 0, 1, 1}, {3, 5, 1, 1, 1}, {0, 5, 1, 1, 1}};

// Redirected to where no name leads.
const std::vector<CallRow> kLost = {
    {-2, 3, 0, 0, 1}, {-2, 0, 1, 1, -1}, {-1, -10, 2, 1, 1}, {-1, -10, 2, 1, 1}};

// A GET of /m whose answer leads to a second GET on the same server.
ExchangeRow SameServer(const std::string &topic, const std::string &answer,
                       const std::string &second) {
  return {topic,
          {"GET", "http://mmsc.test/m"},
          {{"mmsc.test",
            80,
            {AnswerWith(answer), AnswerWith(kOk)},
            {RequestText("GET /m", "mmsc.test:80"), RequestText(second, "mmsc.test:80")}}},
          kFollowed,
          "abc",
          200};
}

const ExchangeRow kRedirects[] = {
    SameServer("SameHost", FoundAt("http://mmsc.test/n?x"), "GET /n?x"),
    SameServer("None", Moved(302, ""), "GET /m"),
    {"UnknownHost",
     {"GET", "http://mmsc.test/m"},
     {{"mmsc.test",
       80,
       {AnswerWith(FoundAt("http://unknown.test/"))},
       {RequestText("GET /m", "mmsc.test:80")}}},
     kLost,
     "",
     302},
    {"OtherHostAndPort",
     {"GET", "http://mmsc.test/m"},
     {{"mmsc.test",
       80,
       {AnswerWith(FoundAt("http://other.test:8080/n"))},
       {RequestText("GET /m", "mmsc.test:80")}},
      {"other.test", 8080, {AnswerWith(kOk)}, {RequestText("GET /n", "other.test:8080")}}},
     kFollowed,
     "abc",
     200},
    {"BackToPortEighty",
     {"GET", "http://mmsc.test:8080/m"},
     {{"mmsc.test",
       8080,
       {AnswerWith(FoundAt("http://mmsc.test/n"))},
       {RequestText("GET /m", "mmsc.test:8080")}},
      {"mmsc.test", 80, {AnswerWith(kOk)}, {RequestText("GET /n", "mmsc.test:80")}}},
     kFollowed,
     "abc",
     200},
    {"OtherHostThroughGateway",
     {"GET", "http://mmsc.test/m", {}, {}, true},
     {{kGateway,
       kGatewayPort,
       {AnswerWith(FoundAt("http://other.test:81/n")), AnswerWith(kOk)},
       {RequestText("GET http://mmsc.test/m", "mmsc.test:80"),
        RequestText("GET http://other.test:81/n", "other.test:81")}}},
     kFollowed,
     "abc",
     200},
    {"OfAPost",
     {"POST", "http://mmsc.test/m", "hello"},
     {{"mmsc.test",
       80,
       {AnswerBodyWith(5, FoundAt("http://mmsc.test/n")), AnswerWith(kOk)},
       {RequestText("POST /m", "mmsc.test:80", BodyHeaders(kForm, 5)) + "hello",
        RequestText("GET /n", "mmsc.test:80")}}},
     kFollowed,
     "abc",
     200},
};

INSTANTIATE_TEST_SUITE_P(, WireRedirect, testing::ValuesIn(kRedirects), TopicOf);

// A server that leads from /0 to /1 and so on, `redirects` times, and then
// answers with `last`.
std::vector<ConnectionScript> Chain(int redirects, const std::string &last) {
  std::vector<ConnectionScript> scripts;
  for (int i = 1; i <= redirects; ++i) {
    scripts.push_back(AnswerWith(FoundAt("http://mmsc.test/" + std::to_string(i))));
  }
  scripts.push_back(AnswerWith(last));
  return scripts;
}

TEST_F(WireRedirectChain, EleventhFailsAndItsBodyComesWithTheNextCall) {
  ScriptedServer &server = Serve("mmsc.test", 80, Chain(10, FoundAt("http://mmsc.test/11")));
  Context ctx = OpenGet("http://mmsc.test/0");
  std::string delivered;
  for (int i = 0; i < 21; ++i) ASSERT_EQ(ReadOnce(ctx, delivered).result, -2);

  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{-1, 5, 1, 11, 1}));
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{9, 5, 1, 11, 1}));
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{0, 5, 1, 11, 1}));

  EXPECT_EQ(delivered, "elsewhere");
  EXPECT_STREQ(ctx->url, "http://mmsc.test/11");
  ctx.reset();
  EXPECT_EQ(server.Finish(), "");
  EXPECT_EQ(server.accepted(), 11u);
}

TEST_F(WireRedirectChain, CookieOfTheRedirectGoesAlong) {
  ScriptedServer &server =
      Serve("mmsc.test", 80,
            {AnswerWith(Moved(302, "Set-Cookie: sid=42\r\nLocation: http://mmsc.test/n\r\n")),
             AnswerWith(kOk)});
  Context ctx = OpenGet("http://mmsc.test/m");
  std::string delivered;
  while (ReadOnce(ctx, delivered).result != 0) ASSERT_GE(fnQNStack_Http_getState(ctx.get()), 0);
  ctx.reset();
  EXPECT_EQ(server.Received(1), RequestText("GET /n", "mmsc.test:80", CookieHeaders("sid=42")));
}

// Its header is complete while its body still comes in: the connection is
// closed under the server.
TEST_F(WireRedirectChain, LongRedirectIsFollowedBeforeItsEnd) {
  ScriptedServer &server =
      Serve("mmsc.test", 80,
            {{qntest::ReadHeader(),
              qntest::SendBytes(FoundAt("http://mmsc.test/n") + std::string(30000, 'x')),
              qntest::ReadToEnd()},
             AnswerWith(kOk)});
  Context ctx = OpenGet("http://mmsc.test/m");
  std::string delivered;
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{-2, 3, 0, 0, 1}));
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{-2, 0, 1, 1, -1}));
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{-2, 3, 0, 1, 1}));
  EXPECT_EQ(ReadOnce(ctx, delivered), (CallRow{3, 5, 1, 1, 1}));
  EXPECT_EQ(delivered, "abc");
  ctx.reset();
  EXPECT_EQ(server.Finish(), "");
}

}  // namespace
