// SPDX-License-Identifier: MIT
// Each call is made with its trace lines captured.
#include "support/read_calls.h"

#include <ostream>

namespace qntest {
namespace {

const char *OrNull(const std::string &text) { return text.empty() ? nullptr : text.c_str(); }

}  // namespace

std::ostream &operator<<(std::ostream &out, const CallRow &row) {
  return out << "{result " << row.result << ", state " << row.state << ", tries " << row.tries
             << ", redirects " << row.redirects << ", socket " << row.socket << '}';
}

Context Open(const Asked &asked) {
  const auto length = static_cast<std::int32_t>(asked.body.size());
  const char *type = OrNull(asked.type);
  if (asked.method == "HEAD") return Context(fnQNStack_Http_Open_Head(asked.url.c_str()));
  if (asked.method == "POST") {
    return Context(fnQNStack_Http_Open_Post(asked.url.c_str(), asked.body.data(), length, type));
  }
  if (asked.method == "PUT") {
    return Context(fnQNStack_Http_Open_Put(asked.url.c_str(), asked.body.data(), length, type));
  }
  return Context(fnQNStack_Http_Open_Get(asked.url.c_str()));
}

CallRow ReadOnce(const Context &ctx, std::string &delivered, std::int32_t capacity) {
  std::string room(static_cast<std::size_t>(capacity), '\0');
  const Outcome outcome = OutcomeOf(
      ctx.get(), [&] { return fnQNStack_Http_ReadRecvContext(ctx.get(), room.data(), capacity); });
  if (outcome.result > 0) delivered.append(room, 0, static_cast<std::size_t>(outcome.result));
  return {outcome.result, outcome.state, outcome.tries, ctx->redirectCount, outcome.socket};
}

}  // namespace qntest
