/* SPDX-License-Identifier: MIT */
/**
 * @file qn_stack_http_head.h
 * @brief The table of request headers by which the stack looks like a handset.
 *
 * One table for the whole process. Of its entries just "Accept", "User-Agent",
 * "Profile" (UAProf, WAP-248-UAPROF) and "Accept-Language" are sent with each
 * request; all others are kept and never sent. One thread only.
 */
#ifndef QNSTACK_QN_STACK_HTTP_HEAD_H
#define QNSTACK_QN_STACK_HTTP_HEAD_H

#include "qnstack/qn_export.h"

QN_BEGIN_DECLS

/**
 * @addtogroup http
 * @{
 */

/**
 * Stores a header value, replacing the one under the same name.
 *
 * @param name header name without a colon; case counts. It is copied. Each write
 *        with a NULL name adds an entry with an empty name.
 * @param value the value; it is copied, NULL as an empty string, and may be
 *        one that fnQNStack_Http_Head_Read() gave. Values go out as they are: a
 *        line end in one begins a further header line. When the heap refuses,
 *        the table stays as it is; if the name is one that is sent, requests then
 *        end in #QN_HTTP_SEND_FAILED until a value is stored under it or the
 *        table is freed.
 */
QN_API void fnQNStack_Http_Head_Write(const char *name, const char *value);

/**
 * Looks a header value up.
 *
 * @param name header name without a colon; case counts.
 * @return the value, owned by the table and valid until it is replaced or the
 *         table freed; NULL if there is none, and for a NULL name.
 */
QN_API const char *fnQNStack_Http_Head_Read(const char *name);

/**
 * Writes the six default headers, restoring them where they were changed.
 * Entries under other names stay. The default "Profile" URL is a placeholder:
 * write the URL of your handset's profile document.
 */
QN_API void fnQNStack_Http_Head_SetDefault(void);

/** Empties and frees the table; harmless when there is none. */
QN_API void fnQNStack_Http_Head_FreeAll(void);

/** @} */

QN_END_DECLS

#endif
