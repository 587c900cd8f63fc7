// Waiting for the modem to finish a refresh of its configuration.
#include <atomic>

#include "common/base/heap_block.h"
#include "log/log.h"
#include "providers/qmi/services/pdc.h"
#include "sys/modem_event.h"
#include "sys/qmi_clients.h"
#include "sys/qmi_request.h"
#include "vek_pal/qmi.h"

namespace {

constexpr char kLogTag[] = "SYS";
constexpr vek::qmi::Question kRegister = {QMI_PDC_INDICATION_REGISTER_REQ_V01, "QMI_PDC_INDICATION_REGISTER_REQ_V01",
                                          10000};
constexpr unsigned kRefreshTimeoutMs = 10000;

enum RefreshState { kNoneSeen = 0, kStarted = 1, kCompleted = 2 };

constinit vek::ModemEvent g_mbn_refreshed = {.name = "mbn_refresh"};
constinit std::atomic<int> g_mbn_refresh_state = kNoneSeen;

constexpr vek::qmi::ClientKind kPdc = {.source = vek::log::kSourceOf<kLogTag>.data(),
                                       .name = "PDC",
                                       .lower_name = "PDC",
                                       .service_name = "PDC service",
                                       .failed_name = "NAS",  // the word that readers of this record know
                                       .failed_end = ".\n",
                                       .getter_name = "pdc",
                                       .end = "\n",
                                       .object = pdc_get_service_object_internal_v01,
                                       .indication = vek_pal_pdc_qmi_ind_cb,
                                       .timeout_ms = 10000};
constinit vek::qmi::ClientSlot g_pdc = {&kPdc};

int register_for_refreshes(qmi_client_type client, void*) {
  pdc_indication_register_req request = {
      .enable_reporting_valid = 1, .enable_reporting = 1, .enable_refresh_valid = 1, .enable_refresh = 1};
  qmi_result_resp response;
  if (!vek::qmi::ask(client, kRegister, request, response))
    return FAIL(-1, "qmi_client_send_msg_sync QMI_PDC_INDICATION_REGISTER_REQ_MSG_V01 fail");
  return 0;
}

void take_refresh_event(uint32_t event) {
  if (event == 0) g_mbn_refresh_state = kStarted;
  if (event != 1) return;
  g_mbn_refresh_state = kCompleted;  // first, for who prepares to wait looks at it last
  if (!vek::is_awaited(g_mbn_refreshed)) return;
  LOG_I("post mbn refresh sem ");
  vek::post(g_mbn_refreshed);
}

}  // namespace

void vek_pal_pdc_qmi_ind_cb(qmi_client_type handle, unsigned msg_id, void* ind_buf, unsigned ind_buf_len, void*) {
  const vek::HeapBlock<pdc_refresh_ind> indication;
  if (!indication) return LOG_E("malloc pdc indication failed!");
  LOG_D("malloc %p %d", static_cast<void*>(indication.get()), static_cast<int>(sizeof *indication));
  LOG_I(" PDC indcation coming, ind msg id :0x%x", msg_id);
  if (msg_id == QMI_PDC_REFRESH_IND_V01) {
    const int rc = qmi_client_message_decode(handle, QMI_IDL_INDICATION, msg_id, ind_buf, ind_buf_len, indication.get(),
                                             sizeof *indication);
    if (rc != QMI_NO_ERR) return LOG_E("QMI NAS status change ind decode failed err :%d", rc);
    LOG_I("pdc refresh event: %d.(0:start,1:complete)", static_cast<int>(indication->refresh_event));
    take_refresh_event(indication->refresh_event);
  } else {
    LOG_I("unknown indication msg_id: %d.", static_cast<int>(msg_id));
  }
  LOG_D("free %p", static_cast<void*>(indication.get()));
}

int vek_pal_qmi_pdc_event_register(void) {
  if (vek::qmi::init_client(g_pdc) != 0) return -1;
  if (register_for_refreshes(g_pdc.handle, nullptr) != 0) return -1;
  qmi_client_on_recovery(g_pdc.handle, register_for_refreshes);
  return 0;
}

void vek_pal_clear_mbn_refresh_status(void) {
  LOG_I("init mbn refresh status");
  g_mbn_refresh_state = kNoneSeen;
}

void vek_pal_wait_mbn_refresh_sem(void) {
  const int state = g_mbn_refresh_state;
  LOG_I("current pdc refresh state %d\n", state);
  if (state >= kCompleted) return;
  const int prepared = vek::prepare(g_mbn_refreshed);
  LOG_I("mbn refresh sem init, ret=%d.", prepared);
  if (prepared == 0 && g_mbn_refresh_state < kCompleted) vek::wait_for(g_mbn_refreshed, kRefreshTimeoutMs);
  LOG_I("wait mbn refresh done.");
  vek::destroy(g_mbn_refreshed);
}
