// Answers: the header is parsed line by line as it comes in, cookies go to the
// jar, redirects start the context anew, and body bytes are handed out. Owns
// nothing.
#include <algorithm>
#include <cstdint>
#include <optional>
#include <string_view>

#include "qn_ascii.h"
#include "qn_owned.h"
#include "qn_scan.h"
#include "qn_stack_http_internal.h"
#include "qn_stack_membuffer_internal.h"
#include "qn_stack_trace.h"
#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_http_cookie.h"
#include "qnstack/qn_stack_porting.h"
#include "qnstack/qn_stack_tools.h"

namespace {

constexpr int32_t kMostRedirects = 10;
constexpr int32_t kUnreadableStatus = 0;
constexpr int32_t kUnreadableLength = -1;
constexpr int32_t kEncodingGzip = -1;
constexpr int32_t kEncodingOther = 1;
constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kValueEnd = " ;\t";

std::string_view AfterColon(std::string_view line) {
  line.remove_prefix(std::min(line.find(':') + 1, line.size()));
  return line;
}

// A header's value is the second word of its line. A name without a blank
// behind its colon is one word with its value, so what follows counts, if
// anything does.
std::string_view SecondWord(std::string_view line) {
  qn::ScanWord(&line);
  return qn::ScanWord(&line);
}

void TakeStatus(QNHttpCtx *ctx, std::string_view line, qn::Trace &trace) {
  const std::string_view version = qn::ScanWord(&line);
  ctx->retValue = qn::ScanNumber(line).value_or(kUnreadableStatus);
  trace.Line(" Ctx->retValue ", ctx->retValue);
  trace.Line(version);
}

void TakeLength(QNHttpCtx *ctx, std::string_view line, qn::Trace &trace) {
  ctx->retCtxLen = qn::ScanNumber(AfterColon(line)).value_or(kUnreadableLength);
  trace.Line("Ctx->retCtxLen ", ctx->retCtxLen);
}

void TakeType(QNHttpCtx *ctx, std::string_view line, qn::Trace & /*trace*/) {
  // An earlier value stays with whoever kept it.
  ctx->retCtxType = qn::CopyText(SecondWord(line));
}

void TakeLocation(QNHttpCtx *ctx, std::string_view line, qn::Trace & /*trace*/) {
  qn::FreeText(ctx->url);
  ctx->url = qn::CopyText(SecondWord(line));
}

void TakeEncoding(QNHttpCtx *ctx, std::string_view line, qn::Trace & /*trace*/) {
  ctx->retEncoding = SecondWord(line) == "gzip" ? kEncodingGzip : kEncodingOther;
}

// The value of the "Path=" attribute, which is looked for with its case.
std::string_view CookiePath(std::string_view attributes) {
  constexpr std::string_view kPath = "Path=";
  const std::size_t found = attributes.find(kPath);
  if (found == std::string_view::npos) return "/";
  attributes.remove_prefix(found + kPath.size());
  return qn::UpTo(attributes, kValueEnd);
}

void TakeCookie(QNHttpCtx *ctx, std::string_view line, qn::Trace & /*trace*/) {
  std::string_view rest = AfterColon(line);
  rest.remove_prefix(std::min(rest.find_first_not_of(kBlanks), rest.size()));
  const std::string_view name = qn::UpTo(rest, "=");
  if (name.size() == rest.size()) return;  // without '=' there is no cookie
  rest.remove_prefix(name.size() + 1);
  const std::string_view value = qn::UpTo(rest, kValueEnd);
  rest.remove_prefix(value.size());

  const qn::Owned<char> owned_name(qn::CopyText(name));
  const qn::Owned<char> owned_value(qn::CopyText(value));
  const qn::Owned<char> owned_path(qn::CopyText(CookiePath(rest)));
  if (owned_name == nullptr || owned_value == nullptr || owned_path == nullptr) return;
  fnQNStack_Http_Cookie_Set(owned_name.get(), owned_value.get(), ctx->hostname, owned_path.get());
}

// What a header line that begins with a name, in any case, is taken for; the
// first that matches counts.
struct LineKind {
  std::string_view folded_name;
  void (*take)(QNHttpCtx *ctx, std::string_view line, qn::Trace &trace);
};
constexpr LineKind kLineKinds[] = {
    {"http/", TakeStatus},
    {"content-length:", TakeLength},
    {"content-type:", TakeType},
    {"contenttype:", TakeType},
    {"location:", TakeLocation},
    {"content-location:", TakeLocation},
    {"content-encoding:", TakeEncoding},
    {"set-cookie:", TakeCookie},
    {"set-cookie2:", TakeCookie},
};

void TakeHeaderLine(QNHttpCtx *ctx, std::string_view line, qn::Trace &trace) {
  for (const LineKind &kind : kLineKinds) {
    if (qn::BeginsWithFolded(line, kind.folded_name)) {
      kind.take(ctx, line, trace);
      return;
    }
  }
}

bool HasEnded(const QNHttpCtx &ctx) {
  return ctx.state < QN_HTTP_NEW || ctx.state > QN_HTTP_RECEIVING;
}

bool IsRedirect(const QNHttpCtx &ctx) { return ctx.retValue >= 300 && ctx.retValue <= 399; }

// Starts the context anew as a GET of its `url`, which holds the location.
int32_t Redirect(QNHttpCtx *ctx) {
  if (++ctx->redirectCount > kMostRedirects) return -1;
  for (char **text :
       {&ctx->hostname, &ctx->path, &ctx->method, &ctx->contentType, &ctx->retCtxType}) {
    qn::FreeText(*text);
  }
  fnQN_MemBufer_ClearContent(ctx->recvBuf);
  fnQN_MemBufer_ClearContent(ctx->sendBuf);
  ctx->headParsed = 0;
  ctx->retEncoding = 0;
  if (qn::fnQNStack_Http_ParseURL(ctx, ctx->url) != 0) return -1;
  ctx->method = fnQNStack_StrDup("GET");
  ctx->contentLen = 0;
  if (ctx->socket > 0) {
    fnQN_Stack_CloseSocket(ctx->socket);
    ctx->socket = -1;
  }
  ctx->state = QN_HTTP_NEW;
  return -2;
}

}  // namespace

int32_t fnQNStack_Http_ParseAnswer(QNHttpCtx *ctx) {
  if (ctx == nullptr) return -1;
  qn::Trace trace;
  while (ctx->headParsed == 0) {
    const std::optional<std::string_view> line = qn::TakeLine(ctx->recvBuf);
    if (!line.has_value()) {
      if (!HasEnded(*ctx)) return -2;
      ctx->headParsed = 1;
      return 0;
    }
    trace.Line("ParseAnswer ", *line);
    if (line->empty()) {
      ctx->headParsed = 1;
    } else {
      TakeHeaderLine(ctx, *line, trace);
    }
  }
  return 0;
}

int32_t fnQNStack_Http_ReadRecvContext(QNHttpCtx *ctx, void *destination, int32_t capacity) {
  if (ctx == nullptr || ctx->state < 0) return -1;
  if (ctx->state != QN_HTTP_COMPLETE) fnQNStack_Http_Run(ctx);
  if (ctx->state < 0) return -1;
  if (ctx->state < QN_HTTP_RECEIVING) return -2;
  if (ctx->headParsed == 0) {
    // Only an answer that is still coming in has an incomplete header.
    if (fnQNStack_Http_ParseAnswer(ctx) == -2) return -2;
    if (IsRedirect(*ctx)) return Redirect(ctx);
  }
  const int32_t taken = fnQN_MemBuffer_Read(ctx->recvBuf, destination, capacity);
  return taken == 0 && ctx->state == QN_HTTP_RECEIVING ? -2 : taken;
}
