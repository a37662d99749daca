/* SPDX-License-Identifier: MIT */
/**
 * @file qn_stack_mem.h
 * @brief The one reallocation helper of the HTTP stack.
 */
#ifndef QNSTACK_QN_STACK_MEM_H
#define QNSTACK_QN_STACK_MEM_H

#include <stdint.h>

#include "qnstack/qn_export.h"

QN_BEGIN_DECLS

/**
 * @addtogroup buffers
 * @{
 */

/**
 * Resizes a block; fnQN_Realloc_Local() with the library's own source place.
 *
 * @param pointer a block from this library, or NULL.
 * @param size the new size in bytes.
 * @return the resized block, owned by the caller; NULL when the heap refuses,
 *         in which case @p pointer stays valid. A size of 0 as for
 *         fnQN_Realloc_Local().
 */
QN_API void *fnQNStack_ReMalloc(void *pointer, uint32_t size);

/** @} */

QN_END_DECLS

#endif
