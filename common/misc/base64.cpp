#include <limits.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <array>
#include <bit>

#include "common/base/bytes.h"
#include "log/log.h"
#include "vek_pal/encoding.h"

namespace {

constexpr char kLogTag[] = "CODETRANS";
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr uint8_t kPadding = 64;
constexpr uint8_t kInvalid = 127;

// Two characters for twelve bits: 8 KiB, for less than half the time that one character for six takes. The module's
// flash is worth more than that, so the 32-bit build does without.
constexpr bool kHasPairs = sizeof(void*) > 4;
constexpr auto kPairs = [] {
  std::array<std::array<char, 2>, kHasPairs ? 4096 : 0> pairs{};
  for (size_t i = 0; i < pairs.size(); i++) pairs[i] = {kAlphabet[i >> 6], kAlphabet[i & 63]};
  return pairs;
}();

void put_pair(unsigned char* to, uint64_t twelve_bits) {
  if constexpr (kHasPairs) {
    memcpy(to, &kPairs[twelve_bits], 2);
  } else {
    to[0] = static_cast<unsigned char>(kAlphabet[twelve_bits >> 6]);
    to[1] = static_cast<unsigned char>(kAlphabet[twelve_bits & 63]);
  }
}

constexpr auto kValues = [] {
  std::array<uint8_t, 256> values{};
  values.fill(kInvalid);
  for (uint8_t i = 0; i < 64; i++) values[static_cast<uint8_t>(kAlphabet[i])] = i;
  values['='] = kPadding;
  return values;
}();

constexpr char kFirst = '+';  // the alphabet's lowest character, and its highest
constexpr char kLast = 'z';

// The bits of a character at each place in a group of four, in the order in which bytes lie in memory: 1280 bytes, so
// that a group takes four loads and nothing is shifted or swapped.
constexpr auto kPlaced = [] {
  std::array<std::array<uint32_t, kLast - kFirst + 1>, 4> placed{};
  for (uint32_t i = 0; i < 64; i++) {
    for (size_t place = 0; place < 4; place++) {
      const uint32_t bits = i << (26 - 6 * place);
      placed[place][static_cast<size_t>(kAlphabet[i] - kFirst)] =
          std::endian::native == std::endian::big ? bits : vek::swapped(bits);
    }
  }
  return placed;
}();

constexpr unsigned kBlock = 64;

constexpr bool is_in_alphabet(uint8_t character) {
  return (static_cast<uint8_t>((character | 0x20) - 'a') < 26) | (static_cast<uint8_t>(character - '/') < 11) |
         (character == '+');
}

bool is_plain(const unsigned char* four) {
  return (kValues[four[0]] | kValues[four[1]] | kValues[four[2]] | kValues[four[3]]) < kPadding;
}

// How much text stands at the start without padding, line ends or errors, in whole groups of four.
unsigned plain_prefix(const unsigned char* src, unsigned slen) {
  unsigned at = 0;
  for (; slen - at >= kBlock; at += kBlock) {
    uint8_t characters[kBlock];
    memcpy(characters, src + at, kBlock);
    uint8_t all = 1;
    for (const uint8_t character : characters) all &= is_in_alphabet(character);
    if (all == 0) break;
  }
  while (slen - at >= 4 && is_plain(src + at)) at += 4;
  return at;
}

struct Survey {
  bool valid;
  bool has_data;
};

Survey survey(const unsigned char* src, unsigned slen) {
  Survey result{false, false};
  unsigned padding = 0;
  for (unsigned at = 0; at < slen; at++) {
    const unsigned blanks_from = at;
    while (at < slen && src[at] == ' ') at++;
    if (at == slen) return result;
    if (src[at] == '\r' && at + 1 < slen && src[at + 1] == '\n') at++;
    if (src[at] == '\n') continue;
    if (at != blanks_from) return result;
    const uint8_t value = kValues[src[at]];
    if (value == kInvalid) return result;
    if (value == kPadding) {
      if (++padding > 2) return result;
    } else {
      if (padding != 0) return result;
      result.has_data = true;
    }
  }
  result.valid = true;
  return result;
}

uint32_t bits_of(const unsigned char* four) {
  return kPlaced[0][four[0] - kFirst] | kPlaced[1][four[1] - kFirst] | kPlaced[2][four[2] - kFirst] |
         kPlaced[3][four[3] - kFirst];
}

unsigned char* decode_plain(const unsigned char* src, unsigned slen, unsigned char* to) {
  // A whole word is written for the three bytes of a group, as long as another group overwrites the fourth.
  for (; slen > 4; slen -= 4, src += 4, to += 3) {
    const uint32_t bits = bits_of(src);
    memcpy(to, &bits, sizeof bits);
  }
  if (slen == 0) return to;
  const uint32_t last = bits_of(src);
  memcpy(to, &last, 3);
  return to + 3;
}

// Text that survey() found valid. Characters that make no whole group give nothing.
unsigned char* decode_surveyed(const unsigned char* src, unsigned slen, unsigned char* to) {
  uint32_t bits = 0;
  unsigned characters = 0;
  unsigned bytes = 3;
  for (const unsigned char* const end = src + slen; src != end; src++) {
    const uint8_t value = kValues[*src];
    if (value == kInvalid) continue;  // a blank or a line end
    if (value == kPadding) bytes--;
    bits = bits << 6 | (value & 63u);
    if (++characters % 4 != 0) continue;
    for (unsigned i = 0; i < bytes; i++) *to++ = static_cast<unsigned char>(bits >> (16 - 8 * i));
  }
  return to;
}

}  // namespace

int vek_pal_base64_encode(unsigned char* dst, unsigned dsize, const unsigned char* src, unsigned slen) {
  if (dst == nullptr || dsize == 0 || src == nullptr) return FAIL(-1, "input num error");
  const uint64_t length = (uint64_t{slen} + 2) / 3 * 4;
  if (dsize < length || length > INT_MAX) return FAIL(-1, "dsize too small");

  unsigned left = slen;
  unsigned char* to = dst;
  // Six bytes of a word of eight are taken at a time.
  for (; left >= sizeof(uint64_t); left -= 6, src += 6) {
    const auto bits = vek::load<std::endian::big, uint64_t>(src);
    for (int shift = 52; shift >= 16; shift -= 12, to += 2) put_pair(to, bits >> shift & 4095);
  }
  for (; left >= 3; left -= 3, src += 3) {
    const uint32_t bits = static_cast<uint32_t>(src[0] << 16 | src[1] << 8 | src[2]);
    for (int shift = 12; shift >= 0; shift -= 12, to += 2) put_pair(to, bits >> shift & 4095);
  }
  if (left > 0) {
    const uint32_t bits = static_cast<uint32_t>(src[0] << 16 | (left == 2 ? src[1] << 8 : 0));
    to[0] = static_cast<unsigned char>(kAlphabet[bits >> 18]);
    to[1] = static_cast<unsigned char>(kAlphabet[bits >> 12 & 63]);
    to[2] = static_cast<unsigned char>(left == 2 ? kAlphabet[bits >> 6 & 63] : '=');
    to[3] = '=';
    to += 4;
  }
  *to = 0;
  return static_cast<int>(length);
}

int vek_pal_base64_decode(unsigned char* dst, unsigned dsize, const unsigned char* src, unsigned slen) {
  if (src == nullptr || slen == 0 || slen % 4 != 0 || dst == nullptr)
    return FAIL(-1, "The input parameters is incorrect");
  unsigned length = slen / 4 * 3;
  if (src[slen - 1] == '=') length -= src[slen - 2] == '=' ? 2 : 1;
  if (dsize < length) return FAIL(-1, "dsize too small");

  const unsigned plain = plain_prefix(src, slen);
  const Survey rest = survey(src + plain, slen - plain);
  if (!rest.valid) return -1;
  if (plain == 0 && !rest.has_data) return 0;

  unsigned char* const plain_end = decode_plain(src, plain, dst);
  unsigned char* const end = decode_surveyed(src + plain, slen - plain, plain_end);
  // Skipped line ends leave room between what came out and the stated length.
  memset(end, 0, static_cast<size_t>(dst + length - end) + 1);
  return static_cast<int>(length);
}
