#include "modem/sms/septets.h"

#include <iterator>

namespace vek::sms {
namespace {

constexpr unsigned kEscape = 0x1B;

// By septet. "?" at 10 and 12 to 1A stands for Greek capitals, which ISO-8859-1 lacks.
constexpr uint8_t kDefaultAlphabet[] = {
    0x40, 0xA3, 0x24, 0xA5, 0xE8, 0xE9, 0xF9, 0xEC, 0xF2, 0xC7, 0x0A, 0xD8, 0xF8, 0x0D, 0xC5, 0xE5,  // 00
    '?',  '_',  '?',  '?',  '?',  '?',  '?',  '?',  '?',  '?',  '?',  '?',  0xC6, 0xE6, 0xDF, 0xC9,  // 10
    ' ',  '!',  '"',  '#',  0xA4, '%',  '&',  '\'', '(',  ')',  '*',  '+',  ',',  '-',  '.',  '/',   // 20
    '0',  '1',  '2',  '3',  '4',  '5',  '6',  '7',  '8',  '9',  ':',  ';',  '<',  '=',  '>',  '?',   // 30
    0xA1, 'A',  'B',  'C',  'D',  'E',  'F',  'G',  'H',  'I',  'J',  'K',  'L',  'M',  'N',  'O',   // 40
    'P',  'Q',  'R',  'S',  'T',  'U',  'V',  'W',  'X',  'Y',  'Z',  0xC4, 0xD6, 0xD1, 0xDC, 0xA7,  // 50
    0xBF, 'a',  'b',  'c',  'd',  'e',  'f',  'g',  'h',  'i',  'j',  'k',  'l',  'm',  'n',  'o',   // 60
    'p',  'q',  'r',  's',  't',  'u',  'v',  'w',  'x',  'y',  'z',  0xE4, 0xF6, 0xF1, 0xFC, 0xE0,  // 70
};
static_assert(std::size(kDefaultAlphabet) == 128);

constexpr uint8_t after_escape(unsigned septet) {
  switch (septet) {
    case 0x0A:
      return '\f';
    case 0x14:
      return '^';
    case 0x28:
      return '{';
    case 0x29:
      return '}';
    case 0x2F:
      return '\\';
    case 0x3C:
      return '[';
    case 0x3D:
      return '~';
    case 0x3E:
      return ']';
    case 0x40:
      return '|';
    default:
      return '?';
  }
}

unsigned septet_at(std::span<const uint8_t> packed, size_t index) {
  const size_t octet = index * 7 / 8;
  const auto shift = static_cast<unsigned>(index * 7 % 8);
  unsigned bits = packed[octet];
  if (shift > 1) bits |= packed[octet + 1] * 256u;
  return bits >> shift & 0x7F;
}

// Eight septets out of seven octets, one a byte, the first the lowest.
uint64_t spread(std::span<const uint8_t, 7> octets) {
  uint64_t bits = 0;
#pragma GCC unroll 7
  for (size_t i = 0; i < octets.size(); i++) bits |= uint64_t{octets[i]} << (8 * i);
  bits = (bits & 0x0000'0000'0FFF'FFFF) | (bits & 0x00FF'FFFF'F000'0000) << 4;
  bits = (bits & 0x0000'3FFF'0000'3FFF) | (bits & 0x0FFF'C000'0FFF'C000) << 2;
  return (bits & 0x007F'007F'007F'007F) | (bits & 0x3F80'3F80'3F80'3F80) << 1;
}

constexpr uint64_t kOnes = 0x0101'0101'0101'0101;

bool holds_escape(uint64_t septets) {
  const uint64_t zero_where_escape = septets ^ kOnes * kEscape;
  return ((zero_where_escape - kOnes) & ~zero_where_escape & kOnes * 0x80) != 0;
}

}  // namespace

int unpack_septets(std::span<const uint8_t> packed, size_t first, size_t count, std::span<uint8_t> out) {
  const size_t end = first + count;
  if (octets_of_septets(end) > packed.size()) return -1;
  uint8_t* to = out.data();
  uint8_t* const full = to + out.size();
  for (size_t at = first; at < end; at++) {
    if (at % 8 == 0 && end - at >= 8 && full - to >= 8) {
      const uint64_t septets = spread(packed.subspan(at / 8 * 7).first<7>());
      if (!holds_escape(septets)) {
#pragma GCC unroll 8
        for (unsigned i = 0; i < 8; i++) *to++ = kDefaultAlphabet[septets >> (8 * i) & 0x7F];
        at += 7;
        continue;
      }
    }
    if (to == full) return -1;
    const unsigned septet = septet_at(packed, at);
    if (septet != kEscape) {
      *to++ = kDefaultAlphabet[septet];
    } else {
      at++;
      *to++ = at < end ? after_escape(septet_at(packed, at)) : '?';
    }
  }
  return static_cast<int>(to - out.data());
}

}  // namespace vek::sms
