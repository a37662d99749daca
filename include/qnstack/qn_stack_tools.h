/* SPDX-License-Identifier: MIT */
/**
 * @file qn_stack_tools.h
 * @brief Taking header and URL text apart.
 */
#ifndef QNSTACK_QN_STACK_TOOLS_H
#define QNSTACK_QN_STACK_TOOLS_H

#include <stdint.h>

#include "qnstack/qn_export.h"

QN_BEGIN_DECLS

/**
 * @addtogroup buffers
 * @{
 */

/**
 * Makes a new copy of a string.
 *
 * @param string terminated string, or NULL.
 * @return the copy, owned by the caller and released with fnQN_Free(); NULL
 *         for NULL or when the heap refuses.
 */
QN_API char *fnQNStack_StrDup(const char *string);

/**
 * Copies the token that starts at a position and ends before the first
 * delimiter.
 *
 * The delimiter is not consumed: step over it, or use fnQNStack_StrArraySkip(),
 * before asking for the next token.
 *
 * @param string terminated string, or NULL.
 * @param delimiters the characters that end a token, or NULL.
 * @param position in: where the token starts; out: where it ended. A position
 *        at or past the end, or on a delimiter, gives an empty token and stays.
 * @return the token, owned by the caller and released with fnQN_Free(); NULL
 *         with the position unchanged if an argument is NULL or the heap
 *         refuses.
 */
QN_API char *fnQNStack_StrArraySplit(const char *string, const char *delimiters,
                                     uint32_t *position);

/**
 * Skips leading delimiters.
 *
 * @param string terminated string, or NULL.
 * @param delimiters the characters to skip; NULL or none skips nothing.
 * @return the first character of @p string that is not among them, its
 *         terminator if all are; @p string if an argument is NULL.
 */
QN_API char *fnQNStack_StrArraySkip(const char *string, const char *delimiters);

/**
 * Tests for a prefix, ignoring the case of ASCII letters.
 *
 * @param string terminated string, or NULL.
 * @param prefix terminated string, or NULL.
 * @return 0 if @p string begins with @p prefix (also for two NULLs); -1 if it
 *         is long enough but does not; 1 if it is too short or just one
 *         argument is NULL.
 */
QN_API int32_t fnQNStack_StrCMPI(const char *string, const char *prefix);

/** @} */

QN_END_DECLS

#endif
