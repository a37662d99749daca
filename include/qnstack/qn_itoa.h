/* SPDX-License-Identifier: MIT */
/**
 * @file qn_itoa.h
 * @brief Numbers to text in any radix.
 */
#ifndef QNSTACK_QN_ITOA_H
#define QNSTACK_QN_ITOA_H

#include <stdint.h>

#include "qnstack/qn_export.h"

QN_BEGIN_DECLS

/**
 * @addtogroup containers
 * @{
 */

/**
 * Writes an integer as text.
 *
 * Only radix 10 knows negative numbers: in every other radix the 32 bits are
 * read as unsigned, so -1 in radix 16 is "ffffffff". Digits from ten up are
 * lower-case letters.
 *
 * @param value the number.
 * @param buf destination; radix 2 needs up to 33 bytes, radix 10 up to 12. NULL
 *        receives nothing.
 * @param radix 2 to 36; a radix below 2 writes an empty string.
 * @return @p buf.
 */
QN_API char *fnQNRTL_itoa(int32_t value, char *buf, int32_t radix);

/**
 * Writes a number with at most four fractional digits, cut and not rounded.
 *
 * The integer part is taken to 32 bits and written as fnQNRTL_itoa() does. A
 * value beyond 32 bits gives the nearest limit, not-a-number the least integer.
 * The text has at most 12 characters, unless the integer part with its point is
 * longer, or with ".0" where there is no fraction ("-1000000000.0").
 *
 * Two oddities are kept for callers that rely on them. A value between -1 and 0
 * gives "0.". In a radix other than 10 the fraction is still scaled by ten from
 * digit to digit: 0.5 in radix 8 gives "0.48gw".
 *
 * @param value the number.
 * @param buf destination; 14 bytes do for radix 10, 38 for any. NULL receives
 *        nothing.
 * @param radix 2 to 36; a radix below 2 writes an empty string.
 * @return @p buf.
 */
QN_API char *fnQNRTL_ftoa(double value, char *buf, int32_t radix);

/** @} */

QN_END_DECLS

#endif
