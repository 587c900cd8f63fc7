// Reading and deleting stored messages.
#include <string.h>

#include <optional>

#include "log/log.h"
#include "modem/sms/wms_client.h"
#include "vek_pal/sms.h"

namespace {

using vek::sms::succeeded;
using vek::sms::wms_client;

constexpr char kLogTag[] = "SMS";
constexpr unsigned kTimeoutMs = 10000;

std::optional<uint32_t> wms_storage(int storage_type) {
  switch (storage_type) {
    case VEK_PAL_SMS_STORAGE_NV:
      LOG_D("storage_type NV.");
      return WMS_STORAGE_TYPE_NV_V01;
    case VEK_PAL_SMS_STORAGE_UIM:
      LOG_D("storage_type UIM.");
      return WMS_STORAGE_TYPE_UIM_V01;
    default:
      LOG_E("Invalid storage_type.");
      return {};
  }
}

// Of a raw-read or delete request.
template <typename Request>
void set_message_mode(Request& request, int message_mode) {
  request.message_mode_valid = message_mode == VEK_PAL_SMS_MODE_GW || message_mode == VEK_PAL_SMS_MODE_CDMA;
  request.message_mode = message_mode == VEK_PAL_SMS_MODE_GW ? WMS_MESSAGE_MODE_GW_V01 : WMS_MESSAGE_MODE_CDMA_V01;
}

bool send_delete(wms_delete_req& request) {
  qmi_result_resp delete_sms_resp = {};
  const int rc = qmi_client_send_msg_sync(wms_client(), QMI_WMS_DELETE_REQ_V01, &request, sizeof request,
                                          &delete_sms_resp, sizeof delete_sms_resp, kTimeoutMs);
  const auto result = static_cast<int>(delete_sms_resp.resp.result);
  if (rc != QMI_NO_ERR) {
    return FAIL(false, "WMS QMI_WMS_DELETE_REQ_V01 send msg failed, result: %d, error: %d.", rc,
                static_cast<int>(delete_sms_resp.resp.error));
  }
  LOG_I("delete_sms_resp.resp.result = %d.", result);
  return succeeded(delete_sms_resp.resp);
}

}  // namespace

int vek_pal_sms_get_message_request(int storage_type, unsigned int storage_index, int message_mode, char* out_text,
                                    int* out_len) {
  if (wms_client() == nullptr) return FAIL(VEK_PAL_SMS_NOT_INITIALIZED, "WMS client has not already initialized.");
  if (out_text == nullptr || out_len == nullptr) return FAIL(VEK_PAL_SMS_BAD_ARGUMENT, "Invalid input parameter.");
  const auto storage = wms_storage(storage_type);
  if (!storage) return VEK_PAL_SMS_BAD_ARGUMENT;

  wms_raw_read_req request = {};
  request.message = {*storage, storage_index};
  set_message_mode(request, message_mode);
  wms_raw_read_resp answer = {};
  const int rc = qmi_client_send_msg_sync(wms_client(), QMI_WMS_RAW_READ_REQ_V01, &request, sizeof request, &answer,
                                          sizeof answer, kTimeoutMs);
  const auto result = static_cast<int>(answer.resp.result);
  const uint32_t error = answer.resp.error;
  if (rc != QMI_NO_ERR)
    return FAIL(-1, "WMS QMI_WMS_RAW_READ_REQ_V01 send msg failed, result: %d, error: %d.", rc,
                static_cast<int>(error));
  if (!succeeded(answer.resp)) {
    return FAIL(-1, "WMS QMI_WMS_RAW_READ_REQ_V01 failed, route_resp.resp.result: %d, route_resp.resp.error: %x.",
                result, error);
  }

  const wms_raw_message_data& raw = answer.raw_message_data;
  LOG_D(
      "route_resp.raw_message_data.data_len = %d, route_resp.raw_message_data.format = %d, "
      "route_resp.raw_message_data.tag_type = %d",
      static_cast<int>(raw.data_len), static_cast<int>(raw.format), static_cast<int>(raw.tag_type));
  // A provider that is not ours may count more bytes than the record has.
  if (raw.data_len > sizeof raw.data) return FAIL(-1, "DecodeGsmPdu failed.");
  for (uint32_t i = 0; i < raw.data_len; i++)
    LOG_D("route_resp.raw_message_data.data[%d] = %x", static_cast<int>(i), raw.data[i]);

  vek_pal_sms_decoded_t message;
  if (DecodeGsmPdu(raw.data, raw.data_len, &message) != 0) return FAIL(-1, "DecodeGsmPdu failed.");
  LOG_I("Decode ok, datalen = %d.", message.text_length);
  LOG_D("type = %d,data=%s.", message.message_type, reinterpret_cast<const char*>(message.text));
  memcpy(out_text, message.text, static_cast<size_t>(message.text_length));
  *out_len = message.text_length;
  return 0;
}

int vek_pal_sms_delete_by_index(int storage_type, unsigned int storage_index, int message_mode) {
  LOG_D("Enter.");
  if (wms_client() == nullptr) return FAIL(VEK_PAL_SMS_NOT_INITIALIZED, "WMS client has not initialized.");
  const auto storage = wms_storage(storage_type);
  if (!storage) return VEK_PAL_SMS_BAD_ARGUMENT;

  wms_delete_req request = {};
  request.storage_type = *storage;
  request.index_valid = 1;
  request.index = storage_index;
  set_message_mode(request, message_mode);
  const bool deleted = send_delete(request);
  if (deleted) LOG_I("delete this message by storage_index: %d ok.", static_cast<int>(storage_index));
  if (!deleted) LOG_E("delete this message by storage_index: %d error.", static_cast<int>(storage_index));
  LOG_D("Exit.");
  return deleted ? 0 : -1;
}

int vek_pal_sms_delete_all(int storage_type) {
  if (wms_client() == nullptr) return FAIL(VEK_PAL_SMS_NOT_INITIALIZED, "qmi_wms_client has not been initialized.");
  const auto storage = wms_storage(storage_type);
  if (!storage) return VEK_PAL_SMS_BAD_ARGUMENT;

  wms_delete_req request = {};
  request.storage_type = *storage;
  // This module's modem takes this mode for every message of the storage.
  request.message_mode_valid = 1;
  request.message_mode = WMS_MESSAGE_MODE_CDMA_V01;
  if (!send_delete(request)) return FAIL(-1, "delete ALL error.");
  LOG_I("delete ALL ok.");
  return 0;
}
