/* SPDX-License-Identifier: MIT */
/**
 * @file Transcode.h
 * @brief Text in the character sets of multimedia messages, to UTF-8 and back.
 *
 * The converters do not check the size of the area they write to; each says how
 * much room it needs. They report no errors: what is not valid text is converted
 * by the bit rules given here. Where these rules are not those of Unicode
 * (RFC 3629, RFC 2781) the function says so; programs rely on those bytes, so
 * they stay. The length alone ends the source, not a terminator, and a negative
 * length counts as 0.
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
  QN_CHARSET_US_ASCII = 3, /**< US-ASCII; copied */
  QN_CHARSET_LATIN1 = 4,   /**< ISO-8859-1 */
  QN_CHARSET_UTF8 = 106,   /**< UTF-8; copied */
  QN_CHARSET_UCS2 = 1000,  /**< ISO-10646-UCS-2, with a byte-order mark */
  QN_CHARSET_UTF16 = 1015  /**< UTF-16, big-endian unless a mark says otherwise */
};

/**
 * Converts big-endian UCS-2 bytes to UTF-8.
 *
 * In characters from U+0400 to U+07FF the lead byte loses one bit (U+0410
 * gives C0 90). Surrogates are encoded one by one.
 *
 * @param src the bytes; NULL converts nothing.
 * @param len their number. An odd number reads one byte more: the byte behind
 *        the last one completes its pair, so it must be there.
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
 * Nothing is checked: any byte may follow a lead byte, a continuation byte
 * without a lead byte begins a pair, and a four-byte sequence is read as one of
 * three bytes. A sequence that the end cuts off is skipped byte by byte.
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
 * The order is big-endian unless the text starts with FF FE. Byte-order marks
 * are dropped wherever they stand; one in the other order also switches the
 * order. The conversion ends at a surrogate that has no partner.
 *
 * @param src the bytes; NULL converts nothing.
 * @param len their number; an odd last byte is not looked at.
 * @param out room for one value per pair and 1 more; terminated by a 0 value.
 *        NULL converts nothing.
 * @return the number of values, without the terminator; 0 for NULL.
 */
QN_API int32_t UTF16toUCS4(const void *src, int32_t len, uint32_t *out);

/**
 * Decodes a text to UTF-8, by the rules of the converters above.
 *
 * - Set 1000 is converted as BigEndianUCS2toUTF8() and LitEndianUCS2toUTF8() do:
 *   U+0400 to U+07FF lose a bit. After an odd last byte the missing one counts
 *   as 0; nothing behind the text is read.
 * - Set 1015 is converted as UTF16toUCS4() and UCS4toUTF8() do: the text ends at
 *   a surrogate without a partner, and values above U+1FFFF take five or six
 *   bytes.
 *
 * @param charset an IANA MIBenum. Text in a set that is not known is copied as
 *        it is. Set 1000 needs a byte-order mark.
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
