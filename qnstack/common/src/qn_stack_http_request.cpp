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

void TraceTarget(const QNHttpCtx &ctx) {
  qn::Trace(kTraceMethod, ctx.method);
  qn::Trace(kTraceHost, ctx.hostname);
  qn::Trace(kTracePath, ctx.path);
}

// The first line up to its version; through a proxy the URL is absolute.
void WriteTarget(const QNHttpCtx &ctx) {
  const std::string_view method = qn::Shown(ctx.method);
  const std::string_view path = qn::Shown(ctx.path);
  if (qn::http_proxy == nullptr) {
    qn::WritePiece(ctx.sendBuf, {method, " ", path});
    return;
  }
  qn::Trace("HTTP.c  PROXY = ", qn::http_proxy);
  qn::Trace("ctx port  = ", ctx.port);
  const std::string_view host = qn::Shown(ctx.hostname);
  if (ctx.port == kDefaultPort) {
    qn::WritePiece(ctx.sendBuf, {method, " http://", host, path});
  } else {
    qn::WritePiece(ctx.sendBuf, {method, " http://", host, ":", qn::Shown(ctx.port), path});
  }
  TraceTarget(ctx);
}

void WriteTableHeaders(QNMemBuffer *request) {
  for (const TableHeader &header : kSentHeaders) {
    fnQN_MemBuffer_WriteItem(request, header.line_start, fnQNStack_Http_Head_Read(header.name));
  }
}

void WriteBodyHeaders(const QNHttpCtx &ctx) {
  qn::WritePiece(ctx.sendBuf, {"Content-Type: ", qn::Shown(ctx.contentType), "\r\n"});
  if (fnQN_STRCMP(ctx.method, "PUT") == 0) {
    // The leading blank is kept: servers have always seen it.
    qn::WriteText(ctx.sendBuf, " Expect: 100-Continue\r\n");
  }
  qn::WritePiece(ctx.sendBuf, {"Content-Length: ", qn::Shown(ctx.contentLen), "\r\n"});
}

}  // namespace

int32_t fnQNStack_Http_PrepareQuest(QNHttpCtx *ctx) {
  if (ctx == nullptr) return -1;
  const bool has_body = ctx->contentLen > 0;
  WriteTarget(*ctx);
  qn::WriteText(ctx->sendBuf, " HTTP/1.0\r\n");
  qn::WritePiece(ctx->sendBuf,
                 {"Host: ", qn::Shown(ctx->hostname), ":", qn::Shown(ctx->port), "\r\n"});
  qn::Trace(kTraceHost, ctx->hostname);
  WriteTableHeaders(ctx->sendBuf);
  if (has_body) WriteBodyHeaders(*ctx);
  fnQNStack_Http_Cookie_AddToHead(ctx->sendBuf, ctx->hostname);
  qn::WriteText(ctx->sendBuf, "\r\n");
  if (has_body) fnQN_MemBuffer_Write(ctx->sendBuf, ctx->content, ctx->contentLen);
  return 0;
}

int32_t fnQNStack_Http_PrepareQuest_Connect(QNHttpCtx *ctx) {
  if (ctx == nullptr || qn::http_proxy == nullptr) return -1;
  TraceTarget(*ctx);
  qn::WritePiece(ctx->sendBuf, {qn::Shown(ctx->method), " ", qn::Shown(ctx->hostname), ":",
                                qn::Shown(ctx->port)});
  qn::WriteText(ctx->sendBuf, " HTTP/1.1\r\n");
  qn::WriteText(ctx->sendBuf, "Proxy-Connection: Keep-Alive\r\n");
  qn::WriteText(ctx->sendBuf, "\r\n");
  return 0;
}
