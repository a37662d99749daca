/* SPDX-License-Identifier: MIT */
/**
 * @file qn_fs_filebuffer.h
 * @brief The typed file buffer: the image of a small data file, written and
 *        read field by field, and saved so that a crash loses nothing.
 *
 * Every field is its text (or its raw bytes) followed by one zero byte; a line
 * tag is one byte 0x0A without a zero behind it. There is no header, no
 * length and no escaping: a reader asks for the fields in the order in which
 * they were written.
 *
 * A save or an append that fails, and a crash in one, leave the old content for
 * the next load. On the POSIX port new content replaces a file in one step. On a
 * port that cannot do that, a save keeps the old content under the file's name
 * with ".bak" until the new content is written.
 *
 * A load that finds a ".bak" takes it for the content of a save that did not
 * finish, and moves it back in place, whichever port made it; so a program that
 * only loads may also write. A save on the POSIX port does so too. On a port with
 * backups load before you save: there a save deletes the ".bak" of a crash, and
 * the ".bak" that a save could not delete after it had finished is taken for one.
 *
 * On the POSIX port several processes can save, append to and load one file: each
 * does so while the others wait, so no load sees half a save, and no save or
 * append that gave 1 is undone by another's. What a program does between a load
 * and its save is not held together: of two that load, change and save a file, the
 * second to save wins, and the first one's change is gone. Where that matters hold
 * a lock of your own, on a file of your own, from the load to the save.
 *
 * On the POSIX port a file whose content a load could not take, though it is
 * there, is not replaced by a save: see qn_fs_file.h.
 */
#ifndef QNSTACK_QN_FS_FILEBUFFER_H
#define QNSTACK_QN_FS_FILEBUFFER_H

#include <stdint.h>

#include "qnstack/qn_export.h"
#include "qnstack/qn_fs_comm_tools.h"

QN_BEGIN_DECLS

/**
 * @addtogroup files
 * @{
 */

/** A typed file buffer; the record is the caller's. */
typedef struct QNFSBuffer {
  char *data;   /**< the storage, from fnQN_Malloc_Local(): the capacity and one byte more, where
                     the zero byte of the last field may stand */
  int32_t pos;  /**< index of the last byte written or read; -1 at first */
  int32_t last; /**< index of the last usable byte; equal to `pos` once a write did not fit */
} QNFSBuffer;

/**
 * Prepares a record for writing and zeroes its storage.
 *
 * @param record the record, its `data` set; NULL does nothing.
 * @param capacity bytes of storage to use.
 */
QN_API void fnQNFS_Init_Buffer(QNFSBuffer *record, uint32_t capacity);

/**
 * Writes a string field.
 *
 * A field fits if its characters do; its zero byte may stand in the one byte
 * behind the capacity. A field that does not fit is dropped and closes the buffer
 * (`last` becomes `pos`): every later field with a character in it is dropped
 * too.
 *
 * An empty field in a closed buffer is not always dropped. The first one is
 * taken and moves `pos` on by one byte, the second is dropped, the third is
 * taken, and so on, also beyond the end of the storage. A save writes `pos` + 1
 * bytes, so before you save a closed buffer with empty fields in it make the
 * storage that large. (Record files and settings do so themselves.)
 *
 * A field that begins with "\n" loses this character when it is read, unless it
 * is the first field: a "\n" behind a zero byte is read as a line tag.
 *
 * @param record the record; NULL does nothing.
 * @param string the characters; NULL writes an empty field. The string "\n" is
 *        written without a zero byte, as a line tag.
 * @param length number of characters; a negative one writes nothing.
 */
QN_API void fnQNFS_Buffer_WriteString(QNFSBuffer *record, const char *string, int32_t length);

/**
 * Writes raw bytes as a field, under the same rules as
 * fnQNFS_Buffer_WriteString() but always with a zero byte behind them.
 *
 * @param record the record; NULL does nothing.
 * @param block the bytes; NULL writes an empty field.
 * @param length number of bytes; a negative one writes nothing.
 */
QN_API void fnQNFS_Buffer_WriteMem(QNFSBuffer *record, const void *block, int32_t length);

/**
 * Writes a number as a decimal field.
 *
 * @param record the record; NULL does nothing.
 * @param value the number.
 */
QN_API void fnQNFS_Buffer_WriteInteger(QNFSBuffer *record, int32_t value);

/**
 * Writes a number as a decimal field; the same as
 * fnQNFS_Buffer_WriteInteger().
 *
 * @param record the record; NULL does nothing.
 * @param value the number.
 */
QN_API void fnQNFS_Buffer_WriteLong(QNFSBuffer *record, int32_t value);

/**
 * Writes a date and time as a field of seven numbers with ':' between them,
 * cut at 34 characters.
 *
 * @param record the record; NULL does nothing.
 * @param time the date and time.
 */
QN_API void fnQNFS_Buffer_WriteDateTime(QNFSBuffer *record, QNTime time);

/**
 * Writes a line tag.
 *
 * @param record the record; NULL does nothing.
 */
QN_API void fnQNFS_Buffer_WriteLineTag(QNFSBuffer *record);

/**
 * Writes a string field and a line tag.
 *
 * @param record the record; NULL does nothing.
 * @param string terminated string; NULL writes nothing.
 */
QN_API void fnQNFS_Buffer_WriteLine(QNFSBuffer *record, const char *string);

/**
 * Reads the next field as a string, and a line tag behind it. At the end of
 * the buffer it gives empty strings, and `pos` still grows. A field without a
 * zero byte behind it ends with the buffer; if it has only one byte, it is read
 * as an empty field.
 *
 * @param record the record.
 * @return the field, terminated, owned by the caller and released with
 *         fnQN_Free(); NULL for a NULL record or when the heap refuses, in
 *         which case `pos` stays.
 */
QN_API char *fnQNFS_Buffer_ReadString(QNFSBuffer *record);

/**
 * Reads the next field as a number, as fnQN_ATOI() does.
 *
 * @param record the record.
 * @param status receives 0, or -1 on failure; NULL receives nothing.
 * @return the number; 1 on failure (a NULL record, or no memory), so look at
 *         @p status.
 */
QN_API int32_t fnQNFS_Buffer_ReadInteger(QNFSBuffer *record, int32_t *status);

/**
 * Reads the next field as a number; the same as fnQNFS_Buffer_ReadInteger().
 *
 * @param record the record.
 * @param status as for fnQNFS_Buffer_ReadInteger().
 * @return as fnQNFS_Buffer_ReadInteger().
 */
QN_API int32_t fnQNFS_Buffer_ReadLong(QNFSBuffer *record, int32_t *status);

/**
 * Reads the next field as a date and time: seven numbers with ':' between them.
 * Of the field the first 39 characters count, of each number the first 14
 * characters and the low 16 bits.
 *
 * @param record the record.
 * @param flag receives 1 if the value can be a date and time (see
 *        fnQNFS_Time_IsValid()) and also for a NULL record, else 0; NULL
 *        receives nothing.
 * @return the value. A part that is missing is 0, and so is one of the first six
 *         without a ':' behind it. All parts are 0 for a NULL record.
 */
QN_API QNTime fnQNFS_Buffer_ReadDateTime(QNFSBuffer *record, int32_t *flag);

/**
 * Reads raw bytes and the zero byte behind them, and a line tag behind that.
 * The length comes first, unlike in fnQNFS_Buffer_WriteMem().
 *
 * @param record the record; NULL does nothing.
 * @param length number of bytes; a negative one does nothing.
 * @param destination room for @p length bytes; what the buffer does not hold
 *        is filled with zeros. NULL reads nothing, unless @p length is 0.
 */
QN_API void fnQNFS_Buffer_ReadMem(QNFSBuffer *record, int32_t length, void *destination);

/**
 * Tells whether everything has been read or the buffer is closed.
 *
 * @param record the record, or NULL.
 * @return 1 if so, else 0; 0 for NULL.
 */
QN_API int32_t fnQNFS_Buffer_IsEnd(const QNFSBuffer *record);

/**
 * Replaces a file's content by what was written, `pos` + 1 bytes. On a port with
 * backups the old content is kept as ".bak" until that is done. Names below 3
 * characters have no ".bak".
 *
 * @param name file name.
 * @param record the record.
 * @return 1; 0 if an argument is NULL or writing failed. After a failure a load
 *         finds the old content. On a port with backups that needs a ".bak": there
 *         is none if the name is shorter than 3 characters, the heap refused the
 *         longer name, or the old file could not be moved.
 */
QN_API int32_t fnQNFS_Write_Buffer_To_File(const char *name, QNFSBuffer *record);

/**
 * Appends what was written to a file. On a port with backups the old content is
 * moved to ".bak" and copied back before the append; if that copy alone fails, the
 * append starts a new file, and the old content is deleted with the ".bak". On the
 * POSIX port the append fails if the old content cannot be taken along.
 *
 * @param name file name.
 * @param record the record.
 * @return 1; 0 if an argument is NULL or appending failed, with the old content
 *         kept as by fnQNFS_Write_Buffer_To_File().
 */
QN_API int32_t fnQNFS_Append_Buffer_To_File(const char *name, QNFSBuffer *record);

/**
 * Loads a file. If a save left a ".bak" behind, that is first moved to the
 * file's name.
 *
 * @param name file name.
 * @param record the record, prepared for each load by fnQNFS_Init_Buffer() with
 *        the file's size plus 10000 bytes. If the file is larger by then, as a
 *        ".bak" that was moved back may be, the storage is freed and replaced by
 *        a larger one; so it must come from fnQN_Malloc_Local().
 * @return 1; 0 if an argument is NULL, the size is unknown or the POSIX port
 *         cannot put a ".bak" back (the record is then untouched), or reading
 *         failed (the buffer is then empty). Also 1, with an empty buffer, if the
 *         port's read succeeded without a count.
 */
QN_API int32_t fnQNFS_Load_File_To_Buffer(const char *name, QNFSBuffer *record);

/**
 * The name of a file's backup: the name with ".bak" behind it.
 *
 * @param name file name.
 * @return the backup's name, owned by the caller and released with
 *         fnQN_Free(); NULL for NULL, a name below 3 characters, or when the
 *         heap refuses.
 */
QN_API char *fnQNFS_getBak_FileName(const char *name);

/** @} */

QN_END_DECLS

#endif
