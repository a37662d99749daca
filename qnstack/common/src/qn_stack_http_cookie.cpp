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

// Adds a copy of the cookie in front; false when the heap refuses.
bool AddNewest(const qn::HttpCookie &cookie) {
  auto *added = qn::NewRecord<qn::HttpCookie>();
  if (added == nullptr) return false;
  if (!Store(added->name, cookie.name) || !Store(added->value, cookie.value) ||
      !Store(added->domain, cookie.domain) || !Store(added->path, cookie.path) ||
      fnQNList_AddFront(qn::http_cookie_list, added) == nullptr) {
    qn::FreeCookie(&added);
    return false;
  }
  if (fnQNList_GetCount(qn::http_cookie_list) > kMostCookies) DropOldest();
  return true;
}

}  // namespace

QNList *qn::http_cookie_list = nullptr;
bool qn::http_cookie_refused = false;

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
  const bool stored = match == nullptr ? AddNewest(cookie) : Store(match->value, value);
  qn::http_cookie_refused = !stored;
}

bool qn::WriteCookie(QNMemBuffer *buffer, const char *host) {
  const auto *newest =
      static_cast<const HttpCookie *>(fnQNList_GetData(fnQNList_BeginIter(http_cookie_list)));
  if (newest == nullptr || fnQN_STRCMP(newest->domain, host) != 0) return true;
  const uint32_t before = buffer->total;
  // The cookie may be cut at 2047 bytes, so its line end is written separately.
  // In RFC 2965, section 3.3.5, the field Cookie2 with the value $Version="1"
  // tells a server which version of cookies the client understands. This client
  // sends it behind every cookie, without "$Version=": servers always saw it so.
  const bool written = WriteFormatted(buffer, "Cookie: %s=%s", newest->name, newest->value) &&
                       WriteText(buffer, kLineEnd) && WriteText(buffer, "Cookie2: \"1\"\r\n");
  // A part of the lines would spoil the next line, and a line end alone would
  // end the header.
  if (!written) TakeBack(buffer, before);
  return written;
}

void fnQNStack_Http_Cookie_AddToHead(QNMemBuffer *buffer, const char *host) {
  if (buffer != nullptr) qn::WriteCookie(buffer, host);
}

void fnQNStack_Http_Cookie_FreeAll(void) {
  qn::http_cookie_refused = false;
  if (qn::http_cookie_list == nullptr) return;
  fnQNList_Clear(qn::http_cookie_list, qn::FreeCookie);
  fnQN_Free(&qn::http_cookie_list);
}
