/**
 * Who the module is. Every text goes, zero-terminated unless said otherwise, into a buffer of the caller's, whose size
 * is not checked: each function names the least. A failure leaves the buffer alone and a record with the tag "MODEM".
 *
 * Threads: any thread may call any of these at any time. Nothing is kept and nothing is retried.
 */
#ifndef VEK_PAL_DEVICE_INFO_H
#define VEK_PAL_DEVICE_INFO_H

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * The IMEI, from the modem (at most 3 s).
 * @param[out] imei  16 bytes; a longer text of the modem's is cut to 15 characters.
 * @retval 0   Written.
 * @retval 7   `imei` is NULL.
 * @retval -1  No modem, no answer, or the answer holds no IMEI.
 */
VEK_PAL_API int vek_pal_get_imei(char *imei);

/**
 * The module's model, from the modem (at most 3 s).
 * @param[out] model  33 bytes, cleared by the caller: at most 32 characters are written, and no zero byte after them.
 * @retval 0   Written.
 * @retval -1  `model` is NULL, no modem, no answer, or the modem does not know.
 */
VEK_PAL_API int vek_pal_get_model(char *model);

/** The chip, always "SDX12". @param[out] type  6 bytes. @retval 0 Written. @retval -1 `type` is NULL. */
VEK_PAL_API int vek_pal_get_chip_type(char *type);

/**
 * The firmware's version, from the modem (at most 3 s), up to its first underscore.
 * @param[out] version  256 bytes.
 * @retval 0   Written.
 * @retval -1  `version` is NULL, no modem, no answer, or the modem does not know.
 */
VEK_PAL_API int vek_pal_get_firmware_version(char *version);

/**
 * The month of manufacture as eight digits, year, month and "01", read from the fifth and sixth character of the serial
 * number (AT command "AT+CFSN"). A letter without meaning stands for the year 2010 or for January; so does a serial
 * number that is not ten characters long.
 * @param[out] date  9 bytes.
 * @retval 0   Written.
 * @retval 7   `date` is NULL.
 * @retval -1  The AT server does not answer.
 */
VEK_PAL_API int vek_pal_get_manufacture_date(char *date);

/**
 * USB product and vendor id as the AT server gives them ("AT+GTOEMUSBID?"), without the comma: at most 8 characters,
 * blanks included.
 * @param[out] pidvid  9 bytes.
 * @retval 0   Written.
 * @retval 7   `pidvid` is NULL.
 * @retval -1  The AT server does not answer, answers an error, or its answer has nothing after a colon.
 */
VEK_PAL_API int vek_pal_get_pidvid(char *pidvid);

/** State of the card-detect line, as far as this module tells: always 2. */
VEK_PAL_API int vek_pal_get_sim_cd_state(void);

/** The customer this build is for: always 1. */
VEK_PAL_API int vek_pal_get_current_oem(void);

#ifdef __cplusplus
}
#endif

#endif
