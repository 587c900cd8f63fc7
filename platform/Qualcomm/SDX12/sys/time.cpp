#include "vek_pal/time.h"

#include <string.h>
#include <sys/sysinfo.h>
#include <sys/time.h>
#include <time.h>

#include "log/log.h"

constexpr uint16_t vek_mon_yday[2][13] = {
    {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365},
    {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366},
};

static_assert(sizeof(vek_pal_rtc) == 10);

namespace {

constexpr char kLogTag[] = "SYS";
constexpr int64_t kDay = 86400;
constexpr int64_t kYear = 365 * kDay;
constexpr int64_t kDaysIn400Years = 400 * 365 + 97;

// The timestamp's own rule, which knows the year modulo 256.
constexpr bool is_timestamp_leap(int year) {
  const int low = year & 0xFF;
  return low % 4 == 0 && (low % 100 != 0 || low == 0);
}

constexpr bool is_leap(int64_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

// 29ths of February from 1971 to the end of `year`.
constexpr int64_t leap_days(int64_t year) {
  constexpr auto since_year_0 = [](int64_t y) { return y / 4 - y / 100 + y / 400; };
  return since_year_0(year) - since_year_0(1970);
}

bool set_clock(time_t seconds) {
  timeval now{};
  now.tv_sec = seconds;
  return settimeofday(&now, nullptr) == 0;
}

}  // namespace

int vek_pal_getRTC(vek_pal_rtc* rtc) {
  if (rtc == nullptr) return FAIL(VEK_PAL_TIME_BAD_ARGUMENT, "Parameter is NULL");
  const time_t now = time(nullptr);
  tm local;
  if (localtime_r(&now, &local) == nullptr) return FAIL(VEK_PAL_TIME_NO_LOCAL_TIME, "get localtime error");
  rtc->sec = static_cast<uint8_t>(local.tm_sec);
  rtc->min = static_cast<uint8_t>(local.tm_min);
  rtc->hour = static_cast<uint8_t>(local.tm_hour);
  rtc->day = static_cast<uint8_t>(local.tm_mday);
  rtc->month = static_cast<uint8_t>(local.tm_mon + 1);
  rtc->year = static_cast<uint16_t>(local.tm_year + 1900);
  rtc->wday = static_cast<uint8_t>(local.tm_wday);
  LOG_I("RTC: %04d-%02d-%02d %02d:%02d:%02d\n", rtc->year, rtc->month, rtc->day, rtc->hour, rtc->min, rtc->sec);
  return 0;
}

int vek_pal_setRTC(const vek_pal_rtc* rtc) {
  if (rtc == nullptr) return FAIL(VEK_PAL_TIME_BAD_ARGUMENT, "Parameter is NULL");
  tm local{};
  local.tm_sec = rtc->sec;
  local.tm_min = rtc->min;
  local.tm_hour = rtc->hour;
  local.tm_mday = rtc->day;
  local.tm_mon = rtc->month - 1;
  local.tm_year = rtc->year - 1900;
  local.tm_wday = rtc->wday;
  if (!set_clock(mktime(&local))) return FAIL(VEK_PAL_TIME_SET_FAILED, "Set system time error");
  LOG_I("RTC set successfully");
  return 0;
}

int vek_pal_setTimestamp(unsigned seconds) {
  if (!set_clock(static_cast<time_t>(seconds))) return FAIL(VEK_PAL_TIME_SET_FAILED, "set system time error");
  LOG_I("Timestamp set successfully. Timestamp has been set to %lu\n", static_cast<unsigned long>(seconds));
  return 0;
}

int vek_pal_getTimestamp(int64_t* seconds) {
  if (seconds == nullptr) return FAIL(VEK_PAL_TIME_BAD_ARGUMENT, "Parameter is NULL");
  vek_pal_rtc now;
  if (vek_pal_getRTC(&now) != 0) return FAIL(-1, "Get RTC error");

  // The day counts from 1, not 0. The day too many is made up for by 1992, which this rule takes for a common year:
  // management services have got these figures for years.
  const int64_t day = now.day + vek_mon_yday[is_timestamp_leap(now.year)][now.month - 1];
  int64_t sum = kYear * (now.year - 1970) + kDay * day + 3600 * now.hour + 60 * now.min + now.sec;
  for (int year = 1971; year < now.year; year++)
    if (is_timestamp_leap(year)) sum += kDay;
  *seconds = sum;
  LOG_I("Timestamp sec: %lld seconds\n", static_cast<long long>(sum));
  return 0;
}

long vek_pal_getSysTicks(void) {
  struct sysinfo info;
  if (sysinfo(&info) != 0) return FAIL(0, "sysinfo failed");
  LOG_I("System uptime: %ld seconds\n", static_cast<long>(info.uptime));
  return static_cast<long>(info.uptime);
}

int vek_pal_get_sys_time(void) {
  const int seconds = static_cast<int>(vek_pal_getSysTicks());
  LOG_I("System uptime sec: %d seconds\n", seconds);
  return seconds;
}

long vek_pal_getSysSec(void) {
  timespec now;
  if (clock_gettime(CLOCK_MONOTONIC, &now) != 0) return FAIL(-1, "Failed to get clock time");
  const long seconds = static_cast<long>(now.tv_sec);
  LOG_I("System uptime sec: %ld seconds\n", seconds);
  return seconds;
}

int vek_pal_TimeStamp2TimeStr(unsigned seconds, char* out) {
  if (out == nullptr) return FAIL(-1, "output buffer is null");
  const auto time = static_cast<time_t>(seconds);
  tm local;
  if (localtime_r(&time, &local) == nullptr) return FAIL(-1, "get localtime error");
  strftime(out, sizeof "2024-03-01 00:00:00", "%Y-%m-%d %H:%M:%S", &local);
  LOG_I("test time:  %s\n", out);
  return 0;
}

void rtc_msecs2datetime(const int64_t* msecs, vek_pal_datetime* out) {
  if (*msecs < 0) return;
  int64_t days = *msecs / (kDay * 1000);
  const auto of_day = static_cast<int>(*msecs % (kDay * 1000));

  // The calendar repeats after 400 years; within them a guess by years of 365 days is at most one too high.
  const int64_t cycles = days / kDaysIn400Years;
  days %= kDaysIn400Years;
  int64_t year = 1970 + days / 365;
  days -= 365 * (year - 1970) + leap_days(year - 1);
  if (days < 0) {
    year--;
    days += 365 + is_leap(year);
  }
  const uint16_t* const before = vek_mon_yday[is_leap(year)];
  int month = 1;
  while (days >= before[month]) month++;

  out->year = static_cast<uint16_t>(year + 400 * cycles);
  out->month = static_cast<uint8_t>(month);
  out->day = static_cast<uint8_t>(days - before[month - 1] + 1);
  out->hour = static_cast<uint8_t>(of_day / 3'600'000);
  out->minute = static_cast<uint8_t>(of_day / 60'000 % 60);
  out->second = static_cast<uint8_t>(of_day / 1000 % 60);
  out->milliseconds = static_cast<uint16_t>(of_day % 1000);
}
