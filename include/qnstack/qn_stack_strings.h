/* SPDX-License-Identifier: MIT */
/**
 * @file qn_stack_strings.h
 * @brief String copies for the HTTP stack.
 */
#ifndef QNSTACK_QN_STACK_STRINGS_H
#define QNSTACK_QN_STACK_STRINGS_H

#include "qnstack/qn_export.h"

QN_BEGIN_DECLS

/**
 * @addtogroup buffers
 * @{
 */

/**
 * Makes a new copy of a string; the same operation as fnQNStack_StrDup().
 *
 * @param string terminated string, or NULL.
 * @return the copy, owned by the caller and released with fnQN_Free(); NULL
 *         for NULL or when the heap refuses.
 */
QN_API char *fnQN_StrDup(const char *string);

/** @} */

QN_END_DECLS

#endif
