/**
 * @file qn_stack_http_cache.h
 * @brief Text helpers of the HTTP cache: header search and month names.
 */
#ifndef QNSTACK_QN_STACK_HTTP_CACHE_H
#define QNSTACK_QN_STACK_HTTP_CACHE_H

#include <stdint.h>

#include "qnstack/qn_export.h"

QN_BEGIN_DECLS

/**
 * Finds a string in another, ignoring the case of ASCII letters, in linear
 * time and without memory.
 *
 * @param haystack terminated string, or NULL.
 * @param needle terminated string, or NULL; an empty one is found at once.
 * @return the first match inside @p haystack; NULL when there is none or an
 *         argument is NULL.
 */
QN_API char *stristr(const char *haystack, const char *needle);

/**
 * The number of a month in an HTTP date (RFC 1123).
 *
 * @param name "Jan" to "Dec", exactly so; or NULL.
 * @return 1 to 12; -1 for anything else, "jan" and "January" included.
 */
QN_API int32_t fnQNStack_getMonth(const char *name);

QN_END_DECLS

#endif
