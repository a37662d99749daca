/* SPDX-License-Identifier: MIT */
/**
 * @file qn_snprintf.h
 * @brief Formatted text into a bounded area.
 *
 * The conversions are those of APR's (the Apache Portable Runtime's)
 * `apr_vformatter`. They are not all of C's:
 *
 * | Write | For |
 * |---|---|
 * | "%d" "%i" "%u" "%x" "%X" "%o" | `int` and `unsigned`, with `h` also `short` |
 * | the same with `l` | `long` and `unsigned long` |
 * | `"%" PRId64`, `"%" PRIu64` | 64-bit numbers; from `<inttypes.h>` |
 * | "%f" "%e" "%E" "%g" "%G" | `double` |
 * | "%s" | a string; NULL is shown as "(null)" |
 * | "%c" | a character |
 * | "%pp" | a pointer, as hexadecimal digits without "0x" |
 * | "%n" | the `int` that receives the number of characters so far |
 * | "%%" | one percent sign |
 *
 * Flags (`-`, `+`, blank, `#`, `0`), a width, a precision and `*` for either
 * work as in C. Two digits differ: "%g" writes no zero before the point (".5",
 * "1.e+10"), and "%f" is wrong from 1e80 on.
 *
 * APR does not know "%zu", "%zd", "%hhd", "%jd", "%td", "%a", "%F", "%Lf", "%'d",
 * or positions such as "%1$s", and where a `long` has 64 bits it does not know
 * "%lld" and "%llu". It writes such a conversion as text and does not take its
 * argument. The next conversion then gets the wrong argument, and a "%s" behind it
 * crashes. For a bare "%p" it writes "bogus %p"; that takes its argument and leaves
 * out the character behind it. A conversion that the end of the format cuts is left
 * out. A compiler does not warn of this: the functions carry no `printf` attribute,
 * which would promise all of C's conversions. Cast instead:
 *
 * | Instead of | Write |
 * |---|---|
 * | "%zu", "%td" | "%lu" with `(unsigned long)`, "%ld" with `(long)` |
 * | "%lld", "%jd" | `"%" PRId64` with `(int64_t)` |
 * | "%hhd" | "%d" |
 * | "%p" | "%pp" |
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
 * @param format the format; for its conversions see the top of this file.
 * @param args its arguments.
 * @return the number of characters written, without the terminator. When the
 *         text does not fit, @p len, with the first @p len - 1 characters
 *         stored. With a @p len of 0, the full length of the text. -1, with
 *         nothing written, for a NULL @p format, or a NULL @p buf with a @p len
 *         above 0.
 */
QN_API int32_t fnQNRTL_vsnprintf(char *buf, uint32_t len, const char *format, va_list args);

/**
 * Formats into a bounded area, with the arguments given one by one.
 *
 * @param buf destination of at least @p len bytes; may be NULL if @p len is 0.
 * @param len size of the area in bytes; with 0 nothing is written.
 * @param format the format; for its conversions see the top of this file.
 * @return as fnQNRTL_vsnprintf().
 */
QN_API int32_t fnQNRTL_snprintf(char *buf, uint32_t len, const char *format, ...);

/** @} */

QN_END_DECLS

#endif
