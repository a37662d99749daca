/* SPDX-License-Identifier: MIT */
/**
 * @file qn_fs_file_record.h
 * @brief Record files: a list's elements one after another in a file.
 *
 * The caller's write function turns one element into fields of a typed file
 * buffer, and its read function makes one element of the same fields. A file
 * has no header and no count. A save may make the file up to 10000 bytes larger
 * than it was; what does not fit is dropped.
 *
 * A load may write: it puts the backup of an unfinished save in place, as
 * fnQNFS_Load_File_To_Buffer() says.
 *
 * Of two processes that both load a list, change it and save it, the second to
 * save wins, and the first one's change is gone. On the POSIX port each load, save
 * and append is whole, as qn_fs_filebuffer.h says: appends of several processes
 * all come to be in the file, but a save of what was loaded before one drops it.
 */
#ifndef QNSTACK_QN_FS_FILE_RECORD_H
#define QNSTACK_QN_FS_FILE_RECORD_H

#include <stdint.h>

#include "qnstack/qn_export.h"
#include "qnstack/qn_fs_filebuffer.h"
#include "qnstack/qn_list.h"

QN_BEGIN_DECLS

/**
 * @addtogroup files
 * @{
 */

/**
 * Writes one element.
 *
 * @param record where to.
 * @param data the element.
 */
typedef void (*QNFSRecordWrite)(QNFSBuffer *record, void *data);

/**
 * Reads one element: exactly the fields that were written for it. If 1000 calls
 * in a row take no field, the load ends.
 *
 * @param record where from.
 * @return a new element, owned by the list from then on; NULL if there was none:
 *         then nothing is added, and the load goes on.
 */
typedef void *(*QNFSRecordRead)(QNFSBuffer *record);

/**
 * Loads a file's elements behind those of a list. A file that cannot be read
 * leaves the list as it is, and when the heap refuses the load ends with the
 * elements before; nothing is reported.
 *
 * @param name file name; NULL loads nothing.
 * @param list the list; NULL loads nothing.
 * @param read makes one element; NULL loads nothing.
 */
QN_API void fnQNFS_Load_File_To_List(const char *name, QNList *list, QNFSRecordRead read);

/**
 * Loads a file's elements, each in front of the list: the counterpart of
 * fnQNFS_Save_List_To_FileEx().
 *
 * @param name file name; NULL loads nothing.
 * @param list the list; NULL loads nothing.
 * @param read makes one element; NULL loads nothing.
 */
QN_API void fnQNFS_Load_File_To_ListEx(const char *name, QNList *list, QNFSRecordRead read);

/**
 * Saves a list from its head to its tail.
 *
 * @param name file name.
 * @param list the list.
 * @param write writes one element.
 * @return 1; 0 if an argument or an element is NULL, the heap refuses, or
 *         writing failed.
 */
QN_API int32_t fnQNFS_Save_List_To_File(const char *name, QNList *list, QNFSRecordWrite write);

/**
 * Saves a list from its tail to its head.
 *
 * @param name file name.
 * @param list the list.
 * @param write writes one element.
 * @return as fnQNFS_Save_List_To_File().
 */
QN_API int32_t fnQNFS_Save_List_To_FileEx(const char *name, QNList *list, QNFSRecordWrite write);

/**
 * Appends a list's first element to a file; the others are not looked at.
 *
 * @param name file name.
 * @param list the list; an empty one appends nothing to the file.
 * @param write writes the element, into at most 10000 bytes.
 * @return 1; 0 if an argument or the element is NULL, the heap refuses, or
 *         appending failed.
 */
QN_API int32_t fnQNFS_Append_List_To_File(const char *name, QNList *list, QNFSRecordWrite write);

/**
 * Finds an element by a key of one word.
 *
 * @param list the list, or NULL.
 * @param key the key; 0 finds nothing.
 * @param compare gets the address of a variable that holds the key, and an
 *        element; 0 for a match. NULL finds nothing.
 * @return the element, still the list's; NULL if none matches.
 */
QN_API void *fnQNFS_List_Find_Node(QNList *list, intptr_t key, QNListCompare compare);

/** @} */

QN_END_DECLS

#endif
