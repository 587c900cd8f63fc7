#pragma once

namespace vek {

inline constexpr char kUpperHex[] = "0123456789ABCDEF";
inline constexpr char kLowerHex[] = "0123456789abcdef";

// Two digits of a byte, high nibble first.
inline char* put_hex(char* at, unsigned char byte, const char* digits) {
  *at++ = digits[byte >> 4];
  *at++ = digits[byte & 0xF];
  return at;
}

// "%02x " for each byte, zero-terminated: 3 * count + 1 characters.
inline void fill_hex(char* at, const unsigned char* bytes, unsigned count) {
  for (unsigned i = 0; i < count; i++) {
    at = put_hex(at, bytes[i], kLowerHex);
    *at++ = ' ';
  }
  *at = '\0';
}

}  // namespace vek
