/* SPDX-License-Identifier: MIT */
/**
 * @file qn_fs_file.h
 * @brief The file primitives: the only place where the library touches files.
 *
 * This text is the contract for any port: what each function says under
 * "Contract" is what the rest of the library relies on. Two ports come with it.
 * The one in `libqnstack_posix` keeps files. The one in `libqnstack` is inert:
 * the stream operations work, the root directory and the synchronisation
 * callback are kept, and every whole-file operation gives the fixed result that
 * stands under "Inert port" and touches no file. The services above then fail
 * as they do when a file cannot be read or written.
 *
 * Names are strings such as "/wap/ca/x", taken below the root directory.
 * Set the root and the callback once at start, before any file service is
 * used. One thread only.
 *
 * NULL as a name, a mode, an area or a count is a failure in the POSIX port. The
 * inert port gives its fixed result for NULL too.
 *
 * In the POSIX port a write, a copy and a move put the new content in its place in
 * one step: after a failure the old content is there. A copy of a file, and a write
 * that replaces one, need two free descriptors, as fnQNFS_DeleteFile() does; so
 * does a move within one directory, and a move from one to another needs three.
 * A save and a load need two, and three where the name is a symbolic link.
 *
 * While a call of the POSIX port changes the files of a directory, other processes
 * and threads that use the port wait. So do they while a store saves or loads. For
 * that the port takes `flock` on the directory, and a call without a descriptor
 * for it fails and changes nothing. A medium that knows no locks is used without.
 * The synchronisation callback is called when the lock has been given up. A program
 * that holds a lock on the directory itself waits for ever in such a call: take
 * one on a file of your own. What only reads does not wait; a move from one
 * directory to another holds that of the destination.
 *
 * A file that is there though its content could not be read is not written by the
 * POSIX port: from a failed fnQNFS_ReadFromFile() on, or a load of a store that
 * could not take all of it, whatever would write it fails. That ends when it has
 * been read or deleted, or when another root is set. Should this happen to more
 * than 64 files, then all count as such.
 */
#ifndef QNSTACK_QN_FS_FILE_H
#define QNSTACK_QN_FS_FILE_H

#include <stdint.h>
#include <stdio.h>

#include "qnstack/qn_export.h"

QN_BEGIN_DECLS

/**
 * @addtogroup porting
 * @{
 */

/** Bytes for the root directory with its terminator. */
#define QNFS_PATH_BYTES 1024

/** The operation code that the synchronisation callback gets: content was written. */
#define QNFS_CARD_SYN_WRITE 2

/** Seek origins of fnQNFS_File_Seek(); they differ from the order of `SEEK_SET` and its kin. */
enum {
  QNFS_SEEK_BEGIN = 0,  /**< from the beginning */
  QNFS_SEEK_END = 1,    /**< from the end */
  QNFS_SEEK_CURRENT = 2 /**< from the current position; so is any other value */
};

/**
 * Tells the application that a file was written, so that it can synchronise
 * its medium.
 *
 * @param name the file's name as the writer gave it; may be NULL if the writer
 *        gave NULL.
 * @param operation #QNFS_CARD_SYN_WRITE.
 * @return ignored.
 */
typedef int32_t (*QNFSCardSynFile)(const char *name, int32_t operation);

/**
 * A file handle: a heap cell (from `malloc`) that holds a stdio stream. The
 * caller owns it until fnQNFS_File_Close(), which closes the stream and frees
 * the cell.
 */
typedef FILE **QNFSFile;

/**
 * Sets the root directory under which all names are taken.
 *
 * @param path the directory, below 1024 bytes; it is copied. NULL or a longer
 *        one leaves the root empty.
 * @return the library's copy, which is always 1024 bytes with zeros behind the
 *         text; not to be freed or written.
 */
QN_API char *fnQNFS_SetFullPath(const char *path);

/**
 * Installs the synchronisation callback.
 *
 * @param callback called as each write operation says; NULL for none.
 */
QN_API void fnQNFS_SetCardSynFileFunc(QNFSCardSynFile callback);

/**
 * Tells whether a file exists.
 *
 * @param name file name.
 * @return Contract: above 0 if it exists; 0 if not, and for NULL. Inert port: 0.
 */
QN_API int32_t fnQNFS_isFileExisted(const char *name);

/**
 * Creates a directory.
 *
 * @param path directory name; the HTTP cache passes "/wap/ca/".
 * @return Contract: 1 when it is there; 0 on failure, and for NULL. Inert port:
 *         0.
 */
QN_API int32_t fnQNFS_MkDir(const char *path);

/**
 * Opens a file as a stream.
 *
 * @param name file name; not read by the inert port.
 * @param mode one of the modes of `fopen` "r", "r+", "w", "w+", "a" and "a+",
 *        each with or without a 'b' behind its first letter. The POSIX port
 *        takes no other letter: "rt", "wx", "we" and "r+e" give NULL. Not read
 *        by the inert port.
 * @return Contract: a new handle; NULL on failure, and for a NULL argument.
 *         Inert port: NULL.
 */
QN_API QNFSFile fnQNFS_File_Open(const char *name, const char *mode);

/**
 * Writes to a stream: @p count elements of @p size × @p count bytes each.
 *
 * The call writes size × count × count bytes, so @p data must hold that many;
 * pass a @p count of 1 to write @p size bytes. Callers rely on this, so it
 * stays. The product size × count is taken in 32 bits.
 *
 * @param data the bytes.
 * @param size first factor of the element size.
 * @param count second factor of the element size, and number of elements.
 * @param handle an open handle.
 * @return the number of elements written; 0 when size × count is 0; -1 if
 *         nothing was written, or for NULL as @p data, as @p handle or as its
 *         stream.
 */
QN_API int32_t fnQNFS_File_Write(const void *data, uint32_t size, uint32_t count, QNFSFile handle);

/**
 * Reads up to @p size × @p count bytes from a stream.
 *
 * @param buffer room for that many bytes.
 * @param size first factor of the byte count.
 * @param count second factor of the byte count.
 * @param handle an open handle.
 * @return the number of bytes read; 0 if none was and @p size is 0; -1 if none
 *         was read otherwise (the end of the file and a @p count of 0
 *         included), or for NULL as @p buffer, as @p handle or as its stream.
 */
QN_API int32_t fnQNFS_File_Read(void *buffer, uint32_t size, uint32_t count, QNFSFile handle);

/**
 * Moves a stream's position.
 *
 * @param handle an open handle.
 * @param origin #QNFS_SEEK_BEGIN, #QNFS_SEEK_END or #QNFS_SEEK_CURRENT; any
 *        other value counts from the current position.
 * @param offset bytes from there.
 * @return what `fseek` gives: 0, or -1 on failure; -1 for NULL as @p handle or
 *         as its stream.
 */
QN_API int32_t fnQNFS_File_Seek(QNFSFile handle, int32_t origin, int32_t offset);

/**
 * Closes a stream and frees its handle.
 *
 * @param handle the handle, not to be used again; NULL does nothing, and one
 *        whose stream is NULL is only freed.
 */
QN_API void fnQNFS_File_Close(QNFSFile handle);

/**
 * Size of a file.
 *
 * @param name file name.
 * @return Contract: the size in bytes; -1 when it is unknown, as for NULL. Inert
 *         port: 0.
 */
QN_API int32_t fnQNFS_getFileSize(const char *name);

/**
 * Copies a file. The destination comes first.
 *
 * @param destination name of the copy.
 * @param source name of the file.
 * @return Contract: 1; 0 on failure, and for a NULL argument. Inert port: 0.
 */
QN_API int32_t fnQNFS_CopyFile(const char *destination, const char *source);

/**
 * Moves a file over another. The destination comes first.
 *
 * @param destination the new name.
 * @param source the old name.
 * @return Contract: 1; 0 on failure, and for a NULL argument. Inert port: 0.
 */
QN_API int32_t fnQNFS_MoveFile(const char *destination, const char *source);

/**
 * Deletes a file.
 *
 * @param name file name.
 * @return Contract: 1; 0 on failure, and for NULL. Inert port: 1.
 */
QN_API int32_t fnQNFS_DeleteFile(const char *name);

/**
 * Deletes every file in a directory, but no directory.
 *
 * @param path directory name; the HTTP cache passes "/wap/ca/".
 * @return Contract: 1; 0 on failure, and for NULL. Inert port: 1.
 */
QN_API int32_t fnQNFS_DelAllFiles(const char *path);

/**
 * Removes a directory.
 *
 * @param path directory name.
 * @return Contract: 1; 0 on failure, and for NULL. Inert port: 1.
 */
QN_API int32_t fnQNFS_RmDir(const char *path);

/**
 * Creates every directory along a path: at each '/', the one before it.
 *
 * @param path the path, below 1024 bytes; or NULL.
 * @return Contract: the length of the path in bytes; 0 for NULL, and on failure.
 *         Inert port: the length, with nothing created.
 */
QN_API uint32_t fnQNFS_File_CreateDir(const char *path);

/**
 * Reads a whole file.
 *
 * @param name file name.
 * @param maximum the most bytes to read.
 * @param destination room for @p maximum bytes.
 * @param count Contract: receives the number of bytes read. Inert port: not
 *        written.
 * @return Contract: 0; anything else is failure, as for a NULL argument. Inert
 *         port: -1.
 */
QN_API int32_t fnQNFS_ReadFromFile(const char *name, int32_t maximum, void *destination,
                                   int32_t *count);

/**
 * Replaces a file's content.
 *
 * @param data the bytes; stay the caller's. NULL fails also with a length of 0:
 *        to empty a file hand in "".
 * @param length number of bytes.
 * @param name file name.
 * @return Contract: the number of bytes written, with the callback called as
 *         (name, 2) afterwards; -1 on failure, and for a NULL argument. Inert
 *         port: -1, with the callback, if one is installed, called as (name, 2)
 *         whatever the arguments are.
 */
QN_API int32_t fnQNFS_WriteToFile(const void *data, int32_t length, const char *name);

/**
 * Appends to a file.
 *
 * @param data the bytes; stay the caller's. NULL fails also with a length of 0.
 * @param length number of bytes.
 * @param name file name.
 * @return Contract: the number of bytes written, with the callback called as
 *         (name, 2) afterwards; -1 on failure, and for a NULL argument. Inert
 *         port: -1. Its callback, if one is installed, is called only when
 *         @p data or @p name is NULL. That is the reverse of what one would
 *         expect; it is kept for callers that rely on it.
 */
QN_API int32_t fnQNFS_AppendToFile(const void *data, int32_t length, const char *name);

/**
 * Writes bytes at a position of a file.
 *
 * @param data the bytes; not read by the inert port.
 * @param length number of bytes; not read by the inert port.
 * @param position byte offset in the file; not read by the inert port.
 * @param name file name; not read by the inert port.
 * @return Contract: the number of bytes written; -1 on failure, and for a NULL
 *         argument. Inert port: -1.
 */
QN_API int32_t fnQNFS_WriteToFileAtPos(const void *data, int32_t length, int32_t position,
                                       const char *name);

/**
 * Reads bytes at a position of a file.
 *
 * @param name file name; not read by the inert port.
 * @param position byte offset in the file; not read by the inert port.
 * @param length the most bytes to read; not read by the inert port.
 * @param destination room for @p length bytes; not written by the inert port.
 * @return Contract: the number of bytes read; -1 on failure, and for a NULL
 *         argument. Inert port: -1.
 */
QN_API int32_t fnQNFS_ReadFromFileAtPos(const char *name, int32_t position, int32_t length,
                                        void *destination);

/** @} */

QN_END_DECLS

#endif
