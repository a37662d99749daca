// What values qnget takes, from the command line, from its settings and from
// redirects. Each check says why a text is refused, or gives an empty string.
#ifndef QNGET_CHECKS_H
#define QNGET_CHECKS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qnget {

struct Proxy {
  std::string host;
  int32_t port = 0;
};

std::string CheckHeaderValue(const std::string &value);
std::string CheckContentType(const std::string &value);
std::string CheckProxy(const std::string &text);
std::string CheckTimeout(const std::string &text);

/** Keeps those URLs away from the library that would become a different request. */
std::string ProblemOfUrl(const std::string &url);

/** Reads "HOST:PORT"; nothing if it is not that. */
std::optional<Proxy> ReadProxy(std::string_view text);

/** The text with a '?' for each control character, fit for a terminal. */
std::string Printable(std::string text);

}  // namespace qnget

#endif
