#include "common/misc/hex.h"

#include <string.h>

#include <bit>

namespace vek::hex {

namespace {

constexpr size_t kBlock = 16;
constexpr bool kLittle = std::endian::native == std::endian::little;

constexpr uint8_t digit(uint8_t half, Letters letters) {
  return static_cast<uint8_t>(half + '0' + (half > 9 ? static_cast<uint8_t>(letters) : 0));
}

// Two plain loops over one block of fixed size, without a table and without branches: halves apart, then halves to
// digits. Compilers turn each into the machine's wide operations where it has any.
void encode_block(const unsigned char* from, char* to, Letters letters) {
  uint8_t bytes[kBlock];
  memcpy(bytes, from, sizeof bytes);
  uint16_t pairs[kBlock];  // in memory, the high half of a byte comes first
  for (size_t i = 0; i < kBlock; i++)
    pairs[i] = static_cast<uint16_t>(kLittle ? bytes[i] >> 4 | (bytes[i] & 15) << 8 : bytes[i] << 4 | (bytes[i] & 15));
  if (!kLittle)
    for (uint16_t& pair : pairs) pair &= 0x0F0F;
  uint8_t digits[2 * kBlock];
  memcpy(digits, pairs, sizeof digits);
  for (uint8_t& half : digits) half = digit(half, letters);
  memcpy(to, digits, sizeof digits);
}

// A half-byte, 0 for what is no digit.
constexpr uint8_t half(uint8_t character) {
  const auto number = static_cast<uint8_t>(character - '0');
  const auto letter = static_cast<uint8_t>((character | 0x20) - 'a');
  return static_cast<uint8_t>((-(number < 10) & number) | (-(letter < 6) & (letter + 10)));
}

void decode_block(const char* from, unsigned char* to) {
  uint8_t halves[4 * kBlock];
  memcpy(halves, from, sizeof halves);
  for (uint8_t& character : halves) character = half(character);
  uint16_t pairs[2 * kBlock];
  memcpy(pairs, halves, sizeof pairs);
  for (uint16_t& pair : pairs)
    pair = static_cast<uint16_t>(kLittle ? (pair << 4 | pair >> 8) & 0xFF : (pair >> 4 | pair) & 0xFF);
  uint8_t bytes[2 * kBlock];
  for (size_t i = 0; i < 2 * kBlock; i++) bytes[i] = static_cast<uint8_t>(pairs[i]);
  memcpy(to, bytes, sizeof bytes);
}

}  // namespace

void decode_leniently(const char* from, size_t count, unsigned char* to) {
  for (; count >= 2 * kBlock; count -= 2 * kBlock, from += 4 * kBlock, to += 2 * kBlock) decode_block(from, to);
  for (; count > 0; count--, from += 2)
    *to++ = static_cast<unsigned char>(half(static_cast<uint8_t>(from[0])) << 4 | half(static_cast<uint8_t>(from[1])));
}

void encode(const unsigned char* from, size_t count, char* to, Letters letters) {
  for (; count >= kBlock; count -= kBlock, from += kBlock, to += 2 * kBlock) encode_block(from, to, letters);
  for (; count > 0; count--, from++) {
    *to++ = static_cast<char>(digit(*from >> 4, letters));
    *to++ = static_cast<char>(digit(*from & 15, letters));
  }
}

}  // namespace vek::hex
