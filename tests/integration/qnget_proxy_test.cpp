// SPDX-License-Identifier: MIT
// The proxy of qnget: how it is written down, who names it, and which hosts are
// asked without it.
#include "proxy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "options.h"
#include "qnget_program.h"
#include "qnget_root_folder.h"
#include "support/process.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

struct Address {
  const char *text;
  const char *host;
  int32_t port;
};

TEST(QngetProxyAddress, IsReadInEachOfItsForms) {
  const Address addresses[] = {
      {"gateway:8080", "gateway", 8080},
      {"10.0.0.172:80", "10.0.0.172", 80},
      {"http://gateway:8080", "gateway", 8080},
      {"http://gateway:8080/", "gateway", 8080},
      {"HTTP://Gate-way.example:1", "Gate-way.example", 1},
      {"http://gateway", "gateway", 80},
      {"http://gateway/", "gateway", 80},
      {"gateway:65535", "gateway", 65535},
  };
  for (const Address &address : addresses) {
    const auto proxy = qnget::ReadProxy(address.text);
    ASSERT_TRUE(proxy.has_value()) << address.text;
    EXPECT_EQ(proxy->host, address.host);
    EXPECT_EQ(proxy->port, address.port);
    EXPECT_EQ(qnget::CheckProxy(address.text), "");
  }
}

TEST(QngetProxyAddress, MayBeEmptyForNone) {
  EXPECT_EQ(qnget::CheckProxy(""), "");
  EXPECT_FALSE(qnget::ReadProxy("").has_value());
}

TEST(QngetProxyAddress, IsRefusedInOtherForms) {
  const char *const texts[] = {
      "gateway",          "gateway/",      ":80",           "gateway:",
      "gateway:0",        "gateway:65536", "gateway:80x",   "gateway:+80",
      "gateway:80/",      "http://",       "http://:80",    "http://gateway:",
      "http://a:80/path", "http://a/b",    "http://a:80//", "[::1]:80",
      "http://[::1]:80/", "a b:80",        "a\tb:80",       "a:80 ",
      "http://a?b:80"};
  for (const char *text : texts) {
    EXPECT_THAT(qnget::CheckProxy(text), StartsWith("not HOST:PORT or http://HOST:PORT ")) << text;
    EXPECT_FALSE(qnget::ReadProxy(text).has_value()) << text;
  }
}

TEST(QngetProxyAddress, IsRefusedWithAnotherScheme) {
  for (const char *text : {"https://a:80", "socks4://a:80", "SOCKS5h://a:80", "://a:80"}) {
    EXPECT_THAT(qnget::CheckProxy(text), StartsWith("a proxy is asked in plain HTTP")) << text;
    EXPECT_FALSE(qnget::ReadProxy(text).has_value()) << text;
  }
}

TEST(QngetProxyAddress, IsRefusedWithAUserAndThePasswordIsNotRepeated) {
  for (const char *text :
       {"user:secret@a:80", "http://user:secret@a:80/", "socks5://secret@a:80"}) {
    EXPECT_THAT(qnget::CheckProxy(text), HasSubstr("password is not supported")) << text;
    EXPECT_THAT(qnget::CheckProxy(text), Not(HasSubstr("secret"))) << text;
    EXPECT_FALSE(qnget::ReadProxy(text).has_value()) << text;
  }
}

struct Choice {
  const char *list;  // of no_proxy
  const char *host;
  int32_t port;
  bool direct;
};

TEST(QngetNoProxy, NamesHosts) {
  const Choice choices[] = {
      {"", "a.example", 80, false},
      {",, ,", "a.example", 80, false},
      {"*", "a.example", 80, true},
      {"b, *", "a.example", 80, true},
      {"a.example", "a.example", 80, true},
      {"A.Example", "a.eXAMPLE", 80, true},
      {"example", "a.example", 80, true},
      {".example", "a.example", 80, true},
      {".a.example", "a.example", 80, true},
      {"a.example.", "a.example", 80, true},
      {"a.example", "a.example.", 80, true},
      {"xample", "a.example", 80, false},
      {"a.example", "ba.example", 80, false},
      {"a.example", "example", 80, false},
      {"b.example,a.example", "a.example", 80, true},
      {"b.example a.example", "a.example", 80, true},
      {" b.example ,\ta.example ", "a.example", 80, true},
      {"a.example:80", "a.example", 80, true},
      {"a.example:80", "a.example", 8080, false},
      {"*:8080", "a.example", 8080, true},
      {"a.example:0", "a.example", 80, false},
      {".", "a.example", 80, false},
      {"localhost", "localhost", 80, true},
      {"127.0.0.1", "127.0.0.1", 80, true},
      {"127.0.0.1:9", "127.0.0.1", 80, false},
      {"0.0.1", "127.0.0.1", 80, false},
      {"27.0.0.1", "127.0.0.1", 80, false},
      {"127.0.0.1", "a.127.0.0.1", 80, true},
      {"10.0.0.0/8", "10.20.30.40", 80, true},
      {"10.0.0.0/8", "11.0.0.1", 80, false},
      {"10.1.2.0/23", "10.1.3.255", 80, true},
      {"10.1.2.0/23", "10.1.4.0", 80, false},
      {"10.1.2.3/32", "10.1.2.3", 80, true},
      {"0.0.0.0/0", "10.1.2.3", 80, true},
      {"10.0.0.0/33", "10.0.0.0", 80, false},
      {"10.0.0.0/", "10.0.0.0", 80, false},
      {"10.0.0.0/8", "ten.example", 80, false},
      {"::1", "127.0.0.1", 80, false},
  };
  for (const Choice &choice : choices) {
    qnget::Options options;
    options.proxy = qnget::Proxy{"gateway", 8080};
    options.no_proxy = qnget::ReadNoProxy(choice.list);
    EXPECT_EQ(!qnget::ProxyFor(options, choice.host, choice.port), choice.direct)
        << choice.list << " " << choice.host << ":" << choice.port;
  }
}

TEST(QngetNoProxy, IsNothingWithoutAProxy) {
  EXPECT_FALSE(qnget::ProxyFor({}, "a.example", 80).has_value());
}

// Nobody is there.
const char *const kNobodysUrl = "http://127.0.0.1:9/";
const char *const kMmsUrl = "http://mms.invalid/m";

// What a call makes of a gateway that answers one request.
Exchange CallOf(const Words &environment, const Words &arguments) {
  return RunOnAnswer(Answer("by the gateway"), arguments, {.environment = environment});
}

bool IsAsked(const Words &environment, const Words &arguments = {kNobodysUrl}) {
  return CallOf(environment, arguments).output == "by the gateway";
}

TEST(QngetGateway, IsNamedByTheEnvironment) {
  const Exchange result = CallOf({"http_proxy=HOST:PORT"}, {kMmsUrl});

  EXPECT_EQ(result.output, "by the gateway");
  EXPECT_THAT(result.requests, testing::ElementsAre(StartsWith("GET http://mms.invalid/m HTTP")));
  EXPECT_TRUE(IsAsked({"http_proxy=http://HOST:PORT/"}));
}

TEST(QngetGateway, IsNotNamedInCapitals) {
  EXPECT_EQ(CallOf({"HTTP_PROXY=HOST:PORT"}, {kNobodysUrl}).exit_code, 3);
}

TEST(QngetGateway, IsNotAskedForHostsThatNoProxyNames) {
  EXPECT_FALSE(IsAsked({"http_proxy=HOST:PORT", "no_proxy=127.0.0.1"}));
  EXPECT_FALSE(IsAsked({"http_proxy=HOST:PORT", "NO_PROXY=127.0.0.1"}));
  EXPECT_TRUE(IsAsked({"http_proxy=HOST:PORT", "no_proxy=mms", "NO_PROXY=127.0.0.1"}));
}

TEST(QngetGateway, IsNotAskedWhereTheCallWantsNone) {
  EXPECT_FALSE(IsAsked({"http_proxy=HOST:PORT"}, {"--no-proxy", kNobodysUrl}));
  EXPECT_FALSE(IsAsked({"http_proxy=HOST:PORT"}, {"--proxy", "", kNobodysUrl}));
}

TEST(QngetGateway, IsTheOneOfTheOption) {
  const Exchange result = CallOf({"http_proxy=HOST:PORT"}, {"-p", "127.0.0.1:9", kMmsUrl});

  EXPECT_EQ(result.requests, Words{});
  EXPECT_THAT(result.error, HasSubstr("proxy 127.0.0.1:9"));
}

// no_proxy is about the proxy that stands beside it.
TEST(QngetGateway, OfTheOptionIsAskedWhateverNoProxyNames) {
  EXPECT_TRUE(IsAsked({"no_proxy=*"}, {"--proxy", "http://HOST:PORT", kMmsUrl}));
}

using QngetGatewaySetting = RootFolder;

TEST_F(QngetGatewaySetting, GoesBeforeTheEnvironmentAndIsLeftOutForOneCall) {
  Set("proxy", "http://127.0.0.1:9/");
  const auto error = [this](const Words &arguments) {
    return CallOf({"http_proxy=HOST:PORT"}, Rooted(arguments)).error;
  };

  EXPECT_THAT(error({kMmsUrl}), HasSubstr("proxy 127.0.0.1:9"));
  EXPECT_THAT(error({"--no-proxy", kNobodysUrl}), HasSubstr("server 127.0.0.1:9"));
  EXPECT_THAT(error({"--proxy=", kNobodysUrl}), HasSubstr("server 127.0.0.1:9"));
}

TEST_F(QngetGatewaySetting, ThatIsEmptyIsNone) {
  Set("proxy", "");

  EXPECT_FALSE(IsAsked({"http_proxy=HOST:PORT"}, Rooted({kNobodysUrl})));
}

TEST(QngetGateway, ThatCannotBeAskedIsNotPassedBy) {
  for (const std::string text : {"https://a:1", "http://user:secret@a:1", "gateway", "a\nb:1"}) {
    const Exchange result = CallOf({"http_proxy=" + text}, {kUrl});

    EXPECT_EQ(result.exit_code, 1) << text;
    EXPECT_THAT(result.error,
                testing::MatchesRegex("qnget: http_proxy: .* [(]--no-proxy goes without[)]\n"));
    EXPECT_EQ(result.requests, Words{});
  }
}

TEST(QngetGateway, IsAskedForARedirectUnlessNoProxyNamesItsHost) {
  ScriptedServer server({AnswerWith(Answer("there"))});
  const std::vector<ConnectionScript> gateway = {AnswerWith(RedirectTo(LocalUrl(server.port()))),
                                                 AnswerWith(Answer("by the gateway"))};
  const Words named{"http_proxy=HOST:PORT"};

  EXPECT_EQ(
      RunOn(gateway, {kMmsUrl}, {.environment = Joined(named, {"no_proxy=127.0.0.1"})}).output,
      "there");
  EXPECT_EQ(RunOn(gateway, {kMmsUrl}, {.environment = named}).output, "by the gateway");
}

}  // namespace
}  // namespace qntest
