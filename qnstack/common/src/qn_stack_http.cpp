// SPDX-License-Identifier: MIT
// The entry of the HTTP client: starting and stopping the stack, the one proxy
// setting that all requests share, and the life of a request context. It keeps
// the proxy setting and the pointer to the context worked on last.
#include "qnstack/qn_stack_http.h"

#include "qn_owned.h"
#include "qn_stack_http_internal.h"
#include "qn_stack_http_slot.h"
#include "qnstack/qn_stack_http_cookie.h"
#include "qnstack/qn_stack_http_head.h"
#include "qnstack/qn_stack_porting.h"
#include "qnstack/qn_stack_tools.h"

namespace {

constexpr uint32_t kBufferCapacity = 2048;
constexpr int32_t kNoProxyPort = -1;
constexpr int32_t kNoSocket = -1;

}  // namespace

QNHttpCtx *gCtx = nullptr;

char *qn::http_proxy = nullptr;
int32_t qn::http_proxy_port = kNoProxyPort;
int32_t qn::http_net_inited = 0;

QNHttpCtx *qn::NewContext() {
  auto *ctx = NewRecord<QNHttpCtx>();
  if (ctx == nullptr) return nullptr;
  ctx->socket = kNoSocket;
  ctx->recvBuf = fnQN_MemBuffer_New(kBufferCapacity);
  ctx->sendBuf = fnQN_MemBuffer_New(kBufferCapacity);
  if (ctx->recvBuf != nullptr && ctx->sendBuf != nullptr) return ctx;
  fnQNStack_Http_FreeCtx(ctx);
  return nullptr;
}

int32_t fnQNStack_Http_InitStack(void) {
  if (qn::http_net_inited != 0) return 0;
  if (fnQN_Stack_SocketInit() == 0) return -1;
  qn::http_net_inited = 1;
  fnQNStack_Http_Head_SetDefault();
  return 0;
}

int32_t fnQNStack_Http_CloseStack(void) {
  fnQN_Stack_SocketUNInit();
  qn::http_net_inited = 0;
  fnQNStack_Http_Head_FreeAll();
  fnQNStack_Http_Cookie_FreeAll();
  return 0;
}

void fnQNStack_Http_SetProxy(const char *host, int32_t port) {
  // The host may be the stored one, so it is copied before that is freed.
  char *copy = fnQNStack_StrDup(host);
  // Without memory for the new one the old one stays: no proxy at all would
  // send the next request past the gateway.
  if (copy == nullptr && host != nullptr) return;
  fnQN_Free(&qn::http_proxy);
  qn::http_proxy = copy;
  qn::http_proxy_port = port;
}

int32_t fnQNStack_Have_Proxy(void) { return qn::http_proxy != nullptr ? 1 : 0; }

void fnQNStack_Http_FreeCtx(QNHttpCtx *ctx) {
  if (ctx == nullptr) return;
  for (char **text :
       {&ctx->url, &ctx->hostname, &ctx->path, &ctx->method, &ctx->contentType, &ctx->retCtxType}) {
    fnQN_Free(text);
  }
  qn::CloseSlot(ctx->socket);
  fnQN_MemBuffer_Free(ctx->sendBuf);
  fnQN_MemBuffer_Free(ctx->recvBuf);
  fnQN_Free(&ctx);
}

int32_t fnQNStack_Http_getState(const QNHttpCtx *ctx) { return ctx == nullptr ? -1 : ctx->state; }

void fnQNStack_Http_Stop(QNHttpCtx *ctx) {
  if (ctx == nullptr) return;
  ctx->state = QN_HTTP_STOPPED;
  gCtx = nullptr;
  if (ctx->socket > 0) {
    qn::CloseSlot(ctx->socket);
    ctx->socket = kNoSocket;
  }
}
