// Hex text: the strict readers agree with each other, and with the lenient one as far as they get.
#include <ctype.h>

#include <algorithm>

#include "tests/fuzz/exact.h"
#include "vek_pal/encoding.h"
#include "vek_pal/util.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const auto length = static_cast<unsigned>(size / 2 * 2);
  const unsigned count = length / 2;
  const Exact in(length, data);
  const Exact lenient(count + 1), strict(count), unchecked(count);
  require(vek_pal_hex2str(in.text(), length, lenient.bytes(), count + 1) == static_cast<int>(count));
  const int code = vek_pal_hex2bin(in.text(), length, strict.bytes(), count);
  require(vek_pal_AtoHex(in.text(), unchecked.bytes(), length) == code);

  const auto* const wrong =
      std::find_if_not(in.text(), in.text() + length, [](char c) { return isxdigit(static_cast<unsigned char>(c)); });
  require((code == 0) == (wrong == in.text() + length));
  const auto good = static_cast<size_t>(wrong - in.text()) / 2;
  require(memcmp(lenient.bytes(), strict.bytes(), good) == 0);
  require(memcmp(lenient.bytes(), unchecked.bytes(), good) == 0);
  for (size_t i = good; i < count; i++) require(strict.bytes()[i] == 0);

  const Exact text(length + 1);
  require(vek_pal_str2hex(lenient.bytes(), count, text.text(), length + 1) == static_cast<int>(length));
  for (size_t i = 0; i < 2 * good; i++) require(text.bytes()[i] == tolower(in.bytes()[i]));
  return 0;
}
