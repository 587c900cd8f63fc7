#include <stdint.h>
#include <string.h>

#include "log/log.h"
#include "modem/at/atr/access_code.h"
#include "modem/at/atr/answer.h"
#include "vek_pal/at.h"
#include "vek_pal/at_params.h"
#include "vek_pal/device_info.h"

namespace {

using namespace vek::at;

constexpr char kLogTag[] = "AT";
constexpr size_t kArgumentSize = 61;

#if defined(VEK_ACCESS_CODE_EXPONENT) && defined(VEK_ACCESS_CODE_MODULUS)
constexpr auto kDigitCodes = digit_codes(VEK_ACCESS_CODE_EXPONENT, VEK_ACCESS_CODE_MODULUS);
static_assert(kDigitCodes, "the exponent is a positive number, the modulus 2 to 256");
#else
constexpr std::optional<DigitCodes> kDigitCodes;  // not built in: no code matches
#endif

bool vek_start_auth_imei(char (&imei)[kImeiMax + 1]) {
  if (vek_pal_get_imei(imei) != 0) return FAIL(false, "Get IMEI fail!");
  if (imei[0] == '\0') return FAIL(false, "IMEI is NULL!");
  LOG_I("Get IMEI success: %s", imei);
  return true;
}

bool auth_encryption_key_output(const char* imei, char (&code)[kCodeSize]) {
  const bool made = access_code(imei, kDigitCodes, code);
  LOG_I("RSA code: %s", code);
  return made;
}

// Looks at every byte of the argument's room, wherever the first difference is. Both are cleared behind their text.
bool is_same(const char (&argument)[kArgumentSize], const char (&code)[kCodeSize]) {
  static_assert(kArgumentSize <= kCodeSize);
  unsigned difference = 0;
  for (size_t i = 0; i < kCodeSize; i++)
    difference |= static_cast<unsigned char>((i < kArgumentSize ? argument[i] : '\0') ^ code[i]);
  return difference == 0;
}

}  // namespace

int korvane_HandleCmd_GTAUTHCMD_set(const vek_pal_at_info*, const char* text) {
  char argument[kArgumentSize] = {};
  ATCmdParams* params = nullptr;
  const bool parsed = text != nullptr && ATCmdParams_CreateFromStr(text, 1, &params, nullptr) &&
                      ATCmdParams_GetString(params, 0, 1, sizeof argument, argument);
  ATCmdParams_Destroy(params);
  if (!parsed) return FAIL(kUnanswered, "Parameter parsing failed!");
  LOG_I("AT param: %s", argument);

  char imei[kImeiMax + 1] = {};
  char code[kCodeSize] = {};
  const bool expected = vek_start_auth_imei(imei) && auth_encryption_key_output(imei, code);
  if (!is_same(argument, code) || !expected) return FAIL(kUnanswered, "RSA code auth failed!");
  vyrel_auth_flag = 1;
  return succeed();
}
