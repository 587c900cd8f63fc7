// The SIM's numbers out of any bytes: a whole number of digits, or nothing at all.
#include <stdint.h>

#include "exact.h"
#include "modem/at/atr/profiles_info.h"
#include "modem/net/sim_digits.h"

namespace {

size_t digits_in(const char* text) {
  const size_t count = strspn(text, "0123456789");
  require(text[count] == '\0');
  return count;
}

bool is_hex(const char* text, size_t count) {
  for (size_t i = 0; i < count; i++)
    if (text[i] == '\0' || strchr("0123456789abcdefABCDEF", text[i]) == nullptr) return false;
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Exact file(size, data);
  const Exact imsi = Exact::terminated("untouched\0\0\0\0\0\0", 15);
  if (vek::sim::decode_imsi({file.bytes(), size}, imsi.text())) {
    const size_t count = digits_in(imsi.text());
    require(count >= 6 && count <= 15 && file.bytes()[0] == count / 2 + 1);
  } else {
    require(strcmp(imsi.text(), "untouched") == 0);
  }
  const Exact iccid = Exact::terminated("untouched\0\0\0\0\0\0\0\0\0\0\0", 20);
  if (vek::sim::decode_iccid({file.bytes(), size}, iccid.text())) {
    const size_t count = digits_in(iccid.text());
    require(size == 10 && count >= 1 && count <= 20);
  } else {
    require(strcmp(iccid.text(), "untouched") == 0);
  }

  const Exact text = Exact::terminated(data, size);
  if (const char* const eid = vek::sim::find_eid(text.text())) {
    require(is_hex(eid, 32) && !is_hex(eid, 33));
    require(strstr(text.text(), "+GTESIMID:") < eid);
  }
  char enabled[21] = "untouched";
  if (vek::at::find_enabled(text.text(), enabled)) {
    require(strlen(enabled) == 20 && is_hex(enabled, 20) && strstr(text.text(), enabled) != nullptr);
  } else {
    require(strcmp(enabled, "untouched") == 0);
  }
  return 0;
}
