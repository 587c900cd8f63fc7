// What only the module's AT server knows about the module.
#include <stddef.h>
#include <stdio.h>
#include <string.h>

#include <string_view>

#include "log/log.h"
#include "vek_pal/at_client.h"
#include "vek_pal/device_info.h"

namespace {

constexpr char kLogTag[] = "MODEM";
constexpr uint32_t kResponseSize = 128;
constexpr size_t kSerialNumberLength = 10;

// A letter a year from 2010, and two letters a month. I and O are left out: they look like digits.
constexpr std::string_view kLetters = "ABCDEFGHJKLMNPQRSTUVWXYZ";

int year_of(char letter) {
  const size_t index = kLetters.find(letter);
  return index == kLetters.npos ? 2010 : 2010 + static_cast<int>(index);
}

int month_of(char letter) {
  const size_t index = kLetters.find(letter);
  return index == kLetters.npos ? 1 : 1 + static_cast<int>(index / 2);
}

// The text between the response's first two double quotes, when it is as long as a serial number.
bool vek_pal_get_date_string(const char* response, char (&serial_number)[kSerialNumberLength + 1]) {
  const char* const open = strchr(response, '"');
  const char* const close = open != nullptr ? strchr(open + 1, '"') : nullptr;
  if (close == nullptr || close - open - 1 != static_cast<ptrdiff_t>(kSerialNumberLength)) return false;
  memcpy(serial_number, open + 1, kSerialNumberLength);
  serial_number[kSerialNumberLength] = '\0';
  LOG_I("SN: %s", serial_number);
  return true;
}

}  // namespace

int vek_pal_get_manufacture_date(char* date) {
  if (date == nullptr) return FAIL(7, "get manufacture date failed for param");
  constexpr char kCommand[] = "AT+CFSN\r\n";
  char response[kResponseSize + 1] = {};
  uint32_t length = 0;
  if (vek_pal_at_send(kCommand, sizeof kCommand - 1, response, kResponseSize, &length) != 0)
    return FAIL(-1, "get manufacture date for at excute failed");

  char serial_number[kSerialNumberLength + 1] = {};
  vek_pal_get_date_string(response, serial_number);
  char text[32];
  snprintf(text, sizeof text, "%d%02d01", year_of(serial_number[4]), month_of(serial_number[5]));
  memcpy(date, text, 9);
  LOG_I("manufacture date: %s", date);
  return 0;
}

int vek_pal_get_pidvid(char* pidvid) {
  if (pidvid == nullptr) return FAIL(7, "get pidvid failed for param");
  constexpr char kCommand[] = "AT+GTOEMUSBID?\r\n";
  constexpr size_t kKept = 8;
  char response[kResponseSize + 1] = {};
  uint32_t length = 0;
  if (vek_pal_at_send(kCommand, sizeof kCommand, response, kResponseSize, &length) != 0)
    return FAIL(-1, "AT cmd send failed");
  if (strstr(response, "OK") == nullptr && strstr(response, "ok") == nullptr) return FAIL(-1, "AT cmd response ERROR");
  const char* const colon = strchr(response, ':');
  if (colon == nullptr || colon[1] == '\0') return FAIL(-1, "PID VID parse ERROR");

  char kept[kKept + 1] = {};
  size_t count = 0;
  for (const char* at = colon + 1; *at != '\0' && count < kKept; at++)
    if (*at != ',') kept[count++] = *at;
  LOG_I("get pidvid: %s", kept);
  strcpy(pidvid, kept);
  return 0;
}
