#include "vek_pal/time.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <string>

#include "records.h"

namespace {

// This program's clock: nobody sets the machine's.
time_t g_now = 0;
bool g_may_set = true;

void set_zone(const char* zone) {
  setenv("TZ", zone, 1);
  tzset();
}

time_t utc(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  tm date{};
  date.tm_year = year - 1900;
  date.tm_mon = month - 1;
  date.tm_mday = day;
  date.tm_hour = hour;
  date.tm_min = minute;
  date.tm_sec = second;
  return timegm(&date);
}

class SystemClock : public testing::Test {
 protected:
  SystemClock() {
    set_zone("UTC0");
    g_may_set = true;
  }
};

int64_t timestamp_at(time_t now) {
  g_now = now;
  int64_t seconds = -1;
  EXPECT_EQ(vek_pal_getTimestamp(&seconds), 0);
  return seconds;
}

}  // namespace

time_t time(time_t* out) noexcept {
  if (out != nullptr) *out = g_now;
  return g_now;
}

int settimeofday(const timeval* now, const struct timezone*) noexcept {
  if (!g_may_set) {
    errno = EPERM;
    return -1;
  }
  EXPECT_EQ(now->tv_usec, 0);
  g_now = now->tv_sec;
  return 0;
}

TEST_F(SystemClock, IsReadAndSetInLocalTime) {
  set_zone("XYZ-5:30");
  g_now = utc(2024, 2, 28, 18, 30, 7);
  vek_pal_rtc rtc;
  const auto seen = records_of([&] { ASSERT_EQ(vek_pal_getRTC(&rtc), 0); });
  EXPECT_TRUE(seen.has("SYS", "RTC: 2024-02-29 00:00:07\n")) << seen;
  EXPECT_EQ(rtc.year, 2024);
  EXPECT_EQ(rtc.month, 2);
  EXPECT_EQ(rtc.day, 29);
  EXPECT_EQ(rtc.hour, 0);
  EXPECT_EQ(rtc.sec, 7);
  EXPECT_EQ(rtc.wday, 4);

  const time_t before = g_now;
  g_now = 0;
  EXPECT_TRUE(records_of([&] { EXPECT_EQ(vek_pal_setRTC(&rtc), 0); }).has("SYS", "RTC set successfully"));
  EXPECT_EQ(g_now, before);
}

TEST_F(SystemClock, IsSetInStandardTime) {
  set_zone("CET-1CEST,M3.5.0,M10.5.0");
  const vek_pal_rtc noon = {.sec = 0, .min = 0, .hour = 12, .day = 1, .month = 7, .year = 2024, .wday = 0};
  ASSERT_EQ(vek_pal_setRTC(&noon), 0);
  EXPECT_EQ(g_now, utc(2024, 7, 1, 11));
}

TEST_F(SystemClock, CanBeRefused) {
  g_may_set = false;
  const vek_pal_rtc rtc = {.sec = 0, .min = 0, .hour = 0, .day = 1, .month = 1, .year = 2024, .wday = 0};
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_setRTC(&rtc), 802);
    EXPECT_EQ(vek_pal_setTimestamp(1), 802);
    EXPECT_EQ(vek_pal_setRTC(nullptr), 7);
    EXPECT_EQ(vek_pal_getRTC(nullptr), 7);
    EXPECT_EQ(vek_pal_getTimestamp(nullptr), 7);
  });
  ASSERT_EQ(seen.all.size(), 5u);
  EXPECT_EQ(seen.all[0].text, "Set system time error");
  EXPECT_EQ(seen.all[1].text, "set system time error");
  EXPECT_EQ(seen.all[2].text, "Parameter is NULL");
}

TEST_F(SystemClock, OutOfRangeHasNoLocalTime) {
  if (sizeof(time_t) < 8) GTEST_SKIP() << "every 32-bit time has a date";
  g_now = static_cast<time_t>(INT64_MAX);
  vek_pal_rtc rtc;
  int64_t seconds;
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_getRTC(&rtc), 803);
    EXPECT_EQ(vek_pal_getTimestamp(&seconds), -1);
  });
  EXPECT_TRUE(seen.has("SYS", "get localtime error"));
  EXPECT_TRUE(seen.has("SYS", "Get RTC error"));
}

TEST_F(SystemClock, TimestampIsOneDayAheadUntilFebruary1992) {
  EXPECT_EQ(timestamp_at(utc(2024, 3, 1)), 1709251200);
  EXPECT_EQ(timestamp_at(utc(1990, 1, 1)), 631238400);
  const auto ahead = [](int year, int month, int day) {
    const time_t at = utc(year, month, day, 13, 14, 15);
    return timestamp_at(at) - at;
  };
  EXPECT_EQ(ahead(1970, 1, 1), 86400);
  EXPECT_EQ(ahead(1972, 3, 1), 86400);
  EXPECT_EQ(ahead(1992, 2, 29), 86400);
  EXPECT_EQ(ahead(1992, 3, 1), 0);
  EXPECT_EQ(ahead(1993, 1, 1), 0);
  EXPECT_EQ(ahead(2000, 2, 29), 0);
  EXPECT_EQ(ahead(2037, 12, 31), 0);
  if (sizeof(time_t) >= 8) {
    EXPECT_EQ(ahead(2048, 12, 31), 0);
    EXPECT_EQ(ahead(2100, 2, 28), 0);
    EXPECT_EQ(ahead(2100, 3, 1), 86400);
  }
  set_zone("XYZ-5:30");
  EXPECT_EQ(timestamp_at(1709251200), 1709251200 + 19800) << "counted from the local date";
  const auto seen = records_of([] { EXPECT_EQ(vek_pal_setTimestamp(1709251200), 0); });
  EXPECT_EQ(g_now, 1709251200);
  EXPECT_TRUE(seen.has("SYS", "Timestamp set successfully. Timestamp has been set to 1709251200\n"));
}

TEST_F(SystemClock, IsWrittenAsLocalText) {
  char out[21] = "????????????????????";
  EXPECT_TRUE(records_of([&] {
                EXPECT_EQ(vek_pal_TimeStamp2TimeStr(951782400, out), 0);
              }).has("SYS", "test time:  2000-02-29 00:00:00\n"));
  EXPECT_EQ(std::string(out, 20), std::string("2000-02-29 00:00:00", 20));
  set_zone("XYZ+1");
  EXPECT_EQ(vek_pal_TimeStamp2TimeStr(951782400, out), 0);
  EXPECT_STREQ(out, "2000-02-28 23:00:00");
  EXPECT_TRUE(
      records_of([] { EXPECT_EQ(vek_pal_TimeStamp2TimeStr(0, nullptr), -1); }).has("SYS", "output buffer is null"));
}

TEST(Date, OfMillisecondsIsThatOfTheCalendar) {
  vek_pal_datetime date;
  // Every day of 800 years, against the sum of the days before it.
  int64_t day = 0;
  for (int year = 1970; year < 2770; year++) {
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    for (int month = 1; month <= 12; month++) {
      const int days = vek_mon_yday[leap][month] - vek_mon_yday[leap][month - 1];
      for (int mday = 1; mday <= days; mday++, day++) {
        const int64_t msecs = day * 86'400'000 + (mday == 1 ? 0 : 86'399'999);
        rtc_msecs2datetime(&msecs, &date);
        ASSERT_EQ(date.year, year) << day;
        ASSERT_EQ(date.month, month) << day;
        ASSERT_EQ(date.day, mday) << day;
        ASSERT_EQ(date.milliseconds, mday == 1 ? 0 : 999);
      }
    }
  }
  const int64_t moment = 1709210096789;
  rtc_msecs2datetime(&moment, &date);  // 2024-02-29 12:34:56.789
  EXPECT_EQ(date.hour * 10000 + date.minute * 100 + date.second, 123456);
  EXPECT_EQ(date.milliseconds, 789);
  const int64_t before = -1, farthest = INT64_MAX;
  rtc_msecs2datetime(&before, &date);
  EXPECT_EQ(date.milliseconds, 789) << "a time before 1970 writes nothing";
  rtc_msecs2datetime(&farthest, &date);  // 292278994-08-17 07:12:55.807
  EXPECT_EQ(date.month * 100 + date.day, 817);
  EXPECT_EQ(date.milliseconds, 807);
}

TEST(Uptime, GoesOn) {
  long ticks = -1;
  int same = -1;
  const auto seen = records_of([&] {
    ticks = vek_pal_getSysTicks();
    same = vek_pal_get_sys_time();
  });
  EXPECT_GT(ticks, 0);
  EXPECT_LE(same - ticks, 1);
  EXPECT_TRUE(seen.has("SYS", "System uptime: " + std::to_string(ticks) + " seconds\n"));
  EXPECT_TRUE(seen.has("SYS", "System uptime sec: " + std::to_string(same) + " seconds\n"));
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  EXPECT_LE(vek_pal_getSysSec() - now.tv_sec, 1);
}

TEST(Random, BytesAreRecordedOneByOne) {
  unsigned char one[16] = {}, two[16] = {};
  const auto seen = records_of([&] { ASSERT_EQ(vek_pal_rng_generate(one, 16), 0); });
  ASSERT_EQ(seen.all.size(), 16u);
  for (size_t i = 0; i < 16; i++) {
    char text[] = "Random bytes: ..";
    snprintf(text, sizeof text, "Random bytes: %02x", one[i]);
    EXPECT_EQ(seen.all[i].text, text);
  }
  ASSERT_EQ(vek_pal_rng_generate(two, 16), 0);
  EXPECT_NE(memcmp(one, two, 16), 0);
  EXPECT_TRUE(records_of([&] { EXPECT_EQ(vek_pal_rng_generate(nullptr, 16), 7); }).has("SYS", "Parameter is NULL"));
  EXPECT_TRUE(records_of([&] { EXPECT_EQ(vek_pal_rng_generate(one, 0), 7); }).has("SYS", "Invalid size"));
}
