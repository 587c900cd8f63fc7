/**
 * The system clock (called RTC here), uptime, dates and random bytes.
 *
 * Threads: any. Setting the clock needs CAP_SYS_TIME and moves it for the whole module.
 */
#ifndef VEK_PAL_TIME_H
#define VEK_PAL_TIME_H

#include <stdint.h>

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
  VEK_PAL_TIME_BAD_ARGUMENT = 7,
  VEK_PAL_TIME_NO_RANDOM = 25,
  VEK_PAL_TIME_SET_FAILED = 802,
  VEK_PAL_TIME_NO_LOCAL_TIME = 803
};

/** A local date and time. */
typedef struct {
  uint8_t sec;   /**< 0 to 59 */
  uint8_t min;   /**< 0 to 59 */
  uint8_t hour;  /**< 0 to 23 */
  uint8_t day;   /**< of the month, 1 to 31 */
  uint8_t month; /**< 1 to 12 */
  uint16_t year; /**< in full, such as 2024 */
  uint8_t wday;  /**< 0 is Sunday */
} vek_pal_rtc;

/** A date and time of day in UTC. */
typedef struct {
  uint16_t year;
  uint8_t month, day, hour, minute, second;
  uint16_t milliseconds;
} vek_pal_datetime;

/** Days before each month and, last, in the year: first row for a common year, second for a leap year. */
extern VEK_PAL_API const uint16_t vek_mon_yday[2][13];

/**
 * Fills a buffer from /dev/random, or from /dev/urandom where that does not open.
 *
 * **Every byte also becomes a record** of level info, "Random bytes: %02x": do not draw keys while logs are kept.
 *
 * @retval 0   Filled.
 * @retval 7   `buf` is NULL or `len` 0.
 * @retval 25  Neither opens, or one read gave fewer than `len` bytes, as kernels before 5.6 do when short of entropy.
 */
VEK_PAL_API int vek_pal_rng_generate(unsigned char *buf, unsigned len);

/**
 * The local date and time.
 * @retval 0    `*rtc` is set.
 * @retval 7    `rtc` is NULL.
 * @retval 803  The local time cannot be computed.
 */
VEK_PAL_API int vek_pal_getRTC(vek_pal_rtc *rtc);

/**
 * Sets the system clock to a local date and time, taken as standard time (no daylight saving). `wday` is ignored.
 * @retval 0    Set.
 * @retval 7    `rtc` is NULL.
 * @retval 802  The system refused.
 */
VEK_PAL_API int vek_pal_setRTC(const vek_pal_rtc *rtc);

/**
 * Sets the system clock to seconds since 1970, UTC.
 * @retval 0    Set.
 * @retval 802  The system refused.
 */
VEK_PAL_API int vek_pal_setTimestamp(unsigned seconds);

/**
 * Seconds since 1970 as the feature counts them: of the *local* date and time, without correction for the time zone.
 * From 1970 to February 1992 the count is one day (86400) too high; from then on to February 2100 it is that of the
 * calendar. Its rule for leap years looks at the year modulo 256: 1992 is none, 2100 and 2200 are.
 *
 * @retval 0   `*seconds` is set.
 * @retval 7   `seconds` is NULL.
 * @retval -1  The local time cannot be computed.
 */
VEK_PAL_API int vek_pal_getTimestamp(int64_t *seconds);

/** Seconds since the module started, sleep included; 0 when the system does not tell. */
VEK_PAL_API long vek_pal_getSysTicks(void);

/** vek_pal_getSysTicks() under another name, with a record of its own. */
VEK_PAL_API int vek_pal_get_sys_time(void);

/** Seconds on CLOCK_MONOTONIC, which stands still during sleep; -1 when it cannot be read. */
VEK_PAL_API long vek_pal_getSysSec(void);

/**
 * Seconds since 1970 as local date and time, "2024-03-01 00:00:00".
 * @param[out] out  20 bytes.
 * @retval 0   Written.
 * @retval -1  `out` is NULL, or the local time cannot be computed.
 */
VEK_PAL_API int vek_pal_TimeStamp2TimeStr(unsigned seconds, char *out);

/**
 * Milliseconds since 1970 as a date and time of day in UTC. A negative count writes nothing. Years past 65535 are cut
 * to 16 bits. Neither pointer may be NULL.
 */
VEK_PAL_API void rtc_msecs2datetime(const int64_t *msecs, vek_pal_datetime *out);

#ifdef __cplusplus
}
#endif

#endif
