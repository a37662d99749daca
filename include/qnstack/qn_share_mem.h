/* SPDX-License-Identifier: MIT */
/**
 * @file qn_share_mem.h
 * @brief Allocation and raw memory: the calls that every module makes instead
 *        of the C library's.
 *
 * fnQN_Malloc_Local() gives zero-filled memory. Whatever the library hands over
 * is given back with fnQN_Free(), which also clears the caller's pointer.
 */
#ifndef QNSTACK_QN_SHARE_MEM_H
#define QNSTACK_QN_SHARE_MEM_H

#include <stddef.h>
#include <stdint.h>

#include "qnstack/qn_export.h"

QN_BEGIN_DECLS

/**
 * @addtogroup buffers
 * @{
 */

/**
 * Allocates zero-filled memory from the system heap.
 *
 * @param size number of bytes. A size of 0 gives a block too, so NULL always
 *        means that the heap refused.
 * @param file the caller's source path; accepted and ignored, NULL included.
 * @param line the caller's line number; accepted and ignored.
 * @return the memory, owned by the caller and released with fnQN_Free(); NULL
 *         when the heap refuses.
 */
QN_API void *fnQN_Malloc_Local(uint32_t size, const char *file, int32_t line);

/**
 * Frees what a pointer variable points to and sets the variable to NULL.
 *
 * Does nothing for a NULL address or a variable that already holds NULL. The
 * shape (one argument, the address of the variable) is that of every release
 * callback in this library, so this function can be handed in as one.
 *
 * @param address the address of a variable of any object pointer type, as in
 *        `fnQN_Free(&text)`. It is not the block itself: `fnQN_Free(text)` is
 *        a mistake that no compiler catches.
 */
QN_API void fnQN_Free(void *address);

/**
 * Resizes a block as C's `realloc` does; the added bytes are not zeroed.
 *
 * @param ptr a block from this library or the system heap, or NULL.
 * @param size the new size in bytes.
 * @param file the caller's source path; accepted and ignored, NULL included.
 * @param line the caller's line number; accepted and ignored.
 * @return the resized block, owned by the caller; NULL when the heap refuses,
 *         in which case @p ptr stays valid. With a size of 0 the system's `realloc`
 *         decides; glibc frees the block and gives NULL.
 */
QN_API void *fnQN_Realloc_Local(void *ptr, uint32_t size, const char *file, int32_t line);

/**
 * Copies bytes between areas that do not overlap; C's `memcpy`.
 *
 * @param dst destination, at least @p n bytes; not NULL.
 * @param src source, at least @p n bytes; not NULL.
 * @param n number of bytes.
 * @return @p dst.
 */
QN_API void *fnQN_MEMCPY(void *dst, const void *src, size_t n);

/**
 * Fills an area with one byte value; C's `memset`.
 *
 * @param dst destination, at least @p n bytes; not NULL.
 * @param byte the value, taken as an unsigned byte.
 * @param n number of bytes.
 * @return @p dst.
 */
QN_API void *fnQN_MEMSET(void *dst, int byte, size_t n);

/**
 * Finds the first byte of a value in an area; C's `memchr`.
 *
 * @param buf the area, at least @p n bytes; not NULL.
 * @param byte the value, taken as an unsigned byte.
 * @param n number of bytes to look at.
 * @return the address of the byte inside @p buf, or NULL.
 */
QN_API void *fnQN_MEMCHR(const void *buf, int byte, size_t n);

/**
 * Compares two areas byte by byte; C's `memcmp`.
 *
 * @param a first area, at least @p n bytes; not NULL.
 * @param b second area, at least @p n bytes; not NULL.
 * @param n number of bytes to compare.
 * @return below 0, 0 or above 0, as `memcmp` gives it.
 */
QN_API int fnQN_MEMCMP(const void *a, const void *b, size_t n);

/**
 * Searches a byte area for the bytes of a terminated string, in linear time (not so
 * where the library was built for POSIX.1-2008 alone).
 *
 * The match must be followed by at least one more byte inside the area: one
 * that ends exactly at `buf + len` is not found. Callers that scan received
 * data rely on this strict bound, so it stays.
 *
 * @param buf the area; need not be terminated and may hold zero bytes.
 * @param needle the terminated string to look for; an empty one is found at
 *        @p buf when @p len is at least 1.
 * @param len number of bytes in the area; 0 or less finds nothing.
 * @return the address of the first match inside @p buf; NULL when there is
 *         none or an argument is NULL.
 */
QN_API void *fnQN_MEMSTR(const void *buf, const char *needle, int32_t len);

/**
 * Makes a new copy of a string; a NULL string gives a new empty string.
 *
 * @param s terminated string, or NULL.
 * @return the copy, owned by the caller and released with fnQN_Free(); NULL
 *         only when the heap refuses.
 */
QN_API char *fnQN_MEMSTRCOPY(const char *s);

/** @} */

QN_END_DECLS

#endif
