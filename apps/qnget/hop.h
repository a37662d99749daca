// Which hop a context talks to, the proxy or the server, and what its state
// means for the user, in words.
#ifndef QNGET_HOP_H
#define QNGET_HOP_H

#include <optional>
#include <string>

#include "failure.h"
#include "options.h"
#include "qnstack/qnstack.h"

namespace qnget {

class Hop {
 public:
  explicit Hop(const std::optional<Proxy> &proxy) : proxy_(proxy) {}

  /** "proxy gateway" or "server mms.example.com". */
  std::string Name(const QNHttpCtx &ctx) const;

  /** The same with its port. */
  std::string Address(const QNHttpCtx &ctx) const;

  /** What the context is busy with, or was when it failed: "connecting to server h:80". */
  std::string Doing(const QNHttpCtx &ctx) const;

  /** The exit code and the message for a context in one of the failed states. */
  Failure FailureOf(const QNHttpCtx &ctx, bool retryable) const;

 private:
  std::optional<Proxy> proxy_;
};

}  // namespace qnget

#endif
