// SPDX-License-Identifier: MIT
// The hop of a request: the proxy or the server, what is done with it, and how
// that fails, in words.
#ifndef QNGET_HOP_H
#define QNGET_HOP_H

#include <optional>
#include <string>

#include "failure.h"
#include "proxy.h"
#include "url.h"

namespace qnget {

enum class Step { kResolving, kConnecting, kSending, kReceiving };

/** Why a name was not resolved, as the platform left it behind the attempt. */
struct ResolverError {
  int resolver = 0;  // h_errno
  int system = 0;    // errno
};

class Hop {
 public:
  /** The proxy if there is one, else the URL's server. */
  Hop(const std::optional<Proxy> &proxy, const Url &url);

  /** "proxy gateway:8080" or "server mms.example.com:80". */
  const std::string &Address() const { return address_; }

  /** What a step does: "connecting to server mms.example.com:80". */
  std::string Doing(Step step) const;

  Failure NotResolved(const ResolverError &error) const;

  /** How the step of a connection fails; `error` as errno has it. */
  Failure NotConnected(int error) const;
  Failure NotSent(int error) const;

 private:
  std::string address_;
};

}  // namespace qnget

#endif
