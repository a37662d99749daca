// SPDX-License-Identifier: MIT
// The command line of qnget: what it refuses, and what it says about itself.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <sstream>

#include "qnget_program.h"
#include "support/process.h"
#include "support/scratch_folder.h"

namespace qntest {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

struct Refusal {
  const char *name;
  std::vector<std::string> arguments;
  const char *message;
};

void PrintTo(const Refusal &refusal, std::ostream *out) { *out << refusal.name; }

class QngetRefuses : public testing::TestWithParam<Refusal> {};

// Nothing listens on the discard port, so a refusal that did not happen would
// show as another exit code.
const char *const kUrl = "http://127.0.0.1:9/";

TEST_P(QngetRefuses, WithExitCode1AndAReason) {
  const ProcessResult result = RunQnget(GetParam().arguments);

  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(result.error, StartsWith("qnget: "));
  EXPECT_THAT(result.error, HasSubstr(GetParam().message));
}

// One of each kind of address and field; the other ways in which they can be wrong are
// those of the tests of their modules.
const Refusal kRefusals[] = {
    {"NoUrl", {}, "URL is required"},
    {"TwoUrls", {kUrl, kUrl}, "not expected: http://127.0.0.1:9/"},
    {"UnknownOption", {"--bogus", kUrl}, "--bogus"},
    {"SecureUrl", {"https://127.0.0.1/"}, "qnget speaks plain HTTP"},
    {"UrlWithoutHost", {"http:///path"}, "names no server"},
    {"EmptyUrl", {""}, "names no server"},
    {"UrlWithLineEnd", {"http://127.0.0.1/\r\nX: y"}, "control characters"},
    {"TunnelMethod", {"-X", "CONNECT", kUrl}, "CONNECT not in {GET,HEAD,POST,PUT}"},
    {"MethodInSmallLetters", {"-X", "get", kUrl}, "get not in {GET,HEAD,POST,PUT}"},
    {"ProxyWithoutPort", {"-p", "gateway", kUrl}, "not HOST:PORT"},
    {"ProxyAndNone", {"-p", "gateway:80", "--no-proxy", kUrl}, "excludes"},
    {"AgentWithLineFeed", {"--user-agent", "a\nX: y", kUrl}, "no line ends"},
    {"AgentWithCarriageReturn", {"--user-agent", "a\rb", kUrl}, "no line ends"},
    {"ProfileWithLineEnd", {"--profile", "a\r\nb", kUrl}, "no line ends"},
    {"AcceptWithLineEnd", {"--accept", "a\r\nb", kUrl}, "no line ends"},
    {"LanguageWithLineEnd", {"--accept-language", "a\r\nb", kUrl}, "no line ends"},
    {"TypeWithLineEnd", {"--data", "/dev/null", "--content-type", "a\r\nb", kUrl}, "no line ends"},
    {"TypeThatWouldBeCut",
     {"--data", "/dev/null", "--content-type", std::string(2001, 'x'), kUrl},
     "longer than 2000 bytes"},
    {"HeaderWithoutColon", {"-H", "X-A", kUrl}, "not 'Name: value'"},
    {"HeaderThatNothingCarries",
     {"-H", "Accept:", "-H", "User-Agent:", "-H", "Profile:", "-H", "Accept-Language:", "-H",
      "X-A: b", kUrl},
     "leave one of them"},
    {"HeadersThatNothingCarriesToAPut",
     {"-X", "PUT", "--data", "/dev/null", "-H", "Accept:", "-H", "User-Agent:", "-H",
      "Profile:", "-H", "Accept-Language:", kUrl},
     "leave one of them"},
    {"HeaderTypeThatWouldBeCut",
     {"--data", "/dev/null", "-H", "Content-Type: " + std::string(2001, 'x'), kUrl},
     "longer than 2000 bytes"},
    {"RetryAllAlone", {"--retry-all", kUrl}, "--retry-all requires --retry"},
    {"TypeWithoutData", {"--content-type", "text/plain", kUrl}, "--content-type requires --data"},
    {"DataWithGet", {"-X", "GET", "--data", "/dev/null", kUrl}, "--data goes with POST or PUT"},
    {"DataWithHead", {"-X", "HEAD", "--data", "/dev/null", kUrl}, "--data goes with POST or PUT"},
    {"DataThatIsMissing", {"--data", "/no/such/file", kUrl}, "could not read /no/such/file"},
    {"DataThatIsAFolder", {"--data", "/", kUrl}, "could not read /: "},
    {"NoTime", {"--timeout", "0", kUrl}, "--timeout"},
    {"NegativeTime", {"--timeout", "-1", kUrl}, "--timeout"},
    {"TimeThatIsNoNumber", {"--timeout", "nan", kUrl}, "--timeout"},
    {"TimeWithUnit", {"--timeout", "2s", kUrl}, "--timeout"},
    {"NegativeRetries", {"--retry", "-1", kUrl}, "--retry"},
    {"TooManyRetries", {"--retry", "21", kUrl}, "--retry"},
    {"HalfARetry", {"--retry", "1.5", kUrl}, "--retry"},
    {"NegativeDelay", {"--retry-delay", "-1", kUrl}, "--retry-delay"},
    {"RemoteNameOfAFolder", {"-O", "http://127.0.0.1:9/a/"}, "-O: the URL has no file name"},
    {"RemoteNameWithOutput", {"-O", "-o", "f", kUrl}, "excludes"},
    {"FailWithRaw", {"--fail", "--raw", kUrl}, "--fail goes by a status"},
    {"CacheWithPost", {"--cache", "-X", "POST", kUrl}, "--cache goes with GET alone"},
    {"CacheWithHead", {"--cache", "-X", "HEAD", kUrl}, "--cache goes with GET alone"},
    {"CacheWithData", {"--cache", "--data", "/dev/null", kUrl}, "--cache goes with GET alone"},
    {"CacheWithRaw", {"--cache", "--raw", kUrl}, "not with --raw"},
    {"CacheWithoutUrl", {"--cache"}, "URL is required"},
    {"CacheListWithUrl", {"--cache-list", kUrl}, "no URL goes with"},
    {"CacheClearWithUrl", {"--cache-clear", kUrl}, "no URL goes with"},
    {"CacheListAndClear", {"--cache-list", "--cache-clear"}, "excludes"},
    {"EmptyRoot", {"--root", "", kUrl}, "--root"},
    {"OperatorWithAPath", {"--operator", "../x", kUrl}, "letters, digits"},
    {"OperatorWithADot", {"--operator", "a.b", kUrl}, "letters, digits"},
    {"EmptyOperator", {"--operator", "", kUrl}, "letters, digits"},
    {"ConfigAlone", {"config"}, "subcommand is required"},
    {"ConfigUnknown", {"config", "drop"}, "subcommand is required"},
    {"ConfigWithUrl", {"config", "get", "proxy", kUrl}, "no URL goes with"},
    {"ConfigWithCache", {"config", "list", "--cache"}, "does not go with"},
    {"ConfigSetWithoutValue", {"config", "set", "proxy"}, "VALUE is required"},
    {"ConfigSetUnknownKey", {"config", "set", "colour", "red"}, "no setting 'colour'"},
    {"ConfigGetUnknownKey", {"config", "get", "Proxy"}, "no setting 'Proxy'"},
    {"ConfigUnsetUnknownKey", {"config", "unset", "output"}, "no setting 'output'"},
    {"ConfigSetBadProxy", {"config", "set", "proxy", "gateway"}, "proxy: not HOST:PORT"},
    {"ConfigSetLineEnd", {"config", "set", "accept", "a\r\nb"}, "accept: a header value"},
    {"ConfigSetBadTimeout", {"config", "set", "timeout", "soon"}, "timeout: not from 0.001"},
    {"ConfigSetLongValue",
     {"config", "set", "user-agent", std::string(2001, 'x')},
     "user-agent: longer than 2000 bytes"},
};

INSTANTIATE_TEST_SUITE_P(Qnget, QngetRefuses, testing::ValuesIn(kRefusals),
                         [](const auto &test) { return std::string(test.param.name); });

TEST(QngetUsage, RefusesABodyAbove2GB) {
  const ScratchFolder folder;
  const std::string file = folder.write("big", "");
  ASSERT_EQ(truncate(file.c_str(), 2000000001), 0);

  const ProcessResult result = RunQnget({"--data", file, kUrl});

  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.error, Message("could not read " + file + ": above 2 GB"));
}

TEST(QngetUsage, LeavesTheOutputFileAloneWhenItRefuses) {
  const ScratchFolder folder;
  const std::string file = folder.write("kept", "old");

  EXPECT_EQ(RunQnget({"--data", "/no/such/file", "-o", file, kUrl}).exit_code, 1);

  EXPECT_EQ(folder.read("kept"), "old");
}

TEST(QngetVersion, IsTheLibrarysOnStandardOutput) {
  const ProcessResult result = RunQnget({"--version"});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "qnget " QNGET_EXPECTED_VERSION "\n");
  EXPECT_EQ(result.error, "");
}

TEST(QngetHelp, NamesEveryOption) {
  const ProcessResult result = RunQnget({"--help"});

  EXPECT_EQ(result.exit_code, 0);
  for (const char *option : {"-p, --proxy",
                             "--user-agent",
                             "--profile",
                             "--accept ",
                             "--accept-language",
                             "-X,",
                             "--data",
                             "--content-type",
                             "-o,",
                             "-i,",
                             "--raw",
                             "--trace",
                             "-H, --header",
                             "-v, --verbose",
                             "--retry-all",
                             "--timeout",
                             "--retry ",
                             "--retry-delay",
                             "--version",
                             "-h, --help",
                             "--cache ",
                             "--cache-list",
                             "--cache-clear",
                             "--root",
                             "--operator",
                             "A word 'config'",
                             "-O, --remote-name",
                             "-f, --fail",
                             "-s, --silent",
                             "--no-proxy",
                             "--charset MIBENUM"}) {
    EXPECT_THAT(result.output, HasSubstr(option));
  }
}

TEST(QngetHelp, NamesEveryExitCode) {
  const std::string help = RunQnget({"--help"}).output;

  for (const char *code : {"\n  0 ", "\n  1 ", "\n  2 ", "\n  3 ", "\n  4 ", "\n  5 ", "\n  6 ",
                           "\n  7 ", "\n  22 "}) {
    EXPECT_THAT(help, HasSubstr(code));
  }
}

TEST(QngetHelp, TellsDefaultsAndGivesTwoExamples) {
  const std::string help = RunQnget({"--help"}).output;

  for (const char *text :
       {"(default: GET", "pauses (default: 1)", "$http_proxy, but for hosts",
        "\nExamples:\n  qnget -i -o message.mms", "\n  qnget --data message.mms "}) {
    EXPECT_THAT(help, HasSubstr(text));
  }
}

class QngetHelpOf : public testing::TestWithParam<std::vector<std::string>> {};

TEST_P(QngetHelpOf, FitsInto80Columns) {
  std::vector<std::string> arguments = GetParam();
  arguments.push_back("--help");
  const ProcessResult result = RunQnget(arguments);

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_THAT(result.output, HasSubstr("\nUsage: qnget"));
  std::istringstream lines(result.output);
  for (std::string line; std::getline(lines, line);) {
    EXPECT_LE(line.size(), 80u) << line;
    EXPECT_FALSE(line.ends_with(' ')) << line;
  }
}

INSTANTIATE_TEST_SUITE_P(Qnget, QngetHelpOf,
                         testing::ValuesIn(std::vector<std::vector<std::string>>{
                             {},
                             {"config"},
                             {"config", "set"},
                             {"config", "get"},
                             {"config", "list"},
                             {"config", "unset"}}));

TEST(QngetHelp, OfSettingListsTheKeysWithWhatTheyMean) {
  const std::string help = RunQnget({"config", "set", "--help"}).output;

  for (const char *text :
       {"\n  proxy                   Ask through ", "\n  user-agent              The User-Agent ",
        "\n  profile                 The Profile ", "\n  accept                  The Accept ",
        "\n  accept-language         The Accept-Language ",
        "\n  timeout                 Give up after SECONDS "}) {
    EXPECT_THAT(help, HasSubstr(text));
  }
}

TEST(QngetHelp, SaysWhenItCannotBeWritten) {
  const ProcessResult result =
      RunQnget({"--help"}, {.output = Sink::kFile, .output_file = "/dev/full"});

  EXPECT_EQ(result.exit_code, 6);
  EXPECT_EQ(result.error, Message("could not write standard output"));
}

}  // namespace
}  // namespace qntest
