// SPDX-License-Identifier: MIT
// The cookie jar: the parser of responses fills it, and the composer of requests
// takes at most its newest cookie. It keeps the one jar of the process.
#include "qnstack/qn_stack_http_cookie.h"

#include "qn_owned.h"
#include "qn_stack_http_cookie_internal.h"
#include "qn_stack_membuffer_internal.h"
#include "qnstack/qn_list.h"
#include "qnstack/qn_share_string.h"
#include "qnstack/qn_stack_tools.h"

namespace {

constexpr int32_t kMostCookies = 50;

// Copies `text` into `field`; false when the heap refuses.
bool Store(char *&field, const char *text) {
  char *copy = fnQNStack_StrDup(text);
  if (copy == nullptr && text != nullptr) return false;
  fnQN_Free(&field);
  field = copy;
  return true;
}

void DropOldest() {
  void *oldest = fnQNList_RemoveTail(qn::http_cookie_list);
  qn::FreeCookie(&oldest);
}

void AddNewest(const qn::HttpCookie &cookie) {
  auto *added = qn::NewRecord<qn::HttpCookie>();
  if (added == nullptr) return;
  if (!Store(added->name, cookie.name) || !Store(added->value, cookie.value) ||
      !Store(added->domain, cookie.domain) || !Store(added->path, cookie.path) ||
      fnQNList_AddFront(qn::http_cookie_list, added) == nullptr) {
    qn::FreeCookie(&added);
    return;
  }
  if (fnQNList_GetCount(qn::http_cookie_list) > kMostCookies) DropOldest();
}

}  // namespace

QNList *qn::http_cookie_list = nullptr;

int qn::CompareCookies(const void *key, const void *stored) {
  const auto *a = static_cast<const HttpCookie *>(key);
  const auto *b = static_cast<const HttpCookie *>(stored);
  const bool match = fnQN_STRCMP(a->name, b->name) == 0 && fnQN_STRCMP(a->domain, b->domain) != 0 &&
                     fnQN_STRCMP(a->path, b->path) != 0;
  return match ? 0 : 1;
}

void qn::FreeCookie(void *address) {
  if (address == nullptr) return;
  auto *cookie = PointerAt<HttpCookie>(address);
  if (cookie == nullptr) return;
  fnQN_Free(&cookie->name);
  fnQN_Free(&cookie->value);
  fnQN_Free(&cookie->domain);
  fnQN_Free(&cookie->path);
  fnQN_Free(address);
}

void fnQNStack_Http_Cookie_Set(const char *name, const char *value, const char *domain,
                               const char *path) {
  if (qn::http_cookie_list == nullptr) qn::http_cookie_list = qn::NewRecord<QNList>();
  const qn::HttpCookie cookie = {const_cast<char *>(name), const_cast<char *>(value),
                                 const_cast<char *>(domain), const_cast<char *>(path)};
  auto *match = static_cast<qn::HttpCookie *>(
      fnQNList_GetData(fnQNList_CompareFind(qn::http_cookie_list, &cookie, qn::CompareCookies)));
  if (match == nullptr) {
    AddNewest(cookie);
    return;
  }
  Store(match->value, value);
}

void fnQNStack_Http_Cookie_AddToHead(QNMemBuffer *buffer, const char *host) {
  if (buffer == nullptr) return;
  const auto *newest = static_cast<const qn::HttpCookie *>(
      fnQNList_GetData(fnQNList_BeginIter(qn::http_cookie_list)));
  if (newest == nullptr || fnQN_STRCMP(newest->domain, host) != 0) return;
  const uint32_t before = buffer->total;
  fnQN_MemBuffer_Printf(buffer, "Cookie: %s=%s", newest->name, newest->value);
  // If the heap refused the line, a line end alone would end the header.
  if (buffer->total == before) return;
  // The cookie may be cut at 2047 bytes, so its line end is written separately.
  qn::WriteText(buffer, qn::kLineEnd);
  // In RFC 2965, section 3.3.5, the field Cookie2 with the value $Version="1"
  // tells a server which version of cookies the client understands. This client
  // sends it behind every cookie, without "$Version=": servers always saw it so.
  qn::WriteText(buffer, "Cookie2: \"1\"\r\n");
}

void fnQNStack_Http_Cookie_FreeAll(void) {
  if (qn::http_cookie_list == nullptr) return;
  fnQNList_Clear(qn::http_cookie_list, qn::FreeCookie);
  fnQN_Free(&qn::http_cookie_list);
}
