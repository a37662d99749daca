// SPDX-License-Identifier: MIT
#include "hop.h"

#include <netdb.h>
#include <string.h>

namespace qnget {
namespace {

std::string ReasonOf(const ResolverError &error) {
  switch (error.resolver) {
    case HOST_NOT_FOUND:
      return "there is no such name";
    case TRY_AGAIN:
      return "the name server does not answer for now";
    case NO_DATA:
      return "the name has no IPv4 address";
    case NO_RECOVERY:
      return "the name server failed";
    case NETDB_INTERNAL:
      return strerror(error.system);
    default:
      return "it has no address to connect to";
  }
}

}  // namespace

Hop::Hop(const std::optional<Proxy> &proxy, const Url &url)
    : address_(proxy ? "proxy " + proxy->host + ":" + std::to_string(proxy->port)
                     : "server " + url.host + ":" + std::to_string(url.port)) {}

std::string Hop::Doing(Step step) const {
  switch (step) {
    case Step::kResolving:
      return "resolving " + address_;
    case Step::kConnecting:
      return "connecting to " + address_;
    case Step::kSending:
      return "sending to " + address_;
    default:
      return "receiving from " + address_;
  }
}

Failure Hop::NotResolved(const ResolverError &error) const {
  return {kNotResolved, "could not resolve " + address_ + ": " + ReasonOf(error), Reached::kNobody};
}

Failure Hop::NotConnected(int error) const {
  return {kNotConnected, "no connection to " + address_ + ": " + strerror(error), Reached::kNobody};
}

Failure Hop::NotSent(int error) const {
  return {kNotConnected, "sending failed to " + address_ + ": " + strerror(error),
          Reached::kPerhapsAServer};
}

}  // namespace qnget
