#include "modem/pdp/session.h"

#include <pthread.h>

#include "common/base/mutex_lock.h"
#include "log/log.h"
#include "modem/pdp/indication.h"
#include "modem/pdp/interface.h"
#include "providers/qmi/services/wds.h"
#include "sys/qmi_request.h"
#include "vek_pal/qmi.h"

namespace vek::pdp {

namespace {

constexpr char kLogTag[] = "PDP";
constexpr qmi::Question kBind = {QMI_WDS_BIND_MUX_DATA_PORT_REQ_V01, "QMI_WDS_BIND_MUX_DATA_PORT_REQ_V01", 10000};
constexpr qmi::Question kSetFamily = {QMI_WDS_SET_CLIENT_IP_FAMILY_PREF_REQ_V01,
                                      "QMI_WDS_SET_CLIENT_IP_FAMILY_PREF_REQ_V01", 10000};
constexpr qmi::Question kStart = {QMI_WDS_START_NETWORK_INTERFACE_REQ_V01, "QMI_WDS_START_NETWORK_INTERFACE_REQ_V01",
                                  20000};
constexpr qmi::Question kStop = {QMI_WDS_STOP_NETWORK_INTERFACE_REQ_V01, "QMI_WDS_STOP_NETWORK_INTERFACE_REQ_V01",
                                 20000};

struct Session {
  qmi_client_type client;  // nullptr: none is up
  uint32_t handle;         // kept when the modem has the session up already: it then gives none
};

pthread_mutex_t g_mutex = PTHREAD_MUTEX_INITIALIZER;
constinit Session g_sessions[2] = {};

uint32_t ip_family(Family family) { return family == kIpv4 ? WDS_IP_FAMILY_IPV4_V01 : WDS_IP_FAMILY_IPV6_V01; }

bool wds_bind_mux_data_port(qmi_client_type client) {
  int conn_id = 0;
  wds_bind_mux_data_port_req request = {};
  uint32_t mux_id = 0;
  LOG_I("rmnetString: %s", kInterfaceName);
  if (qmi_linux_get_conn_id_by_name_ex(kInterfaceName, &conn_id, &request.ep_id.ep_type, &request.ep_id.iface_id,
                                       &mux_id) != 0)
    return FAIL(false, "wds_bind_mux_data_port fail");
  LOG_I("conn_id %d ep_type %d epid %d mux_id %d", conn_id, static_cast<int>(request.ep_id.ep_type),
        static_cast<int>(request.ep_id.iface_id), static_cast<int>(mux_id));
  request.ep_id_valid = 1;
  request.mux_id_valid = 1;
  request.mux_id = static_cast<uint8_t>(mux_id);
  qmi_result_resp response;
  if (!qmi::ask(client, kBind, request, response)) return FAIL(false, "wds_bind_mux_data_port fail");
  return true;
}

bool set_ip_family(qmi_client_type client, Family family) {
  wds_set_client_ip_family_pref_req request = {.ip_preference = ip_family(family)};
  qmi_result_resp response;
  if (qmi::ask(client, kSetFamily, request, response)) return true;
  LOG_E("Unable to set IP family to %d", static_cast<int>(ip_family(family)));
  return FAIL(false, "fail to set IP family");
}

void log_end_reason(const wds_start_network_interface_resp& response) {
  LOG_E("start network interface fail");
  if (response.call_end_reason_valid != 0) LOG_E("Data call fail end reason: %d,", response.call_end_reason);
  const wds_verbose_end_reason& verbose = response.verbose_call_end_reason;
  if (response.verbose_call_end_reason_valid != 0)
    LOG_E("Data call fail end reason type: %d,verbose :%d,", verbose.type, verbose.reason);
}

}  // namespace

Started start_session(Family family, uint8_t profile_index) {
  const qmi_client_type client = vek_pal_qmi_get_wds_client(family);
  if (client == nullptr) return FAIL(Started::no, "Fail to get wds client");
  qmi_client_on_recovery(client, session_lost_with_modem);
  if (!wds_bind_mux_data_port(client)) return FAIL(Started::no, "bind data port fail");
  LOG_I("Start session profile %d IP %d wdsClient %p", profile_index, static_cast<int>(ip_family(family)),
        static_cast<void*>(client));
  if (!set_ip_family(client, family)) return Started::no;

  wds_start_network_interface_req request = {};
  request.profile_index_valid = 1;
  request.profile_index = profile_index;
  wds_start_network_interface_resp response;
  const bool started = qmi::ask(client, kStart, request, response);
  if (!started && response.resp.error != QMI_ERR_NO_EFFECT_V01) {
    log_end_reason(response);
    return Started::no;
  }
  if (!started) LOG_I("the data session is already started");
  {
    const MutexLock lock(g_mutex);
    g_sessions[family].client = client;
    if (started) g_sessions[family].handle = response.pkt_data_handle;
  }
  LOG_I("Start data session successfully.");
  return started ? Started::yes : Started::already;
}

bool stop_session(Family family) {
  wds_stop_network_interface_req request = {};
  qmi_client_type client = nullptr;
  {
    const MutexLock lock(g_mutex);
    client = g_sessions[family].client;
    request.pkt_data_handle = g_sessions[family].handle;
  }
  qmi_result_resp response;
  if (qmi::ask(client, kStop, request, response)) return true;
  // What the modem does not have any more cannot be stopped: the next release must not trip over it again.
  if (response.resp.error == QMI_ERR_NO_EFFECT_V01 || response.resp.error == QMI_ERR_INVALID_HANDLE_V01)
    forget_session(family);
  return false;
}

bool is_up(Family family) {
  const MutexLock lock(g_mutex);
  return g_sessions[family].client != nullptr;
}

void forget_session(Family family) {
  const MutexLock lock(g_mutex);
  g_sessions[family] = {};
}

bool session_has_ended(qmi_client_type client) {
  const MutexLock lock(g_mutex);
  for (Session& session : g_sessions) {
    if (session.client == nullptr || session.client != client) continue;
    session = {};
    return true;
  }
  return false;
}

}  // namespace vek::pdp
