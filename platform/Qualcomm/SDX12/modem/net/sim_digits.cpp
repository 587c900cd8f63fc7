#include "modem/net/sim_digits.h"

#include <string.h>

#include "common/misc/hex.h"

namespace vek::sim {

namespace {

constexpr size_t kImsiBytes = 8, kImsiMin = 6;
constexpr uint8_t kOdd = 9, kEven = 1;  // EF IMSI's first half-byte: 3GPP TS 24.008, 10.5.1.4
constexpr size_t kIccidBytes = 10;      // EF ICCID: ETSI TS 102 221, 13.2
static_assert(2 * kIccidBytes == kIccidMax && 2 * kImsiBytes - 1 == kImsiMax);

// Half-bytes from number `first` on, the low one of a byte first, up to the filler: how many digits they are, or 0 when
// they are not digits and then nothing but filler.
size_t put_digits(const uint8_t* bytes, size_t first, size_t end, char* digits) {
  size_t count = 0;
  bool filler = false;
  for (size_t i = first; i < end; i++) {
    const unsigned half = i % 2 == 0 ? bytes[i / 2] & 0xFu : bytes[i / 2] >> 4;
    if (half == 0xF) {
      filler = true;
    } else if (half > 9 || filler) {
      return 0;
    } else {
      digits[count++] = static_cast<char>('0' + half);
    }
  }
  digits[count] = '\0';
  return count;
}

}  // namespace

bool decode_imsi(std::span<const uint8_t> file, char* imsi) {
  // A length byte, then half-bytes: the parity, the digits, and a filler when their number is even.
  if (file.empty()) return false;
  const size_t length = file[0];
  if (length == 0 || length > kImsiBytes || length >= file.size()) return false;
  const uint8_t parity = file[1] & 0xF;
  if (parity != kOdd && parity != kEven) return false;
  char digits[kImsiMax + 1];
  const size_t count = put_digits(file.data() + 1, 1, 2 * length, digits);
  if (count < kImsiMin || count != 2 * length - (parity == kOdd ? 1 : 2)) return false;
  memcpy(imsi, digits, count + 1);
  return true;
}

bool decode_iccid(std::span<const uint8_t> file, char* iccid) {
  char digits[kIccidMax + 1];
  if (file.size() != kIccidBytes) return false;
  const size_t count = put_digits(file.data(), 0, kIccidMax, digits);
  if (count != 0) memcpy(iccid, digits, count + 1);
  return count != 0;
}

const char* find_eid(const char* answer) {
  const char* at = strstr(answer, "+GTESIMID:");
  if (at == nullptr) return nullptr;
  at += strlen("+GTESIMID:");
  while (*at != '\0' && *at != '\r' && *at != '\n') {
    size_t digits = 0;
    while (vek::hex::value(at[digits]) >= 0) digits++;
    if (digits == kEidDigits) return at;
    at += digits != 0 ? digits : 1;
  }
  return nullptr;
}

}  // namespace vek::sim
