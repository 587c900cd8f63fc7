#include "vek_pal/at_params.h"

#include <string.h>

#include <limits>
#include <new>

#include "modem/at/atr/params_text.h"
#include "vek_pal/memory.h"

namespace {

using namespace vek::at;

constexpr uint32_t kUint16Max = 65533;  // the two values above mean "not set" and "omitted"
constexpr uint32_t kUnset16 = 65534;
constexpr uint32_t kUnset32 = 4294967294u;
constexpr int32_t kSignedUnset16 = 32766;
constexpr int32_t kSignedUnset32 = 2147483646;
constexpr int32_t kLimit = std::numeric_limits<int32_t>::max();

constexpr ATCmdParam unset(uint32_t type) {
  return {type, nullptr, 0, kUnset16, kUnset32, kLimit, kSignedUnset16, kSignedUnset32};
}

// The list and its parameters are one block of memory; only the texts are blocks of their own.
ATCmdParams* make_list(uint32_t count, uint32_t type) {
  constexpr uint32_t kRoomMax = std::numeric_limits<unsigned>::max() - sizeof(ATCmdParams);
  if (count > kRoomMax / sizeof(ATCmdParam)) return nullptr;
  void* const block = vek_pal_malloc(static_cast<unsigned>(sizeof(ATCmdParams) + count * sizeof(ATCmdParam)));
  if (block == nullptr) return nullptr;

  void* const behind_the_list = static_cast<char*>(block) + sizeof(ATCmdParams);
  auto* const params = static_cast<ATCmdParam*>(behind_the_list);
  for (uint32_t i = 0; i < count; i++) new (&params[i]) ATCmdParam(unset(type));
  return new (block) ATCmdParams{count, params};
}
static_assert(sizeof(ATCmdParams) % alignof(ATCmdParam) == 0);

void set_number(ATCmdParam& param, const Number& number) {
  const auto plain = static_cast<int32_t>(number.magnitude);  // where it fits, which each use looks at
  param.value32 = number.magnitude;
  if (number.negative) {
    param.type = number.magnitude <= 65535 ? VEK_PAL_AT_PARAM_SIGNED16 : VEK_PAL_AT_PARAM_SIGNED32;
    if (number.magnitude <= 65535) param.signed16 = -plain;
    param.signed32 = -plain;
  } else if (number.magnitude <= kUint16Max) {
    param.type = VEK_PAL_AT_PARAM_UINT16;
    param.value16 = static_cast<uint16_t>(number.magnitude);
    param.signed16 = plain;
    param.signed32 = plain;
  } else {
    param.type = VEK_PAL_AT_PARAM_UINT32;
    if (number.magnitude == kUnset16) param.signed16 = plain;
    if (number.magnitude < static_cast<uint32_t>(kLimit)) param.signed32 = plain;
  }
}

bool set_text(ATCmdParam& param, uint32_t type, const char* text, uint32_t length) {
  auto* const copy = static_cast<char*>(vek_pal_malloc(length + 1));
  if (copy == nullptr) return false;
  memcpy(copy, text, length);
  copy[length] = '\0';
  param.type = type;
  param.text = copy;
  param.text_size = length + 1;
  return true;
}

// What the characters between two quotes make of a string. Digits alone come first, then four groups, then eight.
uint32_t quoted_type(const char* text, uint32_t length) {
  uint32_t dots = 0;
  uint32_t colons = 0;
  bool tel_number = length > 0;
  bool address = true;
  for (uint32_t i = 0; i < length; i++) {
    const char c = text[i];
    dots += c == '.';
    colons += c == ':';
    tel_number = tel_number && (is_digit(c) || (c == '+' && i == 0));
    address = address && (is_hex_digit(c) || c == '.' || c == ':');
  }
  if (tel_number) return VEK_PAL_AT_PARAM_TEL_NUMBER;
  if (address && dots == 3) return VEK_PAL_AT_PARAM_IPV4;
  if (address && colons == 7) return VEK_PAL_AT_PARAM_IPV6;
  return VEK_PAL_AT_PARAM_STRING;
}

// Reads one parameter from the front of `text` and moves `text` past it.
bool read_parameter(const char*& text, bool bare_allowed, ATCmdParam& param) {
  if (*text == '\0' || *text == ',') return true;

  const char* const unpadded = *text == ' ' ? text + 1 : text;
  if (const Number number = read_number(unpadded); number.length != 0) {
    set_number(param, number);
    text = unpadded + number.length;
    return true;
  }
  if (*text == '"') {
    const char* const inside = text + 1;
    const char* const end = strchr(inside, '"');
    if (end == nullptr) return false;
    const auto length = static_cast<uint32_t>(end - inside);
    text = end + 1;
    return set_text(param, quoted_type(inside, length), inside, length);
  }
  if (!bare_allowed) return false;
  const auto length = static_cast<uint32_t>(strcspn(text, ","));
  const char* const bare = text;
  text += length;
  return set_text(param, VEK_PAL_AT_PARAM_BARE, bare, length);
}

bool read_parameters(const char*& text, bool bare_allowed, ATCmdParams& list) {
  for (uint32_t i = 0; i < list.count; i++) {
    if (!read_parameter(text, bare_allowed, list.params[i])) return false;
    if (*text == '\0') return true;
    if (i + 1 < list.count && *text++ != ',') return false;
  }
  return *text == '\0';
}

}  // namespace

ATCmdParams* ATCmdParams_Create(uint32_t count) { return make_list(count, VEK_PAL_AT_PARAM_UNSET); }

int ATCmdParams_CreateFromStr(const char* text, uint32_t count, ATCmdParams** list, uint32_t* consumed) {
  return ATCmdParams_CreateFromStrWFeatures(text, count, list, consumed, 0);
}

int ATCmdParams_CreateFromStrWFeatures(const char* text, uint32_t count, ATCmdParams** list, uint32_t* consumed,
                                       uint32_t features) {
  if (consumed != nullptr) *consumed = 0;
  if (list == nullptr) return 0;
  *list = nullptr;
  ATCmdParams* const made = make_list(count, VEK_PAL_AT_PARAM_OMITTED);
  if (made == nullptr) return 0;

  const char* at = text != nullptr ? text : "";
  if (!read_parameters(at, features != 0, *made)) {
    ATCmdParams_Destroy(made);
    return 0;
  }
  if (consumed != nullptr && text != nullptr) *consumed = static_cast<uint32_t>(at - text);
  *list = made;
  return 1;
}

void ATCmdParams_Destroy(ATCmdParams* list) {
  if (list == nullptr) return;
  for (uint32_t i = 0; i < list->count; i++)
    if (list->params[i].text != nullptr) vek_pal_free(list->params[i].text);
  vek_pal_free(list);
}
