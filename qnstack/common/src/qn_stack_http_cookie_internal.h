// SPDX-License-Identifier: MIT
// What the tests of the cookie jar reach besides its exported functions.
#ifndef QNSTACK_QN_STACK_HTTP_COOKIE_INTERNAL_H
#define QNSTACK_QN_STACK_HTTP_COOKIE_INTERNAL_H

#include "qnstack/qn_list.h"

namespace qn {

// All four strings are owned by the cookie and may be null.
struct HttpCookie {
  char *name;
  char *value;
  char *domain;  // host of the request whose answer set it
  char *path;
};

// The jar, newest cookie first; null until the first one is set and after it
// was freed.
extern QNList *http_cookie_list;

// 0 when the names are equal and both domain and path differ, else 1.
int CompareCookies(const void *key, const void *stored);

// Frees the cookie that the pointer variable at `address` holds and clears it.
void FreeCookie(void *address);

}  // namespace qn

#endif
