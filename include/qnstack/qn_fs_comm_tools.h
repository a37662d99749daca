/* SPDX-License-Identifier: MIT */
/**
 * @file qn_fs_comm_tools.h
 * @brief Date and time, timers, logging, and small tools of the file services.
 *
 * Time comes in two forms: the broken-down #QNTime, and "julian seconds", an
 * unsigned 32-bit count that JULIANTOSECONDS() makes and GETJULIANDATE() reads
 * back. The two are not exact inverses, and the clock readers feed the
 * system's raw fields (years since 1900, months from 0) into the first. Values
 * that programs have stored were made by these same functions, so the functions
 * stay as they are, also where they disagree with the civil calendar:
 *
 * - "Now" (GETTIMESECONDS() and all that is made of it) is negative until 2029
 *   and does not always grow: at the end of a month it steps back or forward by
 *   up to a month. It is local time, so it also follows summer time.
 * - A date that was parsed lies about 60 years ahead of "now" of the same instant.
 *
 * The clock readers and the cache read the time zone once in a process. A zone
 * that changes later counts only after the program calls `tzset()`.
 */
#ifndef QNSTACK_QN_FS_COMM_TOOLS_H
#define QNSTACK_QN_FS_COMM_TOOLS_H

#include <stdint.h>

#include "qnstack/qn_export.h"
#include "qnstack/qn_list.h"

QN_BEGIN_DECLS

/**
 * @addtogroup files
 * @{
 */

/** A broken-down date and time. */
typedef struct QNTime {
  uint32_t year;   /**< full year from the parsers; years since 1900 from the clock readers */
  uint32_t month;  /**< 1 to 12; 0 to 11 from the clock readers */
  uint32_t day;    /**< day of the month, from 1 */
  uint32_t hour;   /**< 0 to 23 */
  uint32_t minute; /**< 0 to 59 */
  uint32_t second; /**< 0 to 59 */
  uint32_t extra;  /**< week of the year from GETJULIANDATE(); 0 from the clock readers */
} QNTime;

/** For the application's use, as in timing a run; 0 at start, never touched by the library. */
extern QN_API uint32_t start_time;
/** For the application's use, beside #start_time. */
extern QN_API uint32_t end_time;

/**
 * Converts a date and time to julian seconds.
 *
 * The count starts at 1969-12-31 00:00:00, for the day is added as it stands.
 * The years are walked downwards in 16 bits until 1970 has been added. A year of
 * 1970 or less wraps to 65535 on the way and so counts some 64 thousand years
 * more; "now" is made in this way.
 *
 * @param t the date; `extra` is not read. A month of 0 adds no months, one
 *        above 13 all twelve.
 * @return the count, wrapped to 32 bits; 0 for NULL.
 */
QN_API uint32_t JULIANTOSECONDS(const QNTime *t);

/**
 * Converts julian seconds to a date and time.
 *
 * On the first day of 1971 and of every fourth year from there, as counted
 * here, nothing is written: clear the record before the call.
 *
 * @param seconds the count.
 * @param t receives all seven fields, `extra` the week of the year; NULL
 *        receives nothing.
 */
QN_API void GETJULIANDATE(uint32_t seconds, QNTime *t);

/**
 * "Now": julian seconds of the current local time's raw fields.
 *
 * @return the count read as signed; the top of this file says how it differs
 *         from a calendar.
 */
QN_API int32_t GETTIMESECONDS(void);

/**
 * "Now" in milliseconds.
 *
 * @return GETTIMESECONDS() times 1000, wrapped to 32 bits.
 */
QN_API uint32_t GETTIMEMS(void);

/**
 * The same as GETTIMEMS().
 *
 * @return milliseconds, wrapped to 32 bits.
 */
QN_API uint32_t fnQNFS_GetTimems(void);

/**
 * The same as GETTIMESECONDS().
 *
 * @return seconds.
 */
QN_API int32_t fnQNFS_getLocalTime(void);

/**
 * A number made of the clock; two calls within a second give the same.
 *
 * @return GETTIMESECONDS() modulo 10000 with its sign, so mostly negative.
 */
QN_API int32_t fnQNFS_getRandom(void);

/**
 * Fills an area with pseudo-random bytes. Seeds the C library's generator with
 * the current time, so two calls within a second give the same bytes; never
 * use them as a secret.
 *
 * @param buf the area, or NULL, which does nothing.
 * @param n its size in bytes.
 */
QN_API void GETRAND(void *buf, uint32_t n);

/**
 * Reads the date of an HTTP header, as in "Sun, 06 Nov 1994 08:49:37 GMT"
 * (RFC 1123).
 *
 * The weekday and the time of day must be there but count for nothing. A word
 * ends at its 19th character at the latest, and what follows is read on.
 *
 * @param text terminated string, or NULL.
 * @return julian seconds of that day at 00:00:00; -1 if the text has fewer
 *         than five parts or its month is not one of "Jan" to "Dec".
 */
QN_API int32_t parse_date_str(const char *text);

/**
 * Writes a date in the manner of an HTTP header, as in
 * "Mon, 6 Jan 2009 -5:7:9 GMT".
 *
 * It shifts the hour by -8 without touching the day, pads no number, and takes
 * the name of the weekday from the week of the year. Readers of this text rely
 * on that, so it stays. From week 19 on the name is empty. Where GETJULIANDATE()
 * writes nothing, the text is "Mon, 0  0 -8:0:0 GMT".
 *
 * @param seconds julian seconds.
 * @param out receives the terminated text; 48 bytes do.
 * @return the length of the text; 0 for a NULL @p out.
 */
QN_API int32_t date_to_httpDate(uint32_t seconds, char *out);

/**
 * Sets all fields of a record to 0.
 *
 * @param t the record, or NULL, which does nothing.
 */
QN_API void fnQNFS_InitTimeStructure(QNTime *t);

/**
 * Stores all fields of a record.
 *
 * @param t the record, or NULL, which does nothing.
 * @param year stored as it is.
 * @param month stored as it is.
 * @param day stored as it is.
 * @param hour stored as it is.
 * @param minute stored as it is.
 * @param second stored as it is.
 * @param extra stored as it is.
 */
QN_API void fnQNFS_CopyTime(QNTime *t, uint32_t year, uint32_t month, uint32_t day, uint32_t hour,
                            uint32_t minute, uint32_t second, uint32_t extra);

/**
 * Number of days in a month.
 *
 * @param t `year` and `month` are read.
 * @return 28 to 31; 0 for NULL or a month outside 1 to 12.
 */
QN_API uint32_t fnQNFS_DaysInMonth(const QNTime *t);

/**
 * Tells whether a date and time can be one. Month and day have no upper bound.
 *
 * @param year above 0.
 * @param month above 0.
 * @param day above 0.
 * @param hour up to 23.
 * @param minute up to 59.
 * @param second up to 59.
 * @return 1 if so, else 0.
 */
QN_API int32_t fnQNFS_Time_IsValid(uint32_t year, uint32_t month, uint32_t day, uint32_t hour,
                                   uint32_t minute, uint32_t second);

/**
 * Reads the local time: the system's raw fields, with `extra` 0. All are 0 if the
 * system cannot tell them.
 *
 * @param t receives them; NULL receives nothing.
 * @return @p t.
 */
QN_API QNTime *fnQNFS_LocalTime(QNTime *t);

/**
 * The same as fnQNFS_LocalTime().
 *
 * @param t receives the local time; NULL receives nothing.
 * @return @p t.
 */
QN_API QNTime *fnQNFS_SysTime(QNTime *t);

/**
 * Converts single fields to seconds. Of each field the low 16 bits count.
 *
 * @param year as for JULIANTOSECONDS(), like all six.
 * @param month as above.
 * @param day as above.
 * @param hour as above.
 * @param minute as above.
 * @param second as above.
 * @param unused not read.
 * @param mode 0 for julian seconds; 1 adds 315964800, the seconds from 1970 to
 *        1980-01-06.
 * @return the seconds, wrapped to 32 bits; 0 for any other mode.
 */
QN_API uint32_t fnQNFS_RealTime_To_Seconds(uint32_t year, uint32_t month, uint32_t day,
                                           uint32_t hour, uint32_t minute, uint32_t second,
                                           uint32_t unused, int32_t mode);

/**
 * Advances a date and time in place; `extra` is not touched.
 *
 * @param t the record, with fields in their ranges; NULL does nothing.
 * @param seconds how far.
 */
QN_API void fnQNFS_TimeAdd(QNTime *t, uint32_t seconds);

/**
 * What a timer calls.
 *
 * @param argument the one given with the timer.
 * @return handed on by fnQNFS_TimerCallback().
 */
typedef intptr_t (*QNFSTimerFunction)(intptr_t argument);

/**
 * Would start a timer; this port starts none.
 *
 * @param id the timer's number; not read.
 * @param milliseconds the interval; not read.
 * @param function what to call; not read, so NULL is fine.
 * @param argument what to call it with; not read.
 * @return always 1.
 */
QN_API int32_t fnQNFS_SetTimer(uint32_t id, uint32_t milliseconds, QNFSTimerFunction function,
                               intptr_t argument);

/**
 * Would stop a timer; does nothing in this port.
 *
 * @param id the timer's number; not read.
 */
QN_API void fnQNFS_CancelTimer(uint32_t id);

/** Would release all timers; does nothing in this port. */
QN_API void fnQNFS_ReleaseTimerList(void);

/**
 * Calls the function of the first timer with a number; the timer stays.
 *
 * @param id the timer's number.
 * @return the function's result; 0 if there is no such timer or it has no
 *         function.
 */
QN_API intptr_t fnQNFS_TimerCallback(uint32_t id);

/**
 * What fnQNFS_CallBackOper() calls.
 *
 * @param context the record's context.
 * @param a1 handed on, like the six behind it.
 * @param a2 see @p a1.
 * @param a3 see @p a1.
 * @param a4 see @p a1.
 * @param a5 see @p a1.
 * @param a6 see @p a1.
 * @param a7 see @p a1.
 * @return handed back.
 */
typedef intptr_t (*QNFSCallBackFunction)(intptr_t context, intptr_t a1, intptr_t a2, intptr_t a3,
                                         intptr_t a4, intptr_t a5, intptr_t a6, intptr_t a7);

/** A function with its context, behind four words of the record's owner. */
typedef struct QNFSCallBack {
  intptr_t owner[4];             /**< the owner's; never read here */
  QNFSCallBackFunction function; /**< called; NULL calls nothing */
  intptr_t context;              /**< its first argument */
} QNFSCallBack;

/**
 * Calls a record's function with its context and seven more arguments.
 *
 * @param record the record, or NULL.
 * @param a1 handed on unchanged, like the six behind it.
 * @param a2 see @p a1.
 * @param a3 see @p a1.
 * @param a4 see @p a1.
 * @param a5 see @p a1.
 * @param a6 see @p a1.
 * @param a7 see @p a1.
 * @return the function's result; 0 if there is no record or no function.
 */
QN_API intptr_t fnQNFS_CallBackOper(const QNFSCallBack *record, intptr_t a1, intptr_t a2,
                                    intptr_t a3, intptr_t a4, intptr_t a5, intptr_t a6,
                                    intptr_t a7);

/**
 * Sets the source path and line that the next log text is about.
 *
 * @param path source path, copied; what stands before its last backslash is
 *        dropped. NULL clears the path.
 * @param line source line.
 */
QN_API void fnQNFS_printLog_param(const char *path, int32_t line);

/**
 * Would write a log text; writes nothing in this port.
 *
 * @param format as for `printf`; not read, so NULL is fine.
 */
QN_API void fnQNFS_printLog(const char *format, ...) QN_PRINTF_LIKE(1, 2);

/**
 * Decodes percent escapes (RFC 3986, section 2.1) in place.
 *
 * An escape whose digits are no hexadecimal ones becomes the byte 0xFF, "%00"
 * stays, '+' stays, and a decoded '%' is not decoded again. One or two
 * characters of an escape at the end of the string stay as they are.
 *
 * @param s terminated string, or NULL.
 * @return 0; -1 for NULL.
 */
QN_API int32_t fnQNFS_URL_ZM(char *s);

/**
 * Reads a string as decimal digits, without looking at them: every character
 * counts by its distance from '0', so "1a" is 59. Use fnQN_ATOI() to read a
 * number with a sign.
 *
 * @param s terminated string, or NULL.
 * @return the sum, wrapped to 32 bits; 0 for NULL.
 */
QN_API int32_t fnQNFS_StrToLong(const char *s);

/**
 * The same as GETRAND().
 *
 * @param buf the area, or NULL, which does nothing.
 * @param n its size in bytes.
 */
QN_API void fnQNFS_getPseudoRandom(void *buf, uint32_t n);

/**
 * Position of an element, by identity.
 *
 * @param list the list, or NULL.
 * @param data the element's pointer, or NULL.
 * @return the 0-based position of the first node that holds it; -1 if none
 *         does or an argument is NULL.
 */
QN_API int32_t fnQNFS_List_getPos(const QNList *list, const void *data);

/**
 * Brings an element to the front; it gets a new node there.
 *
 * @param list the list, or NULL.
 * @param data the element's pointer, or NULL.
 * @return 0; -1 if an argument is NULL, the element is not in the list, or the
 *         heap refuses the new node (the list is then unchanged).
 */
QN_API int32_t fnQNFS_List_MoveToHead(QNList *list, void *data);

/** @} */

QN_END_DECLS

#endif
