// From one slot to the other, and the SIM-protect situation.
#include <atomic>

#include "common/base/heap_block.h"
#include "common/base/mutex_lock.h"
#include "log/log.h"
#include "modem/net/sim_event.h"
#include "modem/net/slot_cache.h"
#include "modem/net/uim.h"
#include "vek_pal/sim.h"

namespace {

using namespace vek::sim;

constexpr char kLogTag[] = "NET";
constexpr vek::qmi::Question kSwitchSlot = {QMI_UIM_SWITCH_SLOT_REQ_V01, "QMI_UIM_SWITCH_SLOT_REQ_V01", kTimeoutMs};
constexpr unsigned kWaitMs = 10000;
constexpr uint8_t kLogicalSlot = 1;

constinit std::atomic<bool> g_switching = false;

// Whether the card of `slot` will come up in it: it is not in use now, and it has a number.
bool card_will_come_up(const uim_physical_slot_status* reported, int slot) {
  const vek_pal_slot_info_cache& cache = g_slots.cache;
  const bool unused = slot == VEK_PAL_SIM_FIRST_SLOT ? cache.first.is_active == 0
                                                     : cache.first.is_active != 0 && cache.second.is_active == 0;
  return unused && reported != nullptr && reported[slot].iccid_len != 0;
}

// Decides what to wait for, and which events the switch will cause that are none of the daemon's business.
void prepare_switch(const uim_get_slots_status_resp& answer, int slot, uint8_t protect) {
  const uim_physical_slot_status* const reported = physical_slots(answer);
  const vek::MutexLock lock(g_slots.mutex);
  vek_pal_slot_info_cache& cache = g_slots.cache;
  if (reported != nullptr) {
    load_first(answer.slots);
    load_second(answer.slots);
  }
  g_slots.protect_flag = protect;
  if (slot == VEK_PAL_SIM_FIRST_SLOT && cache.second.card_status == UIM_PHYSICAL_CARD_STATE_PRESENT_V01) {
    cache.sim1_switch_flag = 1;
    LOG_I("Update sim1_switch_flag TRUE");
  }
  if (slot == VEK_PAL_SIM_SECOND_SLOT && cache.first.card_status == UIM_PHYSICAL_CARD_STATE_PRESENT_V01) {
    cache.sim2_switch_flag = 1;
    LOG_I("Update sim2_switch_flag TRUE");
  }
  if (card_will_come_up(reported, slot))
    cache.switch_wait_type = VEK_PAL_SWITCH_WAITS_FOR_CARD;
  else if (slot == VEK_PAL_SIM_FIRST_SLOT)
    cache.switch_wait_type = VEK_PAL_SWITCH_WAITS_FOR_FIRST_SLOT;
  else
    cache.switch_wait_type = VEK_PAL_SWITCH_WAITS_FOR_SECOND_SLOT;
  LOG_I("switch slot wait type is %d", static_cast<int>(cache.switch_wait_type));
}

// The request, and the wait: also after a request that failed, for the modem may have taken it all the same.
int request_and_wait(qmi_client_type client, int slot) {
  LOG_I("Need wait sim slot switch sem, init sem");
  const int prepared = vek::prepare(g_slot_switched);
  LOG_I("switch sim slot sem init, ret=%d.", prepared);
  uim_switch_slot_req request = {kLogicalSlot, static_cast<uint32_t>(slot) + 1};
  qmi_result_resp response;
  const bool taken = vek::qmi::ask(client, kSwitchSlot, request, response);
  if (taken)
    LOG_I("switch sim slot send successfully");
  else
    LOG_E("qmi_client_send_msg_sync QMI_UIM_SWITCH_SLOT_REQ_V01 fail");
  if (prepared == 0) {
    LOG_I("waitting sim slot switch sem");
    vek::wait_for(g_slot_switched, kWaitMs);
  }
  vek::destroy(g_slot_switched);
  return taken ? 0 : -1;
}

int switch_slot(int slot) {
  {
    const vek::MutexLock lock(g_slots.mutex);
    g_slots.cache.switch_wait_type = VEK_PAL_SWITCH_BEGINS;
  }
  const qmi_client_type client = uim_client();
  if (client == nullptr) return -1;
  uim_get_slots_status_resp answer;
  if (!get_slots_status(client, answer)) return VEK_PAL_SIM_QUERY_FAILED;
  const int protect = slot == VEK_PAL_SIM_SECOND_SLOT ? vek_pal_check_sim_protect_event() : 0;
  prepare_switch(answer, slot, static_cast<uint8_t>(protect));
  return request_and_wait(client, slot);
}

}  // namespace

int vek_pal_check_sim_protect_event(void) {
  const qmi_client_type client = uim_client();
  if (client == nullptr) return VEK_PAL_SIM_PROTECT_UNKNOWN;
  const vek::HeapBlock<uim_get_card_status_resp> answer;
  if (!answer) return FAIL(VEK_PAL_SIM_PROTECT_UNKNOWN, "malloc card status failed");
  if (!get_card_status(client, *answer)) return VEK_PAL_SIM_PROTECT_UNKNOWN;
  if (answer->card_status_valid == 0) return FAIL(0, "card_status_valid invalid");
  if (answer->hot_swap_valid == 0 || answer->hot_swap_len == 0 || answer->hot_swap[0] != UIM_HOT_SWAP_CARD_PRESENT_V01)
    return 0;
  const bool protect = answer->card_status.card_info[0].card_state == UIM_CARD_STATE_ABSENT_V01;
  LOG_I(protect ? "In SIM protect scene" : "Not in SIM protect scene");
  return protect ? 1 : 0;
}

int vek_pal_sim_slot_switch(int slot) {
  if (slot != VEK_PAL_SIM_FIRST_SLOT && slot != VEK_PAL_SIM_SECOND_SLOT) return FAIL(-1, "no sim slot %d", slot);
  int cancel_state;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state);
  int result = -1;
  if (g_switching.exchange(true)) {
    LOG_E("a sim slot switch is under way");
  } else {
    result = switch_slot(slot);
    g_switching = false;
  }
  pthread_setcancelstate(cancel_state, nullptr);
  return result;
}
