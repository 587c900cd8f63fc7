#include "modem/at/atr/profiles_info.h"

#include <string.h>

#include "common/misc/hex.h"

namespace vek::at {

namespace {

constexpr char kIccidTag[] = "5A0A";  // the tag, and 10 bytes
constexpr char kStateTag[] = "9501";  // the tag, and 1 byte
constexpr char kEnabled[] = "01";

}  // namespace

bool find_enabled(const char* answer, char (&iccid)[kIccidDigits + 1]) {
  constexpr size_t kTagLength = sizeof kIccidTag - 1;
  while ((answer = strstr(answer, kIccidTag)) != nullptr) {
    const char* const digits = answer + kTagLength;
    size_t count = 0;
    while (count < kIccidDigits && vek::hex::value(digits[count]) >= 0) count++;
    answer = digits;
    if (count < kIccidDigits) continue;
    const char* const state = strstr(digits + kIccidDigits, kStateTag);
    if (state == nullptr || strncmp(state + sizeof kStateTag - 1, kEnabled, sizeof kEnabled - 1) != 0) continue;
    memcpy(iccid, digits, kIccidDigits);
    iccid[kIccidDigits] = '\0';
    return true;
  }
  return false;
}

}  // namespace vek::at
