#include <string.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <algorithm>

#include "log/log.h"
#include "providers/qmi/client/session.h"
#include "providers/qmi/services/ctl.h"

namespace vek::qmi {

constinit Session g_session;

namespace {

constexpr char kLogTag[] = "QMI";
constexpr Milliseconds kOpenTimeoutMs = 5000;  // a proxy that cannot open the device may not answer at all

qmi_client_error_type control(unsigned message_id, const void* request, size_t request_size, void* answer,
                              size_t answer_size, Milliseconds deadline) {
  Session& s = g_session;
  const qmi_idl_service_object& ctl = *ctl_get_service_object();
  s.ctl_transaction = s.ctl_transaction == 0xFF ? 1 : static_cast<uint8_t>(s.ctl_transaction + 1);
  const FrameHeader header = {kCtlService, 0, MessageType::request, s.ctl_transaction,
                              static_cast<uint16_t>(message_id)};
  return exchange(header, *ctl.find(MessageType::request, message_id), request, request_size,
                  *ctl.find(MessageType::response, message_id), answer, answer_size, deadline);
}

void release_id(uint8_t service, uint8_t id, Milliseconds deadline) {
  const ctl_release_cid_req request = {{service, id}};
  ctl_release_cid_resp response = {};
  control(QMI_CTL_RELEASE_CID, &request, sizeof request, &response, sizeof response, deadline);
}

bool watch_link() {
  epoll_event event = {};
  event.events = EPOLLONESHOT;
  event.data.fd = g_session.link.fd();
  g_session.armed = false;
  return epoll_ctl(g_session.epoll, EPOLL_CTL_ADD, g_session.link.fd(), &event) == 0;
}

// Closes a connection that did not come to anything; a thread that reads it at this moment leaves it first.
void drop_link() {
  Session& s = g_session;
  connection_lost();
  close_when_unused();
  while (s.link.is_open()) wait_for_change(now_ms() + 1000);
}

// Through the proxy when one listens and takes the device's path, else the device itself. A proxy that stays silent
// holds the device: opening it too would only take bytes away from the proxy's other clients.
bool open_link(Milliseconds deadline) {
  Session& s = g_session;
  s.through_proxy = s.link.open_proxy();
  if (s.through_proxy) {
    if (!watch_link()) return false;
    ctl_internal_proxy_open_req request = {};
    qmi_result_resp response = {};
    strncpy(request.device_path, VEK_QMI_DEVICE, sizeof request.device_path - 1);
    const qmi_client_error_type sent = control(QMI_CTL_INTERNAL_PROXY_OPEN, &request, sizeof request, &response,
                                               sizeof response, std::min(deadline, now_ms() + kOpenTimeoutMs));
    if (sent == QMI_NO_ERR && response.resp.result == QMI_RESULT_SUCCESS_V01) return true;
    if (sent == QMI_TIMEOUT_ERR) return false;
    drop_link();
    s.through_proxy = false;
  }
  return s.link.open_device(VEK_QMI_DEVICE) && watch_link();
}

bool ensure_connection(Milliseconds deadline) {
  Session& s = g_session;
  // Also a thread that still reads the old connection must have left it.
  while (s.state == Session::State::connecting || (s.state == Session::State::down && (s.reading || s.link.is_open())))
    if (!wait_for_change(deadline)) return false;
  if (s.state != Session::State::down) return s.state == Session::State::up;

  s.state = Session::State::connecting;
  const bool opened = open_link(deadline);
  if (!opened) drop_link();
  s.state = opened ? Session::State::up : Session::State::down;
  pthread_cond_broadcast(&s.changed);
  return opened;
}

}  // namespace

bool client_is_open(qmi_client_type client) {
  Session& s = g_session;
  return client >= std::begin(s.clients) && client < std::end(s.clients) && client->service != nullptr;
}

bool ensure_client_id(qmi_client_struct& client, Milliseconds deadline) {
  Session& s = g_session;
  if (client.client_id != 0 && s.state == Session::State::up) return true;
  // A second time when the connection turns out to have ended since it was last used.
  for (int attempt = 0; attempt < 2; attempt++) {
    do {
      if (!ensure_connection(deadline) || client.service == nullptr) return false;
      if (client.client_id != 0) return true;
    } while (client.allocating && wait_for_change(deadline));
    if (client.allocating) return false;
    client.allocating = true;
    const uint8_t service = client.service->number;
    const ctl_allocate_cid_req request = {service};
    ctl_allocate_cid_resp response = {};
    const qmi_client_error_type sent =
        control(QMI_CTL_ALLOCATE_CID, &request, sizeof request, &response, sizeof response, deadline);
    client.allocating = false;
    pthread_cond_broadcast(&s.changed);
    if (sent == QMI_SERVICE_ERR) continue;
    if (sent != QMI_NO_ERR) return false;
    if (response.resp.result != QMI_RESULT_SUCCESS_V01)
      return FAIL(false, "no client id of service %u, error: %u", service, response.resp.error);
    if (client.service == nullptr) {  // released meanwhile
      release_id(service, response.allocation.cid, deadline);
      return false;
    }
    client.client_id = response.allocation.cid;
    return client.client_id != 0;
  }
  return false;
}

void give_back_client_id(qmi_client_struct& client, Milliseconds deadline) {
  const uint8_t id = client.client_id;
  client.client_id = 0;
  if (id != 0 && g_session.link.is_open()) release_id(client.service->number, id, deadline);
}

void forget_client_id(qmi_client_struct& client) {
  client.client_id = 0;
  client.recovering = true;
  wake_receive_thread();
}

void connection_lost(bool void_ids) {
  Session& s = g_session;
  if (s.state == Session::State::up) {
    s.state = Session::State::down;
    LOG_W("the connection to the modem is lost");
    for (qmi_client_struct& client : s.clients) {
      if (client.service == nullptr) continue;
      if (void_ids) client.client_id = 0;
      client.recovering = true;
    }
    wake_receive_thread();
  }
  for (Waiter* waiter = s.waiters; waiter != nullptr; waiter = waiter->next) finish(*waiter, QMI_SERVICE_ERR);
  if (!s.link.is_open()) return;
  s.link.cut();
  s.lost = true;
}

void close_when_unused() {
  Session& s = g_session;
  if (!s.lost || s.reading) return;
  s.lost = false;
  s.connection++;
  s.link.close();
  s.armed = false;
  s.unfinished_since = 0;
  pthread_cond_broadcast(&s.changed);
}

}  // namespace vek::qmi
