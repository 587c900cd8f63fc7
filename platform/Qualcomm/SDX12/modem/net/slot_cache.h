// What is known of the slots, and what a switch between them hides. The receive thread writes it and callers of the
// library read it: everything in here is touched with `mutex` held, but by those who have the cache's address.
#pragma once

#include <pthread.h>

#include "providers/qmi/services/uim.h"
#include "vek_pal/sim.h"

namespace vek::sim {

struct Slots {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  vek_pal_slot_info_cache cache = {};
  int32_t first_atr_len = 0;
  uint8_t protect_flag = 0;
  uim_slot_eid second_eid = {};  // of the second slot's eSIM, when last reported as the active one
};

extern Slots g_slots;

// Takes over what the modem reports of a slot, but for the slot state; false when it reports no such slot. With the
// mutex held.
bool load_first(const uim_slots& reported);
bool load_second(const uim_slots& reported);

// The slot state that follows from a slot's record.
int32_t vek_pal_qmi_ext_dssa_slot_info_from_uicc_slot_state(const vek_pal_slot_info& slot);

// The active slot as callbacks are told it.
int slot_for_callback(const vek_pal_slot_info_cache& cache);

}  // namespace vek::sim
