/**
 * NMEA 0183 sentences, read into records of integers and fixed-point numbers.
 *
 * A sentence is zero-terminated text that starts with "$", as a receiver sends it; CR and LF at its end may stay. Ask
 * minmea_sentence_id() first, which verifies the checksum, then call the type's parser, which does not. Talkers count
 * for nothing: $GPRMC, $GNRMC and $BDRMC are all RMC.
 *
 * Characters are ASCII: a field is made of printable ones other than "," and "*", whatever the process's locale.
 * Yes-or-no results are 1 and 0. No pointer may be NULL, but for the sentence given to minmea_scan() and the parsers.
 *
 * Threads: any. Nothing is allocated and no state is kept.
 */
#ifndef VEK_PAL_MINMEA_H
#define VEK_PAL_MINMEA_H

#include <stdbool.h>
#include <stdint.h>
#include <time.h>

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

struct timespec; /* plain C99 has none in time.h */

/** What minmea_sentence_id() tells. */
enum minmea_sentence_id_t {
  MINMEA_INVALID = -1, /**< Not a sentence, or its checksum is wrong. */
  MINMEA_UNKNOWN = 0,  /**< A sentence of a type that has no parser here. */
  MINMEA_SENTENCE_GBS = 1,
  MINMEA_SENTENCE_GGA = 2,
  MINMEA_SENTENCE_GLL = 3,
  MINMEA_SENTENCE_GSA = 4,
  MINMEA_SENTENCE_GST = 5,
  MINMEA_SENTENCE_GSV = 6,
  MINMEA_SENTENCE_RMC = 7,
  MINMEA_SENTENCE_VTG = 8,
  MINMEA_SENTENCE_ZDA = 9
};

/**
 * The number value / scale, as sent: 12.345 is {12345, 1000}, 7 is {7, 1}, -0.5 is {-5, 10}. An empty field is {0, 0}.
 * Coordinates are degrees * 100 + minutes; south and west are negative.
 */
typedef struct minmea_float {
  int32_t value;
  int32_t scale;
} minmea_float;

/** All three -1 when the field was empty. `year` has the two digits that were sent; four in ZDA. */
typedef struct minmea_date {
  int32_t day;
  int32_t month;
  int32_t year;
} minmea_date;

/** UTC. All four -1 when the field was empty. */
typedef struct minmea_time {
  int32_t hours;
  int32_t minutes;
  int32_t seconds;
  int32_t microseconds;
} minmea_time;

/** Recommended minimum: is there a fix, and where. */
typedef struct minmea_sentence_rmc {
  minmea_time time;
  bool valid; /**< Status was 'A'. */
  minmea_float latitude;
  minmea_float longitude;
  minmea_float speed;  /**< Knots. */
  minmea_float course; /**< Degrees. */
  minmea_date date;
  minmea_float variation; /**< Magnetic, degrees; west is negative. */
} minmea_sentence_rmc;

/** Fix data, with the altitude. */
typedef struct minmea_sentence_gga {
  minmea_time time;
  minmea_float latitude;
  minmea_float longitude;
  int32_t fix_quality; /**< 0 none, 1 GPS, 2 differential, 4 RTK, 5 RTK float, 6 estimated. */
  int32_t satellites_tracked;
  minmea_float hdop;
  minmea_float altitude; /**< Above mean sea level. */
  char altitude_units;
  minmea_float height; /**< Of the geoid above the ellipsoid. */
  char height_units;
  minmea_float dgps_age;
} minmea_sentence_gga;

/** Satellites used, and dilution of precision. */
typedef struct minmea_sentence_gsa {
  char mode;
  int32_t fix_type; /**< 1 none, 2 two-dimensional, 3 three-dimensional. */
  int32_t sats[12]; /**< Ids, 0 where fewer are used. */
  minmea_float pdop;
  minmea_float hdop;
  minmea_float vdop;
} minmea_sentence_gsa;

/** Position and its time. */
typedef struct minmea_sentence_gll {
  minmea_float latitude;
  minmea_float longitude;
  minmea_time time;
  char status;
  char mode; /**< 0 when the receiver sends none. */
} minmea_sentence_gll;

/** Error statistics; deviations in metres, the orientation in degrees. */
typedef struct minmea_sentence_gst {
  minmea_time time;
  minmea_float rms_deviation;
  minmea_float semi_major_deviation;
  minmea_float semi_minor_deviation;
  minmea_float semi_major_orientation;
  minmea_float latitude_error_deviation;
  minmea_float longitude_error_deviation;
  minmea_float altitude_error_deviation;
} minmea_sentence_gst;

/** One satellite in view. */
typedef struct minmea_sat_info {
  int32_t nr;
  int32_t elevation; /**< Degrees. */
  int32_t azimuth;   /**< Degrees. */
  int32_t snr;       /**< dB-Hz, 0 when not tracked. */
} minmea_sat_info;

/** Satellites in view, four a sentence. */
typedef struct minmea_sentence_gsv {
  int32_t total_msgs;
  int32_t msg_nr;
  int32_t total_sats;
  minmea_sat_info sats[4]; /**< All 0 where there is none. */
} minmea_sentence_gsv;

/** Course and speed. A number whose unit letter is missing or wrong has scale 0. */
typedef struct minmea_sentence_vtg {
  minmea_float true_track_degrees;
  minmea_float magnetic_track_degrees;
  minmea_float speed_knots;
  minmea_float speed_kph;
  int32_t faa_mode; /**< The mode's letter, 0 when absent. */
} minmea_sentence_vtg;

/** Time, date with a four-digit year, and the local zone. */
typedef struct minmea_sentence_zda {
  minmea_time time;
  minmea_date date;
  int32_t hour_offset;   /**< -13 to 13. */
  int32_t minute_offset; /**< 0 to 59. */
} minmea_sentence_zda;

/** Satellite fault detection; errors in metres. */
typedef struct minmea_sentence_gbs {
  minmea_time time;
  minmea_float err_latitude;
  minmea_float err_longitude;
  minmea_float err_altitude;
  int32_t svid; /**< The likeliest failed satellite. */
  minmea_float prob;
  minmea_float bias;
  minmea_float stddev;
} minmea_sentence_gbs;

/** Exclusive or of the bytes behind a leading "$", if any, up to the first "*" or the end. Nothing there gives 0. */
VEK_PAL_API uint8_t minmea_checksum(const char *sentence);

/**
 * Whether `sentence` is one well-formed sentence: "$", printable characters, "*" with the two hexadecimal digits of its
 * checksum, and at most CR and LF behind.
 * @param[in] strict  False also accepts a sentence without "*" and checksum; one that is there must be right.
 */
VEK_PAL_API int minmea_check(const char *sentence, bool strict);

/**
 * Takes a sentence apart by a format, one letter a field, one output a letter:
 *
 *   c  char*          first character; 0 when empty
 *   d  int*           direction: 1 for N and E, -1 for S and W, 0 when empty
 *   f  minmea_float*  number; blanks may lead. Fraction digits that no longer fit are dropped
 *   i  int*           number, blanks may lead; empty is 0. Limited to what 32 bits hold
 *   s  char*          the field and a terminating zero. No bound: the buffer must hold the longest field
 *   t  char[6]        "$" and five characters, stored without the "$" but with a terminating zero. Never optional
 *   D  minmea_date*   ddmmyy
 *   T  minmea_time*   hhmmss, a fraction may follow; its digits beyond the sixth are dropped
 *   _                 skipped, no output
 *   ;                 no field, no output: the fields from here on may be missing, and then count as empty
 *
 * @returns 1, or 0: `sentence` is NULL, a letter is unknown, a field is missing before ";", or one is not as its letter
 *          wants it. Outputs of earlier letters are written then. Further fields of the sentence count for nothing.
 */
VEK_PAL_API int minmea_scan(const char *sentence, const char *format, ...);

/** Stores the talker, "GP" for "$GPRMC,...", with a terminating zero. @returns 1, or 0 with nothing written. */
VEK_PAL_API int minmea_talker_id(char talker[3], const char *sentence);

/** A value of `enum minmea_sentence_id_t`. @param[in] strict  As for minmea_check(). */
VEK_PAL_API int minmea_sentence_id(const char *sentence, bool strict);

/**
 * Reads an RMC sentence.
 * @returns 1, or 0: a field is missing or malformed, or the type is another. `*frame` may be partly written then.
 *
 * Logs under "MINMEA", each at level error: what failed, or the status letter of a sentence that was read.
 */
VEK_PAL_API int minmea_parse_rmc(minmea_sentence_rmc *frame, const char *sentence);
/** The same for GGA, without records, as all below. */
VEK_PAL_API int minmea_parse_gga(minmea_sentence_gga *frame, const char *sentence);
/** The same for GSA. */
VEK_PAL_API int minmea_parse_gsa(minmea_sentence_gsa *frame, const char *sentence);
/** The same for GLL. */
VEK_PAL_API int minmea_parse_gll(minmea_sentence_gll *frame, const char *sentence);
/** The same for GST. */
VEK_PAL_API int minmea_parse_gst(minmea_sentence_gst *frame, const char *sentence);
/** The same for GSV. Satellites may be missing from the end. */
VEK_PAL_API int minmea_parse_gsv(minmea_sentence_gsv *frame, const char *sentence);
/** The same for VTG. Everything behind the type may be missing. */
VEK_PAL_API int minmea_parse_vtg(minmea_sentence_vtg *frame, const char *sentence);
/** The same for ZDA. An offset outside its range is refused too. */
VEK_PAL_API int minmea_parse_zda(minmea_sentence_zda *frame, const char *sentence);
/** The same for GBS. */
VEK_PAL_API int minmea_parse_gbs(minmea_sentence_gbs *frame, const char *sentence);

/**
 * Date and time of day as broken-down time; what `*tm` has beyond them is cleared. Years below 80 are 2000 to 2079, 80
 * to 1899 count from 1900, later ones are themselves. Values are not checked against the calendar.
 * @retval 0   `*tm` is set.
 * @retval -1  Date or time is empty (year or hours -1); `*tm` is as it was.
 */
VEK_PAL_API int minmea_getdatetime(struct tm *tm, const minmea_date *date, const minmea_time *time);

/**
 * Date and time of day, taken as UTC, since 1970.
 * @retval 0   `*ts` is set.
 * @retval -1  Date or time is empty, or the second before 1970 is meant, or the number does not fit; `*ts` is as it
 * was.
 */
VEK_PAL_API int minmea_gettime(struct timespec *ts, const minmea_date *date, const minmea_time *time);

#ifdef __cplusplus
}
#endif

#endif
