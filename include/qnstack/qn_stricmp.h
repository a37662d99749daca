/* SPDX-License-Identifier: MIT */
/**
 * @file qn_stricmp.h
 * @brief Ordering comparisons that ignore the case of ASCII letters.
 *
 * Bytes are read as unsigned and 'A' to 'Z' stand for 'a' to 'z' on both
 * sides.
 */
#ifndef QNSTACK_QN_STRICMP_H
#define QNSTACK_QN_STRICMP_H

#include <stdint.h>

#include "qnstack/qn_export.h"

QN_BEGIN_DECLS

/**
 * @addtogroup buffers
 * @{
 */

/**
 * Orders two strings, ignoring the case of ASCII letters.
 *
 * @param a terminated string, or NULL.
 * @param b terminated string, or NULL.
 * @return the folded byte of @p a minus the folded byte of @p b where they
 *         first differ, 0 when equal; -1 if @p a is NULL (looked at first, so
 *         two NULLs give -1), 1 if only @p b is NULL.
 */
QN_API int32_t fnQNRTL_stricmp(const char *a, const char *b);

/**
 * Orders at most the first @p n bytes of two strings, ignoring the case of
 * ASCII letters.
 *
 * @param a terminated string, or NULL.
 * @param b terminated string, or NULL.
 * @param n the most bytes to compare.
 * @return as fnQNRTL_stricmp(); 0 when @p n is 0 and neither string is NULL.
 */
QN_API int32_t fnQNRTL_strnicmp(const char *a, const char *b, uint32_t n);

/** @} */

QN_END_DECLS

#endif
