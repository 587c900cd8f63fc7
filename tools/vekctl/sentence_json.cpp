#include "sentence_json.h"

#include <fmt/format.h>

#include "vek_pal/minmea.h"

namespace vekctl {
namespace {

using Json = nlohmann::ordered_json;

Json number(const minmea_float& it) {
  if (it.scale == 0) return nullptr;
  return static_cast<double>(it.value) / it.scale;
}

// From degrees and minutes in one number.
Json degrees(const minmea_float& it) {
  if (it.scale == 0) return nullptr;
  const int64_t scale = int64_t{it.scale} * 100;
  return static_cast<double>(it.value / scale) + static_cast<double>(it.value % scale) / (60.0 * it.scale);
}

Json text(const minmea_time& it) {
  if (it.hours == -1) return nullptr;
  return fmt::format("{:02}:{:02}:{:02}.{:06}", it.hours, it.minutes, it.seconds, it.microseconds);
}

Json text(const minmea_date& it) {
  tm date;
  constexpr minmea_time kMidnight{};
  if (minmea_getdatetime(&date, &it, &kMidnight) != 0) return nullptr;
  return fmt::format("{:04}-{:02}-{:02}", date.tm_year + 1900, date.tm_mon + 1, date.tm_mday);
}

Json letter(int it) { return it == 0 ? Json(nullptr) : Json(std::string(1, static_cast<char>(it))); }

template <typename Frame>
using Parser = int (*)(Frame*, const char*);

template <typename Frame>
Json read(const std::string& sentence, Parser<Frame> parse, Json (*fields)(const Frame&)) {
  Frame frame{};
  return parse(&frame, sentence.c_str()) != 0 ? fields(frame) : Json{{"error", "malformed"}};
}

Json gbs(const minmea_sentence_gbs& it) {
  return {{"time", text(it.time)},
          {"err_latitude", number(it.err_latitude)},
          {"err_longitude", number(it.err_longitude)},
          {"err_altitude", number(it.err_altitude)},
          {"svid", it.svid},
          {"prob", number(it.prob)},
          {"bias", number(it.bias)},
          {"stddev", number(it.stddev)}};
}

Json gga(const minmea_sentence_gga& it) {
  return {{"time", text(it.time)},
          {"latitude", degrees(it.latitude)},
          {"longitude", degrees(it.longitude)},
          {"fix_quality", it.fix_quality},
          {"satellites_tracked", it.satellites_tracked},
          {"hdop", number(it.hdop)},
          {"altitude", number(it.altitude)},
          {"altitude_units", letter(it.altitude_units)},
          {"height", number(it.height)},
          {"height_units", letter(it.height_units)},
          {"dgps_age", number(it.dgps_age)}};
}

Json gll(const minmea_sentence_gll& it) {
  return {{"latitude", degrees(it.latitude)},
          {"longitude", degrees(it.longitude)},
          {"time", text(it.time)},
          {"status", letter(it.status)},
          {"mode", letter(it.mode)}};
}

Json gsa(const minmea_sentence_gsa& it) {
  Json ids = Json::array();
  for (const int id : it.sats)
    if (id != 0) ids.push_back(id);
  return {{"mode", letter(it.mode)}, {"fix_type", it.fix_type}, {"sats", ids},
          {"pdop", number(it.pdop)}, {"hdop", number(it.hdop)}, {"vdop", number(it.vdop)}};
}

Json gst(const minmea_sentence_gst& it) {
  return {{"time", text(it.time)},
          {"rms_deviation", number(it.rms_deviation)},
          {"semi_major_deviation", number(it.semi_major_deviation)},
          {"semi_minor_deviation", number(it.semi_minor_deviation)},
          {"semi_major_orientation", number(it.semi_major_orientation)},
          {"latitude_error_deviation", number(it.latitude_error_deviation)},
          {"longitude_error_deviation", number(it.longitude_error_deviation)},
          {"altitude_error_deviation", number(it.altitude_error_deviation)}};
}

Json gsv(const minmea_sentence_gsv& it) {
  Json sats = Json::array();
  for (const minmea_sat_info& sat : it.sats)
    if (sat.nr != 0)
      sats.push_back({{"nr", sat.nr}, {"elevation", sat.elevation}, {"azimuth", sat.azimuth}, {"snr", sat.snr}});
  return {{"total_msgs", it.total_msgs}, {"msg_nr", it.msg_nr}, {"total_sats", it.total_sats}, {"sats", sats}};
}

Json rmc(const minmea_sentence_rmc& it) {
  return {{"time", text(it.time)},
          {"valid", it.valid},
          {"latitude", degrees(it.latitude)},
          {"longitude", degrees(it.longitude)},
          {"speed", number(it.speed)},
          {"course", number(it.course)},
          {"date", text(it.date)},
          {"variation", number(it.variation)}};
}

Json vtg(const minmea_sentence_vtg& it) {
  return {{"true_track_degrees", number(it.true_track_degrees)},
          {"magnetic_track_degrees", number(it.magnetic_track_degrees)},
          {"speed_knots", number(it.speed_knots)},
          {"speed_kph", number(it.speed_kph)},
          {"faa_mode", letter(it.faa_mode)}};
}

Json zda(const minmea_sentence_zda& it) {
  return {{"time", text(it.time)},
          {"date", text(it.date)},
          {"hour_offset", it.hour_offset},
          {"minute_offset", it.minute_offset}};
}

Json fields_of(const std::string& sentence) {
  switch (minmea_sentence_id(sentence.c_str(), false)) {
    case MINMEA_SENTENCE_GBS:
      return read(sentence, minmea_parse_gbs, gbs);
    case MINMEA_SENTENCE_GGA:
      return read(sentence, minmea_parse_gga, gga);
    case MINMEA_SENTENCE_GLL:
      return read(sentence, minmea_parse_gll, gll);
    case MINMEA_SENTENCE_GSA:
      return read(sentence, minmea_parse_gsa, gsa);
    case MINMEA_SENTENCE_GST:
      return read(sentence, minmea_parse_gst, gst);
    case MINMEA_SENTENCE_GSV:
      return read(sentence, minmea_parse_gsv, gsv);
    case MINMEA_SENTENCE_RMC:
      return read(sentence, minmea_parse_rmc, rmc);
    case MINMEA_SENTENCE_VTG:
      return read(sentence, minmea_parse_vtg, vtg);
    case MINMEA_SENTENCE_ZDA:
      return read(sentence, minmea_parse_zda, zda);
    case MINMEA_UNKNOWN:
      return {{"error", "unknown type"}};
    default:
      return {{"error", "no sentence, or a wrong checksum"}};
  }
}

}  // namespace

Json sentence_json(const std::string& sentence) {
  Json result = Json::object();
  char type[6];
  if (minmea_scan(sentence.c_str(), "t", type) != 0) {
    result["talker"] = std::string(type, 2);
    result["type"] = type + 2;
  }
  result.update(fields_of(sentence));
  return result;
}

}  // namespace vekctl
