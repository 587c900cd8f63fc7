// From the receiver's answer to a location, and the queue between.
#include <gtest/gtest.h>
#include <math.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <time.h>

#include <string>

#include "records.h"
#include "vek_pal/gnss.h"
#include "vek_pal/memory.h"

namespace {

class GnssBlock : public testing::Test {
 protected:
  GnssBlock() {
    setenv("TZ", "UTC", 1);
    tzset();
  }

  vek_pal_gnss_location_t read(const std::string& text) {
    vek_pal_gnss_location_t location;
    memset(&location, 0x55, sizeof location);
    EXPECT_EQ(vek_pal_parse_gnss_nmea_data(text.c_str(), &location), 0);
    return location;
  }
};

class GnssQueue : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(vek_pal_queue_init(), 0); }
  void TearDown() override { EXPECT_EQ(vek_pal_queue_deinit(), 0); }

  // The queue as another process sees it.
  int queue() { return msgget(0x1111, 0); }
};

struct Message {
  long type;
  char data[4096];
};

}  // namespace

TEST(GnssExtract, CutsTheSentencesOutOfTheAnswer) {
  const struct {
    const char* response;
    int result;
    const char* sentences;
  } rows[] = {
      {"\r\n+GTGPS:\r\n$A\r\n$B\r\n\r\nOK\r\n", 0, "$A\r\n$B\r\n"},
      {"$A\r\nOK", 0, "$A"},
      {"$A\r\nOK\r\n$B\r\nOK\r\n", 0, "$A\r\nOK\r\n$B"},
      {"$A\r\n", 0, "$A\r\n"},
      {"$\r\nO", 0, "$\r\nO"},
      {"\r\nOK\r\n$A\r\n", 0, "$A\r\n"},
      {"$", 0, "$"},
      {"\r\nOK\r\n", -1, nullptr},
      {"+GTGPS:", -1, nullptr},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.response);
    std::string response = row.response;
    char* start = response.data();
    int length = 77;
    EXPECT_EQ(vek_pal_gnss_extract_nmea_data(response.data(), static_cast<int>(response.size()), &start, &length),
              row.result);
    if (row.sentences == nullptr) {
      EXPECT_EQ(start, nullptr);
      EXPECT_EQ(length, 0);
    } else {
      EXPECT_EQ(std::string(start, static_cast<size_t>(length)), row.sentences);
    }
  }
}

TEST(GnssExtract, TurnsDownBadArguments) {
  char response[] = "$";
  char* start;
  int length;
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_gnss_extract_nmea_data(nullptr, 1, &start, &length), -1);
    EXPECT_EQ(vek_pal_gnss_extract_nmea_data(response, 0, &start, &length), -1);
    EXPECT_EQ(vek_pal_gnss_extract_nmea_data(response, -1, &start, &length), -1);
    EXPECT_EQ(vek_pal_gnss_extract_nmea_data(response, 1, nullptr, &length), -1);
    EXPECT_EQ(vek_pal_gnss_extract_nmea_data(response, 1, &start, nullptr), -1);
  });
  EXPECT_EQ(seen.all.size(), 5u);
  for (const Record& record : seen.all) EXPECT_EQ(record.text, "Invalid input params!");
}

TEST_F(GnssBlock, ReadsWhatReceiversSayFromColdStartToFix) {
  const struct {
    const char* text;
    int valid;
    double latitude, longitude, altitude, hdop;
    int sat_type, satellites;
    uint64_t timestamp;
  } rows[] = {
      {"$GPGGA,,,,,,0,,,,,,,,*66\r\n$GPRMC,,V,,,,,,,,,,N*53\r\n$GPGSA,A,1,,,,,,,,,,,,,,,*1E\r\n$GPGSV,1,1,00*79\r\n", 0,
       NAN, NAN, NAN, NAN, 1, 0, 909701939000},
      {"$GPGGA,101206.00,,,,,0,00,99.99,,,,,,*62\r\n$GPRMC,101206.00,V,,,,,,,170524,,,N*7C\r\n"
       "$GPGSV,1,1,03,05,41,070,21,13,55,240,,29,18,310,17*4C\r\n",
       0, NAN, NAN, NAN, 99.99, 1, 3, 1715940726000},
      {"$GPGGA,101212.00,4603.4152,N,01430.3467,E,1,07,1.1,298.4,M,46.5,M,,*69\r\n"
       "$GPRMC,101212.00,A,4603.4152,N,01430.3467,E,0.1,187.4,170524,3.9,E,A*33\r\n"
       "$GPGSV,3,1,10,05,41,070,38,13,55,240,41,15,71,300,43,18,25,102,35*7A\r\n"
       "$GPGSV,3,2,10,20,12,045,27,29,18,310,31,30,09,150,24,23,33,200,*75\r\n$GPGSV,3,3,10,24,05,350,,10,02,015,*7A",
       1, 46.056919, 14.505778, 298.4, 1.1, 1, 10, 1715940732000},
      {"$GNGGA,235959.80,4603.4149,N,01430.3471,E,2,18,0.6,297.9,M,46.5,M,3.0,0131*55\n"
       "$GNRMC,235959.80,A,4603.4149,N,01430.3471,E,12.5,271.0,311224,3.9,E,D*16\n"
       "$GPGSV,2,1,07,05,41,070,38,13,55,240,41,15,71,300,43,18,25,102,35*7D\n"
       "$GLGSV,2,2,05,85,14,270,28*57\n$BDGSV,2,2,06,22,29,290,34,36,58,230,40*64\n$GNGSV,1,1,09\n$GAGSV,1,1,08\n",
       1, 46.056915, 14.505785, 297.9, 0.6, 4, 18, 1735689599000},
      {"$GLGGA,030405.123,2257.114062,S,04312.630187,W,1,05,2.4,-3.7,M,-5.6,M,,*74\r\n"
       "$GLRMC,030405.123,A,2257.114062,S,04312.630187,W,0.0,0.0,290224,22.6,W,A*32\r\n"
       "$GLGSV,2,1,06,65,33,140,34,66,70,020,41,72,25,250,30,81,48,310,37*64\r\n",
       1, -22.951900, -43.210503, -3.7, 2.4, 2, 6, 1709175845000},
      {"$BDGSV,1,1,02\r\n", 0, 0, 0, 0, 0, 3, 2, 0},
      {"", 0, 0, 0, 0, 0, 0, 0, 0},
  };
  const auto expect_near = [](float value, double wanted) {
    if (isnan(wanted))
      EXPECT_TRUE(isnan(value)) << value;
    else
      EXPECT_NEAR(static_cast<double>(value), wanted, 1e-5 + fabs(wanted) * 1e-7);
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const auto location = read(row.text);
    EXPECT_EQ(location.IsValid, row.valid);
    expect_near(location.Latitude, row.latitude);
    expect_near(location.Longitude, row.longitude);
    expect_near(location.Altitude, row.altitude);
    expect_near(location.Hdop, row.hdop);
    EXPECT_EQ(location.SatType, row.sat_type);
    EXPECT_EQ(location.Satellite_num, row.satellites);
    EXPECT_EQ(location.Timestamp, row.timestamp);
  }
}

TEST_F(GnssBlock, PassesOverWhatIsNoSentence) {
  const std::string rmc = "$GNRMC,101215.00,A,4603.4149,N,01430.3471,E,0.0,,170524,3.9,E,A*02";
  EXPECT_EQ(read(rmc + "\r\n$GNRMC,101215.00,V,,,,,,,170524,,,N*00\r\n").IsValid, 1) << "a wrong checksum";
  EXPECT_EQ(read(rmc + "\r\n$GNRMC,bad\r\n").IsValid, 1);
  EXPECT_EQ(read("+GTGPS:\r\n\r\n\n" + rmc).IsValid, 1);
  EXPECT_EQ(read(std::string(255, 'x') + rmc).IsValid, 1) << "a line is read in pieces of 255 characters";
  EXPECT_EQ(read(std::string(254, 'x') + rmc).IsValid, 0);
  EXPECT_EQ(read("$GPGSV,1,1,03*00\r\n").Satellite_num, 3) << "satellites count whatever the checksum";
  EXPECT_EQ(vek_pal_parse_gnss_nmea_data("$", nullptr), 0);
}

TEST_F(GnssBlock, SaysWhatItMadeOfEachLine) {
  const auto seen = records_of([&] { read("$GPGSV,1,1,03\r\n$GPGGA,x\r\n$PXYZ1\r\n"); });
  for (const char* text :
       {"enter will process data!", "sid:6", "enter default!", "enter GPGSV!", "sid:2", "Error!", "sid:0",
        "[Processed]:IsValid: 0,\n Latitude: 0.000000,\n Longitude: 0.000000,\n Satellite_num: 3,\n "
        "Altitude: 0.00,\n SatType: 1,\n Timestamp: 0"})
    EXPECT_TRUE(seen.has("GNSS", text)) << text << '\n' << seen;
}

TEST_F(GnssQueue, CarriesTextsOfEveryLength) {
  for (int length : {1, 7, 2039, 2048}) {
    const std::string text(static_cast<size_t>(length), 'n');
    ASSERT_EQ(vek_pal_queue_push(text.data(), length), 0);
    char* buffer = nullptr;
    int popped = 0;
    ASSERT_EQ(vek_pal_queue_pop(&buffer, 2048, &popped), 0);
    EXPECT_EQ(popped, length);
    EXPECT_EQ(std::string(buffer + 8), text);
    vek_pal_free(buffer);
  }
}

TEST_F(GnssQueue, SpeaksTheFormThatOtherProcessesUse) {
  Message message{};
  ASSERT_EQ(vek_pal_queue_push("abc", 4), 0);
  EXPECT_EQ(msgrcv(queue(), &message, sizeof message.data, 1, IPC_NOWAIT), 12) << "text and header";
  EXPECT_STREQ(message.data + 8 - sizeof(long), "abc");

  char* buffer = nullptr;
  int length = 77;
  ASSERT_EQ(msgsnd(queue(), &message, 3, IPC_NOWAIT), 0);
  ASSERT_EQ(vek_pal_queue_pop(&buffer, 100, &length), 0);
  EXPECT_EQ(length, 0) << "shorter than a header";
  vek_pal_free(buffer);

  ASSERT_EQ(msgsnd(queue(), &message, 109, IPC_NOWAIT), 0);
  EXPECT_EQ(vek_pal_queue_pop(&buffer, 100, &length), -1) << "longer than asked for";
  EXPECT_EQ(vek_pal_queue_pop(&buffer, 101, &length), 0) << "it stayed";
  EXPECT_EQ(length, 101);
  vek_pal_free(buffer);
}

TEST_F(GnssQueue, TurnsDownBadArguments) {
  char* buffer;
  int length;
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_queue_push(nullptr, 1), -1);
    for (int bad : {0, -1, 2049, -2147483647}) {
      EXPECT_EQ(vek_pal_queue_push("", bad), -1);
      EXPECT_EQ(vek_pal_queue_pop(&buffer, bad, &length), -1);
    }
    EXPECT_EQ(vek_pal_queue_pop(nullptr, 1, &length), -1);
    EXPECT_EQ(vek_pal_queue_init(), -1);
  });
  EXPECT_TRUE(
      seen.has("GNSS", "Queue push failed: invalid param:g_msg_id:" + std::to_string(queue()) + ", text_len:2049"));
  EXPECT_TRUE(seen.has("GNSS", "Queue pop failed: invalid param."));
  EXPECT_TRUE(seen.has("GNSS", "g_msg_id is already exit, loc is running"));
}

TEST_F(GnssQueue, SurvivesAQueueThatWasRemoved) {
  ASSERT_EQ(msgctl(queue(), IPC_RMID, nullptr), 0);
  char* buffer;
  int length;
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_queue_push("a", 2), -1);
    EXPECT_EQ(vek_pal_queue_pop(&buffer, 8, &length), -1);
    EXPECT_EQ(vek_pal_queue_deinit(), 0);
    EXPECT_EQ(vek_pal_queue_deinit(), 0);
    EXPECT_EQ(vek_pal_queue_push("a", 2), -1);
  });
  for (const char* text :
       {"Queue push failed: msgsnd error.", "Queue pop failed: msgrcv error.", "Queue deinit failed.",
        "Queue already deinitialized.", "Queue push failed: invalid param:g_msg_id:-1, text_len:2"})
    EXPECT_TRUE(seen.has("GNSS", text)) << text;
}
