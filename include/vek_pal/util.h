/**
 * Small pure functions for the text and byte forms that a modem deals in: hex text, trimming, checked numbers, block
 * checks, semi-octet numbers and the 7-bit packing of SMS text.
 *
 * Threads: any; nothing here keeps state or takes memory. Failures that write a record do so under the tag "UTILS".
 * Pointers must not be NULL unless a function says what NULL does.
 */
#ifndef VEK_PAL_UTIL_H
#define VEK_PAL_UTIL_H

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Bytes to hex text, exactly 2 * len characters: **no terminator is written**. `out` may not overlap `buf`.
 * @param[in] upper  0 for lower case, anything else for upper case.
 * @retval 0   Written.
 * @retval -1  `buf` or `out` is NULL, or `outsize` is below 2 * len. Nothing is written.
 */
VEK_PAL_API int vek_pal_bin2hex1(const unsigned char *buf, unsigned len, char *out, unsigned outsize,
                                 unsigned char upper);

/** vek_pal_bin2hex1() in upper case. */
VEK_PAL_API int vek_pal_bin2hex(const unsigned char *buf, unsigned len, char *out, unsigned outsize);

/**
 * Hex text of either case to bytes. All `outsize` bytes of `out` are cleared first; no terminator is added.
 * @retval 0   Written.
 * @retval -1  `hex` or `out` is NULL, `hexlen` is odd, or `outsize` is below hexlen / 2: nothing is written. Or,
 * without a record, a character is no hex digit: the bytes before it stand in `out`.
 */
VEK_PAL_API int vek_pal_hex2bin(const char *hex, unsigned hexlen, unsigned char *out, unsigned outsize);

/**
 * Hex text of either case to bytes, without a size check, without clearing and without records.
 * @param[in]  hex  `hexlen` characters; **one more is read when `hexlen` is odd**.
 * @param[out] out  (hexlen + 1) / 2 bytes.
 * @retval 0   Written.
 * @retval -1  A character is no hex digit: the bytes before it stand in `out`.
 */
VEK_PAL_API int vek_pal_AtoHex(const char *hex, unsigned char *out, unsigned hexlen);

/** The first character of `s` that is not `ch`. NULL gives NULL. The text is not changed. */
VEK_PAL_API char *vek_pal_str_trim_left(char *s, int ch);

/** `s`, with `ch` cut off its end in place, but never its first character: "  " becomes " ". NULL gives NULL. */
VEK_PAL_API char *vek_pal_str_trim_right(char *s, int ch);

/** vek_pal_str_trim_right(), then vek_pal_str_trim_left(): "  " becomes "". */
VEK_PAL_API char *vek_pal_str_trim(char *s, int ch);

/**
 * A whole text as a decimal number: white space, a sign, digits, and then the end. **An empty text is 0.**
 * @retval 0   `*result` is set. A number beyond 32 bits gives the nearest end of the range.
 * @retval -1  `s` or `result` is NULL, or something else stands in the text. `*result` keeps its value.
 */
VEK_PAL_API int vek_pal_strtoint32(const char *s, int *result);

/** The same without sign; a "-" is taken and wraps: "-1" is 4294967295. */
VEK_PAL_API int vek_pal_strtouint32(const char *s, unsigned *result);

/**
 * vek_pal_strtoint32() within bounds.
 * @retval 0   `*result` is set.
 * @retval -1  `result` is NULL or the number lies outside `min` to `max`: `*result` keeps its value. Or the text is no
 *             number (or NULL): it then counts as 0, and **`*result` becomes 0 when the bounds admit 0**.
 */
VEK_PAL_API int vek_pal_strtoint32_range(const char *s, int min, int max, int *result);

/** 1 when both have the same length and bytes, else 0. */
VEK_PAL_API int vek_pal_mem_equal(const void *a, unsigned alen, const void *b, unsigned blen);

/** 1 when the lengths are the same and the texts agree up to there or to a common zero byte, else 0. */
VEK_PAL_API int vek_pal_nstr_equal(const char *a, unsigned alen, const char *b, unsigned blen,
                                   unsigned char case_sensitive);

/** 1 when the texts are the same, else 0. `case_sensitive` 0 treats the letters of either case alike. */
VEK_PAL_API int vek_pal_str_equal(const char *a, const char *b, unsigned char case_sensitive);

/** Block check character: all bytes XORed. 0 for `len` below 1. */
VEK_PAL_API unsigned char vek_pal_bcc(const unsigned char *data, int len);

/** CRC-16/XMODEM: polynomial 0x1021, start 0, most significant bit first. 0 for `len` below 1. */
VEK_PAL_API unsigned short vek_pal_crc16(const unsigned char *data, int len);

/**
 * Semi-octet number (3GPP TS 24.008 section 10.5.4.7 and SIM files) to text. The low half of a byte comes first; the
 * halves 0xA to 0xE are "*", "#", "p", "w" and "+"; 0xF in a high half ends the number.
 * @param[out] ascii      At most `asciisize` bytes, terminator included; what does not fit is left out. **One byte, the
 *                        terminator, is written even when `asciisize` is 0.**
 * @param[out] outlen     Length of the text.
 * @retval 0   Written.
 * @retval -1  `len` is 0, a pointer is NULL, or a low half is 0xF: `*outlen` keeps its value.
 */
VEK_PAL_API int vek_pal_bcd_to_ascii(const unsigned char *bcd, unsigned len, char *ascii, unsigned asciisize,
                                     unsigned *outlen);

/**
 * Text to semi-octet number; "p" and "w" of either case. The last high half is 0xF when the length is odd.
 * @param[out] bcd      At most `bcdsize` bytes.
 * @param[out] outlen   (len + 1) / 2, **also when `bcdsize` is smaller** and the number was cut.
 * @retval 0   Written.
 * @retval -1  `len` is 0, a pointer is NULL, or a character has no half-byte: `*outlen` keeps its value.
 */
VEK_PAL_API int vek_pal_ascii_to_bcd(const char *ascii, unsigned len, unsigned char *bcd, unsigned bcdsize,
                                     unsigned *outlen);

/** Every half-byte as an upper-case hex digit, low half first: 2 * len characters, **no terminator**. */
VEK_PAL_API void vek_pal_decode_rawbcd_to_ascii(const unsigned char *bcd, char *ascii, unsigned len);

/**
 * Hex digits of either case, first one in the low half, until the text or `bcdsize` ends. What is left of the `bcdsize`
 * bytes is 0xFF, an unpaired last digit has 0xF beside it, and any other character counts as the digit 0. An empty text
 * makes the first byte 0.
 */
VEK_PAL_API void vek_pal_encode_ascii_to_rawbcd(const char *ascii, unsigned char *bcd, unsigned bcdsize);

/**
 * Unpacks 7-bit text (3GPP TS 23.038 section 6.1.2.1): one septet a byte, values 0 to 127, no terminator.
 * @param[out] out     At most `outsize` bytes; what does not fit is left out.
 * @param[out] outlen  Septets written: len * 8 / 7, or `outsize`. The count includes a last septet of padding where the
 *                     packed text has one: the message's own septet count decides.
 * @returns 0.
 */
VEK_PAL_API int vek_pal_7bit_decode(const unsigned char *packed, unsigned len, unsigned char *out, unsigned outsize,
                                    unsigned *outlen);

/**
 * Packs 7-bit text. When seven bits of the last octet stay unused they hold a carriage return, so that no receiver
 * reads an "@" there: seven septets of zero become six octets of zero and 0x1A.
 * @param[in]  septets  One a byte; the top bit is ignored.
 * @param[out] out      At most `outsize` bytes; what does not fit is left out.
 * @param[out] outlen   Octets written: (len * 7 + 7) / 8, or `outsize`; **1 for `len` 0** (the octet is 0).
 * @returns 0.
 */
VEK_PAL_API int vek_pal_7bit_encode(const unsigned char *septets, unsigned len, unsigned char *out, unsigned outsize,
                                    unsigned *outlen);

/**
 * `base` to the power of `exp`, cut to a whole number: 0 for a fraction (2 to the -1). What no int holds is the nearest
 * one that does; 0 to a negative power counts as infinite, 0 to the 0 is 1.
 */
VEK_PAL_API int vek_pal_pow(int base, int exp);

#ifdef __cplusplus
}
#endif

#endif
