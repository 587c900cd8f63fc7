#include "modem/at/atr/params_text.h"

#include <string.h>

#include <limits>

#include "vek_pal/at_params.h"

namespace {

using namespace vek::at;

constexpr uint8_t kInternational = 145;
constexpr uint8_t kUnknownType = 129;
constexpr uint32_t kCharsetPlain = 1;
constexpr uint32_t kCharsetHexPairs = 2;
constexpr size_t kHexDigitsMax = 8;

bool is_white_space(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

uint32_t hex_value(char c) { return static_cast<uint32_t>(is_digit(c) ? c - '0' : (c | 0x20) - 'a' + 10); }

}  // namespace

uint32_t ATCmdParams_GetTotalNumParams(const char* text) {
  if (text == nullptr) return 0;
  uint32_t count = 1;
  while ((text = strchr(text, ',')) != nullptr) {
    count++;
    text++;
  }
  return count;
}

int ATParseUtil_ParseAndVerifyNoParams(const char* text) {
  ATParseUtil_ParseWhiteSpace(&text);
  return text == nullptr || *text == '\0';
}

void ATParseUtil_ParseWhiteSpace(const char** text) {
  if (text == nullptr || *text == nullptr) return;
  while (is_white_space(**text)) (*text)++;
}

int ATParseUtil_ParseOneUINT32(const char* text, uint32_t* value, uint32_t* consumed) {
  if (value == nullptr || consumed == nullptr) return 0;
  *value = std::numeric_limits<uint32_t>::max();
  *consumed = 0;
  if (text == nullptr || !is_digit(*text)) return 0;

  uint64_t number = 0;
  const char* at = text;
  for (; is_digit(*at); at++) {
    number = number * 10 + static_cast<uint64_t>(*at - '0');
    if (number > std::numeric_limits<uint32_t>::max()) return 0;
  }
  *value = static_cast<uint32_t>(number);
  *consumed = static_cast<uint32_t>(at - text);
  return 1;
}

int ATParseUtil_ParseOneSignedINT32(const char* text, int* negative, int32_t* value, uint32_t* magnitude,
                                    uint32_t* consumed) {
  if (negative == nullptr || value == nullptr || magnitude == nullptr || consumed == nullptr) return 0;
  constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
  *negative = 0;
  *value = kMax;
  *magnitude = std::numeric_limits<uint32_t>::max();
  *consumed = 0;
  if (text == nullptr) return 0;

  const Number number = read_number(text);
  if (number.length == 0) return 0;
  *negative = number.negative;
  *magnitude = number.magnitude;
  *consumed = number.length;
  if (number.magnitude <= static_cast<uint32_t>(kMax)) {
    const auto plain = static_cast<int32_t>(number.magnitude);
    *value = number.negative ? -plain : plain;
  }
  return 1;
}

uint8_t ATUtil_GetTypeOfAddressOfPhoneNumber(const char* number) {
  return number != nullptr && strchr(number, '+') != nullptr ? kInternational : kUnknownType;
}

uint8_t ATUtil_GetTypeOfAddressOfPhoneNumberwithCSCS(const char* number, uint32_t charset) {
  if (charset == kCharsetPlain) return ATUtil_GetTypeOfAddressOfPhoneNumber(number);
  if (charset != kCharsetHexPairs || number == nullptr) return kUnknownType;
  for (; number[0] != '\0' && number[1] != '\0'; number += 2)
    if (number[0] == '2' && number[1] == 'B') return kInternational;
  return kUnknownType;
}

int ConvertHexStringToHex(const char* text, uint32_t* value) {
  if (text == nullptr || value == nullptr) return 0;
  if (text[0] != '0' || (text[1] != 'x' && text[1] != 'X')) return 0;
  const char* const digits = text + 2;
  const size_t length = strnlen(digits, kHexDigitsMax + 1);
  if (length == 0 || length > kHexDigitsMax) return 0;

  uint32_t number = 0;
  for (size_t i = 0; i < length; i++) {
    if (!is_hex_digit(digits[i])) return 0;
    number = number << 4 | hex_value(digits[i]);
  }
  *value = number;
  return 1;
}
