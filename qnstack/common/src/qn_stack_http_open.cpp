// SPDX-License-Identifier: MIT
// Opening requests: a URL is split into host, port and path, and a fresh
// context is made of it. A prepared request or a stored response can be taken
// from a file instead. Applications and the redirect of a response call it.
#include <algorithm>
#include <cstring>

#include "qn_owned.h"
#include "qn_scan.h"
#include "qn_stack_http_internal.h"
#include "qn_stack_http_open_internal.h"
#include "qn_stack_membuffer_internal.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_tools.h"

namespace {

constexpr int32_t kMostLoadedBytes = 4000;
constexpr char kFormType[] = "application/x-www-form-urlencoded";
constexpr char kSchemeEnd[] = "://";

// A new context for `url`; null for a null URL or when the heap refuses.
QNHttpCtx *Open(const char *method, const char *url) {
  if (url == nullptr) return nullptr;
  QNHttpCtx *ctx = qn::NewContext();
  if (ctx == nullptr) return nullptr;
  qn::ParseUrl(ctx, url);
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

// Appends the start of a file to a buffer.
int32_t AppendFile(QNMemBuffer *buffer, const char *name) {
  const qn::Owned<char> area(static_cast<char *>(qn::AllocateZeroed(kMostLoadedBytes)));
  int32_t count = 0;
  if (area != nullptr) fnQNFS_ReadFromFile(name, kMostLoadedBytes, area.get(), &count);
  if (count < 1) return -1;
  return qn::WriteBytes(buffer, area.get(), std::min(count, kMostLoadedBytes)) ? 0 : -1;
}

}  // namespace

int32_t qn::ParseUrl(QNHttpCtx *ctx, const char *url) {
  if (url == nullptr) return -1;
  const char *scheme_end = std::strstr(url, kSchemeEnd);
  const char *host = scheme_end == nullptr ? url : scheme_end + std::strlen(kSchemeEnd);
  const std::size_t host_length = std::strcspn(host, ":/?");
  ctx->hostname = CopyText({host, host_length});

  const char *rest = host + host_length;
  ctx->port = kDefaultPort;
  if (*rest == ':') {
    ctx->port = ScanNumber(rest + 1).value_or(kDefaultPort);
    rest += std::strcspn(rest, "/");
  }
  ctx->path = fnQNStack_StrDup(*rest == '\0' ? "/" : rest);

  // The new URL may be the old one itself, so it is copied before that is freed.
  char *copy = fnQNStack_StrDup(url);
  fnQN_Free(&ctx->url);
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
  QNHttpCtx *ctx = qn::NewContext();
  if (ctx == nullptr) return nullptr;
  ctx->method = fnQNStack_StrDup("CONNECT");
  ctx->hostname = fnQNStack_StrDup(host);
  ctx->port = port;
  // Without its host it would ask for the one named "(null)".
  if (host == nullptr || ctx->hostname != nullptr) return ctx;
  fnQNStack_Http_FreeCtx(ctx);
  return nullptr;
}

int32_t fnQNStack_Http_LoadHeadFromFile(QNHttpCtx *ctx, const char *name) {
  return ctx == nullptr ? -1 : AppendFile(ctx->sendBuf, name);
}

int32_t fnQNStack_Http_LoadReponseFromFile(QNHttpCtx *ctx, const char *name) {
  return ctx == nullptr ? -1 : AppendFile(ctx->recvBuf, name);
}
