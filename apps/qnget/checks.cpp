// SPDX-License-Identifier: MIT
// The library takes any text; what is refused here would be cut, would become
// another request than the user meant, or would not be found again.
#include "checks.h"

#include <CLI/CLI.hpp>

namespace qnget {
namespace {

// The library cuts formatted pieces of a request at 2047 bytes.
constexpr size_t kLongestPiece = 2000;
constexpr double kShortestTimeout = 0.001;
constexpr double kLongestTimeout = 1e6;

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

}  // namespace qnget
