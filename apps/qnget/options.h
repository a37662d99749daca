// SPDX-License-Identifier: MIT
// The command line of qnget, taken apart and checked.
#ifndef QNGET_OPTIONS_H
#define QNGET_OPTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "answer_head.h"
#include "proxy.h"
#include "store.h"

namespace qnget {

enum class Task {
  kTransfer,
  kListCache,
  kClearCache,
  kSetSetting,
  kGetSetting,
  kListSettings,
  kUnsetSetting
};

struct Options {
  Task task = Task::kTransfer;
  Folders folders{};          // of settings and cache
  std::string operator_name;  // whose settings; empty: those without a name
  std::string key;            // of a setting
  std::string value;          // for it
  bool cache = false;
  bool refresh = false;  // ask past the cache; with `cache` alone
  std::string url;
  std::string method;                                        // GET, HEAD, POST or PUT
  std::optional<Proxy> proxy;                                // none: straight to the server
  std::vector<NoProxyEntry> no_proxy;                        // asked without it all the same
  std::vector<std::pair<std::string, std::string>> headers;  // for the header table
  std::vector<HeaderField> header_lines;    // as they are given, but for the body's media type
  std::optional<std::string> data;          // file of the request body, "-": input
  std::optional<std::string> content_type;  // of that body
  std::string output;                       // empty or "-": standard output
  std::string trace;                        // empty: nowhere
  bool info = false;
  bool raw = false;
  bool verbose = false;
  bool fail = false;                // deliver no body of an answer whose status is an error
  bool silent = false;              // show no progress
  std::optional<uint32_t> charset;  // decode the body from it; none: as it comes
  double timeout = 0;               // seconds; 0: none
  int retries = 0;
  bool retry_all = false;  // also what may have been posted
  double retry_delay = 1;  // seconds before the first retry
};

/**
 * Reads the command line, and for a transfer the settings, which count where an
 * option is not given. Throws Failure for a usage error; gives nothing when it
 * has printed the help or the version.
 */
std::optional<Options> ParseOptions(int argc, const char *const *argv);

}  // namespace qnget

#endif
