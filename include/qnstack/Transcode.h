/**
 * @file Transcode.h
 * @brief Text in the character sets of multimedia messages, to UTF-8 and back.
 *
 * The converters write into areas that they do not check; each says how much
 * room it needs. They report nothing: what cannot be decoded is taken by the
 * bit rules given here. Where these rules are not Unicode's (RFC 3629,
 * RFC 2781) the function says so; readers have always seen those bytes, so
 * they stay. None waits for a terminator in its source: the length alone
 * counts, and a negative one counts as an empty text.
 */
#ifndef QNSTACK_TRANSCODE_H
#define QNSTACK_TRANSCODE_H

#include <stdint.h>

#include "qnstack/qn_export.h"

QN_BEGIN_DECLS

/**
 * @addtogroup containers
 * @{
 */

/** Character sets that fnCharSet_DecodeString2Local() knows, by IANA MIBenum. */
enum {
  QN_CHARSET_US_ASCII = 3, /**< US-ASCII, taken as it is */
  QN_CHARSET_LATIN1 = 4,   /**< ISO-8859-1 */
  QN_CHARSET_UTF8 = 106,   /**< UTF-8, taken as it is */
  QN_CHARSET_UCS2 = 1000,  /**< ISO-10646-UCS-2, with a byte-order mark */
  QN_CHARSET_UTF16 = 1015  /**< UTF-16, big-endian unless a mark says otherwise */
};

/**
 * Converts big-endian UCS-2 bytes to UTF-8.
 *
 * Of characters from U+0400 to U+07FF the lead byte loses one bit (U+0410
 * gives C0 90). Surrogates are encoded one by one.
 *
 * @param src the bytes; NULL converts nothing.
 * @param len their number. With an odd one you vouch for one byte more: it is
 *        read as the second byte of the last unit.
 * @param out room for 3 bytes per started pair and 1 more; terminated. NULL
 *        converts nothing.
 */
QN_API void BigEndianUCS2toUTF8(const void *src, int32_t len, char *out);

/**
 * Converts little-endian UCS-2 bytes to UTF-8, as BigEndianUCS2toUTF8() does.
 *
 * @param src the bytes; NULL converts nothing.
 * @param len their number; an odd one as for BigEndianUCS2toUTF8().
 * @param out as for BigEndianUCS2toUTF8().
 */
QN_API void LitEndianUCS2toUTF8(const void *src, int32_t len, char *out);

/**
 * Converts UCS-2 units to UTF-8. Surrogates are encoded one by one.
 *
 * @param src the units in the machine's order; NULL converts nothing.
 * @param count their number (not of bytes).
 * @param out room for 3 bytes per unit and 1 more; terminated. NULL converts
 *        nothing.
 */
QN_API void UCS2toUTF8(const uint16_t *src, int32_t count, char *out);

/**
 * Converts UCS-4 values to UTF-8.
 *
 * Values above U+1FFFF take five bytes and above U+3FFFF six, unlike RFC 3629
 * (U+20000 gives F8 80 A0 80 80).
 *
 * @param src the values; NULL converts nothing.
 * @param count their number.
 * @param out room for 6 bytes per value and 1 more; terminated. NULL converts
 *        nothing.
 */
QN_API void UCS4toUTF8(const uint32_t *src, int32_t count, char *out);

/**
 * Converts UTF-8 to UCS-2 units.
 *
 * Following bytes are not checked, stray ones lead a pair, four-byte leads are
 * taken for three-byte ones, and a sequence cut by the end is skipped byte by
 * byte.
 *
 * @param src the bytes; NULL converts nothing.
 * @param len their number.
 * @param out room for one unit per byte and 1 more; terminated by a 0 unit.
 *        NULL converts nothing.
 */
QN_API void UTF8toUCS2(const char *src, int32_t len, uint16_t *out);

/**
 * Converts UTF-16 bytes to UCS-4 values.
 *
 * The order is big-endian unless the text starts with FF FE. A mark in order
 * is dropped wherever it stands, one out of order is dropped and switches the
 * order. The conversion ends at a surrogate that has no partner.
 *
 * @param src the bytes; NULL converts nothing.
 * @param len their number; an odd last byte is not looked at.
 * @param out room for one value per pair and 1 more; terminated by a 0 value.
 *        NULL converts nothing.
 * @return the number of values, without the terminator.
 */
QN_API int32_t UTF16toUCS4(const void *src, int32_t len, uint32_t *out);

/**
 * Decodes a text to UTF-8, by the rules of the converters above: set 1000 as
 * the byte streams of UCS-2, so that U+0400 to U+07FF lose a bit; set 1015 as
 * UTF16toUCS4() and UCS4toUTF8(), so that the text ends at a surrogate without
 * a partner and values above U+1FFFF take five or six bytes. Nothing behind
 * @p len bytes is read: where a text in set 1000 ends within a unit, its second
 * byte counts as 0.
 *
 * @param charset an IANA MIBenum; a set that is not known is taken as it is.
 *        Set 1000 needs a byte-order mark.
 * @param src the text; stays the caller's.
 * @param len in: its length in bytes; out: the length of the result up to its
 *        first zero byte. Untouched when the result is NULL.
 * @return the terminated result, zero-filled behind its end, owned by the caller
 *         and released with fnCharSet_CharSetFreeStringBuf(); NULL for a NULL @p src or @p len, a
 *         length below 1, set 1000 without a mark, or when the heap refuses.
 */
QN_API char *fnCharSet_DecodeString2Local(uint32_t charset, const void *src, int32_t *len);

/**
 * Releases what fnCharSet_DecodeString2Local() gave.
 *
 * @param buf the buffer, not to be used again; NULL does nothing.
 */
QN_API void fnCharSet_CharSetFreeStringBuf(char *buf);

/** @} */

QN_END_DECLS

#endif
