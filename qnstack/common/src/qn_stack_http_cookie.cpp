// The cookie jar. Owns the one jar of the process; the answer parser fills it,
// the request composer takes at most its newest cookie.
#include "qnstack/qn_stack_http_cookie.h"

#include "qn_ascii.h"
#include "qn_list_find.h"
#include "qn_owned.h"
#include "qn_shown.h"
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
  void *oldest = fnQNList_RemoveTail(qn::http_Cookie_list);
  qn::fnQNStack_Http_Cookie_FreeNode(&oldest);
}

void AddNewest(const qn::HttpCookie &cookie) {
  auto *added = qn::NewRecord<qn::HttpCookie>();
  if (added == nullptr) return;
  if (!Store(added->name, cookie.name) || !Store(added->value, cookie.value) ||
      !Store(added->domain, cookie.domain) || !Store(added->path, cookie.path) ||
      fnQNList_AddFront(qn::http_Cookie_list, added) == nullptr) {
    qn::fnQNStack_Http_Cookie_FreeNode(&added);
    return;
  }
  if (fnQNList_GetCount(qn::http_Cookie_list) > kMostCookies) DropOldest();
}

}  // namespace

QNList *qn::http_Cookie_list = nullptr;

int qn::fnQNStack_Http_Cookie_Compare(const void *key, const void *stored) {
  const auto *a = static_cast<const HttpCookie *>(key);
  const auto *b = static_cast<const HttpCookie *>(stored);
  const bool match = CompareText(a->name, b->name) == 0 && CompareText(a->domain, b->domain) != 0 &&
                     CompareText(a->path, b->path) != 0;
  return match ? 0 : 1;
}

void qn::fnQNStack_Http_Cookie_FreeNode(void *address) {
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
  if (qn::http_Cookie_list == nullptr) qn::http_Cookie_list = qn::NewRecord<QNList>();
  const qn::HttpCookie cookie = {const_cast<char *>(name), const_cast<char *>(value),
                                 const_cast<char *>(domain), const_cast<char *>(path)};
  auto *match = qn::FindElement<qn::HttpCookie>(
      qn::http_Cookie_list, &cookie,
      [](const void *a, const void *b) { return qn::fnQNStack_Http_Cookie_Compare(a, b); });
  if (match == nullptr) {
    AddNewest(cookie);
    return;
  }
  Store(match->value, value);
}

void fnQNStack_Http_Cookie_AddToHead(QNMemBuffer *buffer, const char *host) {
  if (buffer == nullptr) return;
  const auto *newest = static_cast<const qn::HttpCookie *>(
      fnQNList_GetData(fnQNList_BeginIter(qn::http_Cookie_list)));
  if (newest == nullptr || fnQN_STRCMP(newest->domain, host) != 0) return;
  const uint32_t before = buffer->total;
  qn::WritePiece(buffer, {"Cookie: ", qn::Shown(newest->name), "=", qn::Shown(newest->value)});
  // A line end without its line would end the header.
  if (buffer->total == before) return;
  // Pieces of their own: a long cookie is cut, its line end is not.
  qn::WriteTexts(buffer, {"\r\n", "Cookie2: \"1\"\r\n"});
}

void fnQNStack_Http_Cookie_FreeAll(void) {
  if (qn::http_Cookie_list == nullptr) return;
  fnQNList_Clear(qn::http_Cookie_list, qn::fnQNStack_Http_Cookie_FreeNode);
  fnQN_Free(&qn::http_Cookie_list);
}
