#include "log/log.h"
#include "providers/qmi/services/dms.h"
#include "providers/qmi/services/nas.h"
#include "sys/qmi_request.h"
#include "vek_pal/net.h"
#include "vek_pal/qmi.h"

namespace {

constexpr char kLogTag[] = "NET";
constexpr vek::qmi::Question kGetOperatingMode = {QMI_DMS_GET_OPERATING_MODE_REQ_V01,
                                                  "QMI_DMS_GET_OPERATING_MODE_REQ_V01", 5000};
constexpr vek::qmi::Question kSetOperatingMode = {QMI_DMS_SET_OPERATING_MODE_REQ_V01,
                                                  "QMI_DMS_SET_OPERATING_MODE_REQ_V01", 5000};
constexpr vek::qmi::Question kInitiateAttach = {QMI_NAS_INITIATE_ATTACH_REQ_MSG_V01,
                                                "QMI_NAS_INITIATE_ATTACH_REQ_MSG_V01", 10000};

}  // namespace

int vek_pal_get_radio_state(int* state) {
  if (state == nullptr) return FAIL(-1, "radio_state pointer is NULL\r\n");
  const qmi_client_type client = vek_pal_qmi_get_dms_client();
  if (client == nullptr) return FAIL(-1, "Fail to get dms client");
  dms_get_operating_mode_resp response;
  if (!vek::qmi::ask(client, kGetOperatingMode, response)) return -1;
  if (response.operating_mode_valid == 0) return FAIL(-1, "operating mode info is invaild");
  *state = response.operating_mode == DMS_OP_MODE_ONLINE_V01 ? 1 : 0;
  return 0;
}

int vek_pal_set_radio_state(int state) {
  const qmi_client_type client = vek_pal_qmi_get_dms_client();
  if (client == nullptr) return FAIL(-1, "Fail to get dms client");
  dms_set_operating_mode_req request = {};
  request.operating_mode = state == 1 ? DMS_OP_MODE_ONLINE_V01 : DMS_OP_MODE_LOW_POWER_V01;
  qmi_result_resp response;
  if (!vek::qmi::ask(client, kSetOperatingMode, request, response))
    return FAIL(-1, "qmi_client_send_msg_sync QMI_DMS_SET_OPERATING_MODE_REQ_V01 fail");
  return 0;
}

int vek_pal_ps_attach(void) {
  const qmi_client_type client = vek_pal_qmi_get_nas_client();
  if (client == nullptr) return FAIL(-1, "Fail to get nas client");
  nas_initiate_attach_req request = {};
  request.ps_attach_action_valid = 1;
  request.ps_attach_action = NAS_PS_ATTACH_V01;
  qmi_result_resp response;
  if (!vek::qmi::ask(client, kInitiateAttach, request, response)) return FAIL(-1, "send attach QMI fail");
  return 0;
}
