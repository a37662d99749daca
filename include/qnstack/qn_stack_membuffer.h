/* SPDX-License-Identifier: MIT */
/**
 * @file qn_stack_membuffer.h
 * @brief The growable byte buffer in which requests and answers are held.
 *
 * Writers append at the end, a reader consumes from a cursor, and the bytes
 * already read are squeezed out by the next write. The content always ends
 * with a zero byte, so its unread part can be searched as a string.
 *
 * The record is all there is to a buffer, so a program may work on it by hand:
 * - A zero-filled record is an empty buffer. One that stands in a block from
 *   fnQN_Malloc_Local() can be freed with fnQN_MemBuffer_Free().
 * - To keep the content without a copy, take `data` over, which fnQN_Free()
 *   releases, and set `data` to NULL and `length`, `cursor` and `total` to 0.
 *   The buffer can be written to again or freed.
 * - To replace the storage, put a block from fnQN_Malloc_Local() of at least
 *   `capacity` + 10 bytes in place of `data`, and free the old one.
 * - A copy of the record takes the place of the original, which must then not
 *   be used any more.
 */
#ifndef QNSTACK_QN_STACK_MEMBUFFER_H
#define QNSTACK_QN_STACK_MEMBUFFER_H

#include <stdint.h>

#include "qnstack/qn_export.h"

QN_BEGIN_DECLS

/**
 * @addtogroup buffers
 * @{
 */

/** A growable byte buffer. `data` may move with every write. */
typedef struct QNMemBuffer {
  char *data;        /**< the storage, owned by the buffer: NULL, or the start of a block for
                          fnQN_Free() of `capacity` + 10 bytes or more */
  uint32_t capacity; /**< bytes asked for at creation plus every enlargement */
  uint32_t length;   /**< bytes held, read and unread; `data[length]` is 0 */
  uint32_t cursor;   /**< bytes already read; never above `length` */
  uint32_t total;    /**< all bytes ever appended since creation or the last clearing */
} QNMemBuffer;

/**
 * Makes an empty buffer.
 *
 * @param capacity bytes to hold without growing; 0 is fine.
 * @return the buffer, owned by the caller and released with
 *         fnQN_MemBuffer_Free(); NULL when the heap refuses.
 */
QN_API QNMemBuffer *fnQN_MemBuffer_New(uint32_t capacity);

/**
 * Frees a buffer and its storage, if it has any.
 *
 * @param buffer the buffer, not to be used again; NULL does nothing.
 */
QN_API void fnQN_MemBuffer_Free(QNMemBuffer *buffer);

/**
 * Appends bytes.
 *
 * Bytes already read are squeezed out first, also when @p count is 0. If the
 * rest of the capacity is smaller than @p count, the capacity grows by exactly
 * @p count.
 *
 * @param buffer the buffer; NULL does nothing.
 * @param bytes what to append; stays the caller's and may lie in the buffer
 *        itself. NULL appends nothing.
 * @param count number of bytes; a negative one does nothing. When the heap
 *        refuses the growth the buffer stays as it was, also its `total`.
 */
QN_API void fnQN_MemBuffer_Write(QNMemBuffer *buffer, const void *bytes, int32_t count);

/**
 * Takes bytes from the unread part.
 *
 * @param buffer the buffer.
 * @param destination room for @p count bytes.
 * @param count the most bytes to take.
 * @return the number of bytes copied, 0 when nothing is unread; -1 for a NULL
 *         buffer, a negative count, or a NULL destination for bytes that are
 *         there.
 */
QN_API int32_t fnQN_MemBuffer_Read(QNMemBuffer *buffer, void *destination, int32_t count);

/**
 * Gives back bytes that the last read took. A write in between squeezes them
 * out and makes this impossible.
 *
 * @param buffer the buffer.
 * @param count number of bytes; more than the cursor has passed changes
 *        nothing and is no failure.
 * @return 0; -1 for a NULL buffer or a negative count.
 */
QN_API int32_t fnQN_MemBuffer_unRead(QNMemBuffer *buffer, int32_t count);

/**
 * Takes one item up to a delimiter off the front of the unread part.
 *
 * The search stops at the first zero byte of the unread part. A delimiter that
 * ends beyond `length` does not count.
 *
 * @param buffer the buffer.
 * @param delimiter terminated string; an empty one gives an empty item.
 * @return the item without its delimiter, owned by the caller and released
 *         with fnQN_Free(); the cursor then stands behind the delimiter. NULL
 *         with the cursor unchanged if there is no delimiter, an argument is
 *         NULL, or the heap refuses.
 */
QN_API char *fnQN_MemBuffer_ReadBySubstr(QNMemBuffer *buffer, const char *delimiter);

/**
 * Appends formatted text, cut at 2047 bytes.
 *
 * @param buffer the buffer; NULL appends nothing.
 * @param format as for fnQNRTL_vsnprintf().
 * @return what fnQNRTL_vsnprintf() gave: the length, or 2048 when the text was
 *         cut; -1 when the heap refuses the scratch area or @p format is NULL.
 */
QN_API int32_t fnQN_MemBuffer_Printf(QNMemBuffer *buffer, const char *format, ...);

/**
 * Appends a name, a value and CR LF, in three writes; nothing is cut.
 *
 * @param buffer the buffer.
 * @param name text with its own colon and blank, as in "Accept: ".
 * @param value the text behind it. Both may lie in the buffer itself. If any
 *        argument is NULL nothing is done.
 */
QN_API void fnQN_MemBuffer_WriteItem(QNMemBuffer *buffer, const char *name, const char *value);

/**
 * Empties a buffer and zeroes its storage up to the capacity, which is kept.
 *
 * @param buffer the buffer.
 * @return the storage, still the buffer's; NULL for a NULL buffer or one
 *         without storage.
 */
QN_API char *fnQN_MemBufer_ClearContent(QNMemBuffer *buffer);

/** @} */

QN_END_DECLS

#endif
