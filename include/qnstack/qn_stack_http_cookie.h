/* SPDX-License-Identifier: MIT */
/**
 * @file qn_stack_http_cookie.h
 * @brief The cookie jar: in memory, at most 50 cookies, newest first.
 *
 * A small jar in the manner of RFC 2109: no expiry, no domain matching,
 * nothing on disk. One thread only.
 */
#ifndef QNSTACK_QN_STACK_HTTP_COOKIE_H
#define QNSTACK_QN_STACK_HTTP_COOKIE_H

#include "qnstack/qn_export.h"
#include "qnstack/qn_stack_membuffer.h"

QN_BEGIN_DECLS

/**
 * @addtogroup http
 * @{
 */

/**
 * Stores a cookie; all strings are copied. When the heap refuses, the cookie is
 * not stored, and the next request fails with #QN_HTTP_SEND_FAILED rather than
 * go out without it, unless a cookie has been stored before.
 *
 * A stored cookie is replaced (its value alone, in place) when the names are
 * equal and both domain and path differ. A cookie set again for the same
 * domain or the same path is added anew in front of the older one. Callers
 * rely on this rule, so it stays. The oldest of 51 cookies is dropped.
 *
 * @param name cookie name; NULL equals no name and is sent as "(null)".
 * @param value cookie value; NULL is sent as "(null)".
 * @param domain host of the request whose answer set it; NULL differs from all
 *        and is no host's.
 * @param path the cookie's path; NULL differs from all.
 */
QN_API void fnQNStack_Http_Cookie_Set(const char *name, const char *value, const char *domain,
                                      const char *path);

/**
 * Appends the cookie lines of a request: the newest cookie of the jar, if its
 * domain is this host, as a "Cookie:" line and the line `Cookie2: "1"`.
 *
 * By RFC 2965 a client says with "Cookie2:" that it understands the newer form
 * of cookies, and writes `$Version="1"` there. This client understands neither
 * form in full; the shorter line is what peers have always seen.
 *
 * No other cookie is looked at and paths are not compared. The "Cookie:" line is
 * cut at 2047 bytes, without its line end. When the heap refuses it, none of the
 * lines is there.
 *
 * @param buffer the request; NULL does nothing.
 * @param host host name of the request; case counts. NULL does nothing.
 */
QN_API void fnQNStack_Http_Cookie_AddToHead(QNMemBuffer *buffer, const char *host);

/** Empties and frees the jar; harmless when there is none. */
QN_API void fnQNStack_Http_Cookie_FreeAll(void);

/** @} */

QN_END_DECLS

#endif
