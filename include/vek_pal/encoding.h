/**
 * Base64, hex and decimal text.
 *
 * Two names read the other way round from today's habit: vek_pal_hex2str() turns hex text into bytes, and
 * vek_pal_str2hex() turns bytes into hex text.
 *
 * Threads: any; nothing here keeps state or takes memory. Failures write a record under the tag "CODETRANS", except
 * where a function says otherwise.
 */
#ifndef VEK_PAL_ENCODING_H
#define VEK_PAL_ENCODING_H

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Base64 text of `slen` bytes: alphabet and padding of RFC 4648 section 4, no line breaks.
 * @param[out] dst    n + 1 bytes: n characters and a zero byte, n = 4 * ceil(slen / 3). It may not overlap `src`.
 * @param[in]  dsize  At least n; the zero byte is not counted.
 * @returns n, or -1 with nothing written: `dst` or `src` NULL, `dsize` 0 or below n, or n more than an int holds.
 *          `slen` 0 gives an empty text, and needs a `dsize` of 1 all the same.
 */
VEK_PAL_API int vek_pal_base64_encode(unsigned char *dst, unsigned dsize, const unsigned char *src, unsigned slen);

/**
 * The bytes of Base64 text. Line ends (LF, or CR before LF) are skipped, and so are blanks that stand before a line
 * end; anything else outside the alphabet is refused. A line end counts in `slen`, which is a multiple of four all the
 * same.
 * @param[out] dst    n + 1 bytes: the bytes and a zero byte after them; n = slen / 4 * 3, less one for each "=" among
 * the last two characters.
 * @param[in]  dsize  At least n; the zero byte is not counted.
 * @returns n, even where skipped line ends make fewer bytes of it (they lie in front, followed by zero bytes); 0 with
 *          nothing written for text without a character of the alphabet; -1 with nothing written for a NULL pointer, an
 * `slen` of 0 or no multiple of 4, a `dsize` below n and, without a record, text that is not Base64.
 */
VEK_PAL_API int vek_pal_base64_decode(unsigned char *dst, unsigned dsize, const unsigned char *src, unsigned slen);

/**
 * The decimal number at the start of a text: blanks (not tabs), a sign, digits; whatever follows is ignored.
 * @returns the number, wrapped to 32 bits when it is too large; 0 with a record when there is none; -1 for NULL.
 *          A text with the number 0 writes that record too.
 */
VEK_PAL_API int vek_pal_atoi(const char *s);

/**
 * A number in digits, upper-case beyond 9. Only radix 10 knows negative numbers: any other shows the 32 bits, unsigned.
 * @param[out] buf    Long enough for the text and a zero byte: 34 bytes always are, 12 for radix 10, 9 for radix 16.
 * @param[in]  radix  2 to 36.
 * @returns `buf`, or NULL with nothing written for `buf` NULL or any other radix.
 */
VEK_PAL_API char *vek_pal_itoa(int value, char *buf, unsigned radix);

/**
 * Hex text to bytes. Either case is taken; any other character counts as the digit 0.
 * @param[out] dst    hexlen / 2 bytes and a zero byte.
 * @param[in]  dsize  At least hexlen / 2 + 1.
 * @returns hexlen / 2, or -1 with nothing written: `hex` or `dst` NULL, `hexlen` odd, `dsize` too small.
 */
VEK_PAL_API int vek_pal_hex2str(const char *hex, unsigned hexlen, unsigned char *dst, unsigned dsize);

/**
 * Bytes to hex text in lower case.
 * @param[out] dst    2 * slen characters and a zero byte. It may not overlap `src`.
 * @param[in]  dsize  At least 2 * slen + 1.
 * @returns 2 * slen, or -1 with nothing written: `src` or `dst` NULL, `dsize` too small.
 */
VEK_PAL_API int vek_pal_str2hex(const unsigned char *src, unsigned slen, char *dst, unsigned dsize);

#ifdef __cplusplus
}
#endif

#endif
