// SPDX-License-Identifier: MIT
// Responses: the header is parsed line by line as it comes in, cookies go to
// the jar, redirects start the context anew, and body bytes are handed out to
// the application.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "qn_owned.h"
#include "qn_scan.h"
#include "qn_stack_http_cookie_internal.h"
#include "qn_stack_http_internal.h"
#include "qn_stack_http_open_internal.h"
#include "qn_stack_http_slot.h"
#include "qn_stack_membuffer_internal.h"
#include "qn_stack_trace.h"
#include "qnstack/qn_share_string.h"
#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_http_cookie.h"
#include "qnstack/qn_stack_tools.h"

namespace {

constexpr int32_t kMostRedirects = 10;
constexpr int32_t kUnreadableStatus = 0;
constexpr int32_t kUnreadableLength = -1;
constexpr int32_t kEncodingGzip = -1;
constexpr int32_t kEncodingOther = 1;
constexpr char kCookieValueEnd[] = " ;\t";

// The text behind the colon of a line that begins with a name and its colon.
const char *AfterColon(const char *line) { return std::strchr(line, ':') + 1; }

// The value of a header field: the second word of its line. Without a blank
// behind its colon the name and the first word of the value are one word, so
// the value is then what follows that, or empty.
std::string_view SecondWord(std::string_view line) {
  qn::ScanWord(&line);
  return qn::ScanWord(&line);
}

// Replaces a text of the context by the value of a header field.
void StoreValue(char *&field, const char *line) {
  fnQN_Free(&field);
  field = qn::CopyText(SecondWord(line));
}

void TakeStatus(QNHttpCtx *ctx, const char *line) {
  std::string_view rest(line);
  const std::string_view version = qn::ScanWord(&rest);
  ctx->retValue = qn::ScanNumber(rest).value_or(kUnreadableStatus);
  qn::Trace(" Ctx->retValue %d", ctx->retValue);
  qn::Trace("%.*s", static_cast<int>(version.size()), version.data());
}

void TakeLength(QNHttpCtx *ctx, const char *line) {
  ctx->retCtxLen = qn::ScanNumber(AfterColon(line)).value_or(kUnreadableLength);
  qn::Trace("Ctx->retCtxLen %d", ctx->retCtxLen);
}

void TakeType(QNHttpCtx *ctx, const char *line) { StoreValue(ctx->retCtxType, line); }

void TakeLocation(QNHttpCtx *ctx, const char *line) { StoreValue(ctx->url, line); }

void TakeEncoding(QNHttpCtx *ctx, const char *line) {
  ctx->retEncoding = SecondWord(line) == "gzip" ? kEncodingGzip : kEncodingOther;
}

// A copy of the value of the "Path=" attribute, whose name is looked for with
// its case; "/" if there is none.
char *CopyCookiePath(const char *attributes) {
  constexpr char kPath[] = "Path=";
  const char *path = std::strstr(attributes, kPath);
  if (path == nullptr) return fnQNStack_StrDup("/");
  uint32_t position = std::strlen(kPath);
  return fnQNStack_StrArraySplit(path, kCookieValueEnd, &position);
}

// A line end among these would begin a further line of the next request.
bool HasControlCharacter(std::string_view text) {
  return std::any_of(text.begin(), text.end(),
                     [](unsigned char c) { return c < ' ' || c == 0x7F; });
}

// Stores the cookie of a line, if there is one; false when the heap refuses.
bool StoreCookie(const QNHttpCtx &ctx, const char *line) {
  const char *cookie = fnQNStack_StrArraySkip(AfterColon(line), " \t");
  uint32_t position = 0;
  const qn::Owned<char> name(fnQNStack_StrArraySplit(cookie, "=", &position));
  if (name == nullptr) return false;
  if (cookie[position] != '=') return true;  // without '=' there is no cookie
  ++position;
  const qn::Owned<char> value(fnQNStack_StrArraySplit(cookie, kCookieValueEnd, &position));
  const qn::Owned<char> path(CopyCookiePath(cookie + position));
  if (value == nullptr || path == nullptr) return false;
  if (HasControlCharacter(name.get()) || HasControlCharacter(value.get())) return true;
  fnQNStack_Http_Cookie_Set(name.get(), value.get(), ctx.hostname, path.get());
  return !qn::http_cookie_refused;
}

void TakeCookie(QNHttpCtx *ctx, const char *line) {
  if (!StoreCookie(*ctx, line)) qn::http_cookie_refused = true;
}

// What is done with a line that begins with a name, in upper or lower case;
// the first name that matches counts.
struct LineKind {
  const char *name;
  void (*take)(QNHttpCtx *ctx, const char *line);
};
constexpr LineKind kLineKinds[] = {
    {"HTTP/", TakeStatus},
    {"Content-Length:", TakeLength},
    {"Content-Type:", TakeType},
    {"ContentType:", TakeType},
    {"Location:", TakeLocation},
    {"Content-Location:", TakeLocation},
    {"Content-Encoding:", TakeEncoding},
    {"Set-Cookie:", TakeCookie},
    {"Set-Cookie2:", TakeCookie},
};

void TakeHeaderLine(QNHttpCtx *ctx, const char *line) {
  for (const LineKind &kind : kLineKinds) {
    if (fnQNStack_StrCMPI(line, kind.name) == 0) {
      kind.take(ctx, line);
      return;
    }
  }
}

bool HasEnded(const QNHttpCtx &ctx) {
  return ctx.state < QN_HTTP_NEW || ctx.state > QN_HTTP_RECEIVING;
}

// Whether a whole line is unread. The heap may have refused a copy of it.
bool HoldsLine(const QNMemBuffer &buffer) {
  return fnQN_STRSTR(buffer.data + buffer.cursor, qn::kLineEnd) != nullptr;
}

bool IsRedirect(const QNHttpCtx &ctx) { return ctx.retValue >= 300 && ctx.retValue <= 399; }

// Starts the context anew as a GET of its `url`, which holds the location.
int32_t Redirect(QNHttpCtx *ctx) {
  if (++ctx->redirectCount > kMostRedirects) return -1;
  for (char **text :
       {&ctx->hostname, &ctx->path, &ctx->method, &ctx->contentType, &ctx->retCtxType}) {
    fnQN_Free(text);
  }
  fnQN_MemBufer_ClearContent(ctx->recvBuf);
  fnQN_MemBufer_ClearContent(ctx->sendBuf);
  ctx->headParsed = 0;
  ctx->retEncoding = 0;
  if (qn::ParseUrl(ctx, ctx->url) != 0) return -1;
  ctx->method = fnQNStack_StrDup("GET");
  ctx->contentLen = 0;
  if (ctx->socket > 0) {
    qn::CloseSlot(ctx->socket);
    ctx->socket = -1;
  }
  ctx->state = QN_HTTP_NEW;
  return -2;
}

}  // namespace

int32_t fnQNStack_Http_ParseAnswer(QNHttpCtx *ctx) {
  if (ctx == nullptr) return -1;
  while (ctx->headParsed == 0) {
    const qn::Owned<char> line(fnQN_MemBuffer_ReadBySubstr(ctx->recvBuf, qn::kLineEnd));
    if (line == nullptr) {
      if (!HasEnded(*ctx) || HoldsLine(*ctx->recvBuf)) return -2;
      ctx->headParsed = 1;
      return 0;
    }
    qn::Trace("ParseAnswer %s", line.get());
    if (*line == '\0') {
      ctx->headParsed = 1;
    } else {
      TakeHeaderLine(ctx, line.get());
    }
  }
  return 0;
}

int32_t fnQNStack_Http_ReadRecvContext(QNHttpCtx *ctx, void *destination, int32_t capacity) {
  if (ctx == nullptr || ctx->state < 0) return -1;
  fnQNStack_Http_Run(ctx);
  if (ctx->state < 0) return -1;
  if (ctx->state < QN_HTTP_RECEIVING) return -2;
  if (ctx->headParsed == 0) {
    if (fnQNStack_Http_ParseAnswer(ctx) == -2) return ctx->state == QN_HTTP_COMPLETE ? -1 : -2;
    if (IsRedirect(*ctx)) return Redirect(ctx);
  }
  const int32_t taken = fnQN_MemBuffer_Read(ctx->recvBuf, destination, capacity);
  return taken <= 0 && ctx->state == QN_HTTP_RECEIVING ? -2 : taken;
}
