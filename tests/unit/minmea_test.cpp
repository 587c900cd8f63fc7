#include "vek_pal/minmea.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>

#include <memory>
#include <utility>

#include "records.h"

namespace {

// On the heap and exactly as long as it is, so that a sanitizer sees a look behind the end.
std::unique_ptr<char, void (*)(void*)> exact(const char* text) { return {strdup(text), free}; }

constexpr char kGga[] = "$GNGGA,101215.00,4603.4149,N,01430.3471,E,1,12,0.8,298.1,M,46.5,M,,*74\r\n";

using Number = std::pair<int, int>;
Number number_of(const minmea_float& number) { return {number.value, number.scale}; }

}  // namespace

TEST(MinmeaCheck, AcceptsWholeSentencesOnly) {
  const struct {
    const char* text;
    int lenient, strict;
  } rows[] = {
      {kGga, 1, 1},
      {"$GPGGA,,,,,,0,,,,,,,,*66", 1, 1},
      {"$GPGGA,,,,,,0,,,,,,,,*67", 0, 0},
      {"$GPXTE,A,A,,,N*3c\n\r\n", 1, 1},
      {"$GPGGA,,,,,,0,,,,,,,,", 1, 0},
      {"$GPGGA,,,,,,0,,,,,,,,\r\n", 1, 0},
      {"$GPGGA,,,,,,0,,,,,,,,*", 0, 0},
      {"$GPGGA,,,,,,0,,,,,,,,*6", 0, 0},
      {"$GPGGA,,,,,,0,,,,,,,,*6G", 0, 0},
      {"$GPGGA,,,,,,0,,,,,,,,*66\r\nOK", 0, 0},
      {"$GPGGA,,\t,,,,0,,,,,,,,", 0, 0},
      {"$GPGGA,\xC3\xA9", 0, 0},
      {"GPGGA,,,,,,0,,,,,,,,*66", 0, 0},
      {"$*00", 1, 1},
      {"$", 1, 0},
      {"", 0, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(minmea_check(exact(row.text).get(), false), row.lenient);
    EXPECT_EQ(minmea_check(exact(row.text).get(), true), row.strict);
  }
}

TEST(MinmeaChecksum, CoversWhatStandsBetweenDollarAndStar) {
  EXPECT_EQ(minmea_checksum(kGga), 0x74);
  EXPECT_EQ(minmea_checksum(kGga + 1), 0x74);
  EXPECT_EQ(minmea_checksum("$AB"), 'A' ^ 'B');
  EXPECT_EQ(minmea_checksum("A\xFF"), 'A' ^ 0xFF);
  EXPECT_EQ(minmea_checksum("$*"), 0);
  EXPECT_EQ(minmea_checksum(""), 0);
}

TEST(MinmeaSentenceId, GoesByTheTypeWhoeverTalks) {
  const struct {
    const char* text;
    int id;
  } rows[] = {
      {"$GPGBS", 1}, {"$GNGGA", 2},  {"$BDGLL", 3},  {"$GLGSA", 4},  {"$GPGST", 5},
      {"$GAGSV", 6}, {"$GNRMC,", 7}, {"$GPVTG,", 8}, {"$GPZDA", 9},  {"$GPXYZ", 0},
      {"$GPRM", -1}, {"GPRMC", -1},  {"$,,,,,", -1}, {"$GPgga,", 0}, {"$GPGGA*55", -1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(minmea_sentence_id(exact(row.text).get(), false), row.id);
  }
  EXPECT_EQ(minmea_sentence_id("$GPRMC", true), -1);

  char talker[3] = "--";
  EXPECT_EQ(minmea_talker_id(talker, "GPRMC"), 0);
  EXPECT_STREQ(talker, "--");
  EXPECT_EQ(minmea_talker_id(talker, "$GPRMC"), 1);
  EXPECT_STREQ(talker, "GP");
}

TEST(MinmeaScan, ReadsNumbersExactlyOrNotAtAll) {
  const struct {
    const char* text;
    int result, value, scale;
  } rows[] = {
      {"4916.45", 1, 491645, 100},
      {"7", 1, 7, 1},
      {"7.", 1, 7, 1},
      {"12.345", 1, 12345, 1000},
      {"-.5", 1, -5, 10},
      {".-5", 1, -5, 10},
      {"+0.5", 1, 5, 10},
      {"007", 1, 7, 1},
      {" 1", 1, 1, 1},
      {"", 1, 0, 0},
      {"  ", 1, 0, 0},
      {",5", 1, 0, 0},
      {"*5", 1, 0, 0},
      {"2147483647", 1, INT32_MAX, 1},
      {"-2147483647", 1, -INT32_MAX, 1},
      {"2147483648", 0, 0, 0},
      {"12345678901", 0, 0, 0},
      {"1.23456789012", 1, 1234567890, 1000000000},
      {"04312.630187", 1, 431263018, 100000},
      {"0.0000000001", 1, 0, 1000000000},
      {"0.00000000012", 1, 0, 1000000000},
      {"1.2345678901x", 1, 1234567890, 1000000000},
      {"+", 0, 0, 0},
      {".", 0, 0, 0},
      {"-.", 0, 0, 0},
      {"--1", 0, 0, 0},
      {"1-", 0, 0, 0},
      {"1 ", 0, 0, 0},
      {"- 1", 0, 0, 0},
      {". 1", 0, 0, 0},
      {"1.2.3", 0, 0, 0},
      {"1e5", 0, 0, 0},
      {"0x1", 0, 0, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    minmea_float number{77, 77};
    EXPECT_EQ(minmea_scan(exact(row.text).get(), "f", &number), row.result);
    if (row.result == 0) continue;
    EXPECT_EQ(number_of(number), Number(row.value, row.scale));
  }
}

TEST(MinmeaScan, ReadsIntegersAndDirections) {
  const struct {
    const char* text;
    int result, value;
  } rows[] = {
      {"12", 1, 12},
      {"-3", 1, -3},
      {"+4", 1, 4},
      {" 5", 1, 5},
      {"", 1, 0},
      {"\r\n6", 1, 0},
      {"9999999999", 1, INT32_MAX},
      {"-99999999999", 1, INT32_MIN},
      {"-2147483648", 1, INT32_MIN},
      {"12a", 0, 0},
      {"1.5", 0, 0},
      {"-", 0, 0},
      {" ", 0, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    int number = 77;
    EXPECT_EQ(minmea_scan(exact(row.text).get(), "i", &number), row.result);
    if (row.result == 0) continue;
    EXPECT_EQ(number, row.value);
  }
  int north, south, east, west, none;
  EXPECT_EQ(minmea_scan("N,S,E,W,", "ddddd", &north, &south, &east, &west, &none), 1);
  EXPECT_EQ(north, 1);
  EXPECT_EQ(south, -1);
  EXPECT_EQ(east, 1);
  EXPECT_EQ(west, -1);
  EXPECT_EQ(none, 0);
  EXPECT_EQ(minmea_scan("n", "d", &north), 0);
}

TEST(MinmeaScan, ReadsTimesAndDates) {
  const struct {
    const char* text;
    int result, hours, minutes, seconds, microseconds;
  } rows[] = {
      {"123456", 1, 12, 34, 56, 0},  {"123456.789", 1, 12, 34, 56, 789000},
      {"123456.", 1, 12, 34, 56, 0}, {"123456.1234567", 1, 12, 34, 56, 123456},
      {"", 1, -1, -1, -1, -1},       {"12345", 0, 0, 0, 0, 0},
      {"1", 0, 0, 0, 0, 0},          {"12:34:56", 0, 0, 0, 0, 0},
      {"12345,6", 0, 0, 0, 0, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    minmea_time time{};
    EXPECT_EQ(minmea_scan(exact(row.text).get(), "T", &time), row.result);
    if (row.result == 0) continue;
    EXPECT_EQ(time.hours, row.hours);
    EXPECT_EQ(time.minutes, row.minutes);
    EXPECT_EQ(time.seconds, row.seconds);
    EXPECT_EQ(time.microseconds, row.microseconds);
  }
  minmea_date date{};
  EXPECT_EQ(minmea_scan(exact("310199").get(), "D", &date), 1);
  EXPECT_EQ(date.day, 31);
  EXPECT_EQ(date.month, 1);
  EXPECT_EQ(date.year, 99);
  EXPECT_EQ(minmea_scan(exact("3101").get(), "D", &date), 0);
  EXPECT_EQ(minmea_scan(exact("").get(), "D", &date), 1);
  EXPECT_EQ(date.year, -1);
}

TEST(MinmeaScan, WalksTheFieldsByTheFormat) {
  char c, text[8], type[6];
  int number;
  EXPECT_EQ(minmea_scan(nullptr, "", nullptr), 0);
  EXPECT_EQ(minmea_scan("anything", ""), 1);
  EXPECT_EQ(minmea_scan("$GPRMC,abc,x,5,more", "ts_i", type, text, &number), 1);
  EXPECT_STREQ(type, "GPRMC");
  EXPECT_STREQ(text, "abc");
  EXPECT_EQ(number, 5);
  EXPECT_EQ(minmea_scan("1", "ic", &number, &c), 0) << "a missing field is not an empty one";
  EXPECT_EQ(minmea_scan("1,", "ic", &number, &c), 1);
  EXPECT_EQ(c, '\0');
  c = 'x';
  EXPECT_EQ(minmea_scan("1", "i;cs", &number, &c, text), 1);
  EXPECT_EQ(c, '\0');
  EXPECT_STREQ(text, "");
  EXPECT_EQ(minmea_scan("1", "i;t", &number, type), 0) << "a type is never optional";
  EXPECT_EQ(minmea_scan("1*2,3", "i;i", &number, &number), 1);
  EXPECT_EQ(number, 0) << "nothing is read behind the star";
  EXPECT_EQ(minmea_scan("1", "x", &number), 0);
}

TEST(MinmeaParse, SignsCoordinatesByTheirDirections) {
  minmea_sentence_gga gga;
  ASSERT_EQ(minmea_parse_gga(&gga, "$GLGGA,030405.123,2257.114062,S,04312.630187,W,1,05,2.4,-3.7,M,-5.6,M,,*74"), 1);
  EXPECT_EQ(number_of(gga.latitude), Number(-2257114062 / 10, 100000)) << "one digit more would not fit";
  EXPECT_EQ(number_of(gga.longitude), Number(-431263018, 100000));
  EXPECT_EQ(number_of(gga.altitude), Number(-37, 10));
  EXPECT_EQ(number_of(gga.height), Number(-56, 10));
  EXPECT_EQ(number_of(gga.dgps_age), Number(0, 0));
  EXPECT_EQ(gga.altitude_units, 'M');
  EXPECT_EQ(gga.fix_quality, 1);
  EXPECT_EQ(gga.satellites_tracked, 5);
  EXPECT_EQ(gga.time.microseconds, 123000);
  EXPECT_EQ(minmea_parse_gga(&gga, "$GPRMC,030405.123,2257.1,S,04312.6,W,1,05,2.4,-3.7,M,-5.6,M,,"), 0);

  minmea_sentence_gll gll;
  ASSERT_EQ(minmea_parse_gll(&gll, "$GPGLL,3723.2475,N,12158.3416,,161229.487,A"), 1);
  EXPECT_EQ(gll.latitude.value, 37232475);
  EXPECT_EQ(gll.longitude.value, 0) << "no direction, no coordinate";
  EXPECT_EQ(gll.status, 'A');
  EXPECT_EQ(gll.mode, '\0');
}

TEST(MinmeaParse, RmcSaysWhatItFound) {
  minmea_sentence_rmc rmc;
  const struct {
    const char* text;
    int result;
    bool valid;
    const char* record;
  } rows[] = {
      {"$GLRMC,030405.123,A,2257.114062,S,04312.630187,W,0.0,0.0,290224,22.6,W,A*32", 1, true, "validity is :A,0x41"},
      {"$GPRMC,,V,,,,,,,,,,N*53", 1, false, "validity is :V,0x56"},
      {"$GPRMC,,x", 0, false, "rmc scan error!"},
      {"$GPRMB,,V,,,,,,,,,,N", 0, false, "rmc cmp error!"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const auto seen = records_of([&] { EXPECT_EQ(minmea_parse_rmc(&rmc, row.text), row.result); });
    EXPECT_TRUE(seen.has("MINMEA", row.record)) << seen;
    EXPECT_EQ(seen.all.size(), 1u);
    if (row.result == 0) continue;
    EXPECT_EQ(rmc.valid, row.valid);
  }
  ASSERT_EQ(minmea_parse_rmc(&rmc, rows[0].text), 1);
  EXPECT_EQ(number_of(rmc.variation), Number(-226, 10));
  EXPECT_EQ(rmc.date.day, 29);
  EXPECT_EQ(rmc.date.year, 24);
}

TEST(MinmeaParse, TakesWhatMayBeMissing) {
  minmea_sentence_gsv gsv;
  memset(&gsv, 0x55, sizeof gsv);
  ASSERT_EQ(minmea_parse_gsv(&gsv, "$GPGSV,3,3,10,24,05,350,,10,02,015,*7A"), 1);
  EXPECT_EQ(gsv.total_sats, 10);
  EXPECT_EQ(gsv.sats[0].azimuth, 350);
  EXPECT_EQ(gsv.sats[1].nr, 10);
  EXPECT_EQ(gsv.sats[1].snr, 0);
  EXPECT_EQ(gsv.sats[3].nr, 0);
  EXPECT_EQ(minmea_parse_gsv(&gsv, "$GPGSV,1,1,00*79"), 1);
  EXPECT_EQ(gsv.sats[0].nr, 0);
  EXPECT_EQ(minmea_parse_gsv(&gsv, "$GPGSV,1,1*79"), 0);

  minmea_sentence_vtg vtg;
  ASSERT_EQ(minmea_parse_vtg(&vtg, "$GPVTG,187.4,T,183.5,X,0.1,N,0.2,K,A*25"), 1);
  EXPECT_EQ(number_of(vtg.true_track_degrees), Number(1874, 10));
  EXPECT_EQ(number_of(vtg.magnetic_track_degrees), Number(1835, 0));
  EXPECT_EQ(number_of(vtg.speed_kph), Number(2, 10));
  EXPECT_EQ(vtg.faa_mode, 'A');
  ASSERT_EQ(minmea_parse_vtg(&vtg, "$GPVTG"), 1);
  EXPECT_EQ(number_of(vtg.speed_knots), Number(0, 0));
  EXPECT_EQ(vtg.faa_mode, 0);
}

TEST(MinmeaParse, BoundsTheOffsetsOfZda) {
  minmea_sentence_zda zda;
  EXPECT_EQ(minmea_parse_zda(&zda, "$GPZDA,160012.71,11,03,2004,-13,00"), 1);
  EXPECT_EQ(zda.date.year, 2004);
  EXPECT_EQ(zda.hour_offset, -13);
  for (const char* offsets : {"-14,00", "14,00", "-1,60", "-1,-1", "-2147483648,0"})
    EXPECT_EQ(minmea_parse_zda(&zda, (std::string("$GPZDA,160012.71,11,03,2004,") + offsets).c_str()), 0) << offsets;
}

TEST(MinmeaParse, FillsEveryMemberInItsOrder) {
  minmea_sentence_gsa gsa;
  ASSERT_EQ(minmea_parse_gsa(&gsa, "$GPGSA,A,3,1,2,3,4,5,6,7,8,9,10,11,12,1.9,1.1,1.5"), 1);
  EXPECT_EQ(gsa.mode, 'A');
  EXPECT_EQ(gsa.fix_type, 3);
  for (int i = 0; i < 12; i++) EXPECT_EQ(gsa.sats[i], i + 1);
  EXPECT_EQ(gsa.pdop.value, 19);
  EXPECT_EQ(gsa.vdop.value, 15);

  minmea_sentence_gst gst;
  ASSERT_EQ(minmea_parse_gst(&gst, "$GPGST,182141.000,1,2,3,4,5,6,7"), 1);
  EXPECT_EQ(gst.rms_deviation.value, 1);
  EXPECT_EQ(gst.semi_major_orientation.value, 4);
  EXPECT_EQ(gst.altitude_error_deviation.value, 7);

  minmea_sentence_gbs gbs;
  ASSERT_EQ(minmea_parse_gbs(&gbs, "$GPGBS,015509.00,1,2,3,4,5,6,7"), 1);
  EXPECT_EQ(gbs.err_latitude.value, 1);
  EXPECT_EQ(gbs.svid, 4);
  EXPECT_EQ(gbs.stddev.value, 7);
}

TEST(MinmeaTime, MakesCalendarTimeOfTwoDigitYears) {
  const struct {
    int year, tm_year;
  } rows[] = {{2, 102}, {79, 179}, {80, 80}, {99, 99}, {1899, 1899}, {1900, 0}, {2002, 102}};
  for (const auto& row : rows) {
    const minmea_date date{5, 3, row.year};
    const minmea_time time{1, 2, 3, 4};
    tm tm;
    memset(&tm, 0x55, sizeof tm);
    EXPECT_EQ(minmea_getdatetime(&tm, &date, &time), 0);
    EXPECT_EQ(tm.tm_year, row.tm_year) << row.year;
    EXPECT_EQ(tm.tm_mon, 2);
    EXPECT_EQ(tm.tm_isdst, 0);
  }

  timespec ts{7, 7};
  const minmea_date date{17, 5, 24}, no_date{-1, -1, -1};
  const minmea_time time{10, 12, 6, 250000}, no_time{-1, -1, -1, -1};
  EXPECT_EQ(minmea_gettime(&ts, &no_date, &time), -1);
  EXPECT_EQ(minmea_gettime(&ts, &date, &no_time), -1);
  EXPECT_EQ(ts.tv_sec, 7);
  EXPECT_EQ(minmea_gettime(&ts, &date, &time), 0);
  EXPECT_EQ(ts.tv_sec, 1715940726);
  EXPECT_EQ(ts.tv_nsec, 250000000);
}
