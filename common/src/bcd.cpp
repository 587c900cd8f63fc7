#include <string.h>

#include <algorithm>

#include "common/misc/hex.h"
#include "log/log.h"
#include "vek_pal/util.h"

namespace {

constexpr char kLogTag[] = "UTILS";
constexpr char kDigits[] = "0123456789*#pw+";
constexpr unsigned kFiller = 0xF;

// The half-byte of a character, kFiller for one that has none.
unsigned half_of(char character) {
  const char lower = character == 'P' || character == 'W' ? static_cast<char>(character | 0x20) : character;
  const void* const found = memchr(kDigits, lower, kFiller);
  return found == nullptr ? kFiller : static_cast<unsigned>(static_cast<const char*>(found) - kDigits);
}

unsigned hex_half(char character) { return static_cast<unsigned>(std::max(vek::hex::value(character), 0)); }

}  // namespace

int vek_pal_bcd_to_ascii(const unsigned char* bcd, unsigned len, char* ascii, unsigned asciisize, unsigned* outlen) {
  if (len == 0) return FAIL(-1, "len is 0");
  if (outlen == nullptr) return FAIL(-1, "outlen is NULL");
  if (ascii == nullptr) return FAIL(-1, "ascii is NULL");
  if (bcd == nullptr) return FAIL(-1, "bcd is NULL");

  const unsigned room = asciisize > 0 ? asciisize - 1 : 0;
  unsigned written = 0;
  for (unsigned i = 0; i < len && written < room; i++) {
    const unsigned low = bcd[i] & 0xF;
    const unsigned high = bcd[i] >> 4;
    if (low == kFiller) return FAIL(-1, "invalid bcd %c", bcd[i]);
    ascii[written++] = kDigits[low];
    if (high == kFiller) break;
    if (written < room) ascii[written++] = kDigits[high];
  }
  ascii[written] = '\0';
  *outlen = written;
  return 0;
}

int vek_pal_ascii_to_bcd(const char* ascii, unsigned len, unsigned char* bcd, unsigned bcdsize, unsigned* outlen) {
  if (len == 0) return FAIL(-1, "len is 0");
  if (outlen == nullptr) return FAIL(-1, "outlen is NULL");
  if (bcd == nullptr) return FAIL(-1, "bcd is NULL");
  if (ascii == nullptr) return FAIL(-1, "ascii is NULL");

  for (unsigned i = 0; i < len && i / 2 < bcdsize; i++) {
    const unsigned half = half_of(ascii[i]);
    if (half == kFiller) return FAIL(-1, "invalid %c", ascii[i]);
    unsigned char& byte = bcd[i / 2];
    byte = static_cast<unsigned char>(i % 2 == 0 ? kFiller << 4 | half : half << 4 | (byte & 0xFu));
  }
  *outlen = len / 2 + len % 2;
  return 0;
}

void vek_pal_decode_rawbcd_to_ascii(const unsigned char* bcd, char* ascii, unsigned len) {
  for (unsigned i = 0; i < len; i++) {
    const auto swapped = static_cast<unsigned char>(bcd[i] << 4 | bcd[i] >> 4);
    vek::hex::encode(&swapped, 1, ascii + 2 * size_t{i}, vek::hex::Letters::upper);
  }
}

void vek_pal_encode_ascii_to_rawbcd(const char* ascii, unsigned char* bcd, unsigned bcdsize) {
  if (bcdsize == 0) return;
  memset(bcd, 0xFF, bcdsize);
  if (*ascii == '\0') bcd[0] = 0;
  for (unsigned i = 0; i < bcdsize && *ascii != '\0'; i++) {
    const unsigned low = hex_half(*ascii++);
    const unsigned high = *ascii != '\0' ? hex_half(*ascii++) : kFiller;
    bcd[i] = static_cast<unsigned char>(high << 4 | low);
  }
}
