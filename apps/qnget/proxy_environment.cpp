// SPDX-License-Identifier: MIT
// HTTP_PROXY in capitals is not read: to a CGI program it is the "Proxy:" header
// of whoever asks.
#include "proxy_environment.h"

#include <cstdlib>

#include "failure.h"
#include "visible.h"

namespace qnget {
namespace {

std::string Variable(const char *name) {
  const char *value = getenv(name);
  return value == nullptr ? "" : value;
}

}  // namespace

void TakeProxyFromEnvironment(Options &options) {
  const std::string text = Variable("http_proxy");
  const std::string problem = CheckProxy(text);
  if (!problem.empty()) {
    throw Failure(kUsage, "http_proxy: " + Visible(problem) + " (--no-proxy goes without)");
  }
  options.proxy = ReadProxy(text);
  const std::string list = Variable("no_proxy");
  options.no_proxy = ReadNoProxy(list.empty() ? Variable("NO_PROXY") : list);
}

}  // namespace qnget
