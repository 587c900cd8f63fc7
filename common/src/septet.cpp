#include <stdint.h>

#include <algorithm>
#include <bit>

#include "common/base/bytes.h"
#include "vek_pal/util.h"

namespace {

constexpr unsigned kGroupOctets = 7;  // seven octets are eight septets
constexpr unsigned kGroupSeptets = 8;
constexpr uint64_t kCarriageReturnAbove = 0x0D << 1;  // a septet of carriage return, above one bit of text

constexpr unsigned kWord = sizeof(uint64_t);

uint64_t load(const unsigned char* from) { return vek::load<std::endian::little, uint64_t>(from); }
void store(uint64_t value, unsigned char* to) { vek::store<std::endian::little>(to, value); }

uint64_t load(const unsigned char* from, unsigned count) {
  uint64_t value = 0;
  for (unsigned i = 0; i < count; i++) value |= uint64_t{from[i]} << (8 * i);
  return value;
}

void store(uint64_t value, unsigned char* to, unsigned count) {
  for (unsigned i = 0; i < count; i++, value >>= 8) to[i] = static_cast<unsigned char>(value);
}

// Eight septets side by side to one a byte: halves apart, quarters apart, eighths apart.
constexpr uint64_t spread(uint64_t packed) {
  packed = (packed << 4 & 0x0FFF'FFFF'0000'0000) | (packed & 0x0000'0000'0FFF'FFFF);
  packed = (packed << 2 & 0x3FFF'0000'3FFF'0000) | (packed & 0x0000'3FFF'0000'3FFF);
  return (packed << 1 & 0x7F00'7F00'7F00'7F00) | (packed & 0x007F'007F'007F'007F);
}

// And back.
constexpr uint64_t gather(uint64_t septets) {
  septets = (septets >> 1 & 0x3F80'3F80'3F80'3F80) | (septets & 0x007F'007F'007F'007F);
  septets = (septets >> 2 & 0x0FFF'C000'0FFF'C000) | (septets & 0x0000'3FFF'0000'3FFF);
  return (septets >> 4 & 0x00FF'FFFF'F000'0000) | (septets & 0x0000'0000'0FFF'FFFF);
}
static_assert(gather(spread(0x00FE'DCBA'9876'5432)) == 0x00FE'DCBA'9876'5432);

}  // namespace

int vek_pal_7bit_decode(const unsigned char* packed, unsigned len, unsigned char* out, unsigned outsize,
                        unsigned* outlen) {
  const auto septets = static_cast<unsigned>(std::min<uint64_t>(uint64_t{len} + len / kGroupOctets, outsize));
  unsigned left = septets;
  // A group takes seven octets; as long as eight are there, a whole word is read.
  for (; left > kGroupSeptets; left -= kGroupSeptets, packed += kGroupOctets, out += kGroupSeptets)
    store(spread(load(packed)), out);
  store(spread(load(packed, std::min(left, kGroupOctets))), out,
        left);  // n septets end in octet n, eight in the seventh
  *outlen = septets;
  return 0;
}

int vek_pal_7bit_encode(const unsigned char* septets, unsigned len, unsigned char* out, unsigned outsize,
                        unsigned* outlen) {
  if (len == 0) {
    if (outsize > 0) out[0] = 0;
    *outlen = 1;
    return 0;
  }
  const auto octets = static_cast<unsigned>(std::min<uint64_t>((uint64_t{len} * 7 + 7) / 8, outsize));
  unsigned left = octets;
  // A group makes seven octets; as long as there is room for eight, a whole word is written.
  for (; left >= kWord && len >= kGroupSeptets; left -= kGroupOctets, len -= kGroupSeptets) {
    store(gather(load(septets)), out);
    septets += kGroupSeptets;
    out += kGroupOctets;
  }
  uint64_t group = gather(load(septets, std::min(len, kGroupSeptets)));
  if (len == kGroupSeptets - 1) group |= kCarriageReturnAbove << 48;
  store(group, out, std::min(left, kGroupOctets));
  *outlen = octets;
  return 0;
}
