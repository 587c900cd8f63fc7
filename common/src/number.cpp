#include <stdint.h>
#include <stdlib.h>

#include <algorithm>
#include <limits>
#include <optional>

#include "log/log.h"
#include "vek_pal/util.h"

namespace {

constexpr char kLogTag[] = "UTILS";

template <typename Number>
constexpr Number clamped(long long value) {
  using Limits = std::numeric_limits<Number>;
  return static_cast<Number>(std::clamp<long long>(value, Limits::min(), Limits::max()));
}

// The whole of `s` as a number; what is too long is the nearest 64-bit one.
std::optional<long long> whole_number(const char* s) {
  char* end;
  const long long value = strtoll(s, &end, 10);
  return *end == '\0' ? std::optional(value) : std::nullopt;
}

}  // namespace

int vek_pal_strtoint32(const char* s, int* result) {
  if (s == nullptr) return FAIL(-1, "str is null");
  if (result == nullptr) return FAIL(-1, "result is null");
  const std::optional<long long> value = whole_number(s);
  if (!value) return FAIL(-1, "invalid int str:%s", s);
  *result = clamped<int>(*value);
  return 0;
}

int vek_pal_strtouint32(const char* s, unsigned* result) {
  if (s == nullptr) return FAIL(-1, "str is null");
  if (result == nullptr) return FAIL(-1, "result is null");
  const std::optional<long long> value = whole_number(s);
  if (!value) return FAIL(-1, "invalid int str:%s", s);
  // As strtoul() has it where longs have 32 bits: a negative number wraps, one too low is the highest.
  constexpr long long kMax = std::numeric_limits<unsigned>::max();
  *result = *value < -kMax ? std::numeric_limits<unsigned>::max() : static_cast<unsigned>(std::min(*value, kMax));
  return 0;
}

int vek_pal_strtoint32_range(const char* s, int min, int max, int* result) {
  if (result == nullptr) return FAIL(-1, "result is null");
  int value = 0;
  const int parsed = vek_pal_strtoint32(s, &value);
  if (value > max || value < min)
    return FAIL(-1, "int out of range: val=%u, min=%u, max=%u", static_cast<unsigned>(value),
                static_cast<unsigned>(min), static_cast<unsigned>(max));
  *result = value;
  return parsed;
}

int vek_pal_pow(int base, int exp) {
  if (exp < 0) {
    if (base == 0) return std::numeric_limits<int>::max();
    if (base != 1 && base != -1) return 0;
    exp = exp % 2 == 0 ? 0 : 1;  // 1 and -1 are their own inverses
  }
  if (base >= -1 && base <= 1 && exp > 1) exp = 2 - exp % 2;  // only odd or even matters
  int64_t power = 1;
  for (; exp > 0 && power == clamped<int>(power); exp--) power *= base;
  // The sign of what no int holds alternates on.
  if (exp % 2 != 0 && base < 0) power = -power;
  return clamped<int>(power);
}
