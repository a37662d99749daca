// Composing requests: the whole request is written once into the context's
// send buffer, from where the transfer engine sends it. Owns nothing.
#include <cstdint>
#include <string_view>

#include "qn_shown.h"
#include "qn_stack_http_internal.h"
#include "qn_stack_membuffer_internal.h"
#include "qn_stack_trace.h"
#include "qnstack/qn_share_string.h"
#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_http_cookie.h"
#include "qnstack/qn_stack_http_head.h"

namespace {

constexpr int32_t kDefaultPort = 80;
constexpr std::string_view kLineEnd = "\r\n";
constexpr const char *kTraceMethod = "method  = ";
constexpr const char *kTraceHost = "hostname  = ";
constexpr const char *kTracePath = "path  = ";

// The headers taken from the table; all others stay there unsent.
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

void TraceTarget(const QNHttpCtx &ctx, qn::Trace &trace) {
  trace.Line(kTraceMethod, ctx.method);
  trace.Line(kTraceHost, ctx.hostname);
  trace.Line(kTracePath, ctx.path);
}

// The first line up to its version; through a proxy the URL is absolute.
void WriteTarget(const QNHttpCtx &ctx, qn::Trace &trace) {
  const std::string_view method = qn::Shown(ctx.method);
  const std::string_view path = qn::Shown(ctx.path);
  if (qn::http_proxy == nullptr) {
    qn::WritePiece(ctx.sendBuf, {method, " ", path});
    return;
  }
  trace.Line("HTTP.c  PROXY = ", qn::http_proxy);
  trace.Line("ctx port  = ", ctx.port);
  const std::string_view host = qn::Shown(ctx.hostname);
  if (ctx.port == kDefaultPort) {
    qn::WritePiece(ctx.sendBuf, {method, " http://", host, path});
  } else {
    qn::WritePiece(ctx.sendBuf, {method, " http://", host, ":", qn::Shown(ctx.port), path});
  }
  TraceTarget(ctx, trace);
}

void WriteTableHeaders(QNMemBuffer *request) {
  for (const TableHeader &header : kSentHeaders) {
    const char *value = fnQNStack_Http_Head_Read(header.name);
    if (value != nullptr) qn::WriteTexts(request, {header.line_start, value, kLineEnd});
  }
}

void WriteBodyHeaders(const QNHttpCtx &ctx) {
  qn::WritePiece(ctx.sendBuf, {"Content-Type: ", qn::Shown(ctx.contentType), kLineEnd});
  if (fnQN_STRCMP(ctx.method, "PUT") == 0) {
    // The leading blank is kept: servers have always seen it.
    qn::WriteText(ctx.sendBuf, " Expect: 100-Continue\r\n");
  }
  qn::WritePiece(ctx.sendBuf, {"Content-Length: ", qn::Shown(ctx.contentLen), kLineEnd});
}

}  // namespace

void qn::ComposeRequest(QNHttpCtx *ctx, Trace &trace) {
  const bool has_body = ctx->contentLen > 0;
  WriteTarget(*ctx, trace);
  WriteText(ctx->sendBuf, " HTTP/1.0\r\n");
  WritePiece(ctx->sendBuf, {"Host: ", Shown(ctx->hostname), ":", Shown(ctx->port), kLineEnd});
  trace.Line(kTraceHost, ctx->hostname);
  WriteTableHeaders(ctx->sendBuf);
  if (has_body) WriteBodyHeaders(*ctx);
  fnQNStack_Http_Cookie_AddToHead(ctx->sendBuf, ctx->hostname);
  WriteText(ctx->sendBuf, kLineEnd);
  if (has_body) fnQN_MemBuffer_Write(ctx->sendBuf, ctx->content, ctx->contentLen);
}

void qn::ComposeTunnel(QNHttpCtx *ctx, Trace &trace) {
  if (http_proxy == nullptr) return;
  TraceTarget(*ctx, trace);
  WritePiece(ctx->sendBuf, {Shown(ctx->method), " ", Shown(ctx->hostname), ":", Shown(ctx->port)});
  WriteText(ctx->sendBuf, " HTTP/1.1\r\n");
  WriteText(ctx->sendBuf, "Proxy-Connection: Keep-Alive\r\n");
  WriteText(ctx->sendBuf, kLineEnd);
}

int32_t fnQNStack_Http_PrepareQuest(QNHttpCtx *ctx) {
  if (ctx == nullptr) return -1;
  qn::Trace trace;
  qn::ComposeRequest(ctx, trace);
  return 0;
}

int32_t fnQNStack_Http_PrepareQuest_Connect(QNHttpCtx *ctx) {
  if (ctx == nullptr || qn::http_proxy == nullptr) return -1;
  qn::Trace trace;
  qn::ComposeTunnel(ctx, trace);
  return 0;
}
