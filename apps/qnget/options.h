// The command line of qnget, taken apart and checked.
#ifndef QNGET_OPTIONS_H
#define QNGET_OPTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qnget {

struct Proxy {
  std::string host;
  int32_t port = 0;
};

struct Options {
  std::string url;
  std::string method;                                        // GET, HEAD, POST or PUT
  std::optional<Proxy> proxy;                                // none: straight to the server
  std::vector<std::pair<std::string, std::string>> headers;  // for the header table
  std::optional<std::string> data;                           // file of the request body, "-": input
  std::optional<std::string> content_type;                   // of that body
  std::string output;                                        // empty or "-": standard output
  std::string trace;                                         // empty: nowhere
  bool info = false;
  bool raw = false;
  double timeout = 0;  // seconds; 0: none
  int retries = 0;
  double retry_delay = 1;  // seconds before the first retry
};

/**
 * Says why a URL cannot be asked for, or gives an empty string. The library
 * takes any text; this keeps those away from it that would become a different
 * request than the user meant.
 */
std::string ProblemOfUrl(const std::string &url);

/**
 * Reads the command line. Throws Failure for a usage error; gives nothing when
 * it has printed the help or the version.
 */
std::optional<Options> ParseOptions(int argc, const char *const *argv);

}  // namespace qnget

#endif
