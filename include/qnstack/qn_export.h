/* SPDX-License-Identifier: MIT */
/**
 * @file qn_export.h
 * @brief Visibility and linkage of the library's interface.
 *
 * Everything that an application may call or read is marked #QN_API; nothing
 * else leaves the shared library.
 */
#ifndef QNSTACK_QN_EXPORT_H
#define QNSTACK_QN_EXPORT_H

/**
 * @addtogroup interface
 * @{
 */

#if defined(__GNUC__)
/** Marks a function or an object as part of the library's interface. */
#define QN_API __attribute__((visibility("default")))
/** Lets the compiler check a format string against its arguments. */
#define QN_PRINTF_LIKE(format_index, first_argument) \
  __attribute__((format(printf, format_index, first_argument)))
#else
#define QN_API
#define QN_PRINTF_LIKE(format_index, first_argument)
#endif

#ifdef __cplusplus
/** Opens a block of declarations with C linkage. */
#define QN_BEGIN_DECLS extern "C" {
/** Closes the block that #QN_BEGIN_DECLS opened. */
#define QN_END_DECLS }
#else
#define QN_BEGIN_DECLS
#define QN_END_DECLS
#endif

/** @} */

#endif
