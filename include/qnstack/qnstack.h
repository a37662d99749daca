/* SPDX-License-Identifier: MIT */
/**
 * @file qnstack.h
 * @brief Includes all public headers of the library: an HTTP client that looks
 *        like a handset, and the services below a multimedia-messaging client.
 *
 * What holds for every function, unless its own text says otherwise:
 *
 * - Ownership. A string or record that a function returns as "owned by the
 *   caller" is released with fnQN_Free(), contexts with
 *   fnQNStack_Http_FreeCtx(), buffers with fnQN_MemBuffer_Free(). Strings that
 *   are handed in are copied. A request body is the caller's and stays so.
 * - Results. The HTTP client: -1 failed, -2 call again, 0 done, above 0 a byte
 *   count. The socket layer: 1 success, 0 or -1 failure, -2 under way. Files,
 *   records, cache and settings: 1 success, 0 failure. File primitives that
 *   read and write: -1 failure. Look-ups: NULL for nothing found.
 * - Zeroed memory. fnQN_Malloc_Local() gives zero-filled memory, and records
 *   that the library makes start zeroed. What fnQN_Realloc_Local(),
 *   fnQNStack_ReMalloc() and a growing buffer add is not zeroed.
 * - No memory. When the heap refuses, a function fails by its result, or does
 *   nothing if it has none, and what was there stays as it was. Four functions
 *   are exceptions: fnQNStack_Http_ParseAnswer() sets a location or media type
 *   that it cannot copy to NULL; fnQNFS_INI_Write() and fnQNFS_INI_WriteRAM()
 *   leave the key with a NULL value; fnQNStack_Cache_Save() has thrown out older
 *   entries by then.
 * - One thread. The library starts none, takes no locks, and keeps its state
 *   in globals.
 * - NULL. Four functions must not get a NULL pointer: fnQN_MEMCPY(),
 *   fnQN_MEMSET(), fnQN_MEMCHR() and fnQN_MEMCMP(). Every other function takes
 *   NULL for each of its pointers, and its text says what that gives. The page
 *   "What NULL gives" of the reference has a table of all of them.
 */
#ifndef QNSTACK_QNSTACK_H
#define QNSTACK_QNSTACK_H

#include "qnstack/Transcode.h"
#include "qnstack/qn_export.h"
#include "qnstack/qn_fs_comm_tools.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_fs_file_record.h"
#include "qnstack/qn_fs_filebuffer.h"
#include "qnstack/qn_fs_ini.h"
#include "qnstack/qn_itoa.h"
#include "qnstack/qn_list.h"
#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_share_string.h"
#include "qnstack/qn_snprintf.h"
#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_http_cache.h"
#include "qnstack/qn_stack_http_cookie.h"
#include "qnstack/qn_stack_http_head.h"
#include "qnstack/qn_stack_mem.h"
#include "qnstack/qn_stack_membuffer.h"
#include "qnstack/qn_stack_porting.h"
#include "qnstack/qn_stack_strings.h"
#include "qnstack/qn_stack_tools.h"
#include "qnstack/qn_stack_wap.h"
#include "qnstack/qn_stricmp.h"
#include "qnstack/qn_version.h"

#endif
