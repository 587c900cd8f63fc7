// CRC-16/XMODEM without a table.
//
// The generator is x^16 + x^12 + x^5 + 1. Squaring is linear over GF(2), so for k = 1, 2, 4, 8, ... and N = 16 k bits
//   x^N = x^(3N/4) + x^(5N/16) + 1   (modulo the generator):
// a word of N bits is folded into the bits below it by shifts alone, 64 bits as easily as 16.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <bit>
#include <limits>

#include "common/base/bytes.h"

namespace vek {

// `high` * x^N + `low` modulo the generator, in N bits.
template <typename Word>
constexpr Word crc16_fold(Word high, Word low) {
  constexpr int kBits = std::numeric_limits<Word>::digits;
  // x^(3N/4) shifts the upper three quarters back to where they came from; they are folded in their turn.
  const Word all = static_cast<Word>(high ^ high >> kBits / 4 ^ high >> kBits / 2 ^ high >> kBits * 3 / 4);
  low = static_cast<Word>(low ^ all << kBits * 3 / 4 ^ all << kBits * 5 / 16 ^ all);
  const Word above = static_cast<Word>(all >> kBits * 11 / 16);
  const Word rest = static_cast<Word>(above ^ above >> kBits / 4);
  return static_cast<Word>(low ^ rest << kBits * 3 / 4 ^ rest << kBits * 5 / 16 ^ rest);
}

// The remainder of `value` * x^16: halves its words until 16 bits are left.
template <typename Word>
constexpr uint16_t crc16_finish(Word value) {
  if constexpr (sizeof(Word) == 8) {
    return crc16_finish(crc16_fold(static_cast<uint32_t>(value >> 32), static_cast<uint32_t>(value)));
  } else {
    const uint16_t remainder = crc16_fold(static_cast<uint16_t>(value >> 16), static_cast<uint16_t>(value));
    return crc16_fold(remainder, uint16_t{0});
  }
}

// `Word` is the machine's.
template <typename Word>
uint16_t crc16(const unsigned char* data, size_t count) {
  constexpr int kBits = std::numeric_limits<Word>::digits;
  // Four words of remainder. The start value is 0, so zeros in front change nothing, and the odd bytes go first.
  Word a = 0, b = 0, c = 0, d = 0;
  const unsigned char* const end = data + count;
  for (size_t odd = count % sizeof(Word); odd > 0; odd--) d = static_cast<Word>(d << 8 | *data++);
  for (; data != end; data += sizeof(Word)) {
    // The foremost word is 4N bits above the next one: x^4N = x^3N + x^(N + N/4) + 1.
    const Word folded = a;
    a = b ^ folded;
    b = c ^ folded >> kBits * 3 / 4;
    c = d ^ folded << kBits / 4;
    d = load<std::endian::big, Word>(data) ^ folded;
  }
  return crc16_finish(crc16_fold(crc16_fold(crc16_fold(a, b), c), d));
}

}  // namespace vek
