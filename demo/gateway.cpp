// SPDX-License-Identifier: MIT
#include "gateway.h"

#include <charconv>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace demo {
namespace {

// A request target in absolute form, taken apart.
struct Target {
  std::string host;
  int port = 80;
  std::string path = "/";
};

std::optional<Target> ParseTarget(std::string_view text) {
  constexpr std::string_view kScheme = "http://";
  if (!text.starts_with(kScheme)) return std::nullopt;
  text.remove_prefix(kScheme.size());

  Target target;
  const size_t slash = text.find('/');
  if (slash != std::string_view::npos) target.path = text.substr(slash);
  const std::string_view authority = text.substr(0, slash);
  const size_t colon = authority.find(':');
  target.host = authority.substr(0, colon);
  if (colon != std::string_view::npos) {
    const std::string_view port = authority.substr(colon + 1);
    const char *end = port.data() + port.size();
    if (std::from_chars(port.data(), end, target.port).ptr != end) return std::nullopt;
  }
  return target;
}

// Header lines that concern one connection only, or that the server and client
// classes write themselves.
bool IsPassedOn(const std::string &name) {
  static const std::set<std::string, httplib::detail::ci> kept_back = {
      "Connection",  "Content-Length", "Content-Type",     "Host",
      "Keep-Alive",  "LOCAL_ADDR",     "LOCAL_PORT",       "Proxy-Connection",
      "REMOTE_ADDR", "REMOTE_PORT",    "Transfer-Encoding"};
  return !kept_back.contains(name);
}

httplib::Headers PassedOn(const httplib::Headers &headers) {
  httplib::Headers passed;
  for (const auto &[name, value] : headers) {
    if (IsPassedOn(name)) passed.emplace(name, value);
  }
  passed.emplace("Via", kGatewayVia);
  return passed;
}

void Refuse(httplib::Response &answer, int status, const char *reason) {
  answer.status = status;
  answer.set_content(reason, "text/plain");
}

void PassOn(const httplib::Request &request, httplib::Response &answer) {
  const std::optional<Target> target = ParseTarget(request.target);
  if (!target) return Refuse(answer, 400, "The gateway takes absolute targets only.");

  httplib::Request forwarded;
  forwarded.method = request.method;
  forwarded.path = target->path;
  forwarded.headers = PassedOn(request.headers);
  forwarded.body = request.body;
  if (request.has_header("Content-Type")) {
    forwarded.set_header("Content-Type", request.get_header_value("Content-Type"));
  }
  const httplib::Result result = httplib::Client(target->host, target->port).send(forwarded);
  if (!result) return Refuse(answer, 502, "The server behind the gateway does not answer.");

  answer.status = result->status;
  answer.headers = PassedOn(result->headers);
  if (result->has_header("Content-Type")) {
    answer.set_content(result->body, result->get_header_value("Content-Type"));
  }
}

}  // namespace

Gateway::Gateway()
    : server_([](httplib::Server &server) { server.Get(".*", PassOn).Post(".*", PassOn); }) {}

}  // namespace demo
