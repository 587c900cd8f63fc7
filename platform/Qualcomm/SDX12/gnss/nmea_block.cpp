// From an AT answer to a location: cuts the sentences out and reads those that matter.
#include <math.h>
#include <string.h>
#include <time.h>

#include <algorithm>
#include <string_view>

#include "log/log.h"
#include "vek_pal/gnss.h"
#include "vek_pal/minmea.h"

static_assert(sizeof(vek_pal_gnss_location_t) == 40);

namespace {

constexpr char kLogTag[] = "GNSS";
constexpr size_t kLineMax = 255;

struct Constellation {
  bool seen;
  int in_view;
};

struct Sky {
  Constellation gps, glonass, beidou;
};

float to_real(const minmea_float& number) {
  if (number.scale == 0) return NAN;
  return static_cast<float>(number.value) / static_cast<float>(number.scale);
}

// From degrees and minutes in one number (dddmm.mmmm).
float to_degrees(const minmea_float& number) {
  constexpr int32_t kScaleMax = INT32_MAX / 100;
  if (number.scale == 0 || number.scale > kScaleMax || number.scale < -kScaleMax) return NAN;
  const int32_t degrees = number.value / (number.scale * 100);
  const int32_t minutes = number.value % (number.scale * 100);
  return static_cast<float>(degrees) + static_cast<float>(minutes) / static_cast<float>(60 * number.scale);
}

void read_gga(const char* line, vek_pal_gnss_location_t& location) {
  minmea_sentence_gga gga;
  if (!minmea_parse_gga(&gga, line)) return LOG_E("Error!");
  location.Altitude = to_real(gga.altitude);
  location.Hdop = to_real(gga.hdop);
}

void read_rmc(const char* line, vek_pal_gnss_location_t& location) {
  minmea_sentence_rmc rmc;
  if (!minmea_parse_rmc(&rmc, line)) return LOG_E("Error!");
  location.IsValid = rmc.valid;
  location.Latitude = to_degrees(rmc.latitude);
  location.Longitude = to_degrees(rmc.longitude);

  // Two-digit years are of this century, and the zone is the system's, whatever RMC means.
  tm local{};
  local.tm_hour = rmc.time.hours;
  local.tm_min = rmc.time.minutes;
  local.tm_sec = rmc.time.seconds;
  local.tm_mday = rmc.date.day;
  local.tm_mon = rmc.date.month - 1;
  local.tm_year = rmc.date.year + 100;
  const time_t seconds = mktime(&local);
  if (seconds != -1) location.Timestamp = static_cast<uint64_t>(seconds) * 1000;
}

void read_gsv(const char* line, Constellation& constellation) {
  minmea_sentence_gsv gsv;
  if (minmea_parse_gsv(&gsv, line)) constellation = {true, gsv.total_sats};
}

void read_line(const char* line, vek_pal_gnss_location_t& location, Sky& sky) {
  const int id = minmea_sentence_id(line, false);
  LOG_I("sid:%d", id);
  if (id == MINMEA_SENTENCE_GGA) return read_gga(line, location);
  if (id == MINMEA_SENTENCE_RMC) return read_rmc(line, location);

  LOG_I("enter default!");
  const std::string_view text(line);
  if (text.starts_with("$GPGSV")) {
    LOG_I("enter GPGSV!");
    read_gsv(line, sky.gps);
  } else if (text.starts_with("$BDGSV")) {
    LOG_I("enter BDGSV!");
    read_gsv(line, sky.beidou);
  } else if (text.starts_with("$GLGSV")) {
    LOG_I("enter GLGSV!");
    read_gsv(line, sky.glonass);
  }
}

int sat_type(const Sky& sky) {
  if (sky.gps.seen + sky.glonass.seen + sky.beidou.seen > 1) return VEK_PAL_GNSS_SAT_SEVERAL;
  if (sky.gps.seen) return VEK_PAL_GNSS_SAT_GPS;
  if (sky.glonass.seen) return VEK_PAL_GNSS_SAT_GLONASS;
  return sky.beidou.seen ? VEK_PAL_GNSS_SAT_BEIDOU : VEK_PAL_GNSS_SAT_NONE;
}

// The counts come from the receiver and may be anything.
int sum(int a, int b, int c) {
  return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b) + static_cast<unsigned>(c));
}

}  // namespace

int vek_pal_gnss_extract_nmea_data(char* response, int response_len, char** nmea_start, int* nmea_len) {
  if (response == nullptr || response_len < 1 || nmea_start == nullptr || nmea_len == nullptr)
    return FAIL(-1, "Invalid input params!");
  *nmea_start = nullptr;
  *nmea_len = 0;

  const std::string_view text(response, static_cast<size_t>(response_len));
  const size_t start = text.find('$');
  if (start == std::string_view::npos) return -1;
  // An OK before the sentences is not theirs.
  const size_t ok = text.rfind("\r\nOK");
  const size_t end = ok == std::string_view::npos || ok < start ? text.size() : ok;

  *nmea_start = response + start;
  *nmea_len = static_cast<int>(end - start);
  LOG_I("end_idx is %d,start_idx is %d", static_cast<int>(end), static_cast<int>(start));
  return 0;
}

int vek_pal_parse_gnss_nmea_data(const char* nmea_text, vek_pal_gnss_location_t* location_data) {
  if (nmea_text == nullptr || location_data == nullptr) return 0;
  *location_data = {};
  LOG_I("enter will process data!");

  Sky sky{};
  for (const char* at = nmea_text; *at != '\0'; at += strspn(at, "\r\n")) {
    const size_t length = std::min(strcspn(at, "\r\n"), kLineMax);
    if (length == 0) continue;
    char line[kLineMax + 1];
    memcpy(line, at, length);
    line[length] = '\0';
    read_line(line, *location_data, sky);
    at += length;
  }
  location_data->SatType = sat_type(sky);
  location_data->Satellite_num = sum(sky.gps.in_view, sky.glonass.in_view, sky.beidou.in_view);

  LOG_I(
      "[Processed]:IsValid: %d,\n Latitude: %.6f,\n Longitude: %.6f,\n Satellite_num: %d,\n Altitude: %.2f,\n "
      "SatType: %d,\n Timestamp: %llu",
      location_data->IsValid, static_cast<double>(location_data->Latitude),
      static_cast<double>(location_data->Longitude), location_data->Satellite_num,
      static_cast<double>(location_data->Altitude), location_data->SatType,
      static_cast<unsigned long long>(location_data->Timestamp));
  return 0;
}
