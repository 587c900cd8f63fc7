// Reading the pieces of a parameter text. A reader gets the rest of the text and says how many characters it took.
#pragma once

#include <stdint.h>

namespace vek::at {

constexpr bool is_digit(char c) { return c >= '0' && c <= '9'; }
constexpr bool is_hex_digit(char c) { return is_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

struct Number {
  bool negative;
  uint32_t magnitude;
  uint32_t length;  // sign and digits; 0: no number stands here
};

// From -2147483647 to 4294967293: the two numbers above that mean "omitted" and "not set".
inline Number read_number(const char* text) {
  constexpr uint32_t kMax = 4294967293u;
  constexpr uint32_t kMaxNegative = 2147483647u;
  const char* at = text;
  const bool negative = *at == '-';
  if (negative || *at == '+') at++;
  if (!is_digit(*at)) return {};
  uint64_t magnitude = 0;
  do {
    magnitude = magnitude * 10 + static_cast<uint64_t>(*at++ - '0');
    if (magnitude > (negative ? kMaxNegative : kMax)) return {};
  } while (is_digit(*at));
  return {negative, static_cast<uint32_t>(magnitude), static_cast<uint32_t>(at - text)};
}

}  // namespace vek::at
