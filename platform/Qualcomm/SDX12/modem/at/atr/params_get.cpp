#include <string.h>

#include <limits>

#include "common/base/heap_block.h"
#include "vek_pal/at_params.h"
#include "vek_pal/memory.h"

namespace {

constexpr uint32_t kNumberSize = 82;
constexpr uint16_t kTypeOfAddressBit = 0x80;

constexpr uint32_t bit(uint32_t type) { return 1u << type; }
constexpr uint32_t kSmall = bit(VEK_PAL_AT_PARAM_UINT16);
constexpr uint32_t kUnsigned = kSmall | bit(VEK_PAL_AT_PARAM_UINT32);
constexpr uint32_t kSigned16 = kSmall | bit(VEK_PAL_AT_PARAM_SIGNED16);
constexpr uint32_t kSigned32 = kUnsigned | bit(VEK_PAL_AT_PARAM_SIGNED16) | bit(VEK_PAL_AT_PARAM_SIGNED32);
constexpr uint32_t kStrings = bit(VEK_PAL_AT_PARAM_STRING) | bit(VEK_PAL_AT_PARAM_BARE) | bit(VEK_PAL_AT_PARAM_IPV4) |
                              bit(VEK_PAL_AT_PARAM_IPV6) | bit(VEK_PAL_AT_PARAM_TEL_NUMBER);

const ATCmdParam* param_at(const ATCmdParams* list, uint32_t index) {
  return list != nullptr && index < list->count ? &list->params[index] : nullptr;
}

bool is_omitted(const ATCmdParam& param, int required) {
  return required == 0 && param.type == VEK_PAL_AT_PARAM_OMITTED;
}

// The text of a string parameter of any kind, or null.
const char* string_of(const ATCmdParam& param) { return (bit(param.type) & kStrings) != 0 ? param.text : nullptr; }

template <typename Value>
int get_number(const ATCmdParams* list, uint32_t index, int required, Value* value, uint32_t accepted,
               Value ATCmdParam::*field, Value omitted) {
  const ATCmdParam* const param = param_at(list, index);
  if (param == nullptr || value == nullptr) return 0;
  if (is_omitted(*param, required)) {
    *value = omitted;
    return 1;
  }
  if ((bit(param->type) & accepted) == 0) return 0;
  *value = param->*field;
  return 1;
}

// The number alone, and the type of address where the command line gives one: 0 leaves it to the caller.
bool get_number_and_given_type(const ATCmdParams* list, uint32_t index, int required, char* number, uint8_t* type) {
  if (!ATCmdParams_GetString(list, index, required, kNumberSize, number)) return false;
  if (strlen(number) == kNumberSize - 1 && number[0] != '+') return false;
  if (type == nullptr) return true;

  const ATCmdParam* const next = param_at(list, index + 1);
  if (next == nullptr || next->type == VEK_PAL_AT_PARAM_OMITTED) {
    *type = 0;
    return true;
  }
  if (next->type != VEK_PAL_AT_PARAM_UINT16 || (next->value16 & kTypeOfAddressBit) == 0) return false;
  *type = static_cast<uint8_t>(next->value16);
  return true;
}

}  // namespace

int ATCmdParams_GetUINT16(const ATCmdParams* list, uint32_t index, int required, uint16_t* value) {
  return get_number<uint16_t>(list, index, required, value, kSmall, &ATCmdParam::value16, 65535);
}

int ATCmdParams_GetSignedINT16(const ATCmdParams* list, uint32_t index, int required, int32_t* value) {
  return get_number<int32_t>(list, index, required, value, kSigned16, &ATCmdParam::signed16, 32767);
}

int ATCmdParams_GetUINT32(const ATCmdParams* list, uint32_t index, int required, uint32_t* value) {
  return get_number<uint32_t>(list, index, required, value, kUnsigned, &ATCmdParam::value32, 4294967295u);
}

int ATCmdParams_GetSignedINT32(const ATCmdParams* list, uint32_t index, int required, int32_t* value) {
  constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
  const ATCmdParam* const param = param_at(list, index);
  if (param != nullptr && param->type == VEK_PAL_AT_PARAM_UINT32 && param->value32 >= static_cast<uint32_t>(kMax))
    return 0;
  return get_number<int32_t>(list, index, required, value, kSigned32, &ATCmdParam::signed32, kMax);
}

int ATCmdParams_GetString(const ATCmdParams* list, uint32_t index, int required, uint32_t size, char* buffer) {
  const ATCmdParam* const param = param_at(list, index);
  if (param == nullptr || buffer == nullptr || size == 0) return 0;
  if (is_omitted(*param, required)) {
    buffer[0] = '\0';
    return 1;
  }
  const char* const text = string_of(*param);
  if (text == nullptr || param->text_size > size) return 0;
  memcpy(buffer, text, param->text_size);
  return 1;
}

int ATCmdParams_GetStringWithAlloc(const ATCmdParams* list, uint32_t index, int required, char** text) {
  const ATCmdParam* const param = param_at(list, index);
  if (param == nullptr || text == nullptr) return 0;
  const bool omitted = is_omitted(*param, required);
  if (!omitted && string_of(*param) == nullptr) return 0;

  const uint32_t size = omitted ? 1 : param->text_size;
  vek::HeapBlock<char> copy(size);
  if (!copy) return 0;
  if (!omitted) memcpy(copy.get(), param->text, size);
  *text = copy.release();
  return 1;
}

int ATCmdParams_GetStringAndConvertToHex(const ATCmdParams* list, uint32_t index, uint32_t size, uint32_t* value) {
  // Ten characters at most make a number, so nothing longer is ever copied.
  constexpr uint32_t kHexTextSize = sizeof "0x12345678";
  char text[kHexTextSize];
  if (!ATCmdParams_GetString(list, index, 1, size < kHexTextSize ? size : kHexTextSize, text)) return 0;
  return ConvertHexStringToHex(text, value);
}

int ATCmdParams_GetTelNumAndType(const ATCmdParams* list, uint32_t index, int required, char* number, uint8_t* type) {
  if (!get_number_and_given_type(list, index, required, number, type)) return 0;
  if (type != nullptr && *type == 0) *type = ATUtil_GetTypeOfAddressOfPhoneNumber(number);
  return 1;
}

int ATCmdParams_GetTelNumAndTypewithCSCS(const ATCmdParams* list, uint32_t index, int required, char* number,
                                         uint8_t* type, uint32_t charset) {
  if (!get_number_and_given_type(list, index, required, number, type)) return 0;
  if (type != nullptr && *type == 0) *type = ATUtil_GetTypeOfAddressOfPhoneNumberwithCSCS(number, charset);
  return 1;
}

int ATCmdParams_GetUINT16ValsArray(const ATCmdParams* list, uint32_t first, uint32_t n, uint16_t* array,
                                   uint32_t* found) {
  if (list == nullptr || array == nullptr || found == nullptr) return 0;
  if (first > list->count || n > list->count - first) return 0;
  for (uint32_t i = first; i < first + n; i++)
    if (list->params[i].type != VEK_PAL_AT_PARAM_UINT16) return 0;
  for (uint32_t i = first; i < first + n; i++) array[i] = list->params[i].value16;
  *found = n;
  return 1;
}

int ATCmdParams_GetParamType(const ATCmdParams* list, uint32_t index, uint32_t* type) {
  const ATCmdParam* const param = param_at(list, index);
  if (param == nullptr || type == nullptr) return 0;
  *type = param->type;
  return 1;
}

uint32_t ATCmdParams_GetNumActualParams(const ATCmdParams* list) {
  uint32_t there = 0;
  for (uint32_t i = 0; list != nullptr && i < list->count; i++) {
    const uint32_t type = list->params[i].type;
    if (type != VEK_PAL_AT_PARAM_UNSET && type != VEK_PAL_AT_PARAM_OMITTED) there++;
  }
  return there;
}
