#include "vek_pal/mbim.h"

#include <stdint.h>
#include <string.h>

#include <new>

#include "common/base/heap_block.h"
#include "log/log.h"
#include "vek_pal/ipc.h"

namespace {

constexpr char kLogTag[] = "MBIM";
constexpr char kServicePath[] = "/dev/socket/korv_qbi_domain_socket";
constexpr char kSyncText[] = "VEK_PAL_MBIM_SYNC";
constexpr uint32_t kLineMax = 64;
constexpr uint32_t kStream = 1;

// What the IPC server hands back with each event. Lives for the process once it is registered.
template <typename Callback>
struct Registration {
  Callback callback;
  void* user;
};

template <typename Callback>
int register_event(int32_t msg_id, vek_pal_ipc_callback handler, Callback callback, void* user, const char* event) {
  if (callback == nullptr) return FAIL(-1, "callback is null");
  vek::HeapBlock<Registration<Callback>> registration;
  if (!registration) return FAIL(-1, "malloc info_p, not enough memory");
  *registration = {callback, user};
  if (vek_pal_ipc_msg_register_cmd(msg_id, handler, registration.get()) != 0)
    return FAIL(-1, "%s_indication_register failed", event);
  registration.release();
  return 0;
}

// The payload of an event: numbers first, then text up to the zero byte that the IPC server puts behind every payload.
class Payload {
 public:
  Payload(const void* data, int32_t length)
      : at_(static_cast<const char*>(data)), left_(length > 0 ? static_cast<size_t>(length) : 0) {}

  bool take(int& number) {
    if (left_ < sizeof number) return FAIL(false, "mbim event too short: %d bytes left", static_cast<int>(left_));
    memcpy(&number, at_, sizeof number);
    at_ += sizeof number;
    left_ -= sizeof number;
    return true;
  }
  const char* text() const { return left_ > 0 ? at_ : ""; }

 private:
  const char* at_;
  size_t left_;
};

void mbim_open_status_indicate_cb(int32_t, void* data, int32_t length, void* user) {
  Payload payload(data, length);
  int status;
  if (!payload.take(status)) return;
  LOG_I("mbim_open_status_indicate_cb mbim_status=%d", status);
  const auto& registered = *static_cast<Registration<vek_pal_mbim_open_status_callback>*>(user);
  registered.callback(status, registered.user);
}

void mbim_sim_pin_status_indicate_cb(int32_t, void* data, int32_t length, void* user) {
  Payload payload(data, length);
  int status;
  if (!payload.take(status)) return;
  LOG_I("mbim_sim_pin_status_indicate_cb pin_status=%d, pin_code=%s", status, payload.text());
  const auto& registered = *static_cast<Registration<vek_pal_mbim_simpin_status_callback>*>(user);
  registered.callback(status, payload.text(), registered.user);
}

void mbim_sim_slot_mapping_indicate_cb(int32_t, void* data, int32_t length, void* user) {
  Payload payload(data, length);
  int opt;
  int sim_id;
  if (!payload.take(opt) || !payload.take(sim_id)) return;
  LOG_I("mbim_sim_slot_mapping_indicate_cb opt=%d, sim_id=%d", opt, sim_id);
  const auto& registered = *static_cast<Registration<vek_pal_mbim_sim_slot_mapping_callback>*>(user);
  registered.callback(opt, sim_id, registered.user);
}

void mbim_connect_status_indicate_cb(int32_t, void* data, int32_t length, void* user) {
  Payload payload(data, length);
  int status;
  if (!payload.take(status)) return;
  LOG_I("mbim_connect_status_indicate_cb status=%d, apn=%s", status, payload.text());
  const auto& registered = *static_cast<Registration<vek_pal_mbim_connect_status_callback>*>(user);
  registered.callback(status, payload.text(), registered.user);
}

}  // namespace

int vek_pal_mbim_open_status_indication_register(vek_pal_mbim_open_status_callback callback, void* user) {
  return register_event(VEK_PAL_MBIM_OPEN_STATUS, mbim_open_status_indicate_cb, callback, user, "mbim_open_status");
}

int vek_pal_mbim_simpin_status_indication_register(vek_pal_mbim_simpin_status_callback callback, void* user) {
  return register_event(VEK_PAL_MBIM_SIM_PIN_STATUS, mbim_sim_pin_status_indicate_cb, callback, user,
                        "mbim_simpin_status");
}

int vek_pal_mbim_sim_slot_mapping_indication_register(vek_pal_mbim_sim_slot_mapping_callback callback, void* user) {
  return register_event(VEK_PAL_MBIM_SIM_SLOT_MAPPING, mbim_sim_slot_mapping_indicate_cb, callback, user,
                        "mbim_sim_slot_mapping");
}

int vek_pal_mbim_connect_status_indication_register(vek_pal_mbim_connect_status_callback callback, void* user) {
  return register_event(VEK_PAL_MBIM_CONNECT_STATUS, mbim_connect_status_indicate_cb, callback, user,
                        "mbim_connect_status");
}

int vek_pal_vyrel_mbim_status_sync(void) {
  if (vek_pal_ipc_send_msg(kServicePath, kSyncText, sizeof kSyncText - 1, kStream) != 0)
    return FAIL(-1, "send mbim sync failed");
  return 0;
}

int vek_pal_vyrel_mbim_notify_urc(const char* text) {
  if (text == nullptr) return FAIL(-1, "Invaild urc string");
  const auto length = static_cast<uint32_t>(strnlen(text, kLineMax));
  LOG_I("send_length %d", static_cast<int>(length));
  if (vek_pal_ipc_send_msg(kServicePath, text, length, kStream) != 0) return FAIL(-1, "Send mbim urc failed");
  return 0;
}
