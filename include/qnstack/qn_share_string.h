/* SPDX-License-Identifier: MIT */
/**
 * @file qn_share_string.h
 * @brief Portable string primitives: those of the C library, which also take
 *        NULL here, and a few of the library's own.
 *
 * No function here consults a locale. Several differ from their namesakes in
 * the C library on purpose; each such function says how.
 */
#ifndef QNSTACK_QN_SHARE_STRING_H
#define QNSTACK_QN_SHARE_STRING_H

#include <stddef.h>
#include <stdint.h>

#include "qnstack/qn_export.h"

QN_BEGIN_DECLS

/**
 * @addtogroup buffers
 * @{
 */

/**
 * Length of a string; C's `strlen`.
 *
 * @param s terminated string, or NULL.
 * @return length in bytes without the terminator; 0 for NULL.
 */
QN_API size_t fnQN_STRLEN(const char *s);

/**
 * Copies a string with its terminator; C's `strcpy`.
 *
 * @param dst destination with room for the string, or NULL.
 * @param src terminated string, or NULL.
 * @return @p dst; nothing is copied if either argument is NULL.
 */
QN_API char *fnQN_STRCPY(char *dst, const char *src);

/**
 * Copies at most @p n bytes of a string and pads with zero bytes up to @p n;
 * C's `strncpy`, so a longer string leaves @p dst without a terminator.
 *
 * @param dst destination of at least @p n bytes, or NULL.
 * @param src terminated string, or NULL.
 * @param n bytes to write.
 * @return @p dst; nothing is done if either pointer is NULL.
 */
QN_API char *fnQN_STRNCPY(char *dst, const char *src, size_t n);

/**
 * Appends a string; C's `strcat`.
 *
 * @param dst terminated string with room for both, or NULL.
 * @param src terminated string, or NULL.
 * @return @p dst; nothing is done if either pointer is NULL.
 */
QN_API char *fnQN_STRCAT(char *dst, const char *src);

/**
 * Compares two strings byte by byte; C's `strcmp`.
 *
 * @param a terminated string, or NULL.
 * @param b terminated string, or NULL.
 * @return below 0, 0 or above 0; -1 if either is NULL, so NULL equals nothing.
 */
QN_API int fnQN_STRCMP(const char *a, const char *b);

/**
 * Finds a string in another; C's `strstr`.
 *
 * @param haystack terminated string, or NULL.
 * @param needle terminated string, or NULL.
 * @return the first match inside @p haystack; NULL when there is none or an
 *         argument is NULL.
 */
QN_API char *fnQN_STRSTR(const char *haystack, const char *needle);

/**
 * Reads a decimal integer from the start of a string; C's `atoi`.
 *
 * @param s terminated string, or NULL.
 * @return the number; 0 for NULL or text without one.
 */
QN_API int fnQN_ATOI(const char *s);

/**
 * Copies a string to the system heap; C's `strdup`.
 *
 * @param s terminated string, or NULL.
 * @return the copy, owned by the caller and released with fnQN_Free(); NULL
 *         for NULL or when the heap refuses.
 */
QN_API char *fnQN_STRDUP(const char *s);

/**
 * Finds the first occurrence of a character; C's `strchr`.
 *
 * @param s terminated string, or NULL.
 * @param ch the character; 0 finds the terminator.
 * @return its address inside @p s, or NULL.
 */
QN_API char *fnQN_STRCHR(const char *s, int ch);

/**
 * Finds the last occurrence of a character; C's `strrchr`.
 *
 * @param s terminated string, or NULL.
 * @param ch the character; 0 finds the terminator.
 * @return its address inside @p s, or NULL.
 */
QN_API char *fnQN_STRRCHR(const char *s, int ch);

/**
 * Copies exactly @p size raw bytes and stores 0 in the last of them.
 *
 * Unlike other functions of this name it does not stop at @p src's
 * terminator: @p src must be readable for @p size bytes. A size of 0 does
 * nothing.
 *
 * @param dst destination of at least @p size bytes, or NULL.
 * @param src source of at least @p size bytes, or NULL.
 * @param size number of bytes.
 * @return always 0; nothing is done if either pointer is NULL.
 */
QN_API int32_t fnQN_STRLCPY(char *dst, const char *src, uint32_t size);

/**
 * Appends a string whole, without any bound, except for four sizes.
 *
 * A @p size of 4, 5, 6 or 7 refuses; every other size, 0 to 3 included,
 * appends all of @p src. Callers rely on this rule, so it stays: use
 * fnQN_STRNCAT() where a bound is wanted.
 *
 * @param dst terminated string with room for both, or NULL.
 * @param src terminated string, or NULL.
 * @param size decides as said above; it is not a bound.
 * @return 0 when appended or when a pointer is NULL (which is looked at
 *         first), -1 when refused.
 */
QN_API int32_t fnQN_STRLCAT(char *dst, const char *src, uint32_t size);

/**
 * Tests that both strings are there; it compares nothing.
 *
 * The contents and @p n are ignored. Callers rely on it, so it stays: use
 * fnQN_STRBEGINS() or fnQNRTL_strnicmp() to compare.
 *
 * @param a string, or NULL.
 * @param b string, or NULL.
 * @param n ignored.
 * @return 0 if neither is NULL, else -1.
 */
QN_API int32_t fnQN_STRNCMP(const char *a, const char *b, uint32_t n);

/**
 * Appends at most @p n characters of a string; the result is terminated.
 *
 * A scratch area of @p n + 1 bytes is allocated first; when the heap refuses
 * it, nothing is appended.
 *
 * @param dst terminated string with room for the result, or NULL.
 * @param src string, read up to its terminator or @p n bytes; or NULL.
 * @param n the most characters to append.
 * @return @p dst (also when nothing was appended because a pointer is NULL);
 *         NULL when the heap refused the scratch area.
 */
QN_API char *fnQN_STRNCAT(char *dst, const char *src, uint32_t n);

/**
 * Tests two strings for equality, ignoring the case of ASCII letters.
 *
 * It never orders: use fnQNRTL_stricmp() for that.
 *
 * @param a terminated string, or NULL.
 * @param b terminated string, or NULL.
 * @return 0 when equal; -1 when not, or when either is NULL.
 */
QN_API int32_t fnQN_STRICMP(const char *a, const char *b);

/**
 * Orders the first @p n bytes of two strings, folding 'B' to 'Y' alone.
 *
 * 'A' and 'Z' are not folded, and bytes are read as signed, so bytes from 128
 * up stand before ASCII. Callers rely on both, so they stay.
 *
 * @param a terminated string, or NULL.
 * @param b terminated string, or NULL.
 * @param n number of bytes to compare.
 * @return -1 if either is NULL or @p a is shorter than @p n; else 1 if @p b is
 *         shorter than @p n; else -1, 0 or 1 by the first byte that differs.
 */
QN_API int32_t fnQN_STRNICMP(const char *a, const char *b, uint32_t n);

/**
 * Tests whether a string starts with a prefix, minding case.
 *
 * @param s terminated string, or NULL.
 * @param prefix terminated string, or NULL; an empty one is a prefix of all.
 * @return 1 if it does, else 0; 0 if either is NULL.
 */
QN_API int32_t fnQN_STRBEGINS(const char *s, const char *prefix);

/**
 * Lower-cases 'A' to 'Z' in place.
 *
 * @param s terminated string, or NULL, which does nothing.
 * @return always 0.
 */
QN_API int32_t fnQN_STRLOWER(char *s);

/**
 * Finds a string in another, ignoring the case of ASCII letters.
 *
 * At worst it compares as many bytes as the product of both lengths.
 *
 * @param haystack terminated string, or NULL.
 * @param needle terminated string, or NULL; an empty one is found at once.
 * @return the first match inside @p haystack; NULL when there is none or an
 *         argument is NULL.
 */
QN_API char *fnQN_STRISTR(const char *haystack, const char *needle);

/** @} */

QN_END_DECLS

#endif
