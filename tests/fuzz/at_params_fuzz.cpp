// Parameter lists: what is parsed accounts for the whole text, each parameter is what its type says, and what passes
// strictly passes alike with bare strings allowed.
#include <stdlib.h>
#include <string.h>

#include <string>

#include "vek_pal/at_params.h"
#include "vek_pal/memory.h"

namespace {

void require(bool holds) {
  if (!holds) abort();
}

void check(const ATCmdParam& param) {
  require(param.limit == 2147483647);
  const bool is_string = param.type >= 3 && param.type <= 7;
  require(is_string == (param.text != nullptr));
  require(is_string ? strlen(param.text) + 1 == param.text_size : param.text_size == 0);
  switch (param.type) {
    case 1:
      require(param.value32 <= 65533 && param.value16 == param.value32);
      require(param.signed16 == param.value16 && param.signed32 == param.value16);
      break;
    case 2:
      require(param.value32 >= 65534 && param.value32 <= 4294967293u && param.value16 == 65534);
      break;
    case 7:
      require(strspn(param.text + (param.text[0] == '+'), "0123456789") == strlen(param.text) - (param.text[0] == '+'));
      break;
    case 9:
      require(param.signed32 <= 0 && param.signed32 >= -65535 && param.signed16 == param.signed32);
      break;
    case 10:
      require(param.signed32 < -65535 && param.signed16 == 32766);
      break;
    default:
      require(is_string || param.type == 8);
  }
}

void read_everything(const ATCmdParams* list) {
  for (uint32_t i = 0; i <= list->count; i++) {
    const uint32_t type = i < list->count ? list->params[i].type : 0;
    uint16_t u16;
    uint32_t u32;
    int32_t number;
    require(ATCmdParams_GetUINT16(list, i, 1, &u16) == (type == 1));
    require(ATCmdParams_GetUINT32(list, i, 0, &u32) == (type == 1 || type == 2 || type == 8));
    ATCmdParams_GetSignedINT16(list, i, 0, &number);
    ATCmdParams_GetSignedINT32(list, i, 0, &number);
    ATCmdParams_GetStringAndConvertToHex(list, i, 256, &u32);

    char* copy = nullptr;
    require(ATCmdParams_GetStringWithAlloc(list, i, 1, &copy) == (type >= 3 && type <= 7));
    if (copy != nullptr) {
      require(strcmp(copy, list->params[i].text) == 0);
      vek_pal_free(copy);
    }
    char number_text[82];
    uint8_t address_type = 0;
    if (ATCmdParams_GetTelNumAndTypewithCSCS(list, i, 0, number_text, &address_type, 2))
      require(strlen(number_text) < sizeof number_text && (address_type & 0x80) != 0);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const uint32_t count = data[0] % 12u;
  const std::string text(reinterpret_cast<const char*>(data) + 1,
                         strnlen(reinterpret_cast<const char*>(data) + 1, size - 1));

  ATCmdParams* strict;
  ATCmdParams* loose;
  uint32_t consumed = 0;
  const int passed = ATCmdParams_CreateFromStr(text.c_str(), count, &strict, &consumed);
  const int passed_loosely = ATCmdParams_CreateFromStrWFeatures(text.c_str(), count, &loose, nullptr, 1);
  require(passed == (strict != nullptr) && passed_loosely == (loose != nullptr));
  require(!passed || (passed_loosely && consumed == text.size()));
  for (uint32_t i = 0; passed && i < count; i++) require(strict->params[i].type == loose->params[i].type);
  if (passed_loosely) {
    for (uint32_t i = 0; i < count; i++) check(loose->params[i]);
    require(ATCmdParams_GetNumActualParams(loose) <= ATCmdParams_GetTotalNumParams(text.c_str()));
    read_everything(loose);
  }
  ATCmdParams_Destroy(strict);
  ATCmdParams_Destroy(loose);
  return 0;
}
