// SPDX-License-Identifier: MIT
// Which proxy a request goes through: how one is written down, and which hosts
// are asked without it.
#ifndef QNGET_PROXY_H
#define QNGET_PROXY_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qnget {

struct Options;

struct Proxy {
  std::string host;
  int32_t port = 0;
};

/** Hosts that are asked without a proxy: one entry of no_proxy. */
struct NoProxyEntry {
  std::string host;  // a name, with all names that end in it; an address or a network; "*": any
  int32_t port = 0;  // 0: whatever port
};

/**
 * Reads HOST:PORT, http://HOST:PORT or http://HOST, where the port is 80; nothing
 * for an empty text, which means no proxy, and for any other.
 */
std::optional<Proxy> ReadProxy(const std::string &text);

/** Why a text is neither empty nor a proxy's address. */
std::string CheckProxy(const std::string &text);

/** The entries of a list that commas and blanks divide. */
std::vector<NoProxyEntry> ReadNoProxy(std::string_view list);

/** The proxy for requests to a host; nothing where that is asked directly. */
std::optional<Proxy> ProxyFor(const Options &options, const std::string &host, int32_t port);

}  // namespace qnget

#endif
