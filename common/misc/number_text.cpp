#include <limits>

#include "log/log.h"
#include "vek_pal/encoding.h"

namespace {

constexpr char kLogTag[] = "CODETRANS";
constexpr char kDigits[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

}  // namespace

int vek_pal_atoi(const char* s) {
  if (s == nullptr) return FAIL(-1, "src is NULL");
  while (*s == ' ') s++;
  const bool negative = *s == '-';
  if (*s == '-' || *s == '+') s++;

  unsigned value = 0;  // wraps where the number is too large
  for (; *s >= '0' && *s <= '9'; s++) value = value * 10 + static_cast<unsigned>(*s - '0');
  if (value == 0) return FAIL(0, "there are no numbers in the string");
  return static_cast<int>(negative ? 0 - value : value);
}

char* vek_pal_itoa(int value, char* buf, unsigned radix) {
  if (buf == nullptr || radix < 2 || radix >= sizeof kDigits) return FAIL(nullptr, "The input radix is NULL");
  auto left = static_cast<unsigned>(value);
  char* to = buf;
  if (radix == 10 && value < 0) {
    left = 0 - left;
    *to++ = '-';
  }

  char reversed[std::numeric_limits<unsigned>::digits];
  char* last = reversed;
  do {
    *last++ = kDigits[left % radix];
    left /= radix;
  } while (left != 0);
  while (last != reversed) *to++ = *--last;
  *to = '\0';
  return buf;
}
