// The feature's own state: main switch (EN), service mode (SER), diagnosis mode (DIAG) and POC state (POC).
#include <optional>

#include "ipc/poc_line.h"
#include "log/log.h"
#include "modem/at/atr/answer.h"
#include "modem/at/atr/arguments.h"
#include "modem/at/atr/main_switch.h"
#include "modem/at/atr/settings.h"
#include "vek_pal/at.h"
#include "vek_pal/mbim.h"

namespace {

using namespace vek::at;

constexpr char kLogTag[] = "AT";

// The one value of a command, 0 to `max`.
std::optional<uint8_t> one_value(const char* word, const char* text, uint32_t max) {
  const Arguments arguments(word, text);
  if (!arguments) return {};
  if (arguments.count() != 1)
    return FAIL(std::nullopt, "num_params invalid error, ERROR: %s() -> %d", __func__, __LINE__);
  uint32_t value;
  if (!arguments.number(0, value)) return FAIL(std::nullopt, "params error, ERROR: %s() -> %d", __func__, __LINE__);
  LOG_I("%s: value1 is : %d", word, static_cast<int>(value));
  if (value > max) return FAIL(std::nullopt, "params value invalid error, ERROR: %s() -> %d", __func__, __LINE__);
  return static_cast<uint8_t>(value);
}

bool is_authorised() { return vek_auth_flag_check() != 0 || FAIL(false, "vyrel unauth, ERROR line=%d", __LINE__); }

}  // namespace

int korvane_HandleCmd_GTVYREN_set(const vek_pal_at_info*, const char* text) {
  if (!is_authorised()) return kUnanswered;
  if (text == nullptr) return FAIL(kUnanswered, "param is null: %s()->%d", __func__, __LINE__);
  if (ATCmdParams_GetTotalNumParams(text) != 1)
    return FAIL(kUnanswered, "param num is not 1: %s()->%d", __func__, __LINE__);
  ATCmdParams* params;
  if (!ATCmdParams_CreateFromStr(text, 1, &params, nullptr))
    return FAIL(kUnanswered, "create from str fail: %s()->%d", __func__, __LINE__);
  uint32_t value;
  const bool is_number = ATCmdParams_GetUINT32(params, 0, 1, &value) != 0;
  ATCmdParams_Destroy(params);
  if (!is_number) return FAIL(kUnanswered, "Parameter parsing failed! ERROR line=%d", __LINE__);
  if (value > 1) return FAIL(kUnanswered, "Invalid flag value: %d", static_cast<int>(value));
  return set_main_switch(value == 1) ? succeed() : kUnanswered;
}

int korvane_HandleCmd_GTVYREN_read(const vek_pal_at_info*) {
  int on;
  return vek_vyrel_get_main_switch_flag(&on) == 0 ? succeed("+GTVYREN: %d", on) : kUnanswered;
}

int korvane_HandleCmd_GTVYREN_test(const vek_pal_at_info*) { return succeed("+GTVYREN: (0,1)"); }

int korvane_HandleCmd_GTVYRSER_set(const vek_pal_at_info*, const char* text) {
  if (!is_authorised()) return kUnanswered;
  const auto value = one_value("GTVYRSER", text, 2);
  if (!value) return kUnanswered;
  vek_vyrel_modes modes;
  if (!read_modes(modes)) return FAIL(kUnanswered, "vyrel main service mode NV read failed");
  modes.service_mode = *value;
  if (!write_modes(modes)) return FAIL(kUnanswered, "vyrel main service mode NV write failed");
  return succeed();
}

int korvane_HandleCmd_GTVYRSER_read(const vek_pal_at_info*) {
  vek_vyrel_modes modes;
  if (!read_modes(modes)) return FAIL(kUnanswered, "vyrel main service mode NV read failed");
  return succeed("+GTVYRSER: %d", modes.service_mode);
}

int korvane_HandleCmd_GTVYRSER_test(const vek_pal_at_info*) { return succeed("+GTVYRSER: (0,1,2)"); }

int korvane_HandleCmd_GTVYRDIAG_set(const vek_pal_at_info*, const char* text) {
  if (!is_authorised()) return kUnanswered;
  const auto value = one_value("GTVYRDIAG", text, 1);
  if (!value) return kUnanswered;
  vek_vyrel_modes modes;
  if (!read_modes(modes)) return FAIL(kUnanswered, "vyrel main diag mode NV read failed");
  if (modes.diagnosis_mode == *value) {
    LOG_I("No need to set diagnosis mode");
    return succeed();
  }
  modes.diagnosis_mode = *value;
  if (!write_modes(modes)) return FAIL(kUnanswered, "vyrel main diag mode NV write failed");
  return succeed();
}

int korvane_HandleCmd_GTVYRDIAG_read(const vek_pal_at_info*) {
  vek_vyrel_modes modes;
  if (!read_modes(modes)) return FAIL(kUnanswered, "vyrel main diag mode NV read failed");
  return succeed("+GTVYRDIAG: %d", modes.diagnosis_mode);
}

int korvane_HandleCmd_GTVYRPOC_set(const vek_pal_at_info*, const char* text) {
  const auto value = one_value("GTVYRPOC", text, 2);
  if (!value) return kUnanswered;
  vek_vyrel_devmgr_settings settings;
  if (!read_device_manager(settings)) return FAIL(kUnanswered, "devmgr NV read failed");
  settings.poc_state = *value;
  if (!write_device_manager(settings)) return FAIL(kUnanswered, "devmgr NV write failed");
  // The state is kept even when nobody hears of it; whoever sets it learns that by the error.
  if (vek_pal_vyrel_mbim_notify_urc(vek::ipc::poc_line(*value)) != 0)
    return FAIL(kUnanswered, "send MBIM notify fail! ERROR line=%d", __LINE__);
  return succeed();
}

int korvane_HandleCmd_GTVYRPOC_read(const vek_pal_at_info*) {
  vek_vyrel_devmgr_settings settings;
  if (!read_device_manager(settings)) return FAIL(kUnanswered, "devmgr NV read failed");
  return succeed("+GTVYRPOC: %d", settings.poc_state);
}
