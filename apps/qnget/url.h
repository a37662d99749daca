// SPDX-License-Identifier: MIT
// URLs of the one scheme that qnget speaks: read and checked, and references
// resolved against them (RFC 3986, section 5). What is read here the library
// takes for the same host, port and target, whatever stands in it.
#ifndef QNGET_URL_H
#define QNGET_URL_H

#include <cstdint>
#include <string>

namespace qnget {

inline constexpr uint16_t kHttpPort = 80;

struct Url {
  std::string host{};
  uint16_t port = kHttpPort;
  std::string target = "/";  // path and query; begins with '/'

  /** "http://host/path?query"; the port is there unless it is 80. */
  std::string Text() const;
};

/** Whether both ask the same host and port. */
bool HaveSameServer(const Url &a, const Url &b);

enum class UrlFault { kNone, kSecure, kNoServer, kOther };

struct UrlReading {
  Url url{};
  UrlFault fault = UrlFault::kNone;
  std::string problem{};  // why the text is refused; empty if it is not
};

/**
 * Reads a URL as a user writes it: "http://" may be missing, a fragment is
 * dropped, bytes above 0x7F are percent-encoded, an empty port is 80. The path
 * stays as it is written, dot segments too.
 */
UrlReading ReadUrl(const std::string &text);

/**
 * Resolves a reference, as a redirect gives it. Blanks in it are percent-encoded
 * and dot segments removed.
 */
UrlReading ResolveReference(const Url &base, const std::string &reference);

/** The problem that ReadUrl() finds. */
std::string ProblemOfUrl(const std::string &text);

}  // namespace qnget

#endif
