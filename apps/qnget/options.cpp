// CLI11 does the reading; the checks here are those that the library leaves to
// its callers: line ends in header values, text that it would cut, schemes.
#include "options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <iostream>
#include <string_view>

#include "failure.h"
#include "qnstack/qn_version.h"

namespace qnget {
namespace {

// The library cuts formatted pieces of a request at 2047 bytes.
constexpr size_t kLongestPiece = 2000;
constexpr int kMostRetries = 20;
constexpr double kShortestTimeout = 0.001;
constexpr double kLongestTimeout = 1e6;
constexpr double kLongestDelay = 3600;

constexpr const char *kExitCodes =
    "Exit codes:\n"
    "  0   success\n"
    "  1   wrong usage, or a --data file that cannot be read\n"
    "  2   the name of the server or the proxy did not resolve\n"
    "  3   no connection, or sending failed\n"
    "  4   receiving failed, the answer is incomplete, or the time was up\n"
    "  5   more than 10 redirects\n"
    "  6   the output or the trace file could not be written\n"
    "  22  the answer's status is 400 or above (its body is delivered all the same)\n"
    "A FILE that is given with -o appears only when the answer is complete.";

std::string VersionText() {
  return "qnget " + std::to_string(QNSTACK_VERSION_MAJOR) + "." +
         std::to_string(QNSTACK_VERSION_MINOR) + "." + std::to_string(QNSTACK_VERSION_PATCH);
}

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }

bool StartsWithScheme(std::string_view url, std::string_view scheme) {
  return url.size() >= scheme.size() &&
         std::equal(scheme.begin(), scheme.end(), url.begin(), [](char a, char b) {
           return a == (b >= 'A' && b <= 'Z' ? static_cast<char>(b - 'A' + 'a') : b);
         });
}

// The part of a URL that the library takes for the host.
std::string_view HostOf(std::string_view url) {
  const size_t scheme = url.find("://");
  if (scheme != std::string_view::npos) url.remove_prefix(scheme + 3);
  return url.substr(0, url.find_first_of(":/?"));
}

std::string CheckHeaderValue(const std::string &value) {
  if (value.find_first_of("\r\n") == std::string::npos) return {};
  return "a header value has no line ends";
}

std::string CheckContentType(const std::string &value) {
  if (value.size() > kLongestPiece) return "longer than 2000 bytes";
  return CheckHeaderValue(value);
}

std::optional<Proxy> ReadProxy(std::string_view text) {
  const size_t colon = text.rfind(':');
  if (colon == std::string_view::npos || colon == 0) return {};
  const std::string_view host = text.substr(0, colon);
  const std::string_view digits = text.substr(colon + 1);
  if (host.find_first_of(":/ ") != std::string_view::npos) return {};
  uint16_t port = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
  if (error != std::errc() || end != digits.data() + digits.size() || port == 0) return {};
  return Proxy{std::string(host), port};
}

std::string CheckProxy(const std::string &text) {
  return ReadProxy(text) ? "" : "not HOST:PORT with a port from 1 to 65535: " + text;
}

// A range that a value which is no number does not pass.
CLI::Validator Between(double low, double high, const std::string &words) {
  return {[low, high, words](std::string &text) -> std::string {
            double value = 0;
            const bool number = CLI::detail::lexical_cast(text, value);
            return number && value >= low && value <= high ? "" : "not " + words + ": " + text;
          },
          ""};
}

// What is read by CLI11 and put in its place afterwards.
struct Raw {
  std::string proxy;
  std::string user_agent;
  std::string profile;
  std::string accept;
  std::string accept_language;
  std::string data;
  std::string content_type;
};

void AddRequestOptions(CLI::App &app, Options &options, Raw &raw) {
  const CLI::Validator value(CheckHeaderValue, "");
  app.add_option("URL", options.url, "What to ask for, as in http://host:port/path")
      ->required()
      ->check(CLI::Validator(ProblemOfUrl, ""));
  app.add_option("-X,--method", options.method,
                 "GET, HEAD, POST or PUT; GET if it is not given, POST with --data")
      ->check(CLI::IsMember({"GET", "HEAD", "POST", "PUT"}))
      ->type_name("METHOD");
  app.add_option("-p,--proxy", raw.proxy, "Ask through the gateway at HOST:PORT")
      ->check(CLI::Validator(CheckProxy, ""))
      ->type_name("HOST:PORT");
  app.add_option("--data", raw.data, "Send FILE as the request body; - is standard input")
      ->type_name("FILE");
  app.add_option("--content-type", raw.content_type,
                 "Media type of the body (default: application/x-www-form-urlencoded)")
      ->check(CLI::Validator(CheckContentType, ""))
      ->needs("--data")
      ->type_name("TYPE");
  app.add_option("--user-agent", raw.user_agent, "The User-Agent header")
      ->check(value)
      ->type_name("TEXT");
  app.add_option("--profile", raw.profile, "The Profile header: URL of the handset's profile")
      ->check(value)
      ->type_name("URL");
  app.add_option("--accept", raw.accept, "The Accept header")->check(value)->type_name("TYPES");
  app.add_option("--accept-language", raw.accept_language, "The Accept-Language header")
      ->check(value)
      ->type_name("LANGUAGES");
}

void AddOutputOptions(CLI::App &app, Options &options) {
  app.add_option("-o,--output", options.output,
                 "Write the body to FILE, complete or not at all; - is standard output")
      ->type_name("FILE");
  app.add_flag("-i,--info", options.info,
               "Print status, media type, length, encoding and final URL on standard error");
  app.add_flag("--raw", options.raw,
               "Deliver the answer as it comes, with its header; follow no redirect");
  app.add_option("--trace", options.trace, "Keep the library's trace lines in FILE")
      ->type_name("FILE");
}

void AddPatienceOptions(CLI::App &app, Options &options) {
  app.add_option("--timeout", options.timeout,
                 "Give up after SECONDS for everything, retries included")
      ->check(Between(kShortestTimeout, kLongestTimeout, "from 0.001 to 1000000 seconds"))
      ->type_name("SECONDS");
  app.add_option("--retry", options.retries,
                 "Try up to N times more where no status came, after doubling pauses")
      ->check(Between(0, kMostRetries, "from 0 to 20 times"))
      ->type_name("N");
  app.add_option("--retry-delay", options.retry_delay, "The first of these pauses (default: 1)")
      ->check(Between(0, kLongestDelay, "from 0 to 3600 seconds"))
      ->type_name("SECONDS");
}

void FillIn(const CLI::App &app, const Raw &raw, Options &options) {
  const auto header = [&](const char *option, const char *name, const std::string &value) {
    if (app.count(option) > 0) options.headers.emplace_back(name, value);
  };
  header("--accept", "Accept", raw.accept);
  header("--user-agent", "User-Agent", raw.user_agent);
  header("--profile", "Profile", raw.profile);
  header("--accept-language", "Accept-Language", raw.accept_language);
  if (app.count("--data") > 0) options.data = raw.data;
  if (app.count("--content-type") > 0) options.content_type = raw.content_type;
  if (app.count("--proxy") > 0) options.proxy = ReadProxy(raw.proxy);
  if (options.method.empty()) options.method = options.data ? "POST" : "GET";
  if (options.data && (options.method == "GET" || options.method == "HEAD")) {
    throw Failure(kUsage, "--data goes with POST or PUT, not with " + options.method);
  }
}

void Print(const std::string &text) {
  std::cout << text << std::flush;
  if (!std::cout) throw Failure(kNotWritten, "could not write standard output");
}

}  // namespace

std::string ProblemOfUrl(const std::string &url) {
  if (StartsWithScheme(url, "https://")) return "qnget speaks plain HTTP, not https";
  if (url.size() > kLongestPiece) return "longer than 2000 bytes";
  if (std::any_of(url.begin(), url.end(), IsControl)) return "it has control characters";
  if (HostOf(url).empty()) return "'" + url + "' names no server";
  return {};
}

std::optional<Options> ParseOptions(int argc, const char *const *argv) {
  CLI::App app("Fetches or sends a message over HTTP/1.0, as a handset does.", "qnget");
  Options options;
  Raw raw;
  app.set_version_flag("--version", VersionText());
  app.footer(kExitCodes);
  AddRequestOptions(app, options, raw);
  AddOutputOptions(app, options);
  AddPatienceOptions(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp &) {
    Print(app.help());
    return {};
  } catch (const CLI::CallForVersion &version) {
    Print(version.what() + std::string("\n"));
    return {};
  } catch (const CLI::ParseError &error) {
    throw Failure(kUsage, error.what() + std::string(" (see qnget --help)"));
  }
  FillIn(app, raw, options);
  return options;
}

}  // namespace qnget
