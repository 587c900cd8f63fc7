// One parser a sentence type: a format, the type's name, and what becomes of directions and units.
#include <stdlib.h>
#include <string.h>

#include "log/log.h"
#include "vek_pal/minmea.h"

namespace {

constexpr char kLogTag[] = "MINMEA";

bool is_type(const char type[6], const char* name) { return memcmp(type + 2, name, 3) == 0; }

void drop_without_unit(minmea_float* number, char unit, char wanted) {
  if (unit != wanted) number->scale = 0;
}

}  // namespace

int minmea_parse_rmc(minmea_sentence_rmc* frame, const char* sentence) {
  char type[6];
  char status;
  int north, east, variation_east;
  if (!minmea_scan(sentence, "tTcfdfdffDfd", type, &frame->time, &status, &frame->latitude, &north, &frame->longitude,
                   &east, &frame->speed, &frame->course, &frame->date, &frame->variation, &variation_east))
    return FAIL(0, "rmc scan error!");
  if (!is_type(type, "RMC")) return FAIL(0, "rmc cmp error!");

  LOG_E("validity is :%c,0x%x", status, static_cast<unsigned>(status));
  frame->valid = status == 'A';
  frame->latitude.value *= north;
  frame->longitude.value *= east;
  frame->variation.value *= variation_east;
  return 1;
}

int minmea_parse_gga(minmea_sentence_gga* frame, const char* sentence) {
  char type[6];
  int north, east;
  if (!minmea_scan(sentence, "tTfdfdiiffcfcf_", type, &frame->time, &frame->latitude, &north, &frame->longitude, &east,
                   &frame->fix_quality, &frame->satellites_tracked, &frame->hdop, &frame->altitude,
                   &frame->altitude_units, &frame->height, &frame->height_units, &frame->dgps_age))
    return 0;
  if (!is_type(type, "GGA")) return 0;

  frame->latitude.value *= north;
  frame->longitude.value *= east;
  return 1;
}

int minmea_parse_gsa(minmea_sentence_gsa* frame, const char* sentence) {
  char type[6];
  int32_t* const sats = frame->sats;
  if (!minmea_scan(sentence, "tciiiiiiiiiiiiifff", type, &frame->mode, &frame->fix_type, &sats[0], &sats[1], &sats[2],
                   &sats[3], &sats[4], &sats[5], &sats[6], &sats[7], &sats[8], &sats[9], &sats[10], &sats[11],
                   &frame->pdop, &frame->hdop, &frame->vdop))
    return 0;
  return is_type(type, "GSA");
}

int minmea_parse_gll(minmea_sentence_gll* frame, const char* sentence) {
  char type[6];
  int north, east;
  if (!minmea_scan(sentence, "tfdfdTc;c", type, &frame->latitude, &north, &frame->longitude, &east, &frame->time,
                   &frame->status, &frame->mode))
    return 0;
  if (!is_type(type, "GLL")) return 0;

  frame->latitude.value *= north;
  frame->longitude.value *= east;
  return 1;
}

int minmea_parse_gst(minmea_sentence_gst* frame, const char* sentence) {
  char type[6];
  if (!minmea_scan(sentence, "tTfffffff", type, &frame->time, &frame->rms_deviation, &frame->semi_major_deviation,
                   &frame->semi_minor_deviation, &frame->semi_major_orientation, &frame->latitude_error_deviation,
                   &frame->longitude_error_deviation, &frame->altitude_error_deviation))
    return 0;
  return is_type(type, "GST");
}

int minmea_parse_gsv(minmea_sentence_gsv* frame, const char* sentence) {
  char type[6];
  minmea_sat_info* const sats = frame->sats;
  if (!minmea_scan(sentence, "tiii;iiiiiiiiiiiiiiii", type, &frame->total_msgs, &frame->msg_nr, &frame->total_sats,
                   &sats[0].nr, &sats[0].elevation, &sats[0].azimuth, &sats[0].snr,  //
                   &sats[1].nr, &sats[1].elevation, &sats[1].azimuth, &sats[1].snr,  //
                   &sats[2].nr, &sats[2].elevation, &sats[2].azimuth, &sats[2].snr,  //
                   &sats[3].nr, &sats[3].elevation, &sats[3].azimuth, &sats[3].snr))
    return 0;
  return is_type(type, "GSV");
}

int minmea_parse_vtg(minmea_sentence_vtg* frame, const char* sentence) {
  char type[6];
  char true_unit, magnetic_unit, knots_unit, kph_unit, mode;
  if (!minmea_scan(sentence, "t;fcfcfcfcc", type, &frame->true_track_degrees, &true_unit,
                   &frame->magnetic_track_degrees, &magnetic_unit, &frame->speed_knots, &knots_unit, &frame->speed_kph,
                   &kph_unit, &mode))
    return 0;
  if (!is_type(type, "VTG")) return 0;

  drop_without_unit(&frame->true_track_degrees, true_unit, 'T');
  drop_without_unit(&frame->magnetic_track_degrees, magnetic_unit, 'M');
  drop_without_unit(&frame->speed_knots, knots_unit, 'N');
  drop_without_unit(&frame->speed_kph, kph_unit, 'K');
  frame->faa_mode = mode;
  return 1;
}

int minmea_parse_zda(minmea_sentence_zda* frame, const char* sentence) {
  char type[6];
  if (!minmea_scan(sentence, "tTiiiii", type, &frame->time, &frame->date.day, &frame->date.month, &frame->date.year,
                   &frame->hour_offset, &frame->minute_offset))
    return 0;
  if (!is_type(type, "ZDA")) return 0;
  return frame->hour_offset >= -13 && frame->hour_offset <= 13 && frame->minute_offset >= 0 &&
         frame->minute_offset <= 59;
}

int minmea_parse_gbs(minmea_sentence_gbs* frame, const char* sentence) {
  char type[6];
  if (!minmea_scan(sentence, "tTfffifff", type, &frame->time, &frame->err_latitude, &frame->err_longitude,
                   &frame->err_altitude, &frame->svid, &frame->prob, &frame->bias, &frame->stddev))
    return 0;
  return is_type(type, "GBS");
}

int minmea_getdatetime(struct tm* tm, const minmea_date* date, const minmea_time* time) {
  if (date->year == -1 || time->hours == -1) return -1;
  *tm = {};
  tm->tm_year = date->year;
  if (date->year < 80)
    tm->tm_year += 100;
  else if (date->year > 1899)
    tm->tm_year -= 1900;
  tm->tm_mon = date->month - 1;
  tm->tm_mday = date->day;
  tm->tm_hour = time->hours;
  tm->tm_min = time->minutes;
  tm->tm_sec = time->seconds;
  return 0;
}

int minmea_gettime(struct timespec* ts, const minmea_date* date, const minmea_time* time) {
  struct tm tm;
  if (minmea_getdatetime(&tm, date, time) != 0) return -1;
  const time_t seconds = timegm(&tm);
  if (seconds == -1) return -1;
  ts->tv_sec = seconds;
  ts->tv_nsec = time->microseconds * 1000L;
  return 0;
}
