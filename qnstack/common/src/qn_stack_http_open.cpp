// Opening requests: a URL is split into host, port and path, and a fresh
// context is made of it. A prepared request or a stored answer can be taken
// from a file instead. Owns nothing.
#include <algorithm>
#include <cstring>
#include <string_view>

#include "qn_owned.h"
#include "qn_scan.h"
#include "qn_stack_http_internal.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_tools.h"

namespace {

constexpr int32_t kDefaultPort = 80;
constexpr int32_t kMostLoadedBytes = 4000;
constexpr char kFormType[] = "application/x-www-form-urlencoded";
constexpr std::string_view kSchemeEnd = "://";

// A new context for `url`; null for a null URL or when the heap refuses.
QNHttpCtx *Open(const char *method, const char *url) {
  if (url == nullptr) return nullptr;
  QNHttpCtx *ctx = qn::fnQNStack_Http_NewCtx();
  if (ctx == nullptr) return nullptr;
  qn::fnQNStack_Http_ParseURL(ctx, url);
  ctx->method = fnQNStack_StrDup(method);
  return ctx;
}

QNHttpCtx *OpenWithBody(const char *method, const char *url, const void *body, int32_t length,
                        const char *type) {
  QNHttpCtx *ctx = Open(method, url);
  if (ctx == nullptr) return nullptr;
  ctx->content = body;
  ctx->contentLen = length;
  ctx->contentType = fnQNStack_StrDup(type != nullptr ? type : kFormType);
  return ctx;
}

// Appends the start of a file to a buffer. The area it is read into is kept
// for good, as it always was.
int32_t AppendFileKeepingArea(QNMemBuffer *buffer, const char *name) {
  void *area = qn::AllocateZeroed(kMostLoadedBytes);
  int32_t count = 0;
  if (area != nullptr) fnQNFS_ReadFromFile(name, kMostLoadedBytes, area, &count);
  if (count < 1) return -1;
  fnQN_MemBuffer_Write(buffer, area, std::min(count, kMostLoadedBytes));
  return 0;
}

}  // namespace

int32_t qn::fnQNStack_Http_ParseURL(QNHttpCtx *ctx, const char *url) {
  if (url == nullptr) return -1;
  const std::string_view text(url);
  const std::size_t scheme_end = text.find(kSchemeEnd);
  std::string_view rest = text;
  if (scheme_end != std::string_view::npos) rest.remove_prefix(scheme_end + kSchemeEnd.size());

  const std::string_view host = UpTo(rest, ":/?");
  rest.remove_prefix(host.size());
  ctx->hostname = CopyText(host);

  ctx->port = kDefaultPort;
  if (rest.starts_with(':')) {
    rest.remove_prefix(1);
    const std::string_view port = UpTo(rest, "/");
    rest.remove_prefix(port.size());
    ctx->port = ScanNumber(port).value_or(kDefaultPort);
  }
  ctx->path = CopyText(rest.empty() ? "/" : rest);

  // The new URL may be the old one itself, so it is copied before that is freed.
  char *copy = CopyText(text);
  FreeText(ctx->url);
  ctx->url = copy;
  return 0;
}

QNHttpCtx *fnQNStack_Http_Open_Get(const char *url) { return Open("GET", url); }

QNHttpCtx *fnQNStack_Http_Open_Head(const char *url) { return Open("HEAD", url); }

QNHttpCtx *fnQNStack_Http_Open_Post(const char *url, const void *body, int32_t length,
                                    const char *type) {
  return OpenWithBody("POST", url, body, length, type);
}

QNHttpCtx *fnQNStack_Http_Open_Put(const char *url, const void *body, int32_t length,
                                   const char *type) {
  return OpenWithBody("PUT", url, body, length, type);
}

QNHttpCtx *fnQNStack_Http_Open_Connect(const char *host, int32_t port) {
  QNHttpCtx *ctx = qn::fnQNStack_Http_NewCtx();
  if (ctx == nullptr) return nullptr;
  ctx->method = fnQNStack_StrDup("CONNECT");
  ctx->hostname = fnQNStack_StrDup(host);
  ctx->port = port;
  return ctx;
}

int32_t fnQNStack_Http_LoadHeadFromFile(QNHttpCtx *ctx, const char *name) {
  return ctx == nullptr ? -1 : AppendFileKeepingArea(ctx->sendBuf, name);
}

int32_t fnQNStack_Http_LoadReponseFromFile(QNHttpCtx *ctx, const char *name) {
  return ctx == nullptr ? -1 : AppendFileKeepingArea(ctx->recvBuf, name);
}
