// SPDX-License-Identifier: MIT
// Composing requests: the transfer engine has the whole request written into
// the context's send buffer once, and sends it from there. A request that
// would go out in part, or as more than one, is not composed.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <utility>

#include "qn_stack_http_cookie_internal.h"
#include "qn_stack_http_head_internal.h"
#include "qn_stack_http_internal.h"
#include "qn_stack_membuffer_internal.h"
#include "qn_stack_trace.h"
#include "qnstack/qn_share_string.h"
#include "qnstack/qn_stack_http.h"
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

// Whether a text is there, and no line end in it begins a further line of the
// request. The heap may have refused the text.
bool FitsLine(const char *text) {
  return text != nullptr && text[std::strcspn(text, "\r\n")] == '\0';
}

// Whether the header table holds what the application wrote, and the cookie
// jar too. A cookie that the heap refused is missed once.
bool HoldsAllHeaders() {
  if (std::exchange(qn::http_cookie_refused, false)) return false;
  return std::none_of(std::begin(kSentHeaders), std::end(kSentHeaders),
                      [](const TableHeader &header) { return qn::IsHeadRefused(header.name); });
}

bool CanCompose(const QNHttpCtx &ctx) {
  const bool has_type = ctx.contentLen <= 0 || ctx.contentType != nullptr;
  return ctx.method != nullptr && FitsLine(ctx.hostname) && FitsLine(ctx.path) && has_type &&
         HoldsAllHeaders();
}

void TraceTarget(const QNHttpCtx &ctx) {
  qn::Trace("method  = %s", qn::Traced(ctx.method));
  qn::Trace("hostname  = %s", qn::Traced(ctx.hostname));
  qn::Trace("path  = %s", qn::Traced(ctx.path));
}

// The request line up to its version; through a proxy the URL is absolute.
bool WriteTarget(const QNHttpCtx &ctx) {
  if (qn::http_proxy == nullptr) {
    return qn::WriteFormatted(ctx.sendBuf, "%s %s", ctx.method, ctx.path);
  }
  qn::Trace("HTTP.c  PROXY = %s", qn::http_proxy);
  qn::Trace("ctx port  = %d", ctx.port);
  const bool written =
      ctx.port == qn::kDefaultPort
          ? qn::WriteFormatted(ctx.sendBuf, "%s http://%s%s", ctx.method, ctx.hostname, ctx.path)
          : qn::WriteFormatted(ctx.sendBuf, "%s http://%s:%d%s", ctx.method, ctx.hostname, ctx.port,
                               ctx.path);
  TraceTarget(ctx);
  return written;
}

bool WriteHost(const QNHttpCtx &ctx) {
  const bool written = qn::WriteFormatted(ctx.sendBuf, "Host: %s:%d\r\n", ctx.hostname, ctx.port);
  qn::Trace("hostname  = %s", ctx.hostname);
  return written;
}

bool WriteTableHeader(QNMemBuffer *request, const TableHeader &header) {
  const char *value = fnQNStack_Http_Head_Read(header.name);
  return value == nullptr || qn::WriteItem(request, header.line_start, value);
}

bool WriteTableHeaders(QNMemBuffer *request) {
  return std::all_of(std::begin(kSentHeaders), std::end(kSentHeaders),
                     [=](const TableHeader &header) { return WriteTableHeader(request, header); });
}

bool WriteBodyHeaders(const QNHttpCtx &ctx) {
  // The blank before "Expect:" is kept: servers have always seen it.
  const bool expects = fnQN_STRCMP(ctx.method, "PUT") == 0;
  return qn::WriteFormatted(ctx.sendBuf, "Content-Type: %s\r\n", ctx.contentType) &&
         (!expects || qn::WriteText(ctx.sendBuf, " Expect: 100-Continue\r\n")) &&
         qn::WriteFormatted(ctx.sendBuf, "Content-Length: %d\r\n", ctx.contentLen);
}

// An application that gives no body but a length sends none.
bool WriteBody(const QNHttpCtx &ctx) {
  return ctx.content == nullptr || qn::WriteBytes(ctx.sendBuf, ctx.content, ctx.contentLen);
}

// Writes the whole request; false as soon as the heap refuses.
bool WriteRequest(const QNHttpCtx &ctx) {
  const bool has_body = ctx.contentLen > 0;
  return WriteTarget(ctx) && qn::WriteText(ctx.sendBuf, " HTTP/1.0\r\n") && WriteHost(ctx) &&
         WriteTableHeaders(ctx.sendBuf) && (!has_body || WriteBodyHeaders(ctx)) &&
         qn::WriteCookie(ctx.sendBuf, ctx.hostname) && qn::WriteText(ctx.sendBuf, qn::kLineEnd) &&
         (!has_body || WriteBody(ctx));
}

bool WriteTunnelRequest(const QNHttpCtx &ctx) {
  TraceTarget(ctx);
  return qn::WriteFormatted(ctx.sendBuf, "%s %s:%d", ctx.method, ctx.hostname, ctx.port) &&
         qn::WriteText(ctx.sendBuf, " HTTP/1.1\r\nProxy-Connection: Keep-Alive\r\n\r\n");
}

// Composes by one of the two above. Of a request that is not whole nothing stays.
int32_t Compose(const QNHttpCtx &ctx, bool (*write)(const QNHttpCtx &ctx)) {
  const uint32_t before = ctx.sendBuf->total;
  if (write(ctx)) return 0;
  qn::TakeBack(ctx.sendBuf, before);
  return -1;
}

}  // namespace

int32_t fnQNStack_Http_PrepareQuest(QNHttpCtx *ctx) {
  return ctx != nullptr && CanCompose(*ctx) ? Compose(*ctx, WriteRequest) : -1;
}

int32_t fnQNStack_Http_PrepareQuest_Connect(QNHttpCtx *ctx) {
  if (ctx == nullptr || qn::http_proxy == nullptr) return -1;
  // The host that an application gave as null is shown as "(null)".
  if (ctx->hostname != nullptr && !FitsLine(ctx->hostname)) return -1;
  return Compose(*ctx, WriteTunnelRequest);
}
