#include "modem/pdp/indication.h"

#include <pthread.h>

#include "common/base/mutex_lock.h"
#include "log/log.h"
#include "modem/pdp/session.h"
#include "providers/qmi/services/wds.h"
#include "sys/qmi_clients.h"
#include "vek_pal/data.h"

constinit std::atomic<uint8_t> g_release_in_process{0};

constinit vek::ModemEvent vek::pdp::g_connected{.name = "sem_data_call"};
constinit vek::ModemEvent vek::pdp::g_released{.name = "sem_data_rls"};

namespace {

constexpr char kLogTag[] = "PDP";

// As vek_pal_qmi_wds_convert_connect_state() counts.
enum : int { kDisconnected = 0, kConnected = 2 };

struct Listener {
  void (*callback)(void* user);
  void* user;
};

pthread_mutex_t g_listener_mutex = PTHREAD_MUTEX_INITIALIZER;
constinit Listener g_deactivated = {};

void tell_deactivated() {
  Listener told;
  {
    const vek::MutexLock lock(g_listener_mutex);
    told = g_deactivated;
  }
  if (told.callback != nullptr) told.callback(told.user);
}

void session_disconnected(qmi_client_type client) {
  vek::pdp::session_has_ended(client);
  if (g_release_in_process == 1) {
    LOG_I("wds manual disconnected event");
    vek::post(vek::pdp::g_released);
  } else {
    LOG_I("wds abnormal disconnected event");
    tell_deactivated();
  }
}

}  // namespace

void vek_pal_wds_qmi_ind_cb(qmi_client_type handle, unsigned msg_id, void* ind_buf, unsigned ind_buf_len, void*) {
  LOG_I("Network pal qmi indication process");
  if (msg_id != QMI_WDS_PKT_SRVC_STATUS_IND_V01) return LOG_E("It is not QMI_WDS_PKT_SRVC_STATUS_IND_V01 indication");
  wds_pkt_srvc_status_ind indication;
  const int rc = qmi_client_message_decode(handle, QMI_IDL_INDICATION, msg_id, ind_buf, ind_buf_len, &indication,
                                           sizeof indication);
  if (rc != QMI_NO_ERR) return LOG_E("Error in decoding QMI_WDS_PKT_SRVC_STATUS_IND_V01, rc=%i", rc);

  const int status = static_cast<int>(indication.status.connection_status);
  LOG_I("newState:%d, ip_family:ipv%d", status, indication.ip_family);
  const int state = vek_pal_qmi_wds_convert_connect_state(status);
  LOG_I("receive new connect state: %d", state);
  switch (state) {
    case kConnected:
      LOG_I("wds connected event,post sem");
      return vek::post(vek::pdp::g_connected);
    case kDisconnected:
      return session_disconnected(handle);
    default:
      LOG_I("wds other event");
  }
}

int vek::pdp::session_lost_with_modem(qmi_client_type client, void*) {
  // Nobody will report the outcome of what was under way: who waits for it goes on and finds out.
  post(g_connected);
  if (!session_has_ended(client)) return 0;
  LOG_W("the modem has restarted, its data session is lost");
  if (g_release_in_process == 1)
    post(g_released);
  else
    tell_deactivated();
  return 0;
}

int vek_pal_data_connection_deactivated_regisetr(void (*callback)(void* user), void* user) {
  if (callback == nullptr) return FAIL(-1, "data_connection_deact_ind_cb is invalid");
  const vek::MutexLock lock(g_listener_mutex);
  g_deactivated = {callback, user};
  return 0;
}
