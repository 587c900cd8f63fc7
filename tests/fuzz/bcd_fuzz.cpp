// Semi-octet numbers: what decodes encodes back, cut where the room ends; raw halves go both ways whatever they are.
#include <algorithm>

#include "tests/fuzz/exact.h"
#include "vek_pal/util.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const unsigned room = *data++;
  const auto length = static_cast<unsigned>(--size);
  const Exact in(length, data);
  const Exact text(std::max(room, 1u));
  unsigned written = 0;
  if (vek_pal_bcd_to_ascii(in.bytes(), length, text.text(), room, &written) == 0) {
    require(written == strlen(text.text()) && written <= 2 * length);
    const Exact back((written + 1) / 2);
    unsigned used = 0;
    require((vek_pal_ascii_to_bcd(text.text(), written, back.bytes(), (written + 1) / 2, &used) == 0) == (written > 0));
    require(used == (written + 1) / 2);
    require(memcmp(back.bytes(), in.bytes(), written / 2) == 0);
    if (written % 2 != 0) require(back.bytes()[written / 2] == (in.bytes()[written / 2] | 0xF0));
  }

  const Exact digits(2 * size_t{length} + 1);
  vek_pal_decode_rawbcd_to_ascii(in.bytes(), digits.text(), length);
  digits.text()[2 * length] = '\0';
  const Exact raw(length);
  vek_pal_encode_ascii_to_rawbcd(digits.text(), raw.bytes(), length);
  require(memcmp(raw.bytes(), in.bytes(), length) == 0);

  // Any text is taken, one way or the other.
  const Exact any = Exact::terminated(data, length);
  const Exact out(room);
  unsigned used = 0;
  if (vek_pal_ascii_to_bcd(any.text(), length, out.bytes(), room, &used) == 0) require(used == (length + 1) / 2);
  vek_pal_encode_ascii_to_rawbcd(any.text(), out.bytes(), room);
  return 0;
}
