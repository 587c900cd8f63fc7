// The daemon's registration, and what the modem reports from then on.
#include <atomic>

#include "common/base/heap_block.h"
#include "log/log.h"
#include "modem/sms/wms_client.h"
#include "vek_pal/sms.h"

namespace {

constexpr char kLogTag[] = "SMS";
constexpr unsigned kTimeoutMs = 3000;

static_assert(sizeof(vek_pal_sms_event_t) == 16);

struct Registration {
  void (*callback)(vek_pal_sms_event_t event, void* user_data);
  void* user_data;
};

constinit qmi_client_os_params g_os_params = {};
constinit std::atomic<qmi_client_type> g_client = nullptr;
constinit std::atomic<bool> g_reports_ordered = false;

void trigger(const Registration& registration, const vek_pal_sms_event_t& event) {
  LOG_I("Trigger the sms cb.");
  if (registration.callback != nullptr) registration.callback(event, registration.user_data);
}

template <typename Indication>
bool decode(qmi_client_type client, unsigned msg_id, const void* buffer, unsigned length, Indication& indication) {
  const int rc =
      qmi_client_message_decode(client, QMI_IDL_INDICATION, msg_id, buffer, length, &indication, sizeof indication);
  return rc == QMI_NO_ERR || FAIL(false, "QMI WMS status change ind decode failed err :%d", rc);
}

void on_event_report(qmi_client_type client, const void* buffer, unsigned length, const Registration& registration) {
  const vek::HeapBlock<wms_event_report_ind> report;
  if (!report) return LOG_E("serving_system_ind vek_pal_mem_malloc failed");
  if (!decode(client, QMI_WMS_EVENT_REPORT_IND_V01, buffer, length, *report)) return;
  LOG_D("serving_system_ind->mt_message_valid = %d", report->mt_message_valid);
  if (report->mt_message_valid == 0) return;

  vek_pal_sms_event_t event = {};
  event.event = VEK_PAL_SMS_EVENT_NEW_MESSAGE;
  switch (report->mt_message.storage_type) {
    case WMS_STORAGE_TYPE_UIM_V01:
      event.storage_type = VEK_PAL_SMS_STORAGE_UIM;
      LOG_D("storage_type UIM.");
      break;
    case WMS_STORAGE_TYPE_NV_V01:
      event.storage_type = VEK_PAL_SMS_STORAGE_NV;
      LOG_D("storage_type NV.");
      break;
    default:
      event.storage_type = VEK_PAL_SMS_STORAGE_NV;
      LOG_W("default set storage_type NV.");
  }
  event.storage_index = report->mt_message.storage_index;
  if (report->message_mode_valid != 0) {
    event.message_mode = static_cast<int32_t>(report->message_mode);
    LOG_D("serving_system_ind->message_mode = %d", event.message_mode);
  }
  trigger(registration, event);
}

void on_memory_full(qmi_client_type client, const void* buffer, unsigned length, const Registration& registration) {
  const vek::HeapBlock<wms_memory_full_ind> full;
  if (!full) return LOG_E("vek_pal_mem_malloc mem_full_ind failed");
  if (!decode(client, QMI_WMS_MEMORY_FULL_IND_V01, buffer, length, *full)) return;

  const wms_memory_full_info& info = full->memory_full_info;
  vek_pal_sms_event_t event = {};
  event.event = VEK_PAL_SMS_EVENT_MEMORY_FULL;
  switch (info.storage_type) {
    case WMS_STORAGE_TYPE_UIM_V01:
      event.storage_type = VEK_PAL_SMS_STORAGE_UIM;
      break;
    case WMS_STORAGE_TYPE_NV_V01:
      event.storage_type = VEK_PAL_SMS_STORAGE_NV;
      break;
    default:
      LOG_E("Invalid storage_type.");
  }
  event.message_mode = static_cast<int32_t>(info.message_mode);
  LOG_I("mem_full_ind->memory_full_info.message_mode = %d, mem_full_ind->memory_full_info.storage_type = %d.",
        event.message_mode, static_cast<int>(info.storage_type));
  trigger(registration, event);
}

void korv_wms_qmi_ind_cb(qmi_client_type client, unsigned msg_id, void* buffer, unsigned length, void* data) {
  const auto& registration = *static_cast<const Registration*>(data);
  LOG_I("WMS indcation coming, ind msg id :0x%x", msg_id);
  switch (msg_id) {
    case QMI_WMS_EVENT_REPORT_IND_V01:
      return on_event_report(client, buffer, length, registration);
    case QMI_WMS_MEMORY_FULL_IND_V01:
      return on_memory_full(client, buffer, length, registration);
    default:
      LOG_I("Info, unknown the indication msg_id: %d.", static_cast<int>(msg_id));
  }
}

bool vek_pal_set_event_report_req(qmi_client_type client) {
  wms_set_event_report_req request = {};
  request.report_mt_message_valid = 1;
  request.report_mt_message = 1;
  qmi_result_resp answer = {};
  const int rc = qmi_client_send_msg_sync(client, QMI_WMS_SET_EVENT_REPORT_REQ_V01, &request, sizeof request, &answer,
                                          sizeof answer, kTimeoutMs);
  if (rc != QMI_NO_ERR || !vek::sms::succeeded(answer.resp))
    return FAIL(false, "wms vek_pal_set_event_report_req failed.");
  LOG_I("wms vek_pal_set_event_report_req success.");
  g_reports_ordered = true;
  return true;
}

// A modem that has restarted knows nothing of the order for reports.
int on_recovery(qmi_client_type client, void*) { return vek_pal_set_event_report_req(client) ? 0 : -1; }

// Where the modem puts messages of each class: for the log.
void show_routes(qmi_client_type client) {
  wms_get_routes_resp route_resp = {};
  const int rc = qmi_client_send_msg_sync(client, QMI_WMS_GET_ROUTES_REQ_V01, nullptr, 0, &route_resp,
                                          sizeof route_resp, kTimeoutMs);
  const auto result = static_cast<int>(route_resp.resp.result);
  const uint32_t error = route_resp.resp.error;
  if (rc != QMI_NO_ERR)
    return LOG_E("WMS QMI_WMS_GET_ROUTES_REQ_V01 send msg failed, result: %d, error: %d.", rc, static_cast<int>(error));
  if (!vek::sms::succeeded(route_resp.resp)) {
    return LOG_E("WMS QMI_WMS_GET_ROUTES_REQ_V01 failed, route_resp.resp.result: %d, route_resp.resp.error: %x.",
                 result, error);
  }
  LOG_I("WMS QMI_WMS_GET_ROUTES_REQ_V01 success, route_resp.resp.result: %d, route_resp.resp.error: %x.", result,
        error);
}

}  // namespace

qmi_client_type vek::sms::wms_client() { return g_client; }

int vek_pal_sms_store_state_indication_register(void (*callback)(vek_pal_sms_event_t event, void* user_data),
                                                void* user_data) {
  constexpr int32_t kMajor = 1, kMinor = 35, kTool = 6;
  if (const qmi_client_type open = g_client; open != nullptr) {
    LOG_I("WMS client already initialized.");
    // Only an order that failed is given again.
    return g_reports_ordered || vek_pal_set_event_report_req(open) ? 0 : -1;
  }
  vek::HeapBlock<Registration> registration;
  if (!registration) return FAIL(-1, "[platform] malloc info_p, not enough memory");
  *registration = {callback, user_data};

  const qmi_idl_service_object_type service = wms_get_service_object_internal_v01(kMajor, kMinor, kTool);
  if (service == nullptr) return FAIL(-1, "wms service object(nas) not available.");
  qmi_client_type client = nullptr;
  const int rc = qmi_client_init_instance(service, kAnyQmiInstance, korv_wms_qmi_ind_cb, registration.get(),
                                          &g_os_params, kTimeoutMs, &client);
  if (rc != QMI_NO_ERR) {
    if (client != nullptr) qmi_client_release(client);
    return FAIL(-1, "Failed to init Network qmi client, error code: %d", rc);
  }
  registration.release();  // the client's from now on
  g_client = client;
  LOG_I("wms client inited success.");

  qmi_client_on_recovery(client, on_recovery);
  const bool ordered = vek_pal_set_event_report_req(client);
  show_routes(client);
  return ordered ? 0 : -1;
}
