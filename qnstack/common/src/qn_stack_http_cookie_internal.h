// SPDX-License-Identifier: MIT
// What the HTTP client and the tests of the cookie jar use of it besides its
// exported functions.
#ifndef QNSTACK_QN_STACK_HTTP_COOKIE_INTERNAL_H
#define QNSTACK_QN_STACK_HTTP_COOKIE_INTERNAL_H

#include "qnstack/qn_list.h"
#include "qnstack/qn_stack_membuffer.h"

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

// Whether the heap refused the newest cookie, so that the next request would go
// out without it. That request fails instead and clears this.
extern bool http_cookie_refused;

// fnQNStack_Http_Cookie_AddToHead() that tells whether the heap refused a line.
bool WriteCookie(QNMemBuffer *buffer, const char *host);

// 0 when the names are equal and both domain and path differ, else 1.
int CompareCookies(const void *key, const void *stored);

// Frees the cookie that the pointer variable at `address` holds and clears it.
void FreeCookie(void *address);

}  // namespace qn

#endif
