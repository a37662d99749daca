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

struct WrongUsage {
  const char *name;
  std::vector<std::string> arguments;
  const char *message;
};

// Nothing listens on the discard port, so a refusal that did not happen would
// show as another exit code.
const char *const kPage = "http://127.0.0.1:9/";

// One of each kind of address and field; the other ways in which they can be wrong are
// those of the tests of their modules.
const WrongUsage kWrongUsages[] = {
    {"NoUrl", {}, "URL is required"},
    {"TwoUrls", {kPage, kPage}, "not expected: http://127.0.0.1:9/"},
    {"UnknownOption", {"--bogus", kPage}, "--bogus"},
    {"SecureUrl", {"https://127.0.0.1/"}, "qnget speaks plain HTTP"},
    {"UrlWithoutHost", {"http:///path"}, "names no server"},
    {"EmptyUrl", {""}, "names no server"},
    {"UrlWithLineEnd", {"http://127.0.0.1/\r\nX: y"}, "control characters"},
    {"TunnelMethod", {"-X", "CONNECT", kPage}, "CONNECT not in {GET,HEAD,POST,PUT}"},
    {"MethodInSmallLetters", {"-X", "get", kPage}, "get not in {GET,HEAD,POST,PUT}"},
    {"ProxyWithoutPort", {"-p", "gateway", kPage}, "not HOST:PORT"},
    {"ProxyAndNone", {"-p", "gateway:80", "--no-proxy", kPage}, "excludes"},
    {"AgentWithLineFeed", {"--user-agent", "a\nX: y", kPage}, "no line ends"},
    {"ProfileWithLineEnd", {"--profile", "a\r\nb", kPage}, "no line ends"},
    {"AcceptWithLineEnd", {"--accept", "a\r\nb", kPage}, "no line ends"},
    {"LanguageWithLineEnd", {"--accept-language", "a\r\nb", kPage}, "no line ends"},
    {"TypeWithLineEnd", {"--data", "/dev/null", "--content-type", "a\r\nb", kPage}, "no line ends"},
    {"TypeThatWouldBeCut",
     {"--data", "/dev/null", "--content-type", std::string(2001, 'x'), kPage},
     "longer than 2000 bytes"},
    {"HeaderWithoutColon", {"-H", "X-A", kPage}, "not 'Name: value'"},
    {"HeaderThatNothingCarries",
     {"-H", "Accept:", "-H", "User-Agent:", "-H", "Profile:", "-H", "Accept-Language:", "-H",
      "X-A: b", kPage},
     "leave one of them"},
    {"HeadersThatNothingCarriesToAPut",
     {"-X", "PUT", "--data", "/dev/null", "-H", "Accept:", "-H", "User-Agent:", "-H",
      "Profile:", "-H", "Accept-Language:", kPage},
     "leave one of them"},
    {"HeaderTypeThatWouldBeCut",
     {"--data", "/dev/null", "-H", "Content-Type: " + std::string(2001, 'x'), kPage},
     "longer than 2000 bytes"},
    {"RetryAllAlone", {"--retry-all", kPage}, "--retry-all requires --retry"},
    {"TypeWithoutData", {"--content-type", "text/plain", kPage}, "--content-type requires --data"},
    {"DataWithGet", {"-X", "GET", "--data", "/dev/null", kPage}, "--data goes with POST or PUT"},
    {"DataWithHead", {"-X", "HEAD", "--data", "/dev/null", kPage}, "--data goes with POST or PUT"},
    {"DataThatIsMissing", {"--data", "/no/such/file", kPage}, "could not read /no/such/file"},
    {"DataThatIsAFolder", {"--data", "/", kPage}, "could not read /: "},
    {"NoTime", {"--timeout", "0", kPage}, "--timeout"},
    {"NegativeTime", {"--timeout", "-1", kPage}, "--timeout"},
    {"TimeThatIsNoNumber", {"--timeout", "nan", kPage}, "--timeout"},
    {"TimeWithUnit", {"--timeout", "2s", kPage}, "--timeout"},
    {"NegativeRetries", {"--retry", "-1", kPage}, "--retry"},
    {"TooManyRetries", {"--retry", "21", kPage}, "--retry"},
    {"HalfARetry", {"--retry", "1.5", kPage}, "--retry"},
    {"NegativeDelay", {"--retry-delay", "-1", kPage}, "--retry-delay"},
    {"RemoteNameOfAFolder", {"-O", "http://127.0.0.1:9/a/"}, "-O: the URL has no file name"},
    {"RemoteNameWithOutput", {"-O", "-o", "f", kPage}, "excludes"},
    {"CharsetWithRaw", {"--raw", "--charset=4", kPage}, "not a --raw answer"},
    {"FailWithRaw", {"--fail", "--raw", kPage}, "--fail goes by a status"},
    {"CacheWithPost", {"--cache", "-X", "POST", kPage}, "--cache goes with GET alone"},
    {"CacheWithHead", {"--cache", "-X", "HEAD", kPage}, "--cache goes with GET alone"},
    {"CacheWithData", {"--cache", "--data", "/dev/null", kPage}, "--cache goes with GET alone"},
    {"RefreshWithPost", {"--refresh", "-X", "POST", kPage}, "goes with GET alone"},
    {"RefreshWithRaw", {"--refresh", "--raw", kPage}, "not with --raw"},
    {"RefreshWithCacheList", {"--refresh", "--cache-list"}, "excludes"},
    {"CacheWithRaw", {"--cache", "--raw", kPage}, "not with --raw"},
    {"CacheWithoutUrl", {"--cache"}, "URL is required"},
    {"CacheListWithUrl", {"--cache-list", kPage}, "no URL goes with"},
    {"CacheClearWithUrl", {"--cache-clear", kPage}, "no URL goes with"},
    {"CacheListAndClear", {"--cache-list", "--cache-clear"}, "excludes"},
    {"EmptyRoot", {"--root", "", kPage}, "--root"},
    {"OperatorWithAPath", {"--operator", "../x", kPage}, "letters, digits"},
    {"OperatorWithADot", {"--operator", "a.b", kPage}, "letters, digits"},
    {"EmptyOperator", {"--operator", "", kPage}, "letters, digits"},
    {"ConfigAlone", {"config"}, "subcommand is required"},
    {"ConfigUnknown", {"config", "drop"}, "subcommand is required"},
    {"ConfigWithUrl", {"config", "get", "proxy", kPage}, "no URL goes with"},
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

TEST(QngetRefuses, WithExitCode1AndAReason) {
  for (const WrongUsage &row : kWrongUsages) {
    SCOPED_TRACE(row.name);
    const ProcessResult result = RunQnget(row.arguments);

    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.error, StartsWith("qnget: "));
    EXPECT_THAT(result.error, HasSubstr(row.message));
  }
}

TEST(QngetUsage, RefusesABodyAbove2GB) {
  const ScratchFolder folder;
  const std::string file = folder.write("big", "");
  ASSERT_EQ(truncate(file.c_str(), 2000000001), 0);

  EXPECT_THAT(RunQnget({"--data", file, kPage}),
              FailsWith(1, "could not read " + file + ": above 2 GB"));
}

TEST(QngetUsage, LeavesTheOutputFileAloneWhenItRefuses) {
  const ScratchFolder folder;
  const std::string file = folder.write("kept", "old");

  EXPECT_EQ(RunQnget({"--data", "/no/such/file", "-o", file, kPage}).exit_code, 1);

  EXPECT_EQ(folder.read("kept"), "old");
}

TEST(QngetVersion, IsTheLibrarysOnStandardOutput) {
  EXPECT_THAT(RunQnget({"--version"}), Delivers("qnget " QNGET_EXPECTED_VERSION "\n"));
}

TEST(QngetHelp, NamesEveryOptionAndExitCodeWithDefaultsAndExamples) {
  const std::string help = RunQnget({"--help"}).output;

  for (const char *text : {"-p, --proxy",
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
                           "--charset MIBENUM",
                           "\n  0 ",
                           "\n  1 ",
                           "\n  2 ",
                           "\n  3 ",
                           "\n  4 ",
                           "\n  5 ",
                           "\n  6 ",
                           "\n  7 ",
                           "\n  22 ",
                           "(default: GET",
                           "pauses (default: 1)",
                           "$http_proxy, but for hosts",
                           "\nExamples:\n  qnget -i -o message.mms",
                           "\n  qnget --data message.mms "}) {
    EXPECT_THAT(help, HasSubstr(text));
  }
}

TEST(QngetHelp, FitsInto80Columns) {
  for (const Words &command : {Words{},
                               {"config"},
                               {"config", "set"},
                               {"config", "get"},
                               {"config", "list"},
                               {"config", "unset"}}) {
    const ProcessResult result = RunQnget(Joined(command, {"--help"}));

    EXPECT_EQ(result.exit_code, 0);
    EXPECT_THAT(result.output, HasSubstr("\nUsage: qnget"));
    std::istringstream lines(result.output);
    for (std::string line; std::getline(lines, line);) {
      EXPECT_LE(line.size(), 80u) << line;
      EXPECT_FALSE(line.ends_with(' ')) << line;
    }
  }
}

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
  EXPECT_THAT(RunQnget({"--help"}, {.output = Sink::kFile, .output_file = "/dev/full"}),
              FailsWith(6, "could not write standard output"));
}

}  // namespace
}  // namespace qntest
