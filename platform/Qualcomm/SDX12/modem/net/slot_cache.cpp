#include "modem/net/slot_cache.h"

#include "log/log.h"

namespace vek::sim {

namespace {

constexpr char kLogTag[] = "NET";

bool load(const uim_slots& reported, unsigned index, vek_pal_slot_info& slot) {
  if (index >= reported.physical_slot_status_len) return false;
  const uim_physical_slot_status& status = reported.physical_slot_status[index];
  const uim_physical_slot_information& information = reported.physical_slot_information[index];
  slot.card_status = static_cast<int32_t>(status.physical_card_status);
  slot.is_active = status.physical_slot_state == UIM_PHYSICAL_SLOT_STATE_ACTIVE_V01;
  slot.num_apps = information.num_app;
  slot.is_euicc = information.is_euicc != 0;
  LOG_I("DSSA:%s slot present card_status = %d app_len = %dslot_state = %d is_esim = %d",
        index == 0 ? "first" : "second", static_cast<int>(slot.card_status), static_cast<int>(slot.num_apps),
        slot.is_active, slot.is_euicc);
  return true;
}

}  // namespace

constinit Slots g_slots;

bool load_first(const uim_slots& reported) {
  if (!load(reported, 0, g_slots.cache.first)) return false;
  g_slots.first_atr_len = static_cast<int32_t>(reported.physical_slot_information[0].atr_len);
  return true;
}

bool load_second(const uim_slots& reported) {
  const vek_pal_slot_info& slot = g_slots.cache.second;
  if (!load(reported, 1, g_slots.cache.second)) return false;
  if (slot.is_active != 0 && slot.is_euicc != 0 && reported.slot_eid[1].eid_len != 0)
    g_slots.second_eid = reported.slot_eid[1];
  return true;
}

int32_t vek_pal_qmi_ext_dssa_slot_info_from_uicc_slot_state(const vek_pal_slot_info& slot) {
  LOG_I("slot_state = %d, card_status = %d, is_euicc = %d, num_apps = %d", slot.is_active,
        static_cast<int>(slot.card_status), slot.is_euicc, static_cast<int>(slot.num_apps));
  int32_t state = VEK_PAL_SLOT_UNKNOWN;
  if (slot.card_status == UIM_PHYSICAL_CARD_STATE_ABSENT_V01) {
    state = VEK_PAL_SLOT_NO_CARD;
  } else if (slot.card_status == UIM_PHYSICAL_CARD_STATE_PRESENT_V01) {
    if (slot.is_euicc != 0) {
      state = slot.num_apps != 0 ? VEK_PAL_SLOT_EUICC_WITH_PROFILE : VEK_PAL_SLOT_EUICC_WITHOUT_PROFILE;
    } else if (slot.is_active == 0 && g_slots.first_atr_len < 1 && slot.num_apps == 0) {
      LOG_I("return atr is 0! SIM1 card not inserted!");
      state = VEK_PAL_SLOT_NO_CARD;
    } else {
      state = VEK_PAL_SLOT_UICC;
    }
  }
  LOG_I("DSSA: Card State = %d", static_cast<int>(state));
  return state;
}

int slot_for_callback(const vek_pal_slot_info_cache& cache) {
  if (cache.first.is_active != 0) return VEK_PAL_SIM_FIRST_SLOT;
  return cache.second.is_active != 0 ? VEK_PAL_SIM_SECOND_SLOT : VEK_PAL_SIM_NO_SLOT;
}

}  // namespace vek::sim

using namespace vek::sim;

vek_pal_slot_info_cache* vek_pal_qmi_slot_info_cache_get(void) { return &g_slots.cache; }

int vek_pal_qmi_ext_dssa_slot_status_update_cache(vek_pal_slot_info* slot, int32_t slot_state) {
  if (slot == nullptr) return FAIL(0, "slot pointer is NULL");
  if (slot->slot_state == slot_state) {
    LOG_I("cache not changed! current slot_state is %d!", static_cast<int>(slot_state));
    return 0;
  }
  LOG_I("cache changed! old slot_state is %d, new slot_state is %d!", static_cast<int>(slot->slot_state),
        static_cast<int>(slot_state));
  slot->slot_state = slot_state;
  return 1;
}
