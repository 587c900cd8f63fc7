// Hex digits, for everything that turns bytes into hex text or back.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace vek::hex {

// How far the digits beyond 9 lie above "9" and what follows it.
enum class Letters : uint8_t { lower = 'a' - '9' - 1, upper = 'A' - '9' - 1 };

// 2 * count characters, high half of a byte first, no terminator. The two may not overlap.
void encode(const unsigned char* from, size_t count, char* to, Letters letters);

// The value of a digit of either case, -1 for any other character.
constexpr int value(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  const char letter = static_cast<char>(digit | 0x20);
  return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

// Pairs of digits, high half first, up to the first other character; false when there is one. It reads 2 * count
// characters at most, and none behind a wrong one.
inline bool decode(const char* from, size_t count, unsigned char* to) {
  for (size_t i = 0; i < count; i++) {
    const int high = value(from[2 * i]);
    if (high < 0) return false;
    const int low = value(from[2 * i + 1]);
    if (low < 0) return false;
    to[i] = static_cast<unsigned char>(high << 4 | low);
  }
  return true;
}

// The same for any text: what is no digit counts as 0.
void decode_leniently(const char* from, size_t count, unsigned char* to);

}  // namespace vek::hex
