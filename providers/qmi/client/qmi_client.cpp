#include "providers/qmi/qmi_client.h"

#include <string.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>

#include "log/log.h"
#include "providers/qmi/client/session.h"
#include "providers/qmi/codec/codec.h"

namespace {

using namespace vek::qmi;

constexpr char kLogTag[] = "QMI";
constexpr unsigned kLongestTimeoutMs = 60'000;
constexpr Milliseconds kReleaseTimeoutMs = 1000;

Milliseconds deadline_after(unsigned timeout_ms) {
  return now_ms() + (timeout_ms == 0 ? kLongestTimeoutMs : timeout_ms);
}

// The modem's word that it does not know the client: it has forgotten it, or somebody else has given its id back.
bool names_unknown_client(const void* response) {
  qmi_response_type resp;
  memcpy(&resp, response, sizeof resp);
  return resp.result == QMI_RESULT_FAILURE_V01 && resp.error == QMI_ERR_INVALID_CLIENT_ID_V01;
}

// A process that ends in good order gives its client ids back: neither the proxy nor the modem ever would. A child that
// was forked has no claim to them.
__attribute__((destructor)) void give_back_all_client_ids() {
  Session& s = g_session;
  if (!s.started || s.process != getpid()) return;
  timespec until;
  clock_gettime(CLOCK_REALTIME, &until);
  until.tv_sec += 1;
  if (pthread_mutex_timedlock(&s.mutex, &until) != 0) return;
  const bool was_up = s.state == Session::State::up;
  s.state = Session::State::closed;
  const Milliseconds deadline = now_ms() + kReleaseTimeoutMs;
  for (qmi_client_struct& client : s.clients)
    if (was_up && client.service != nullptr) give_back_client_id(client, deadline);
  pthread_mutex_unlock(&s.mutex);
}

}  // namespace

qmi_client_error_type qmi_client_init_instance(qmi_idl_service_object_type service_obj, int, qmi_client_ind_cb ind_cb,
                                               void* ind_cb_data, qmi_client_os_params*, uint32_t timeout_ms,
                                               qmi_client_type* user_handle) {
  if (service_obj == nullptr || user_handle == nullptr) return QMI_INTERNAL_ERR;
  const Milliseconds deadline = deadline_after(timeout_ms);
  Session& s = g_session;
  const vek::MutexLock lock(s.mutex);
  if (!start_receive_thread()) return QMI_INTERNAL_ERR;
  const auto client = std::find_if(std::begin(s.clients), std::end(s.clients), [](const qmi_client_struct& each) {
    return each.service == nullptr && !each.allocating;
  });
  if (client == std::end(s.clients)) return FAIL(QMI_INTERNAL_ERR, "no room for another client");
  *client = {};
  client->service = service_obj;
  client->ind_cb = ind_cb;
  client->ind_cb_data = ind_cb_data;
  if (!ensure_client_id(*client, deadline)) {
    client->service = nullptr;
    return QMI_SERVICE_ERR;
  }
  *user_handle = client;
  return QMI_NO_ERR;
}

qmi_client_error_type qmi_client_send_msg_sync(qmi_client_type user_handle, unsigned msg_id, void* req_c_struct,
                                               unsigned req_c_struct_len, void* resp_c_struct,
                                               unsigned resp_c_struct_len, unsigned timeout_ms) {
  if (resp_c_struct == nullptr || (req_c_struct == nullptr && req_c_struct_len != 0)) return QMI_INTERNAL_ERR;
  const Milliseconds deadline = deadline_after(timeout_ms);
  Session& s = g_session;
  const vek::MutexLock lock(s.mutex);
  if (!client_is_open(user_handle)) return QMI_INTERNAL_ERR;
  qmi_client_struct& client = *user_handle;
  const Message* const request = client.service->find(MessageType::request, msg_id);
  const Message* const response = client.service->find(MessageType::response, msg_id);
  if (request == nullptr || response == nullptr) return QMI_ENCODE_MISMATCH;
  if (req_c_struct_len < request->record_size || resp_c_struct_len < response->record_size) return QMI_RECORD_MISMATCH;
  if (!ensure_client_id(client, deadline)) {
    memset(resp_c_struct, 0, resp_c_struct_len);
    return now_ms() < deadline ? QMI_SERVICE_ERR : QMI_TIMEOUT_ERR;
  }
  client.transaction = client.transaction == 0xFFFF ? 1 : static_cast<uint16_t>(client.transaction + 1);
  const uint8_t client_id = client.client_id;
  const FrameHeader header = {client.service->number, client_id, MessageType::request, client.transaction,
                              static_cast<uint16_t>(msg_id)};
  const qmi_client_error_type outcome =
      exchange(header, *request, req_c_struct, req_c_struct_len, *response, resp_c_struct, resp_c_struct_len, deadline);
  if (outcome == QMI_NO_ERR && names_unknown_client(resp_c_struct) && client.client_id == client_id)
    forget_client_id(client);
  return outcome;
}

qmi_client_error_type qmi_client_message_decode(qmi_client_type user_handle, qmi_idl_type_of_message_type message_type,
                                                unsigned message_id, const void* p_src, unsigned src_len, void* p_dst,
                                                unsigned dst_len) {
  if (p_dst == nullptr || (p_src == nullptr && src_len != 0)) return QMI_INTERNAL_ERR;
  const Message* message;
  {
    const vek::MutexLock lock(g_session.mutex);
    if (!client_is_open(user_handle)) return QMI_INTERNAL_ERR;
    message = user_handle->service->find(static_cast<MessageType>(message_type), message_id);
  }
  if (message == nullptr) return QMI_ENCODE_MISMATCH;
  switch (decode(*message, {static_cast<const uint8_t*>(p_src), src_len}, p_dst, dst_len)) {
    case Decoded::ok:
      return QMI_NO_ERR;
    case Decoded::record_too_small:
      return QMI_RECORD_MISMATCH;
    default:
      return QMI_DECODE_MISMATCH;
  }
}

qmi_client_error_type qmi_client_release(qmi_client_type user_handle) {
  Session& s = g_session;
  const vek::MutexLock lock(s.mutex);
  if (!client_is_open(user_handle)) return QMI_INTERNAL_ERR;
  for (Waiter* waiter = s.waiters; waiter != nullptr; waiter = waiter->next)
    if (waiter->expected.service == user_handle->service->number &&
        waiter->expected.client_id == user_handle->client_id)
      finish(*waiter, QMI_SERVICE_ERR);
  give_back_client_id(*user_handle, now_ms() + kReleaseTimeoutMs);
  drop_indications(user_handle);
  user_handle->service = nullptr;
  return QMI_NO_ERR;
}

qmi_client_error_type qmi_client_register_recovery_cb(qmi_client_type user_handle, qmi_client_recovery_cb recovery_cb,
                                                      void* recovery_cb_data) {
  const vek::MutexLock lock(g_session.mutex);
  if (!client_is_open(user_handle)) return QMI_INTERNAL_ERR;
  user_handle->recovery_cb = recovery_cb;
  user_handle->recovery_cb_data = recovery_cb_data;
  return QMI_NO_ERR;
}
