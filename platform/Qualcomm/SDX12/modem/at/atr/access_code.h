// The access code of a module: each digit of its IMEI, raised to the exponent modulo the modulus, as two hex digits.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <array>
#include <optional>

#include "modem/at/atr/params_text.h"

namespace vek::at {

using DigitCodes = std::array<uint8_t, 10>;

// Modulus 2 to 256; anything else, and exponent 0, make no code.
constexpr std::optional<DigitCodes> digit_codes(uint64_t exponent, uint32_t modulus) {
  if (exponent == 0 || modulus < 2 || modulus > 256) return {};
  DigitCodes codes = {};
  for (uint32_t digit = 0; digit < codes.size(); digit++) {
    uint32_t power = 1;
    uint32_t square = digit % modulus;
    for (uint64_t left = exponent; left != 0; left >>= 1) {
      if ((left & 1) != 0) power = power * square % modulus;
      square = square * square % modulus;
    }
    codes[digit] = static_cast<uint8_t>(power);
  }
  return codes;
}

constexpr size_t kImeiMax = 32;
constexpr size_t kCodeSize = 2 * kImeiMax + 1;

// The code of an IMEI as text; false, and an empty text, when the IMEI has no digit or there are no digit codes.
constexpr bool access_code(const char* imei, const std::optional<DigitCodes>& codes, char (&code)[kCodeSize]) {
  constexpr char kHex[] = "0123456789ABCDEF";
  size_t length = 0;
  for (; codes && *imei != '\0' && length + 2 < kCodeSize; imei++) {
    if (!is_digit(*imei)) continue;
    const uint8_t value = (*codes)[static_cast<size_t>(*imei - '0')];
    code[length++] = kHex[value >> 4];
    code[length++] = kHex[value & 15];
  }
  code[length] = '\0';
  return length > 0;
}

}  // namespace vek::at
