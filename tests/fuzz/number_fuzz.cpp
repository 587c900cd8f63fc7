// Numbers: parsing agrees with from_chars where both take a text, and what is written reads back.
#include <charconv>
#include <limits>
#include <string>

#include "tests/fuzz/exact.h"
#include "vek_pal/encoding.h"
#include "vek_pal/util.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Exact in = Exact::terminated(data, size);
  const char* const text = in.text();
  const char* const end = text + strlen(text);

  constexpr int kKept = 77;
  int value = kKept;
  unsigned unsigned_value = kKept;
  const int code = vek_pal_strtoint32(text, &value);
  require(vek_pal_strtouint32(text, &unsigned_value) == code);
  require(code == 0 || (value == kKept && unsigned_value == kKept));
  int expected = 0;
  const auto parsed = std::from_chars(text, end, expected);
  if (parsed.ptr == end && text != end) {
    require(code == 0);
    if (parsed.ec == std::errc{})
      require(value == expected && vek_pal_atoi(text) == expected);
    else
      require(value == (*text == '-' ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max()));
  }
  int in_range = kKept;
  const int range_code = vek_pal_strtoint32_range(text, -100, 100, &in_range);
  require(in_range >= -100 && in_range <= 100);
  if (range_code == 0) require(code == 0 && in_range == value);

  const int number = vek_pal_atoi(text);
  for (unsigned radix = 0; radix < 40; radix++) {
    char written[34];
    if (vek_pal_itoa(number, written, radix) == nullptr) {
      require(radix < 2 || radix > 36);
    } else if (radix == 10) {
      require(std::to_string(number) == written);
    } else {
      require(strtoul(written, nullptr, static_cast<int>(radix)) == static_cast<unsigned>(number));
    }
  }
  return 0;
}
