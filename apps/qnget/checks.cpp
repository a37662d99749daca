// The library takes any text; what is refused here would be cut, would become
// another request than the user meant, or would not be found again.
#include "checks.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string_view>

namespace qnget {
namespace {

// The library cuts formatted pieces of a request at 2047 bytes.
constexpr size_t kLongestPiece = 2000;
constexpr double kShortestTimeout = 0.001;
constexpr double kLongestTimeout = 1e6;

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

}  // namespace

std::string CheckHeaderValue(const std::string &value) {
  if (value.find_first_of("\r\n") == std::string::npos) return {};
  return "a header value has no line ends";
}

std::string CheckContentType(const std::string &value) {
  if (value.size() > kLongestPiece) return "longer than 2000 bytes";
  return CheckHeaderValue(value);
}

std::string CheckTimeout(const std::string &text) {
  double seconds = 0;
  const bool number = CLI::detail::lexical_cast(text, seconds);
  const bool in_range = seconds >= kShortestTimeout && seconds <= kLongestTimeout;
  return number && in_range ? "" : "not from 0.001 to 1000000 seconds: " + text;
}

std::string ProblemOfUrl(const std::string &url) {
  if (StartsWithScheme(url, "https://")) return "qnget speaks plain HTTP, not https";
  if (url.size() > kLongestPiece) return "longer than 2000 bytes";
  if (std::any_of(url.begin(), url.end(), IsControl)) return "it has control characters";
  if (HostOf(url).empty()) return "'" + url + "' names no server";
  return {};
}

std::string Printable(std::string text) {
  std::replace_if(text.begin(), text.end(), IsControl, '?');
  return text;
}

}  // namespace qnget
