// One sentence through everything that reads sentences, then through the scanner with every format that the input
// spells.
#include <stdint.h>
#include <string.h>

#include <string>

#include "exact.h"
#include "vek_pal/minmea.h"

namespace {

// What holds for every number that was read.
void check(const minmea_float& number) {
  if (number.scale == 0) {
    require(number.value == 0);
    return;
  }
  int32_t scale = number.scale;
  while (scale % 10 == 0) scale /= 10;
  require(scale == 1);
}

void check(const minmea_time& time) {
  const bool empty = time.hours == -1 && time.minutes == -1 && time.seconds == -1 && time.microseconds == -1;
  const bool digits = time.hours >= 0 && time.hours <= 99 && time.minutes >= 0 && time.minutes <= 99 &&
                      time.seconds >= 0 && time.seconds <= 99 && time.microseconds >= 0 && time.microseconds <= 999999;
  require(empty || digits);
}

void check(const minmea_date& date) {
  require(
      (date.day == -1 && date.month == -1 && date.year == -1) ||
      (date.day >= 0 && date.day <= 99 && date.month >= 0 && date.month <= 99 && date.year >= 0 && date.year <= 99));
}

void parse(const char* text) {
  const int lenient = minmea_sentence_id(text, false), strict = minmea_sentence_id(text, true);
  require(lenient >= -1 && lenient <= 9);
  require(strict == -1 || strict == lenient);

  int parsed = 0;
  if (minmea_sentence_rmc rmc; minmea_parse_rmc(&rmc, text)) {
    check(rmc.time), check(rmc.date), check(rmc.speed), check(rmc.course);
    timespec ts;
    if (minmea_gettime(&ts, &rmc.date, &rmc.time) == 0) require(ts.tv_nsec >= 0 && ts.tv_nsec < 1000000000);
    parsed = parsed * 10 + MINMEA_SENTENCE_RMC;
  }
  if (minmea_sentence_gga gga; minmea_parse_gga(&gga, text)) {
    check(gga.time), check(gga.hdop), check(gga.altitude);
    parsed = parsed * 10 + MINMEA_SENTENCE_GGA;
  }
  if (minmea_sentence_gsa gsa; minmea_parse_gsa(&gsa, text)) parsed = parsed * 10 + MINMEA_SENTENCE_GSA;
  if (minmea_sentence_gll gll; minmea_parse_gll(&gll, text)) parsed = parsed * 10 + MINMEA_SENTENCE_GLL;
  if (minmea_sentence_gst gst; minmea_parse_gst(&gst, text)) parsed = parsed * 10 + MINMEA_SENTENCE_GST;
  if (minmea_sentence_gsv gsv; minmea_parse_gsv(&gsv, text)) parsed = parsed * 10 + MINMEA_SENTENCE_GSV;
  if (minmea_sentence_vtg vtg; minmea_parse_vtg(&vtg, text)) parsed = parsed * 10 + MINMEA_SENTENCE_VTG;
  if (minmea_sentence_zda zda; minmea_parse_zda(&zda, text)) parsed = parsed * 10 + MINMEA_SENTENCE_ZDA;
  if (minmea_sentence_gbs gbs; minmea_parse_gbs(&gbs, text)) parsed = parsed * 10 + MINMEA_SENTENCE_GBS;
  require(parsed <= 9);  // one type at the most
  require(parsed == 0 || lenient == -1 || lenient == parsed);
}

// Each letter goes through the scanner by itself, on the field that the letters before have left it.
void scan(const char* text, const std::string& letters) {
  static constexpr char kLetters[] = "cdfistDT_;x";
  std::string format;
  for (const char letter : letters) {
    const char wanted = kLetters[static_cast<unsigned char>(letter) % (sizeof kLetters - 1)];
    const std::string last = format + wanted;
    const Exact room(strlen(text) + 6);  // the whole sentence as one field, or a type
    char* const out = room.text();
    minmea_float number{0, 0};
    minmea_time time{-1, -1, -1, -1};
    minmea_date date{-1, -1, -1};
    int integer = 0;
    int result;
    switch (wanted) {
      case 'f':
        result = minmea_scan(text, last.c_str(), &number);
        break;
      case 'T':
        result = minmea_scan(text, last.c_str(), &time);
        break;
      case 'D':
        result = minmea_scan(text, last.c_str(), &date);
        break;
      case 'd':
      case 'i':
        result = minmea_scan(text, last.c_str(), &integer);
        break;
      default:
        result = minmea_scan(text, last.c_str(), out);
        break;
    }
    if (result != 0) check(number), check(time), check(date);
    require(wanted != 'x' || result == 0);
    require(wanted != 'd' || (integer >= -1 && integer <= 1));
    format += wanted == ';' ? ';' : '_';
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Up to the first zero byte the sentence, behind it the formats.
  const std::string input(reinterpret_cast<const char*>(data), size);
  const Exact sentence = Exact::terminated(input.data(), strlen(input.c_str()));
  const char* const text = sentence.text();
  require(minmea_check(text, false) || !minmea_check(text, true));
  parse(text);
  if (strlen(text) < size) scan(text, input.substr(strlen(text) + 1, 32));
  return 0;
}
