#include "common/misc/hex.h"

#include <string.h>

namespace vek::hex {

namespace {

constexpr size_t kBlock = 16;

constexpr uint8_t digit(uint8_t half, Letters letters) {
  return static_cast<uint8_t>(half + '0' + (half > 9 ? static_cast<uint8_t>(letters) : 0));
}

// Two plain loops over one block of fixed size, without a table and without branches: halves apart, then halves to
// digits. Compilers turn each into the machine's wide operations where it has any.
void encode_block(const unsigned char* from, char* to, Letters letters) {
  uint8_t halves[2 * kBlock];
  for (size_t i = 0; i < kBlock; i++) {
    halves[2 * i] = from[i] >> 4;
    halves[2 * i + 1] = from[i] & 15;
  }
  for (uint8_t& half : halves) half = digit(half, letters);
  memcpy(to, halves, sizeof halves);
}

}  // namespace

void encode(const unsigned char* from, size_t count, char* to, Letters letters) {
  for (; count >= kBlock; count -= kBlock, from += kBlock, to += 2 * kBlock) encode_block(from, to, letters);
  for (; count > 0; count--, from++) {
    *to++ = static_cast<char>(digit(*from >> 4, letters));
    *to++ = static_cast<char>(digit(*from & 15, letters));
  }
}

}  // namespace vek::hex
