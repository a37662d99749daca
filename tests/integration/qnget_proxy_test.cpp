// SPDX-License-Identifier: MIT
// The proxy of qnget: how it is written down, who names it, and which hosts are
// asked without it.
#include "proxy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "options.h"
#include "qnget_program.h"
#include "support/process.h"
#include "support/scratch_folder.h"
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

// A gateway that answers one request, and what qnget is given to name it.
class QngetGateway : public testing::Test {
 protected:
  // What the gateway is asked for; empty if nothing came.
  std::string Asked(const std::vector<std::string> &variables,
                    const std::vector<std::string> &arguments) {
    ScriptedServer gateway({AnswerWith(Answer("by the gateway"))});
    std::vector<std::string> environment;
    for (const std::string &variable : variables) {
      environment.push_back(variable.ends_with('=') ? variable + Loopback(gateway.port())
                                                    : variable);
    }
    result_ = RunQnget(arguments, {.environment = environment});
    return gateway.accepted() == 0 ? "" : gateway.Received(0);
  }

  const RefusingPort nobody_;
  const std::string url_ = LocalUrl(nobody_.port());
  ProcessResult result_;
};

TEST_F(QngetGateway, IsNamedByTheEnvironment) {
  EXPECT_THAT(Asked({"http_proxy="}, {"http://mms.invalid/m"}),
              StartsWith("GET http://mms.invalid/m HTTP/1.0\r\n"));
  EXPECT_EQ(result_.output, "by the gateway");
}

TEST_F(QngetGateway, IsNamedByTheEnvironmentAsAUrl) {
  EXPECT_THAT(Asked({"http_proxy=http://"}, {url_}), "");
  ScriptedServer gateway({AnswerWith(Answer("by the gateway"))});

  EXPECT_EQ(
      RunQnget({"http://mms.invalid/"}, {.environment = {"http_proxy=" + LocalUrl(gateway.port())}})
          .output,
      "by the gateway");
}

TEST_F(QngetGateway, IsNotNamedInCapitals) {
  EXPECT_EQ(Asked({"HTTP_PROXY="}, {url_}), "");
  EXPECT_EQ(result_.exit_code, 3);
}

TEST_F(QngetGateway, IsNotAskedForHostsThatNoProxyNames) {
  EXPECT_EQ(Asked({"http_proxy=", "no_proxy=127.0.0.1"}, {url_}), "");
  EXPECT_EQ(Asked({"http_proxy=", "NO_PROXY=127.0.0.1"}, {url_}), "");
  EXPECT_NE(Asked({"http_proxy=", "no_proxy=mms", "NO_PROXY=127.0.0.1"}, {url_}), "");
}

TEST_F(QngetGateway, IsNotAskedWhereTheCallWantsNone) {
  EXPECT_EQ(Asked({"http_proxy="}, {"--no-proxy", url_}), "");
  EXPECT_EQ(Asked({"http_proxy="}, {"--proxy", "", url_}), "");
}

TEST_F(QngetGateway, IsTheOneOfTheOption) {
  const std::string named = Loopback(nobody_.port());

  EXPECT_EQ(Asked({"http_proxy="}, {"-p", named, "http://mms.invalid/"}), "");
  EXPECT_THAT(result_.error, HasSubstr("proxy " + named));
}

// no_proxy is about the proxy that stands beside it.
TEST_F(QngetGateway, OfTheOptionIsAskedWhateverNoProxyNames) {
  ScriptedServer gateway({AnswerWith(Answer("by the gateway"))});

  EXPECT_EQ(RunQnget({"--proxy", LocalUrl(gateway.port()), "http://mms.invalid/"},
                     {.environment = {"no_proxy=*"}})
                .output,
            "by the gateway");
}

TEST_F(QngetGateway, OfASettingGoesBeforeTheEnvironmentAndIsLeftOutForOneCall) {
  const ScratchFolder folder;
  const std::vector<std::string> root{"--root", folder.path()};
  const auto with = [&](std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), root.begin(), root.end());
    return arguments;
  };
  ASSERT_EQ(RunQnget(with({"config", "set", "proxy", "http://127.0.0.1:9/"})).exit_code, 0);

  EXPECT_EQ(Asked({"http_proxy="}, with({"http://mms.invalid/"})), "");
  EXPECT_THAT(result_.error, HasSubstr("proxy 127.0.0.1:9"));
  EXPECT_EQ(Asked({"http_proxy="}, with({"--no-proxy", url_})), "");
  EXPECT_THAT(result_.error, HasSubstr("server " + Loopback(nobody_.port())));
  EXPECT_EQ(Asked({"http_proxy="}, with({"--proxy=", url_})), "");
  EXPECT_THAT(result_.error, HasSubstr("server " + Loopback(nobody_.port())));
}

TEST_F(QngetGateway, IsNoneWhereTheSettingIsEmpty) {
  const ScratchFolder folder;
  ASSERT_EQ(RunQnget({"--root", folder.path(), "config", "set", "proxy", ""}).exit_code, 0);

  EXPECT_EQ(Asked({"http_proxy="}, {"--root", folder.path(), url_}), "");
}

TEST_F(QngetGateway, ThatCannotBeAskedIsNotPassedBy) {
  for (const std::string text : {"https://a:1", "http://user:secret@a:1", "gateway", "a\nb:1"}) {
    ScriptedServer server({AnswerWith(Answer("abc"))});

    const ProcessResult result =
        RunQnget({LocalUrl(server.port())}, {.environment = {"http_proxy=" + text}});

    EXPECT_EQ(result.exit_code, 1) << text;
    EXPECT_THAT(result.error,
                testing::MatchesRegex("qnget: http_proxy: .* [(]--no-proxy goes without[)]\n"));
    EXPECT_EQ(server.accepted(), 0u);
  }
}

TEST_F(QngetGateway, IsAskedForARedirectUnlessNoProxyNamesItsHost) {
  ScriptedServer server({AnswerWith(Answer("there"))});
  ScriptedServer gateway(
      {AnswerWith(RedirectTo(LocalUrl(server.port()))), AnswerWith(Answer("by the gateway"))});
  const std::string proxy = "http_proxy=" + Loopback(gateway.port());
  const std::string url = "http://mms.invalid/";

  EXPECT_EQ(RunQnget({url}, {.environment = {proxy, "no_proxy=127.0.0.1"}}).output, "there");
  ScriptedServer again({AnswerWith(RedirectTo(url_)), AnswerWith(Answer("by the gateway"))});
  EXPECT_EQ(RunQnget({url}, {.environment = {"http_proxy=" + Loopback(again.port())}}).output,
            "by the gateway");
}

}  // namespace
}  // namespace qntest
