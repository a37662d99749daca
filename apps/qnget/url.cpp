// SPDX-License-Identifier: MIT
// The checks are stricter than the library, which takes any text: what it would
// cut, read in another way or send as a line of its own is refused.
#include "url.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

#include "answer_head.h"

namespace qnget {
namespace {

// The library cuts the method with the target at 2047 bytes.
constexpr size_t kLongestUrl = 2000;
constexpr size_t kLongestShown = 60;  // of a refused text in its message
constexpr std::string_view kScheme = "http";
constexpr std::string_view kSlashes = "//";

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }
bool IsBeyondAscii(char c) { return static_cast<unsigned char>(c) >= 0x80; }
bool IsOfAScheme(char c) { return IsLetter(c) || IsDigit(c) || c == '+' || c == '-' || c == '.'; }
bool IsOfAHost(char c) { return IsLetter(c) || IsDigit(c) || c == '.' || c == '-' || c == '_'; }

UrlReading Refused(std::string problem, UrlFault fault = UrlFault::kOther) {
  return {{}, fault, std::move(problem)};
}

UrlReading WithoutServer(std::string_view text) {
  return Refused("'" + std::string(text.substr(0, kLongestShown)) + "' names no server",
                 UrlFault::kNoServer);
}

// What stands before the ':' of a text that begins with a scheme.
std::optional<std::string_view> SchemeOf(std::string_view text) {
  const size_t colon = text.find(':');
  if (colon == std::string_view::npos || colon == 0 || !IsLetter(text.front())) return {};
  const std::string_view scheme = text.substr(0, colon);
  if (!std::all_of(scheme.begin(), scheme.end(), IsOfAScheme)) return {};
  return scheme;
}

// Whether the text behind a word and its ':' is too little for a port.
bool ReadsAsSchemeAlone(std::string_view rest) {
  return rest.empty() || rest.front() == '/' || rest.front() == '?';
}

UrlReading OfOtherScheme(std::string_view scheme) {
  if (EqualIgnoringCase(scheme, "https")) {
    return Refused("qnget speaks plain HTTP, not https", UrlFault::kSecure);
  }
  return Refused("qnget speaks plain HTTP, not " + std::string(scheme.substr(0, kLongestShown)));
}

// Blanks and bytes that are not ASCII in the form "%20".
std::string PercentEncoded(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string encoded;
  for (const char c : text) {
    if (c != ' ' && !IsBeyondAscii(c)) {
      encoded += c;
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    encoded.append({'%', kDigits[byte >> 4], kDigits[byte & 0xf]});
  }
  return encoded;
}

// An empty text is the scheme's own port; nothing for what is no port.
std::optional<uint16_t> ReadPort(std::string_view text) {
  if (text.empty()) return kHttpPort;
  const std::optional<uint64_t> port = ReadDecimal(text);
  if (!port || *port == 0 || *port > UINT16_MAX) return {};
  return static_cast<uint16_t>(*port);
}

std::string TargetOf(std::string_view text) {
  const std::string target = PercentEncoded(text);
  return target.starts_with('/') ? target : "/" + target;
}

UrlReading Checked(Url url) {
  if (url.Text().size() > kLongestUrl) return Refused("longer than 2000 bytes");
  return {std::move(url)};
}

// Reads what follows "http://". `text` is the whole, for messages.
UrlReading ReadFromAuthority(std::string_view rest, std::string_view text) {
  const std::string_view authority = rest.substr(0, rest.find_first_of("/?"));
  rest.remove_prefix(authority.size());
  if (authority.find('@') != std::string_view::npos) {
    return Refused("it has a user's name; say -H 'Authorization: ...' instead");
  }
  if (authority.starts_with('[')) return Refused("qnget knows names and IPv4 addresses, not IPv6");
  const std::string_view host = authority.substr(0, authority.find(':'));
  if (host.empty()) return WithoutServer(text);
  if (!std::all_of(host.begin(), host.end(), IsOfAHost)) {
    return Refused("the host has other characters than letters, digits, '.', '-' and '_'");
  }
  const std::optional<uint16_t> port =
      ReadPort(authority.substr(std::min(host.size() + 1, authority.size())));
  if (!port) return Refused("the port is not from 1 to 65535");
  return Checked({std::string(host), *port, TargetOf(rest)});
}

std::string_view WithoutFragment(std::string_view text) { return text.substr(0, text.find('#')); }

// RFC 3986, section 5.2.4, for a path that begins with '/'.
std::string WithoutDotSegments(std::string_view path) {
  std::string kept;
  while (!path.empty()) {
    const std::string_view segment = path.substr(0, path.find('/', 1));
    path.remove_prefix(segment.size());
    const bool up = segment == "/..";
    if (up) kept.erase(std::min(kept.rfind('/'), kept.size()));
    if (!up && segment != "/.") {
      kept += segment;
    } else if (path.empty()) {
      kept += '/';
    }
  }
  return kept;
}

struct PathAndQuery {
  std::string_view path;
  std::string_view query;  // with its '?'
};

PathAndQuery Split(std::string_view target) {
  const std::string_view path = target.substr(0, target.find('?'));
  return {path, target.substr(path.size())};
}

// A reference without scheme and authority.
UrlReading ResolveTarget(const Url &base, std::string_view reference) {
  const PathAndQuery of_base = Split(base.target);
  const PathAndQuery given = Split(reference);
  std::string path(given.path);
  std::string_view query = given.query;
  if (path.empty()) {
    path = of_base.path;
    if (query.empty()) query = of_base.query;
  } else if (!path.starts_with('/')) {
    path.insert(0, of_base.path.substr(0, of_base.path.rfind('/') + 1));
  }
  return Checked({base.host, base.port, WithoutDotSegments(path).append(query)});
}

}  // namespace

std::string Url::Text() const {
  const std::string behind_host = port == kHttpPort ? "" : ":" + std::to_string(port);
  return "http://" + host + behind_host + target;
}

bool HaveSameServer(const Url &a, const Url &b) {
  return EqualIgnoringCase(a.host, b.host) && a.port == b.port;
}

UrlReading ReadUrl(const std::string &text) {
  if (std::any_of(text.begin(), text.end(), IsControl)) return Refused("it has control characters");
  if (text.find(' ') != std::string::npos) return Refused("it has blanks; a blank is written %20");
  const std::string_view rest = WithoutFragment(text);
  const std::optional<std::string_view> scheme = SchemeOf(rest);
  if (scheme && rest.substr(scheme->size()).starts_with("://")) {
    if (!EqualIgnoringCase(*scheme, kScheme)) return OfOtherScheme(*scheme);
    return ReadFromAuthority(rest.substr(scheme->size() + 3), text);
  }
  // "https:/h" is no host "https" with an empty port.
  if (scheme && ReadsAsSchemeAlone(rest.substr(scheme->size() + 1))) {
    return Refused("it begins neither with http:// nor with a host");
  }
  return ReadFromAuthority(rest, text);
}

UrlReading ResolveReference(const Url &base, const std::string &reference) {
  if (std::any_of(reference.begin(), reference.end(), IsControl)) {
    return Refused("it has control characters");
  }
  const std::string encoded = PercentEncoded(WithoutFragment(reference));
  std::string_view rest = encoded;
  if (const std::optional<std::string_view> scheme = SchemeOf(rest)) {
    if (!EqualIgnoringCase(*scheme, kScheme)) return OfOtherScheme(*scheme);
    rest.remove_prefix(scheme->size() + 1);
    if (!rest.starts_with(kSlashes)) return WithoutServer(encoded);
  }
  if (!rest.starts_with(kSlashes)) return ResolveTarget(base, rest);
  rest.remove_prefix(kSlashes.size());
  UrlReading reading = ReadFromAuthority(rest, encoded);
  if (reading.fault != UrlFault::kNone) return reading;
  return ResolveTarget(reading.url, "");
}

std::string ProblemOfUrl(const std::string &text) { return ReadUrl(text).problem; }

}  // namespace qnget
