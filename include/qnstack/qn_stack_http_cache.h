/* SPDX-License-Identifier: MIT */
/**
 * @file qn_stack_http_cache.h
 * @brief The HTTP cache: bodies in files below "/wap/ca/", an index of them in
 *        "/wap/ca/ca.txt", and the rules for what is kept and for how long.
 *
 * The application calls it around its transfers; the HTTP client does not.
 * Before a request: fnQNStack_Cache_FindbyUrl_NoExpired() and, on a hit,
 * fnQNStack_Cache_LoadFileToBuffer(). After an answer:
 * fnQNStack_Cache_InitTime(), fnQNStack_Cache_ParseCacheTime() for each header
 * line, fnQNStack_Cache_getExpired(), and fnQNStack_Cache_Save() unless that
 * gave -1.
 *
 * Times are the signed seconds of qn_fs_comm_tools.h. "Now" and the dates of
 * headers are not on one basis there, and are compared here as they are. What
 * follows from that:
 *
 * - An answer with "Expires:" is fresh for some sixty years, whatever its date
 *   says; so is one with "Date:" and an earlier day in "Last-Modified:".
 * - An answer with "max-age=" is fresh as long as it says, except that "now"
 *   steps at the end of a month: back by up to 31 days, forward by up to 30, and
 *   by an hour at the ends of summer time.
 * - These dates count for nothing: those of the year 1970, those from 19 January
 *   2038 to 6 February 2106, and every text that is not in the form of RFC 1123.
 *   Earlier and later years are taken for some other time, or for none.
 *
 * One index for the process; one thread only. A look-up or save reads the index
 * file first, and that may write: see fnQNFS_Load_File_To_Buffer().
 *
 * A URL never gets the body of another, also not after a crash or a write of the
 * index that failed: no body gets a number that the index on disk may name. The
 * number of a body that is deleted is free again once the index has been written.
 */
#ifndef QNSTACK_QN_STACK_HTTP_CACHE_H
#define QNSTACK_QN_STACK_HTTP_CACHE_H

#include <stdint.h>

#include "qnstack/qn_export.h"
#include "qnstack/qn_list.h"

QN_BEGIN_DECLS

/**
 * @addtogroup cache
 * @{
 */

/** One cached answer; the element of the index. */
typedef struct QNCacheEntry {
  char *url;         /**< the URL exactly as given when saved; owned by the entry */
  char *label;       /**< the caller's text, "NULL" if there was none; owned by the entry */
  int32_t file_no;   /**< the body's file is "/wap/ca/" followed by this number */
  int32_t size;      /**< length of the body in bytes */
  int32_t expires;   /**< time after which the entry is stale */
  int32_t stored_at; /**< time of saving */
  int32_t tag;       /**< the caller's number */
} QNCacheEntry;

/**
 * Makes the cache's folder and loads the index unless it is loaded. The
 * counters are not made; see fnQNStack_Cache_Init().
 *
 * @return 1; 0 when the heap refuses the list.
 */
QN_API int32_t fnQNStack_LoadCache_To_List(void);

/** Loads the index unless it is loaded, and counts its entries and bytes. Call it at start. */
QN_API void fnQNStack_Cache_Init(void);

/** Releases the index in memory; the files stay, and the counters keep their values. */
QN_API void fnQNStack_Cache_Free(void);

/**
 * The index, most recently saved or used first; loaded if it is not.
 *
 * @return the list of #QNCacheEntry, owned by the cache; NULL when the heap
 *         refuses it.
 */
QN_API QNList *fnQNFS_http_cache_list(void);

/**
 * Reads a body.
 *
 * @param file_no the entry's `file_no`.
 * @param destination room for @p maximum bytes; NULL is a failure.
 * @param maximum the most bytes to read; take the length from the entry's
 *        `size`.
 * @return 0 (not a length); anything else is failure.
 */
QN_API int32_t fnQNStack_Cache_LoadFileToBuffer(int32_t file_no, void *destination,
                                                int32_t maximum);

/**
 * Deletes all bodies and writes an empty index. The counters keep their values
 * until fnQNStack_Cache_Init() counts again; call it next, for with the old
 * counters a save can find no room in the empty cache.
 *
 * @return 1; 0 if the index could not be held or written.
 */
QN_API int32_t fnQNStack_Cache_Delete_All(void);

/** Starts on a new answer: it may be kept, and nothing is known of its lifetime. */
QN_API void fnQNStack_Cache_InitTime(void);

/**
 * Takes one header line of an answer: "Date:", "Last-Modified:", "Expires:",
 * "Age:" (as a lifetime), "Cache-Control:" (its "max-age=" and "no-cache") and
 * "Pragma:" (its "no-cache") count, in any case.
 *
 * @param line name and value, terminated; NULL counts for nothing.
 * @return 0; -1 when the answer must not be kept, or none was started.
 */
QN_API int32_t fnQNStack_Cache_ParseCacheTime(const char *line);

/**
 * When the answer expires: at its "Expires:" if that is a date that counts, also
 * where there is a "max-age="; else after its lifetime; else after 3000 seconds
 * if it was modified on the day of its "Date:"; else at "Date:" plus a tenth of
 * the time since "Last-Modified:" (the heuristic of RFC 7234, section 4.2.2).
 *
 * @return the time; -1 when it must not be kept.
 */
QN_API int32_t fnQNStack_Cache_getExpired(void);

/**
 * Saves an answer in front of the index and writes the index.
 *
 * Before that, entries that expire within 99 seconds are thrown out, and then the
 * oldest ones until there is room: at most 199 entries and 1 MiB by the counters,
 * which count from fnQNStack_Cache_Init() on. The new entry's own expiry is not
 * looked at before the next save.
 *
 * A URL that is saved again loses its old body at once. Its old entry stays behind
 * the new one until it is thrown out, and is taken off the counters twice. So the
 * list grows with every save of the same URL until fnQNStack_Cache_Init() counts
 * anew.
 *
 * The index file grows by 10000 bytes at most in a save. An entry whose URL and
 * label have more than about 9900 bytes together loses its numbers, or empties
 * the index. A label of "\n" is written as a line tag, so that the next load reads
 * every field from there on as the one before it.
 *
 * While the index file is there and could not be loaded whole, nothing is saved and
 * nothing thrown out. fnQNStack_Cache_Free() lets the next call load it again, and
 * fnQNStack_Cache_Delete_All() does without it.
 *
 * @param url the key; copied, and may be that of an entry. NULL is refused.
 * @param label any text, copied; NULL is kept as "NULL".
 * @param body the body; stays the caller's, and may be a string of an entry. NULL
 *        fails also with a length of 0: for an empty body hand in "".
 * @param length its length in bytes.
 * @param expires from fnQNStack_Cache_getExpired().
 * @param tag any number.
 * @return 1, also when the index could not be written; 0 if @p url is NULL, there
 *         is no room, the heap refuses, the index could not be loaded, the body
 *         could not be written, or no number is left for it (that takes ten
 *         thousand saves since the index could last be written). Entries thrown
 *         out by then stay out; the index file tells so after the next save that
 *         succeeds.
 */
QN_API int32_t fnQNStack_Cache_Save(const char *url, const char *label, const void *body,
                                    int32_t length, int32_t expires, int32_t tag);

/**
 * Finds an entry, fresh or stale.
 *
 * @param url the key; compared exactly.
 * @return the entry, owned by the cache until it is thrown out or the index is
 *         released; NULL if there is none, and for a NULL URL. Its body may be
 *         gone already, so a failed fnQNStack_Cache_LoadFileToBuffer() counts as
 *         a miss.
 */
QN_API QNCacheEntry *fnQNStack_Cache_FindbyUrl(const char *url);

/**
 * Finds an entry that is still fresh. A hit among the first hundred moves to
 * the front and the index is written.
 *
 * @param url the key; compared exactly.
 * @return as fnQNStack_Cache_FindbyUrl(); NULL for a stale entry too.
 */
QN_API QNCacheEntry *fnQNStack_Cache_FindbyUrl_NoExpired(const char *url);

/**
 * Stores a mode for the application's own use.
 *
 * @param mode any number.
 */
QN_API void fnQNStack_Cache_setMode(int32_t mode);

/**
 * The mode stored last.
 *
 * @return the mode; 2 at first.
 */
QN_API int32_t fnQNStack_Cache_getState(void);

/**
 * Finds a string in another, ignoring the case of ASCII letters; no memory is
 * allocated.
 *
 * @param haystack terminated string, or NULL.
 * @param needle terminated string, or NULL; an empty one is found at once.
 * @return the first match inside @p haystack; NULL when there is none or an
 *         argument is NULL.
 */
QN_API char *stristr(const char *haystack, const char *needle);

/**
 * The number of a month in an HTTP date (RFC 1123).
 *
 * @param name "Jan" to "Dec", exactly so; or NULL.
 * @return 1 to 12; -1 for anything else, "jan" and "January" included.
 */
QN_API int32_t fnQNStack_getMonth(const char *name);

/** @} */

QN_END_DECLS

#endif
