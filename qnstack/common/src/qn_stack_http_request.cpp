// SPDX-License-Identifier: MIT
// Composing requests: the transfer engine has the whole request written into
// the context's send buffer once, and sends it from there.
#include <cstdint>

#include "qn_stack_http_internal.h"
#include "qn_stack_membuffer_internal.h"
#include "qn_stack_trace.h"
#include "qnstack/qn_share_string.h"
#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_http_cookie.h"
#include "qnstack/qn_stack_http_head.h"

namespace {

// The entries of the header table that are sent; any other entry stays in the
// table. What the stack fills the table with stands in qn_stack_http_head.cpp.
struct TableHeader {
  const char *name;
  const char *line_start;
};
constexpr TableHeader kSentHeaders[] = {
    {"Accept", "Accept: "},
    {"User-Agent", "User-Agent: "},
    {"Profile", "Profile: "},
    {"Accept-Language", "Accept-Language: "},
};

void TraceTarget(const QNHttpCtx &ctx) {
  qn::Trace("method  = %s", qn::Traced(ctx.method));
  qn::Trace("hostname  = %s", qn::Traced(ctx.hostname));
  qn::Trace("path  = %s", qn::Traced(ctx.path));
}

// The request line up to its version; through a proxy the URL is absolute.
void WriteTarget(const QNHttpCtx &ctx) {
  if (qn::http_proxy == nullptr) {
    fnQN_MemBuffer_Printf(ctx.sendBuf, "%s %s", ctx.method, ctx.path);
    return;
  }
  qn::Trace("HTTP.c  PROXY = %s", qn::http_proxy);
  qn::Trace("ctx port  = %d", ctx.port);
  if (ctx.port == qn::kDefaultPort) {
    fnQN_MemBuffer_Printf(ctx.sendBuf, "%s http://%s%s", ctx.method, ctx.hostname, ctx.path);
  } else {
    fnQN_MemBuffer_Printf(ctx.sendBuf, "%s http://%s:%d%s", ctx.method, ctx.hostname, ctx.port,
                          ctx.path);
  }
  TraceTarget(ctx);
}

void WriteTableHeaders(QNMemBuffer *request) {
  for (const TableHeader &header : kSentHeaders) {
    fnQN_MemBuffer_WriteItem(request, header.line_start, fnQNStack_Http_Head_Read(header.name));
  }
}

void WriteBodyHeaders(const QNHttpCtx &ctx) {
  fnQN_MemBuffer_Printf(ctx.sendBuf, "Content-Type: %s\r\n", ctx.contentType);
  if (fnQN_STRCMP(ctx.method, "PUT") == 0) {
    // The leading blank is kept: servers have always seen it.
    qn::WriteText(ctx.sendBuf, " Expect: 100-Continue\r\n");
  }
  fnQN_MemBuffer_Printf(ctx.sendBuf, "Content-Length: %d\r\n", ctx.contentLen);
}

}  // namespace

int32_t fnQNStack_Http_PrepareQuest(QNHttpCtx *ctx) {
  if (ctx == nullptr) return -1;
  const bool has_body = ctx->contentLen > 0;
  WriteTarget(*ctx);
  qn::WriteText(ctx->sendBuf, " HTTP/1.0\r\n");
  fnQN_MemBuffer_Printf(ctx->sendBuf, "Host: %s:%d\r\n", ctx->hostname, ctx->port);
  qn::Trace("hostname  = %s", qn::Traced(ctx->hostname));
  WriteTableHeaders(ctx->sendBuf);
  if (has_body) WriteBodyHeaders(*ctx);
  fnQNStack_Http_Cookie_AddToHead(ctx->sendBuf, ctx->hostname);
  qn::WriteText(ctx->sendBuf, qn::kLineEnd);
  if (has_body) fnQN_MemBuffer_Write(ctx->sendBuf, ctx->content, ctx->contentLen);
  return 0;
}

int32_t fnQNStack_Http_PrepareQuest_Connect(QNHttpCtx *ctx) {
  if (ctx == nullptr || qn::http_proxy == nullptr) return -1;
  TraceTarget(*ctx);
  fnQN_MemBuffer_Printf(ctx->sendBuf, "%s %s:%d", ctx->method, ctx->hostname, ctx->port);
  qn::WriteText(ctx->sendBuf, " HTTP/1.1\r\n");
  qn::WriteText(ctx->sendBuf, "Proxy-Connection: Keep-Alive\r\n");
  qn::WriteText(ctx->sendBuf, qn::kLineEnd);
  return 0;
}
