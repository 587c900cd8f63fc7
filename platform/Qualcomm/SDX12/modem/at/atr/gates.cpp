#include "modem/at/atr/gates.h"

#include "log/log.h"
#include "modem/at/atr/settings.h"
#include "vek_pal/at.h"

namespace {

constexpr char kLogTag[] = "AT";

}  // namespace

uint8_t vyrel_auth_flag = 0;

vek::at::Gate vek::at::check_diag_mode() {
  vek_vyrel_modes modes = {};
  if (!read_modes(modes))
    return FAIL(Gate::shut, "[VYREL]:vyrel main diag mode NV read failed, ERROR line=%d", __LINE__);
  if (modes.service_mode == 0 || modes.diagnosis_mode != 0) return Gate::open;
  vek_pal_at_send_ipc_response(VEK_PAL_AT_ERROR, "need enter diag mode first");
  return Gate::answered;
}

int vek_vyrel_is_diag_mode(void) { return vek::at::check_diag_mode() == vek::at::Gate::open; }

int vek_auth_flag_check(void) {
  LOG_I("Start to check auth flag!");
  int on = 0;
  if (vek_vyrel_get_main_switch_flag(&on) != 0) return FAIL(0, "[VYREL]:ERROR line=%d", __LINE__);
  if (!on) {
    vyrel_auth_flag = 1;
    return 1;
  }
  LOG_I("Have to check auth flag!");
  if (vyrel_auth_flag == 0)
    return FAIL(0, "Auth flag is false, have to authentication!\nvyrel unauth,return; %s %d", __func__, __LINE__);
  LOG_I("Service mode and diag mode can be changed!");
  return 1;
}
