#include <pthread.h>

#include "common/base/mutex_lock.h"
#include "log/log.h"
#include "modem/net/registration_state.h"
#include "sys/qmi_clients.h"
#include "sys/qmi_request.h"
#include "vek_pal/net.h"

namespace {

constexpr char kLogTag[] = "NET";
constexpr vek::qmi::Question kGetServingSystem = {QMI_NAS_GET_SERVING_SYSTEM_REQ_MSG_V01,
                                                  "QMI_NAS_GET_SERVING_SYSTEM_REQ_MSG_V01", 10000};
constexpr vek::qmi::Question kRegister = {QMI_NAS_INDICATION_REGISTER_REQ_MSG_V01,
                                          "QMI_NAS_INDICATION_REGISTER_REQ_MSG_V01", 10000};

struct Listener {
  void (*callback)(int state, void* user);
  void* user;
};

pthread_mutex_t g_listener_mutex = PTHREAD_MUTEX_INITIALIZER;
constinit Listener reg_ind_info = {};

Listener listener() {
  const vek::MutexLock lock(g_listener_mutex);
  return reg_ind_info;
}

bool subscribe(qmi_client_type client) {
  nas_indication_register_req request = {};
  request.reg_serving_system_valid = 1;
  request.reg_serving_system = 1;
  qmi_result_resp response;
  return vek::qmi::ask(client, kRegister, request, response);
}

// A modem that has restarted reports to nobody until it is asked again.
int subscribe_again(qmi_client_type client, void*) { return subscribe(client) ? 0 : -1; }

}  // namespace

void vek_pal_nas_qmi_ind_cb(qmi_client_type handle, unsigned msg_id, void* ind_buf, unsigned ind_buf_len, void*) {
  LOG_I(" NAS indcation coming, ind msg id :0x%x", msg_id);
  if (msg_id != QMI_NAS_SERVING_SYSTEM_IND_MSG_V01)
    return LOG_I("unknown indication msg_id: %d.", static_cast<int>(msg_id));
  nas_serving_system_ind indication;
  const int rc = qmi_client_message_decode(handle, QMI_IDL_INDICATION, msg_id, ind_buf, ind_buf_len, &indication,
                                           sizeof indication);
  if (rc != QMI_NO_ERR) return LOG_E("QMI NAS status change ind decode failed err :%d", rc);

  LOG_I(" nas_reg_state: %d", static_cast<int>(indication.serving_system.registration_state));
  LOG_I(" ps_attach_state: %d", static_cast<int>(indication.serving_system.ps_attach_state));
  const auto state = vek::net::registration_state(
      indication.serving_system, indication.roaming_indicator_valid != 0 ? &indication.roaming_indicator : nullptr);
  if (!state) return;
  LOG_I("reg state: %d", *state);
  const Listener told = listener();
  if (told.callback == nullptr) return LOG_E("reg_ind_info.cb is NULL");
  told.callback(*state, told.user);
}

int vek_pal_register_state_indication_register(void (*callback)(int state, void* user), void* user) {
  if (callback == nullptr) return FAIL(-1, "Wrong cb param");
  const qmi_client_type client = vek_pal_qmi_get_nas_client();
  if (client == nullptr) return FAIL(-1, "Fail to get nas client");
  {
    const vek::MutexLock lock(g_listener_mutex);
    reg_ind_info = {callback, user};
  }
  qmi_client_on_recovery(client, subscribe_again);
  return subscribe(client) ? 0 : -1;
}

int vek_pal_get_register_state(int* state) {
  if (state == nullptr) return FAIL(-1, "reg_state pointer is NULL");
  const qmi_client_type client = vek_pal_qmi_get_nas_client();
  if (client == nullptr) return FAIL(-1, "Fail to get nas client");
  nas_get_serving_system_resp response;
  if (!vek::qmi::ask(client, kGetServingSystem, response)) return -1;
  const auto now = vek::net::registration_state(
      response.serving_system, response.roaming_indicator_valid != 0 ? &response.roaming_indicator : nullptr);
  if (!now) return 0;
  *state = *now;
  LOG_I("reg state:%d", *state);
  return 0;
}

int vek_pal_get_register_info(void) { return 0; }
