#include "vek_pal/device_info.h"

#include <string.h>

#include <algorithm>

#include "log/log.h"
#include "providers/qmi/qmi_client.h"
#include "providers/qmi/services/dms.h"
#include "sys/qmi_request.h"
#include "vek_pal/qmi.h"

namespace {

constexpr char kLogTag[] = "MODEM";
constexpr unsigned kTimeoutMs = 3000;
constexpr vek::qmi::Question kSerialNumbers = {QMI_DMS_GET_DEVICE_SERIAL_NUMBERS_REQ_V01,
                                               "QMI_DMS_GET_DEVICE_SERIAL_NUMBERS_REQ_V01", kTimeoutMs};

// Model and version leave records in words of their own instead of those of ask().
template <typename Response>
int send(qmi_client_type client, unsigned message_id, Response& response) {
  response = {};
  return qmi_client_send_msg_sync(client, message_id, nullptr, 0, &response, sizeof response, kTimeoutMs);
}

}  // namespace

int vek_pal_get_imei(char* imei) {
  constexpr size_t kImeiMax = 15;
  if (imei == nullptr) return FAIL(7, "get imei failed for param");
  const qmi_client_type client = vek_pal_qmi_get_dms_client();
  if (client == nullptr) return FAIL(-1, "Fail to get dms client");
  dms_get_device_serial_numbers_resp response;
  if (!vek::qmi::ask(client, kSerialNumbers, response))
    return FAIL(-1, " qmi_client_send_msg_sync QMI_DMS_GET_DEVICE_SERIAL_NUMBERS_REQ_V01 fail");
  if (!response.imei_valid) return FAIL(-1, "imei info not valid");
  response.imei[kImeiMax] = '\0';
  strcpy(imei, response.imei);
  LOG_I("operater success, get imei: %s", imei);
  return 0;
}

int vek_pal_get_model(char* model) {
  if (model == nullptr) return FAIL(-1, "get model failed for param");
  const qmi_client_type client = vek_pal_qmi_get_dms_client();
  if (client == nullptr) return FAIL(-1, "Fail to get dms client");
  dms_get_model_resp response;
  if (send(client, QMI_DMS_GET_MODEL_REQ_V01, response) != QMI_NO_ERR)
    return FAIL(-1, "qmi send message fail error:%d", static_cast<int>(response.resp.error));
  if (response.resp.result != QMI_RESULT_SUCCESS_V01) return FAIL(-1, "modelid info is invaild");
  const auto length = static_cast<int>(std::min<size_t>(response.model_len, sizeof response.model));
  memcpy(model, response.model, static_cast<size_t>(length));
  LOG_I("get model : %.*s", length, response.model);
  return 0;
}

int vek_pal_get_chip_type(char* type) {
  if (type == nullptr) return FAIL(-1, "get chip type failed for param");
  strcpy(type, "SDX12");
  LOG_I("get chip type: %s", type);
  return 0;
}

int vek_pal_get_firmware_version(char* version) {
  if (version == nullptr) return FAIL(-1, "get firmware version failed for param");
  const qmi_client_type client = vek_pal_qmi_get_dms_client();
  if (client == nullptr) return FAIL(-1, "Fail to get dms client");
  dms_get_firmware_version_resp response;
  if (send(client, QMI_DMS_GET_FIRMWARE_VERSION_REQ_V01, response) != QMI_NO_ERR)
    return FAIL(-1, "qmi send message fail error:%d", static_cast<int>(response.resp.error));
  if (response.resp.result != QMI_RESULT_SUCCESS_V01) return FAIL(-1, "version info is invaild");
  response.version[strcspn(response.version, "_")] = '\0';
  strcpy(version, response.version);
  LOG_I("get get_firmver : %s", version);
  return 0;
}

int vek_pal_get_sim_cd_state(void) { return 2; }

int vek_pal_get_current_oem(void) { return 1; }
