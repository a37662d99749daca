/* SPDX-License-Identifier: MIT */
/**
 * @file qn_fs_ini.h
 * @brief The settings store: keys and values in a list and in one file.
 *
 * The file is a plain sequence of fields, not text with sections: key, zero
 * byte, value, zero byte, line tag. Keys are compared exactly; where a file
 * has a key twice, the first counts. Release a list with
 * `fnQNList_Clear(list, fnQNFS_INI_FreeNode)`.
 *
 * A load may write: it puts the backup of an unfinished save in place, as
 * fnQNFS_Load_File_To_Buffer() says.
 *
 * Of two processes that both load a file, set a value and write it, the second to
 * write wins: it writes all its values, and the first one's change is gone. On the
 * POSIX port each load and each write is whole, as qn_fs_filebuffer.h says, but
 * the two together are not one.
 */
#ifndef QNSTACK_QN_FS_INI_H
#define QNSTACK_QN_FS_INI_H

#include <stdint.h>

#include "qnstack/qn_export.h"
#include "qnstack/qn_list.h"

QN_BEGIN_DECLS

/**
 * @addtogroup files
 * @{
 */

/** One setting; the element of a settings list. */
typedef struct QNFSIniEntry {
  char *key;   /**< owned by the entry */
  char *value; /**< owned by the entry; NULL after the heap refused a new value */
} QNFSIniEntry;

/**
 * Initialises a list record and loads a file into it.
 *
 * @param name file name; NULL loads nothing.
 * @param list the record; what it held is forgotten, not released. NULL does
 *        nothing.
 */
QN_API void fnQNFS_INI_List_Init(const char *name, QNList *list);

/**
 * Empties a settings list and loads a file into it. A file that cannot be read
 * leaves it empty. When the heap refuses a setting, the load ends with those
 * before it; when it refuses the memory for the file, the list stays as it was.
 *
 * @param name file name; NULL empties the list and loads nothing.
 * @param list the list; NULL loads nothing.
 */
QN_API void fnQNFS_Load_INI_To_List(const char *name, QNList *list);

/**
 * Writes the settings to a file, replacing it as fnQNFS_Write_Buffer_To_File()
 * does. The file may become up to 10000 bytes larger than it was; what does not
 * fit is dropped. A key or value that begins with "\n" loses that character when
 * it is loaded again. A key or value that is "\n" alone is written as a line tag,
 * so that a load takes the next value for a key, and so on to the end.
 *
 * @param name file name.
 * @param list the list.
 * @return 1; 0 if an argument is NULL, the heap refuses, or writing failed.
 */
QN_API int32_t fnQNFS_Write_INI_To_File(const char *name, QNList *list);

/**
 * Sets a value and writes the file as fnQNFS_Write_INI_To_File() does.
 *
 * @param name file name.
 * @param list the list.
 * @param key copied if it is new.
 * @param value copied; NULL as an empty string. It may be the stored one.
 * @return 1; 0 if @p name, @p list or @p key is NULL, the heap refuses, or
 *         writing failed. After a failed write the value in memory is set all
 *         the same. If the heap refuses the new value of a key that is there,
 *         its old value is gone and the entry's `value` is NULL.
 */
QN_API int32_t fnQNFS_INI_Write(const char *name, QNList *list, const char *key, const char *value);

/**
 * Sets a value in memory alone.
 *
 * @param list the list.
 * @param key copied if it is new.
 * @param value as for fnQNFS_INI_Write().
 * @return 1; 0 if @p list or @p key is NULL or the heap refuses, with what that
 *         leaves as for fnQNFS_INI_Write().
 */
QN_API int32_t fnQNFS_INI_WriteRAM(QNList *list, const char *key, const char *value);

/**
 * Copies a value out of the list; the file is not read.
 *
 * @param name must not be NULL; otherwise not used.
 * @param list the list.
 * @param key the key.
 * @param destination room for the value and its terminator, whatever its
 *        length; untouched if the key is not found.
 * @return 1 if found, else 0; 0 for a NULL argument or an entry without a
 *         value.
 */
QN_API int32_t fnQNFS_INI_Read(const char *name, QNList *list, const char *key, char *destination);

/**
 * Compares a key with an entry, for fnQNList_CompareFind().
 *
 * @param key the address of a variable that holds the key.
 * @param entry the entry.
 * @return as fnQN_STRCMP() of the two keys; -1 for a NULL argument.
 */
QN_API int fnQNFS_INI_Compare(const void *key, const void *entry);

/**
 * Releases an entry, for fnQNList_Clear().
 *
 * @param address the address of a variable that holds the entry; cleared. NULL
 *        or a variable that holds NULL does nothing.
 */
QN_API void fnQNFS_INI_FreeNode(void *address);

/** @} */

QN_END_DECLS

#endif
