// SPDX-License-Identifier: MIT
#include "proxy.h"

#include <arpa/inet.h>

#include <algorithm>

#include "answer_head.h"
#include "options.h"

namespace qnget {
namespace {

constexpr int32_t kPortOfHttp = 80;
constexpr uint64_t kHighestPort = 65535;
constexpr uint64_t kBitsOfAddress = 32;
constexpr const char *kScheme = "http";
constexpr std::string_view kBehindScheme = "://";
constexpr const char *kNoProxyAddress =
    "not HOST:PORT or http://HOST:PORT with a port from 1 to 65535: ";

// A proxy, or why there is none.
struct Reading {
  std::optional<Proxy> proxy{};
  std::string problem{};
};

std::optional<int32_t> ReadPort(std::string_view digits) {
  const std::optional<uint64_t> port = ReadDecimal(digits);
  if (!port || *port == 0 || *port > kHighestPort) return {};
  return static_cast<int32_t>(*port);
}

bool IsHost(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
    return c > ' ' && c != 0x7f && std::string_view("/?#\\[]:").find(c) == std::string_view::npos;
  });
}

// Takes "http://" off the text, and a '/' at its end; false for another scheme.
bool TakeScheme(std::string_view &text) {
  const size_t end = text.find(kBehindScheme);
  if (end == std::string_view::npos) return true;
  if (!EqualIgnoringCase(text.substr(0, end), kScheme)) return false;
  text.remove_prefix(end + kBehindScheme.size());
  if (text.ends_with('/')) text.remove_suffix(1);
  return true;
}

std::optional<Proxy> ReadHostAndPort(std::string_view text, std::optional<int32_t> default_port) {
  const size_t colon = text.find(':');
  const bool has_port = colon != std::string_view::npos;
  const std::string_view host = text.substr(0, colon);
  const auto port = has_port ? ReadPort(text.substr(colon + 1)) : default_port;
  if (!IsHost(host) || !port) return {};
  return Proxy{std::string(host), *port};
}

// A password must not come to light in a message, so such a text is not repeated.
Reading Read(const std::string &text) {
  if (text.empty()) return {};
  if (text.find('@') != std::string::npos) {
    return {{}, "a proxy that wants a user's name and password is not supported"};
  }
  std::string_view rest = text;
  if (!TakeScheme(rest)) {
    return {{}, "a proxy is asked in plain HTTP, not by https or socks: " + text};
  }
  const bool has_scheme = rest.size() < text.size();
  const auto port = has_scheme ? std::optional<int32_t>(kPortOfHttp) : std::nullopt;
  const std::optional<Proxy> proxy = ReadHostAndPort(rest, port);
  if (!proxy) return {{}, kNoProxyAddress + text};
  return {proxy, {}};
}

NoProxyEntry ReadEntry(std::string_view text) {
  NoProxyEntry entry;
  if (const size_t colon = text.rfind(':'); colon != std::string_view::npos) {
    if (const std::optional<int32_t> port = ReadPort(text.substr(colon + 1))) {
      entry.port = *port;
      text = text.substr(0, colon);
    }
  }
  if (text.starts_with('.')) text.remove_prefix(1);
  if (text.ends_with('.')) text.remove_suffix(1);
  entry.host = text;
  return entry;
}

std::optional<uint32_t> ReadAddress(std::string_view text) {
  in_addr address{};
  if (inet_pton(AF_INET, std::string(text).c_str(), &address) != 1) return {};
  return ntohl(address.s_addr);
}

// An address, or a network as 10.0.0.0/8.
bool HoldsAddress(std::string_view network, uint32_t address) {
  const size_t slash = network.find('/');
  const std::optional<uint32_t> base = ReadAddress(network.substr(0, slash));
  if (!base) return false;
  if (slash == std::string_view::npos) return *base == address;
  const std::optional<uint64_t> bits = ReadDecimal(network.substr(slash + 1));
  if (!bits || *bits > kBitsOfAddress) return false;
  return *bits == 0 || (*base ^ address) >> (kBitsOfAddress - *bits) == 0;
}

bool HoldsName(std::string_view domain, std::string_view name) {
  if (name.size() < domain.size()) return false;
  const size_t before = name.size() - domain.size();
  return EqualIgnoringCase(name.substr(before), domain) && (before == 0 || name[before - 1] == '.');
}

bool Holds(const NoProxyEntry &entry, std::string_view host, int32_t port) {
  if (entry.port != 0 && entry.port != port) return false;
  if (entry.host == "*") return true;
  if (const auto address = ReadAddress(host)) return HoldsAddress(entry.host, *address);
  if (host.ends_with('.')) host.remove_suffix(1);
  return HoldsName(entry.host, host);
}

}  // namespace

std::optional<Proxy> ReadProxy(const std::string &text) { return Read(text).proxy; }

std::string CheckProxy(const std::string &text) { return Read(text).problem; }

std::vector<NoProxyEntry> ReadNoProxy(std::string_view list) {
  constexpr std::string_view kBetween = ", \t";
  std::vector<NoProxyEntry> entries;
  while (!list.empty()) {
    const size_t end = std::min(list.find_first_of(kBetween), list.size());
    const NoProxyEntry entry = ReadEntry(list.substr(0, end));
    if (!entry.host.empty()) entries.push_back(entry);
    list.remove_prefix(std::min(end + 1, list.size()));
  }
  return entries;
}

std::optional<Proxy> ProxyFor(const Options &options, const std::string &host, int32_t port) {
  const bool direct =
      std::any_of(options.no_proxy.begin(), options.no_proxy.end(),
                  [&](const NoProxyEntry &entry) { return Holds(entry, host, port); });
  return direct ? std::nullopt : options.proxy;
}

}  // namespace qnget
