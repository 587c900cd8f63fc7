// 7-bit text: unpacked septets pack to the octets that they came from, and a smaller room gives a prefix.
#include <algorithm>

#include "tests/fuzz/exact.h"
#include "vek_pal/util.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const unsigned room = *data++;
  const auto length = static_cast<unsigned>(--size);
  const Exact in(length, data);
  const unsigned whole = length + length / 7;
  const Exact septets(whole), cut(room);
  unsigned written = 0;
  require(vek_pal_7bit_decode(in.bytes(), length, septets.bytes(), whole, &written) == 0 && written == whole);
  for (unsigned i = 0; i < whole; i++) require(septets.bytes()[i] < 0x80);
  vek_pal_7bit_decode(in.bytes(), length, cut.bytes(), room, &written);
  require(written == std::min(room, whole));
  require(memcmp(cut.bytes(), septets.bytes(), written) == 0);

  const Exact octets(length), fewer(room);
  require(vek_pal_7bit_encode(septets.bytes(), whole, octets.bytes(), length, &written) == 0 && written == length);
  require(memcmp(octets.bytes(), in.bytes(), length - 1) == 0);
  const unsigned used_bits = whole * 7 % 8;  // of the last octet
  const unsigned used = used_bits == 0 ? 0xFF : (1u << used_bits) - 1;
  const unsigned filler = used_bits == 1 ? 0x1A : 0;
  require(octets.bytes()[length - 1] == ((in.bytes()[length - 1] & used) | filler));
  vek_pal_7bit_encode(septets.bytes(), whole, fewer.bytes(), room, &written);
  require(written == std::min(room, length));
  require(memcmp(fewer.bytes(), octets.bytes(), written) == 0);
  return 0;
}
