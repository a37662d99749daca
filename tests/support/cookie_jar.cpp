// SPDX-License-Identifier: MIT
#include "support/cookie_jar.h"

#include <ostream>

#include "qn_stack_http_cookie_internal.h"
#include "support/answer_context.h"

namespace qntest {

std::ostream &operator<<(std::ostream &out, const StoredCookie &cookie) {
  return out << '{' << cookie.name << '=' << cookie.value << " domain " << cookie.domain << " path "
             << cookie.path << '}';
}

std::vector<StoredCookie> CookiesInJar() {
  std::vector<StoredCookie> cookies;
  const QNListNode *node = fnQNList_BeginIter(qn::http_cookie_list);
  for (; node != nullptr; node = fnQNList_NextIter(node)) {
    const auto *cookie = static_cast<const qn::HttpCookie *>(fnQNList_GetData(node));
    cookies.push_back({TextOf(cookie->name), TextOf(cookie->value), TextOf(cookie->domain),
                       TextOf(cookie->path)});
  }
  return cookies;
}

}  // namespace qntest
