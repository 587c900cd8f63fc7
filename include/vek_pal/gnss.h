/**
 * One-shot GNSS fixes through the module's AT server.
 *
 * vek_pal_gnss_info_acquire() is what a daemon calls. The rest is what it is made of: the System V queue that carries
 * each answer of the receiver from the polling caller to a worker thread, and the reading of an answer.
 *
 * Threads: one acquisition at a time in a process. The queue is the machine's (key 0x1111): an acquisition in another
 * process shares it, and the two take each other's answers.
 */
#ifndef VEK_PAL_GNSS_H
#define VEK_PAL_GNSS_H

#include <stdint.h>

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Which constellations were in view, by the talker of the GSV sentences. */
enum {
  VEK_PAL_GNSS_SAT_NONE = 0,
  VEK_PAL_GNSS_SAT_GPS = 1,     /**< $GPGSV only. */
  VEK_PAL_GNSS_SAT_GLONASS = 2, /**< $GLGSV only. */
  VEK_PAL_GNSS_SAT_BEIDOU = 3,  /**< $BDGSV only. */
  VEK_PAL_GNSS_SAT_SEVERAL = 4
};

/** What one answer of the receiver says. All 0 until an answer was read; 40 bytes. */
typedef struct {
  int32_t IsValid;       /**< 1 when the last RMC sentence has a fix, else 0. */
  float Latitude;        /**< Degrees, south negative, from RMC; NaN when the field is empty. */
  float Longitude;       /**< Degrees, west negative, from RMC; NaN when the field is empty. */
  float Altitude;        /**< Metres above mean sea level, from GGA; NaN when the field is empty. */
  float Hdop;            /**< From GGA; NaN when the field is empty. */
  int32_t SatType;       /**< VEK_PAL_GNSS_SAT_... */
  int32_t Satellite_num; /**< Satellites in view of GPS, GLONASS and BeiDou together. */
  uint64_t Timestamp;    /**< See vek_pal_gnss_info_acquire() and vek_pal_parse_gnss_nmea_data(): units differ. */
} vek_pal_gnss_location_t;

/**
 * Switches the receiver on, asks it every 3 s until it has a fix, and switches it off. Blocks meanwhile, and for 4.5 s
 * at the least; a fix returns 4 s after it was seen. The calling thread is not cancelled inside.
 *
 * @param[in]  acquisition_duration  Limit in seconds, and in polls: 1 therefore never returns 0, for the answer to the
 *                                   only poll is not looked at again.
 * @param[out] location_data         The last answer that was read, whatever the result. `IsValid` is cleared before the
 *                                   first poll. With a fix, `Timestamp` is when it was read, in seconds since 1970 as
 *                                   vek_pal_getTimestamp() counts them. Only the caller's until the call, and after it.
 * @retval 0   A fix; the receiver is off and the queue gone.
 * @retval -1  `acquisition_duration` is 0 or `location_data` NULL: nothing was sent.
 *             The receiver could not be switched on: no answer from the AT server.
 *             No queue, or no thread: the receiver stays on, and the queue, if any, is used by the next acquisition.
 *             Time or polls used up: the receiver was switched off and the queue is gone.
 *             A fix, but the receiver could not be switched off: `IsValid` is 1, and the queue stays.
 *
 * A poll without an answer, or with ERROR in it, only counts as a poll. An AT server that takes commands and answers
 * nothing blocks the call beyond the limit, as it does vek_pal_at_send().
 */
VEK_PAL_API int vek_pal_gnss_info_acquire(unsigned int acquisition_duration, vek_pal_gnss_location_t *location_data);

/**
 * Opens the queue, making it if the machine has none, and prepares the hand-over.
 * @retval 0   Open.
 * @retval -1  Open already; no queue to be had; or no mutex or condition variable, which leaves the queue open.
 */
VEK_PAL_API int vek_pal_queue_init(void);

/**
 * Queues a text. Waits for room when the queue is full.
 * @param[in] text_len  1 to 2048 bytes, the terminating zero included.
 * @retval 0   Queued: a copy, behind a header of 8 bytes.
 * @retval -1  No queue, `text` NULL, a bad length, no memory, or the queue went away.
 */
VEK_PAL_API int vek_pal_queue_push(const char *text, int text_len);

/**
 * Takes the oldest text. Waits for one when there is none.
 * @param[out] buffer    The text begins at `*buffer + 8`, and a zero byte stands behind it. The caller's:
 * vek_pal_free().
 * @param[in]  max_len   1 to 2048: the longest text to take. A longer one stays in the queue.
 * @param[out] text_len  Length of the text as it was pushed; may be NULL.
 * @retval 0   Taken.
 * @retval -1  No queue, `buffer` NULL, a bad length, no memory, a longer text, or the queue went away.
 */
VEK_PAL_API int vek_pal_queue_pop(char **buffer, int max_len, int *text_len);

/** Removes the queue, with what is in it, for every process. @returns 0, also when there was none. */
VEK_PAL_API int vek_pal_queue_deinit(void);

/**
 * Finds the sentences in an AT answer: from the first "$" to the CR before the last "\r\nOK" behind it, or to the end.
 * @param[in]  response    `response_len` bytes; need not be terminated.
 * @param[out] nmea_start  Points into `response`; NULL when there is no "$".
 * @param[out] nmea_len    0 when there is no "$".
 * @retval 0   Found.
 * @retval -1  A NULL argument, `response_len` below 1, or no "$".
 */
VEK_PAL_API int vek_pal_gnss_extract_nmea_data(char *response, int response_len, char **nmea_start, int *nmea_len);

/**
 * Reads lines of NMEA sentences into `*location_data`, which is cleared first. GGA, RMC and GSV count, the last of
 * each; of GSV only those of GPS, GLONASS and BeiDou ($BDGSV), also when their checksum is wrong. Lines are read in
 * pieces of 255 characters.
 *
 * @param[in]  nmea_text      Zero-terminated.
 * @param[out] location_data  `Timestamp` is the date and time of RMC in milliseconds since 1970, taken as local time.
 * Before a cold receiver knows the time it stands in 1998.
 * @returns 0. NULL for either does nothing.
 */
VEK_PAL_API int vek_pal_parse_gnss_nmea_data(const char *nmea_text, vek_pal_gnss_location_t *location_data);

/**
 * The body of an acquisition's worker thread: reads answers from the queue into a vek_pal_gnss_location_t until it is
 * told to leave. Not for daemons: they would wait in it without anybody to wake them.
 * @returns NULL.
 */
VEK_PAL_API void *vek_pal_gnss_recive_nmea_data(void *location_data);

#ifdef __cplusplus
}
#endif

#endif
