// The field scanner and what stands before it: checksum, well-formedness, type.
#include <limits.h>
#include <stdarg.h>
#include <string.h>

#include "vek_pal/minmea.h"

namespace {

constexpr uint32_t kInt32Max = INT32_MAX;

constexpr bool is_printable(char c) { return static_cast<unsigned char>(c - ' ') <= '~' - ' '; }
constexpr bool is_field(char c) { return c != ',' && c != '*' && is_printable(c); }
constexpr bool is_line_end(char c) { return c == '\r' || c == '\n'; }

// The value of a digit; above 9 for any other character.
constexpr uint32_t digit(char c) { return static_cast<unsigned char>(c - '0'); }

constexpr int hex_digit(char c) {
  if (digit(c) <= 9) return static_cast<int>(digit(c));
  const char lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// Two digits, or a negative number.
constexpr int two_digits(const char* at) {
  if (digit(at[0]) > 9 || digit(at[1]) > 9) return -1;
  return static_cast<int>(digit(at[0]) * 10 + digit(at[1]));
}

// Each reads the field that begins at `at` and returns where it stopped, somewhere in the field or right behind it;
// NULL when the field is not as it should be. An absent field is read as the empty one.

const char* read_char(const char* at, char* out) {
  *out = is_field(*at) ? *at : '\0';
  return at;
}

const char* read_direction(const char* at, int* out) {
  switch (*at) {
    case 'N':
    case 'E':
      *out = 1;
      return at + 1;
    case 'S':
    case 'W':
      *out = -1;
      return at + 1;
    default:
      if (is_field(*at)) return nullptr;
      *out = 0;
      return at;
  }
}

const char* read_float(const char* at, minmea_float* out) {
  while (*at == ' ') at++;
  char sign = '\0';
  if (*at == '+' || *at == '-') sign = *at++;

  uint32_t value = 0;
  const char* const whole = at;
  for (uint32_t d; (d = digit(*at)) <= 9; at++) {
    if (value > kInt32Max / 10 || value * 10 + d > kInt32Max) return nullptr;
    value = value * 10 + d;
  }
  bool has_digits = at != whole;

  uint32_t scale = 1;
  const bool has_point = *at == '.';
  if (has_point) {
    at++;
    if (!has_digits && sign == '\0' && (*at == '+' || *at == '-')) sign = *at++;
    const char* const fraction = at;
    // Digits that would overflow the value or the scale only add precision: the rest of the field counts for nothing.
    for (uint32_t d; (d = digit(*at)) <= 9; at++) {
      if (scale > kInt32Max / 10 || value > kInt32Max / 10 || value * 10 + d > kInt32Max) {
        out->value = sign == '-' ? -static_cast<int32_t>(value) : static_cast<int32_t>(value);
        out->scale = static_cast<int32_t>(scale);
        return at;
      }
      value = value * 10 + d;
      scale *= 10;
    }
    has_digits = has_digits || at != fraction;
  }
  if (is_field(*at)) return nullptr;
  if (!has_digits) {
    if (sign != '\0' || has_point) return nullptr;
    scale = 0;
  }
  out->value = sign == '-' ? -static_cast<int32_t>(value) : static_cast<int32_t>(value);
  out->scale = static_cast<int32_t>(scale);
  return at;
}

// As strtol() on a 32-bit machine, but never beyond the field.
const char* read_int(const char* at, int* out) {
  const char* const start = at;
  while (*at == ' ') at++;
  char sign = '\0';
  if (*at == '+' || *at == '-') sign = *at++;

  const uint32_t limit = sign == '-' ? kInt32Max + 1 : kInt32Max;
  uint32_t value = 0;
  const char* const digits = at;
  for (uint32_t d; (d = digit(*at)) <= 9; at++)
    value = value > kInt32Max / 10 || value * 10 + d > limit ? limit : value * 10 + d;
  if (at == digits) at = start;
  if (is_field(*at)) return nullptr;
  *out = static_cast<int>(sign == '-' ? 0 - value : value);
  return at;
}

const char* read_text(const char* at, char* out) {
  while (is_field(*at)) *out++ = *at++;
  *out = '\0';
  return at;
}

const char* read_type(const char* at, char* out) {
  if (*at != '$') return nullptr;
  for (int i = 1; i <= 5; i++)
    if (!is_field(at[i])) return nullptr;
  memcpy(out, at + 1, 5);
  out[5] = '\0';
  return at + 6;
}

const char* read_date(const char* at, minmea_date* out) {
  if (!is_field(*at)) {
    *out = {-1, -1, -1};
    return at;
  }
  // Left to right, so that nothing behind the field's end is looked at.
  const int day = two_digits(at);
  const int month = day < 0 ? -1 : two_digits(at + 2);
  const int year = month < 0 ? -1 : two_digits(at + 4);
  if (year < 0) return nullptr;
  *out = {day, month, year};
  return at + 6;
}

const char* read_time(const char* at, minmea_time* out) {
  if (!is_field(*at)) {
    *out = {-1, -1, -1, -1};
    return at;
  }
  const int hours = two_digits(at);
  const int minutes = hours < 0 ? -1 : two_digits(at + 2);
  const int seconds = minutes < 0 ? -1 : two_digits(at + 4);
  if (seconds < 0) return nullptr;
  at += 6;
  int32_t microseconds = 0;
  if (*at == '.') {
    at++;
    int32_t unit = 1000000;
    for (uint32_t d; unit > 1 && (d = digit(*at)) <= 9; at++) {
      microseconds = microseconds * 10 + static_cast<int32_t>(d);
      unit /= 10;
    }
    microseconds *= unit;
  }
  *out = {hours, minutes, seconds, microseconds};
  return at;
}

// The field behind the one in which `at` stands; NULL when that was the last.
const char* next_field(const char* at) {
  while (is_field(*at)) at++;
  return *at == ',' ? at + 1 : nullptr;
}

}  // namespace

uint8_t minmea_checksum(const char* sentence) {
  if (*sentence == '$') sentence++;
  unsigned sum = 0;
  for (; *sentence != '\0' && *sentence != '*'; sentence++) sum ^= static_cast<unsigned char>(*sentence);
  return static_cast<uint8_t>(sum);
}

int minmea_check(const char* sentence, bool strict) {
  if (*sentence++ != '$') return 0;
  int sum = 0;
  for (; is_printable(*sentence) && *sentence != '*'; sentence++) sum ^= *sentence;
  if (*sentence == '*') {
    const int high = hex_digit(sentence[1]);
    const int low = high < 0 ? -1 : hex_digit(sentence[2]);
    if (low < 0 || (high << 4 | low) != sum) return 0;
    sentence += 3;
  } else if (strict) {
    return 0;
  }
  while (is_line_end(*sentence)) sentence++;
  return *sentence == '\0';
}

int minmea_scan(const char* sentence, const char* format, ...) {
  if (sentence == nullptr) return 0;
  const char* field = sentence;
  bool optional = false;

  va_list outputs;
  va_start(outputs, format);
  for (; *format != '\0'; format++) {
    if (*format == ';') {
      optional = true;
      continue;
    }
    if (field == nullptr && !optional) break;
    const char* at = field != nullptr ? field : "";
    switch (*format) {
      case 'c':
        at = read_char(at, va_arg(outputs, char*));
        break;
      case 'd':
        at = read_direction(at, va_arg(outputs, int*));
        break;
      case 'f':
        at = read_float(at, va_arg(outputs, minmea_float*));
        break;
      case 'i':
        at = read_int(at, va_arg(outputs, int*));
        break;
      case 's':
        at = read_text(at, va_arg(outputs, char*));
        break;
      case 't':
        at = read_type(at, va_arg(outputs, char*));
        break;
      case 'D':
        at = read_date(at, va_arg(outputs, minmea_date*));
        break;
      case 'T':
        at = read_time(at, va_arg(outputs, minmea_time*));
        break;
      case '_':
        break;
      default:
        at = nullptr;
    }
    if (at == nullptr) break;
    field = next_field(at);
  }
  va_end(outputs);
  return *format == '\0';
}

int minmea_talker_id(char talker[3], const char* sentence) {
  char type[6];
  if (!minmea_scan(sentence, "t", type)) return 0;
  talker[0] = type[0];
  talker[1] = type[1];
  talker[2] = '\0';
  return 1;
}

int minmea_sentence_id(const char* sentence, bool strict) {
  if (!minmea_check(sentence, strict)) return MINMEA_INVALID;
  char type[6];
  if (!minmea_scan(sentence, "t", type)) return MINMEA_INVALID;
  constexpr char kTypes[][4] = {"GBS", "GGA", "GLL", "GSA", "GST", "GSV", "RMC", "VTG", "ZDA"};
  for (int i = 0; i < 9; i++)
    if (memcmp(type + 2, kTypes[i], 3) == 0) return MINMEA_SENTENCE_GBS + i;
  return MINMEA_UNKNOWN;
}
