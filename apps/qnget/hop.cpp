// A refused connection shows in the library as a failed sending; the socket
// slot, which a failed context keeps, tells the two apart.
#include "hop.h"

namespace qnget {
namespace {

bool WasConnected(const QNHttpCtx &ctx) {
  return ctx.socket > 0 && ctx.socket < QN_SOCKET_SLOTS && socket_list[ctx.socket].connState == 1;
}

std::string HostOf(const QNHttpCtx &ctx) { return ctx.hostname == nullptr ? "" : ctx.hostname; }

}  // namespace

std::string Hop::Name(const QNHttpCtx &ctx) const {
  return proxy_ ? "proxy " + proxy_->host : "server " + HostOf(ctx);
}

std::string Hop::Address(const QNHttpCtx &ctx) const {
  return Name(ctx) + ":" + std::to_string(proxy_ ? proxy_->port : ctx.port);
}

std::string Hop::Doing(const QNHttpCtx &ctx) const {
  switch (ctx.state) {
    case QN_HTTP_NEW:
    case QN_HTTP_RESOLVE_FAILED:
      return "resolving " + Name(ctx);
    case QN_HTTP_RESOLVED:
    case QN_HTTP_CONNECT_FAILED:
      return "connecting to " + Address(ctx);
    case QN_HTTP_CONNECTED:
    case QN_HTTP_SENDING:
      return "sending to " + Address(ctx);
    case QN_HTTP_SEND_FAILED:
      return (WasConnected(ctx) ? "sending to " : "connecting to ") + Address(ctx);
    default:
      return "receiving from " + Address(ctx);
  }
}

Failure Hop::FailureOf(const QNHttpCtx &ctx, bool retryable) const {
  switch (ctx.state) {
    case QN_HTTP_RESOLVE_FAILED:
      return {kNotResolved, "could not resolve " + Name(ctx), retryable};
    case QN_HTTP_CONNECT_FAILED:
      return {kNotConnected, "no connection to " + Address(ctx), retryable};
    case QN_HTTP_SEND_FAILED:
      return {kNotConnected,
              (WasConnected(ctx) ? "sending failed to " : "no connection to ") + Address(ctx),
              retryable};
    case QN_HTTP_GIVEN_UP:
      return {kNotReceived, "no progress in receiving from " + Address(ctx), retryable};
    default:
      return {kNotReceived, "receiving failed from " + Address(ctx), retryable};
  }
}

}  // namespace qnget
