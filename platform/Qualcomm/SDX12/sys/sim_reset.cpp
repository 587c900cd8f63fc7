#include "log/log.h"
#include "providers/qmi/services/uim.h"
#include "sys/qmi_clients.h"
#include "vek_pal/sim.h"

namespace {

constexpr char kLogTag[] = "SYS";
constexpr unsigned kTimeoutMs = 3000;

bool switch_power(qmi_client_type client, unsigned msg_id, int sim_id, const char* direction) {
  uim_slot_req request = {static_cast<uint8_t>(sim_id + 1)};
  qmi_result_resp response = {};
  const int rc =
      qmi_client_send_msg_sync(client, msg_id, &request, sizeof request, &response, sizeof response, kTimeoutMs);
  if (rc == QMI_NO_ERR && response.resp.result == QMI_RESULT_SUCCESS_V01) return true;
  LOG_E("power %s slot0 failed! rc=%d, result=%d", direction, rc, static_cast<int>(response.resp.result));
  return FAIL(false, "power %s sim%d failed", direction, sim_id);
}

}  // namespace

int vek_pal_resetSIM(int sim_id) {
  if (sim_id != VEK_PAL_SIM_FIRST_SLOT && sim_id != VEK_PAL_SIM_SECOND_SLOT)
    return FAIL(VEK_PAL_SIM_BAD_ARGUMENT, "get simId failed for param");
  if (vek::sim_reset::uim_client() == nullptr && vek::sim_reset::vek_pal_qmi_uim_client_init() != 0)
    return FAIL(-1, "Fail to init uim client");
  const qmi_client_type client = vek::sim_reset::uim_client();
  if (client == nullptr) return FAIL(-1, "Fail to get uim client");
  if (!switch_power(client, QMI_UIM_POWER_DOWN_REQ_V01, sim_id, "down")) return -1;
  if (!switch_power(client, QMI_UIM_POWER_UP_REQ_V01, sim_id, "up")) return -1;
  LOG_I("reset sim %d success", sim_id);
  return 0;
}
