// The SIM's indications, and who is told of them.
#include "modem/net/sim_event.h"

#include "common/base/heap_block.h"
#include "common/base/mutex_lock.h"
#include "log/log.h"
#include "modem/net/slot_cache.h"
#include "modem/net/uim.h"
#include "sys/qmi_clients.h"
#include "vek_pal/sim.h"

namespace vek::sim {

constinit ModemEvent g_ready{.name = "sim_ready"};
constinit ModemEvent g_slot_switched{.name = "sem_slot_switch"};

namespace {

constexpr char kLogTag[] = "NET";
constexpr qmi::Question kEventReg = {QMI_UIM_EVENT_REG_REQ_V01, "QMI_UIM_EVENT_REG_REQ_V01", kTimeoutMs};

// With g_slots.mutex held, as the flags beside which they are read.
struct Listeners {
  void (*status)(int slot, int status, int zero, void* user);
  void* status_user;
  void (*hotplug)(int event, void* user);
  void* hotplug_user;
};
constinit Listeners g_listeners = {};

// Copies, so that no lock is held while a callback runs.
struct Snapshot {
  Listeners listeners;
  int slot;
};

Snapshot snapshot() {
  const MutexLock lock(g_slots.mutex);
  return {g_listeners, slot_for_callback(g_slots.cache)};
}

// --- Card status ---

// True when a switch was waiting for this: it waits no longer.
bool ends_switch(int32_t wait_type) {
  const MutexLock lock(g_slots.mutex);
  if (g_slots.cache.switch_wait_type != wait_type) return false;
  g_slots.cache.switch_wait_type = VEK_PAL_SWITCH_WAITS_FOR_NOTHING;
  return true;
}

void post_if_awaited(ModemEvent& event, const char* record) {
  if (!is_awaited(event)) return;
  LOG_I("%s", record);
  post(event);
}

void card_is_up(const char* record) {
  if (!ends_switch(VEK_PAL_SWITCH_WAITS_FOR_CARD)) return;
  LOG_I("switch wait type set to none");
  post_if_awaited(g_slot_switched, record);
}

int status_of_absent_card() {
  const MutexLock lock(g_slots.mutex);
  if (g_slots.cache.sim1_switch_flag == 0) return VEK_PAL_SIM_ABSENT;
  LOG_I("sim1 remove, but current in swtich to sim1 process");
  g_slots.cache.sim1_switch_flag = 0;
  LOG_I("Update sim1_switch_flag FALSE");
  return VEK_PAL_SIM_UNKNOWN;
}

int status_of_present_card(uint32_t app_state) {
  switch (app_state) {
    case UIM_APP_STATE_PIN1_OR_UPIN_REQ_V01:
      card_is_up("switch sim slot and sim pin,post sem");
      return VEK_PAL_SIM_PIN_REQUIRED;
    case UIM_APP_STATE_PUK1_OR_PUK_REQ_V01:
      card_is_up("switch sim slot and sim puk,post sem");
      return VEK_PAL_SIM_PUK_REQUIRED;
    case UIM_APP_STATE_READY_V01:
      card_is_up("switch sim slot and sim ready,post sem");
      post_if_awaited(g_ready, "somewhere waitting and sim ready,post sem");
      return VEK_PAL_SIM_READY;
    case UIM_APP_STATE_DETECTED_V01:
      LOG_I("sim app state detected,do nothing");
      return VEK_PAL_SIM_UNKNOWN;
    default:
      return VEK_PAL_SIM_UNKNOWN;
  }
}

void take_card_status(const uim_card_status& reported) {
  const uim_card_info& card = reported.card_info[0];
  const uim_app_info& app = select_app(card);
  LOG_I("card_info_len:%d", static_cast<int>(reported.card_info_len));
  LOG_I("card_info[0].card_state:%d", static_cast<int>(card.card_state));
  LOG_I("card_info[0].app_info.app_state:%d", static_cast<int>(app.app_state));

  int status = VEK_PAL_SIM_ABSENT;  // also of a card in error
  if (card.card_state == UIM_CARD_STATE_ABSENT_V01) status = status_of_absent_card();
  if (card.card_state == UIM_CARD_STATE_PRESENT_V01) status = status_of_present_card(app.app_state);
  LOG_I("sim status: %d", status);
  const Snapshot now = snapshot();
  if (now.listeners.status == nullptr) return LOG_E("sim_ind_info.cb is NULL");
  if (status != VEK_PAL_SIM_UNKNOWN) now.listeners.status(now.slot, status, 0, now.listeners.status_user);
}

// --- Slot status ---

enum class FirstSlot { unchanged, plugged_in, plugged_out };

bool holds_card(int32_t slot_state) {
  return slot_state == VEK_PAL_SLOT_UICC || slot_state == VEK_PAL_SLOT_EUICC_WITH_PROFILE ||
         slot_state == VEK_PAL_SLOT_EUICC_WITHOUT_PROFILE;
}

// Whether the first slot's new state is news, or what a switch brings about by itself. With the mutex held.
FirstSlot judge_first_slot(int32_t slot_state) {
  vek_pal_slot_info_cache& cache = g_slots.cache;
  if (slot_state == VEK_PAL_SLOT_NO_CARD) {
    if (cache.sim2_switch_flag == 0) return FirstSlot::plugged_out;
    LOG_I("sim1 not ready, but Current in swtich to sim2 process");
  } else if (holds_card(slot_state)) {
    if (cache.sim2_switch_flag != 0) {
      LOG_I("sim1 ready, but current in swtich to sim2 process");
      cache.sim2_switch_flag = 0;
      LOG_I("Update sim2_switch_flag FALSE");
    } else if (g_slots.protect_flag != 0) {
      LOG_I("sim1 ready, but current in sim protect scene");
      g_slots.protect_flag = 0;
    } else {
      LOG_I("sim1 plugIn");
      return FirstSlot::plugged_in;
    }
  }
  return FirstSlot::unchanged;
}

void take_first_slot(const uim_slots& reported) {
  int32_t slot_state;
  bool active;
  {
    const MutexLock lock(g_slots.mutex);
    if (!load_first(reported)) return;
    slot_state = vek_pal_qmi_ext_dssa_slot_info_from_uicc_slot_state(g_slots.cache.first);
    active = g_slots.cache.first.is_active != 0;
  }
  if (active && ends_switch(VEK_PAL_SWITCH_WAITS_FOR_FIRST_SLOT))
    post_if_awaited(g_slot_switched, "switch sim1 slot and sim1 slot acitve, post sem");
  FirstSlot outcome = FirstSlot::unchanged;
  {
    const MutexLock lock(g_slots.mutex);
    if (vek_pal_qmi_ext_dssa_slot_status_update_cache(&g_slots.cache.first, slot_state) != 0)
      outcome = judge_first_slot(slot_state);
  }
  const Listeners told = snapshot().listeners;
  if (outcome != FirstSlot::unchanged && told.hotplug != nullptr)
    told.hotplug(outcome == FirstSlot::plugged_in ? VEK_PAL_SIM_PLUG_IN : VEK_PAL_SIM_PLUG_OUT, told.hotplug_user);
}

void take_second_slot(const uim_slots& reported) {
  int32_t slot_state;
  bool active, changed;
  {
    const MutexLock lock(g_slots.mutex);
    if (!load_second(reported)) return;
    slot_state = vek_pal_qmi_ext_dssa_slot_info_from_uicc_slot_state(g_slots.cache.second);
    active = g_slots.cache.second.is_active != 0;
  }
  if (active && ends_switch(VEK_PAL_SWITCH_WAITS_FOR_SECOND_SLOT))
    post_if_awaited(g_slot_switched, "switch sim2 slot and sim2 slot acitve, post sem");
  {
    const MutexLock lock(g_slots.mutex);
    changed = vek_pal_qmi_ext_dssa_slot_status_update_cache(&g_slots.cache.second, slot_state) != 0;
  }
  if (!changed || slot_state != VEK_PAL_SLOT_EUICC_WITHOUT_PROFILE || !active) return;
  LOG_I("sim2 no esim profile event");
  const Snapshot now = snapshot();
  if (now.listeners.status != nullptr)
    now.listeners.status(now.slot, VEK_PAL_SIM_NO_PROFILE, 0, now.listeners.status_user);
}

void take_slots(const uim_slots& reported) {
  if (reported.physical_slot_status_valid == 0) return;
  take_first_slot(reported);
  take_second_slot(reported);
}

// --- Registration ---

// True also when the modem reports already.
bool order_events(qmi_client_type client) {
  uim_event_reg_req request = {UIM_EVENT_CARD_STATUS_V01 | UIM_EVENT_PHYSICAL_SLOT_STATUS_V01};
  uim_event_reg_resp response;
  if (qmi::ask(client, kEventReg, request, response)) return true;
  if (response.resp.error == QMI_ERR_NO_EFFECT_V01) return true;
  LOG_E(" qmi_client_send_msg_sync QMI_UIM_EVENT_REG_REQ_V01 fail");
  return FAIL(false, "Isn't QMI_ERR_NO_EFFECT_V01");
}

// A modem that has restarted reports nothing until it is asked again, and what changed meanwhile it has told nobody.
int on_recovery(qmi_client_type client, void*) {
  if (!order_events(client)) return -1;
  uim_get_slots_status_resp slots;
  if (get_slots_status(client, slots)) take_slots(slots.slots);
  const HeapBlock<uim_get_card_status_resp> card;
  if (card && get_card_status(client, *card) && card->card_status_valid != 0) take_card_status(card->card_status);
  return 0;
}

qmi_client_type client_for(bool has_callback) { return has_callback ? uim_client() : FAIL(nullptr, "Wrong cb param"); }

// What changes from here on is an event: the slots' states count as known.
void load_cache(const uim_slots& reported) {
  const MutexLock lock(g_slots.mutex);
  vek_pal_slot_info_cache& cache = g_slots.cache;
  if (load_first(reported)) cache.first.slot_state = vek_pal_qmi_ext_dssa_slot_info_from_uicc_slot_state(cache.first);
  if (load_second(reported))
    cache.second.slot_state = vek_pal_qmi_ext_dssa_slot_info_from_uicc_slot_state(cache.second);
}

template <typename Indication>
bool decode(qmi_client_type client, unsigned msg_id, const void* buffer, unsigned length, Indication& indication) {
  const int rc =
      qmi_client_message_decode(client, QMI_IDL_INDICATION, msg_id, buffer, length, &indication, sizeof indication);
  return rc == QMI_NO_ERR || FAIL(false, "UIM status change ind decode failed err :%d", rc);
}

}  // namespace

}  // namespace vek::sim

using namespace vek::sim;

void vek_pal_uim_qmi_ind_cb(qmi_client_type handle, unsigned msg_id, void* ind_buf, unsigned ind_buf_len, void*) {
  LOG_I("UIM indcation coming, ind msg id :0x%x", msg_id);
  switch (msg_id) {
    case QMI_UIM_STATUS_CHANGE_IND_V01: {
      const vek::HeapBlock<uim_status_change_ind> indication;
      if (!indication) return LOG_E("malloc status change ind failed");
      if (decode(handle, msg_id, ind_buf, ind_buf_len, *indication) && indication->card_status_valid != 0)
        take_card_status(indication->card_status);
      return;
    }
    case QMI_UIM_SLOT_STATUS_CHANGE_IND_V01: {
      uim_slot_status_change_ind indication;
      if (decode(handle, msg_id, ind_buf, ind_buf_len, indication)) take_slots(indication.slots);
      return;
    }
    default:
      LOG_I("unknown the indication msg_id: %d.", static_cast<int>(msg_id));
  }
}

int vek_pal_sim_status_indication_register(void (*callback)(int slot, int status, int zero, void* user), void* user) {
  const qmi_client_type client = client_for(callback != nullptr);
  if (client == nullptr || !order_events(client)) return -1;
  {
    const vek::MutexLock lock(g_slots.mutex);
    g_listeners.status = callback;
    g_listeners.status_user = user;
  }
  qmi_client_on_recovery(client, on_recovery);
  return 0;
}

int vek_pal_hotplug_status_indication_register(void (*callback)(int event, void* user), void* user) {
  const qmi_client_type client = client_for(callback != nullptr);
  if (client == nullptr) return -1;
  uim_get_slots_status_resp response;
  if (!get_slots_status(client, response)) return -1;
  if (physical_slots(response) != nullptr) load_cache(response.slots);
  if (!order_events(client)) return -1;
  {
    const vek::MutexLock lock(g_slots.mutex);
    g_listeners.hotplug = callback;
    g_listeners.hotplug_user = user;
  }
  qmi_client_on_recovery(client, on_recovery);
  return 0;
}
