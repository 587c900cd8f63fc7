/**
 * Parameters of an AT command: the text after the "=" becomes a list of typed parameters, read out by typed getters.
 *
 * A text is parsed for a fixed number of comma-separated parameters. Each is classified while it is read: a number, a
 * quoted string with a sub-kind, a bare (unquoted) string, or omitted (nothing between commas, or missing at the end).
 *
 * Every function that says so returns 1 for success and 0 for failure, and writes no record. Getters never change the
 * list; on failure they leave their outputs as they were. `required` 0 allows an omitted parameter, which then reads as
 * the default stated there; any other value turns it down. A NULL list or output, and an index at or beyond the count,
 * fail.
 *
 * Threads: no state is kept. One list may be read by any number of threads at once.
 */
#ifndef VEK_PAL_AT_PARAMS_H
#define VEK_PAL_AT_PARAMS_H

#include <stdint.h>

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/** What a parameter is. */
enum {
  VEK_PAL_AT_PARAM_UNSET = 0,  /**< Not parsed. */
  VEK_PAL_AT_PARAM_UINT16 = 1, /**< 0 to 65533: value16, value32, signed16 and signed32 hold it. */
  VEK_PAL_AT_PARAM_UINT32 = 2, /**< 65534 to 4294967293: value32; signed32 below 2147483647; signed16 for 65534. */
  VEK_PAL_AT_PARAM_STRING = 3, /**< A quoted string that is none of 5 to 7. */
  VEK_PAL_AT_PARAM_BARE = 4,   /**< A string without quotes; only where the caller allows it. */
  VEK_PAL_AT_PARAM_IPV4 = 5,   /**< Quoted, exactly 3 "." and otherwise hexadecimal digits and ":". */
  VEK_PAL_AT_PARAM_IPV6 = 6,   /**< Quoted, exactly 7 ":" and otherwise hexadecimal digits and "."; 5 comes first. */
  VEK_PAL_AT_PARAM_TEL_NUMBER = 7, /**< Quoted, decimal digits, "+" allowed in front; tested before 5 and 6. */
  VEK_PAL_AT_PARAM_OMITTED = 8,    /**< Empty between commas, or missing at the end. */
  VEK_PAL_AT_PARAM_SIGNED16 = 9,   /**< Negative, down to -65535: signed16 and signed32. */
  VEK_PAL_AT_PARAM_SIGNED32 = 10   /**< Negative, below -65535: signed32; signed16 is 32766. */
};

/** One parameter. Fields that its type does not use keep the value in brackets. */
typedef struct {
  uint32_t type;
  char *text;         /**< Zero-terminated copy of a string, without quotes; owned by the list (NULL). */
  uint32_t text_size; /**< Bytes of `text`, terminator included (0). */
  uint16_t value16;   /**< Small unsigned number (65534). */
  uint32_t value32;   /**< Magnitude of a number (4294967294). */
  int32_t limit;      /**< Always 2147483647. */
  int32_t signed16;   /**< The number where 16 bits and a sign hold it (32766). */
  int32_t signed32;   /**< The number where 32 bits and a sign hold it (2147483646). */
} ATCmdParam;

/** A list: as many parameters as were asked for. Made and freed by the functions below only. */
typedef struct {
  uint32_t count;
  ATCmdParam *params;
} ATCmdParams;

/**
 * A list of `count` parameters of type 0, freed with ATCmdParams_Destroy().
 * @returns NULL when there is no room.
 */
VEK_PAL_API ATCmdParams *ATCmdParams_Create(uint32_t count);

/**
 * Parses `text` into exactly `count` parameters. Numbers may carry a sign and one blank in front; a quoted string runs
 * to the next double quote, commas included.
 *
 * @param[in]  text      NULL and the empty text succeed with every parameter omitted.
 * @param[in]  count     Parameters expected; fewer in the text leave the rest omitted.
 * @param[out] list      The list, freed with ATCmdParams_Destroy(); NULL on failure.
 * @param[out] consumed  Characters read, 0 for NULL and empty text. May be NULL.
 *
 * @retval 1  Parsed.
 * @retval 0  More text than `count` parameters take, characters after a number or a closing quote, a quote without its
 *            partner, a bare string (among them a number that is too large, below -2147483647 or above 4294967293),
 * `list` NULL, or no room.
 */
VEK_PAL_API int ATCmdParams_CreateFromStr(const char *text, uint32_t count, ATCmdParams **list, uint32_t *consumed);

/**
 * As ATCmdParams_CreateFromStr(), but with `features` other than 0 a bare string is a parameter of type 4: everything
 * up to the next comma, a leading blank included.
 */
VEK_PAL_API int ATCmdParams_CreateFromStrWFeatures(const char *text, uint32_t count, ATCmdParams **list,
                                                   uint32_t *consumed, uint32_t features);

/** Frees a list and the texts in it. NULL is ignored. */
VEK_PAL_API void ATCmdParams_Destroy(ATCmdParams *list);

/** A number of type 1. @returns 1 or 0. Default: 65535. */
VEK_PAL_API int ATCmdParams_GetUINT16(const ATCmdParams *list, uint32_t index, int required, uint16_t *value);

/** A number of type 1 or 9. @returns 1 or 0. Default: 32767. */
VEK_PAL_API int ATCmdParams_GetSignedINT16(const ATCmdParams *list, uint32_t index, int required, int32_t *value);

/** A number of type 1 or 2. @returns 1 or 0. Default: 4294967295. */
VEK_PAL_API int ATCmdParams_GetUINT32(const ATCmdParams *list, uint32_t index, int required, uint32_t *value);

/** A number of type 1, 9 or 10, or of type 2 below 2147483647. @returns 1 or 0. Default: 2147483647. */
VEK_PAL_API int ATCmdParams_GetSignedINT32(const ATCmdParams *list, uint32_t index, int required, int32_t *value);

/**
 * A string (types 3 to 7) shorter than `size`, copied with its terminator.
 * @param[out] buffer  `size` bytes.
 * @returns 1, or 0 also when the string does not fit or `size` is 0. Default: the empty string.
 */
VEK_PAL_API int ATCmdParams_GetString(const ATCmdParams *list, uint32_t index, int required, uint32_t size,
                                      char *buffer);

/**
 * A zero-terminated copy of a string (types 3 to 7), which the caller frees with vek_pal_free().
 * @returns 1, or 0 also when there is no room. Default: a new empty string.
 */
VEK_PAL_API int ATCmdParams_GetStringWithAlloc(const ATCmdParams *list, uint32_t index, int required, char **text);

/**
 * The number that a string of hexadecimal digits holds, as ConvertHexStringToHex() reads it.
 * @param[in] size  The string must be shorter; at most 256.
 * @returns 1 or 0. An omitted parameter always fails.
 */
VEK_PAL_API int ATCmdParams_GetStringAndConvertToHex(const ATCmdParams *list, uint32_t index, uint32_t size,
                                                     uint32_t *value);

/**
 * A telephone number and its type of address (3GPP TS 27.007: 145 international, 129 otherwise).
 *
 * @param[out] number  82 bytes: a string of at most 81 characters; one of 81 must begin with "+".
 * @param[out] type    NULL takes the number alone. Otherwise the next parameter tells the type: a number with bit 7 set
 * is taken as it stands; with none there, or an omitted one, the type follows from the number.
 * @returns 1, or 0; then `number` may have been written. Default: the empty number, of type 129.
 */
VEK_PAL_API int ATCmdParams_GetTelNumAndType(const ATCmdParams *list, uint32_t index, int required, char *number,
                                             uint8_t *type);

/** As ATCmdParams_GetTelNumAndType(); a type that follows from the number is read in the character set `charset`. */
VEK_PAL_API int ATCmdParams_GetTelNumAndTypewithCSCS(const ATCmdParams *list, uint32_t index, int required,
                                                     char *number, uint8_t *type, uint32_t charset);

/**
 * `n` parameters of type 1 from `first` on, all or nothing.
 * @param[out] array  The value of parameter i goes to `array[i]`: at least `first + n` elements.
 * @param[out] found  How many of them are below 65535: all `n`.
 * @returns 1, or 0 when one of them is missing or of another type.
 */
VEK_PAL_API int ATCmdParams_GetUINT16ValsArray(const ATCmdParams *list, uint32_t first, uint32_t n, uint16_t *array,
                                               uint32_t *found);

/** The type of any parameter. @returns 1 or 0. */
VEK_PAL_API int ATCmdParams_GetParamType(const ATCmdParams *list, uint32_t index, uint32_t *type);

/** Commas in `text`, those between quotes included, and 1; 0 for NULL. */
VEK_PAL_API uint32_t ATCmdParams_GetTotalNumParams(const char *text);

/** How many parameters are there: of a type other than 0 and 8. 0 for NULL. */
VEK_PAL_API uint32_t ATCmdParams_GetNumActualParams(const ATCmdParams *list);

/** 1 when `text` is NULL, empty, or only space, tab, line feed and carriage return; else 0. */
VEK_PAL_API int ATParseUtil_ParseAndVerifyNoParams(const char *text);

/** Moves `*text` past leading space, tab, line feed and carriage return. NULL, and a pointer to NULL, are left alone.
 */
VEK_PAL_API void ATParseUtil_ParseWhiteSpace(const char **text);

/**
 * Reads decimal digits, no sign, from the front of `text`.
 * @param[out] value     The number, up to 4294967295.
 * @param[out] consumed  Digits read; 0 on failure.
 * @returns 1, or 0 when no digit is there or the number is too large; `value` is then 4294967295.
 */
VEK_PAL_API int ATParseUtil_ParseOneUINT32(const char *text, uint32_t *value, uint32_t *consumed);

/**
 * Reads an optional "+" or "-" and decimal digits from the front of `text`: -2147483647 to 4294967293.
 * @param[out] negative   1 after "-", also for -0; else 0.
 * @param[out] value      The number with its sign; 2147483647 when it is above that, and on failure.
 * @param[out] magnitude  The number without its sign; 4294967295 on failure.
 * @param[out] consumed   Characters read, the sign included; 0 on failure.
 * @returns 1, or 0 when no digit is there or the number is out of range.
 */
VEK_PAL_API int ATParseUtil_ParseOneSignedINT32(const char *text, int *negative, int32_t *value, uint32_t *magnitude,
                                                uint32_t *consumed);

/** 145 when `number` has a "+" anywhere, else 129; 129 for NULL. */
VEK_PAL_API uint8_t ATUtil_GetTypeOfAddressOfPhoneNumber(const char *number);

/**
 * The same for a number in a character set: with `charset` 1 a "+" anywhere makes 145; with 2 (UCS2 as hexadecimal
 * pairs) the pair "2B" at an even offset does, upper case only. Everything else is 129.
 */
VEK_PAL_API uint8_t ATUtil_GetTypeOfAddressOfPhoneNumberwithCSCS(const char *number, uint32_t charset);

/** Reads "0x" or "0X" and 1 to 8 hexadecimal digits, nothing else. @returns 1, or 0 with `value` untouched. */
VEK_PAL_API int ConvertHexStringToHex(const char *text, uint32_t *value);

#ifdef __cplusplus
}
#endif

#endif
