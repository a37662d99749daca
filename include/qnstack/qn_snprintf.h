/**
 * @file qn_snprintf.h
 * @brief Formatted text into a bounded area.
 *
 * The conversions are those of the Apache Portable Runtime's `apr_vformatter`,
 * which does the work wherever there is more than text, "%s", "%d" and "%u".
 */
#ifndef QNSTACK_QN_SNPRINTF_H
#define QNSTACK_QN_SNPRINTF_H

#include <stdarg.h>
#include <stdint.h>

#include "qnstack/qn_export.h"

QN_BEGIN_DECLS

/**
 * @addtogroup containers
 * @{
 */

/**
 * Formats into a bounded area; the text is always terminated inside it.
 *
 * @param buf destination of at least @p len bytes; may be NULL if @p len is 0.
 * @param len size of the area in bytes; with 0 nothing is written.
 * @param format the format; not NULL.
 * @param args its arguments.
 * @return the number of characters written, without the terminator. When the
 *         text does not fit, @p len, with the first @p len - 1 characters
 *         stored. With a @p len of 0, the full length of the text.
 */
QN_API int32_t fnQNRTL_vsnprintf(char *buf, uint32_t len, const char *format, va_list args);

/**
 * Formats into a bounded area, with the arguments given one by one.
 *
 * @param buf destination of at least @p len bytes; may be NULL if @p len is 0.
 * @param len size of the area in bytes; with 0 nothing is written.
 * @param format the format; not NULL.
 * @return as fnQNRTL_vsnprintf().
 */
QN_API int32_t fnQNRTL_snprintf(char *buf, uint32_t len, const char *format, ...);

/** @} */

QN_END_DECLS

#endif
