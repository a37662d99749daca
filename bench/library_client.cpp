// SPDX-License-Identifier: MIT
// This library as an application uses it: open, read until the end, free.
#include <memory>
#include <string>
#include <vector>

#include "clients.h"
#include "platform.h"
#include "qnstack/qn_stack_http.h"

namespace bench {
namespace {

struct FreeContext {
  void operator()(QNHttpCtx *ctx) const { fnQNStack_Http_FreeCtx(ctx); }
};
using Context = std::unique_ptr<QNHttpCtx, FreeContext>;

Context Open(const Exchange &exchange) {
  if (exchange.body.empty()) return Context(fnQNStack_Http_Open_Get(exchange.url.c_str()));
  return Context(fnQNStack_Http_Open_Post(exchange.url.c_str(), exchange.body.data(),
                                          static_cast<std::int32_t>(exchange.body.size()),
                                          nullptr));
}

}  // namespace

Client LibraryClient(const Exchange &exchange, std::size_t buffer_bytes) {
  auto room = std::make_shared<std::vector<char>>(buffer_bytes);
  return [&exchange, room]() -> std::size_t {
    const Context ctx = Open(exchange);
    const auto capacity = static_cast<std::int32_t>(room->size());
    std::size_t body = 0;
    while (true) {
      const std::int32_t got = fnQNStack_Http_ReadRecvContext(ctx.get(), room->data(), capacity);
      if (got == 0) return body;
      if (got == -1) return 0;
      if (got > 0) body += static_cast<std::size_t>(got);
    }
  };
}

std::string ComposeRequest(const Exchange &exchange) {
  const Context ctx = Open(exchange);
  if (fnQNStack_Http_PrepareQuest(ctx.get()) != 0) Fail("no request for " + exchange.url);
  return {ctx->sendBuf->data, ctx->sendBuf->length};
}

}  // namespace bench
