// The SIM's status, the wait for it to be ready, the active slot, and the PIN.
#include <string.h>

#include "common/base/heap_block.h"
#include "log/log.h"
#include "modem/net/sim_event.h"
#include "modem/net/uim.h"
#include "vek_pal/sim.h"

namespace {

using namespace vek::sim;

constexpr char kLogTag[] = "NET";
constexpr vek::qmi::Question kVerifyPin = {QMI_UIM_VERIFY_PIN_REQ_V01, "QMI_UIM_VERIFY_PIN_REQ_V01", kTimeoutMs};
constexpr unsigned kReadyWaitMs = 5000;
constexpr size_t kPinMin = 4, kPinMax = 8;

int status_of(const uim_card_info& card, bool second_slot, bool has_iccid) {
  const uim_app_info& app = select_app(card);
  if (!second_slot && card.card_state != UIM_CARD_STATE_PRESENT_V01) return VEK_PAL_SIM_ABSENT;
  switch (app.app_state) {
    case UIM_APP_STATE_PIN1_OR_UPIN_REQ_V01:
      return VEK_PAL_SIM_PIN_REQUIRED;
    case UIM_APP_STATE_PUK1_OR_PUK_REQ_V01:
      return VEK_PAL_SIM_PUK_REQUIRED;
    default:
      if (second_slot && !has_iccid) return VEK_PAL_SIM_NO_PROFILE;
      return app.app_state == UIM_APP_STATE_READY_V01 ? VEK_PAL_SIM_READY : VEK_PAL_SIM_ABSENT;
  }
}

bool is_pin(const char* text) {
  const size_t length = strspn(text, "0123456789");
  return text[length] == '\0' && length >= kPinMin && length <= kPinMax;
}

}  // namespace

int vek_pal_get_sim_status(void) {
  const qmi_client_type client = uim_client();
  if (client == nullptr) return -1;
  uim_get_slots_status_resp answer;
  if (!get_slots_status(client, answer)) return VEK_PAL_SIM_QUERY_FAILED;
  const uim_physical_slot_status* const slots = physical_slots(answer);
  if (slots == nullptr) return VEK_PAL_SIM_UNKNOWN;
  const int active = active_slot(slots);

  const vek::HeapBlock<uim_get_card_status_resp> card;
  if (!card) return FAIL(-1, "malloc card status failed");
  if (!get_card_status(client, *card)) return -1;
  if (card->card_status_valid == 0) return FAIL(VEK_PAL_SIM_UNKNOWN, "card_status_valid invalid");
  const int status = status_of(card->card_status.card_info[0], active == VEK_PAL_SIM_SECOND_SLOT,
                               active >= 0 && slots[active].iccid_len != 0);
  LOG_I("sim status: %d", status);
  return status;
}

void vek_pal_wait_sim_ready_sem(void) {
  vek_pal_get_current_sim_slot();  // for its records
  const int status = vek_pal_get_sim_status();
  LOG_I("current sim status: %d.", status);
  if (status == VEK_PAL_SIM_READY) return;
  const int prepared = vek::prepare(g_ready);
  LOG_I("sim ready sem init, ret=%d.", prepared);
  vek::wait_for(g_ready, kReadyWaitMs);
  LOG_I("wait sim ready done.");
  vek::destroy(g_ready);
}

int vek_pal_get_current_sim_slot(void) {
  uim_get_slots_status_resp answer;
  const int active = ask_active_slot(answer);
  if (active < 0) return -1;
  LOG_I("logical_slot id %d", answer.slots.physical_slot_status[active].logical_slot);
  LOG_I("physical_slot id %d", active + 1);
  return active;
}

int vek_pal_sim_verify_pin(const char* pin_code) {
  if (pin_code == nullptr) return FAIL(-1, "pin_code_ptr pointer is NULL\r\n");
  if (!is_pin(pin_code)) return FAIL(-1, "a pin has 4 to 8 digits");
  const qmi_client_type client = uim_client();
  if (client == nullptr) return -1;
  uim_verify_pin_req request = {};
  request.session_information.session_type = UIM_SESSION_TYPE_PRIMARY_GW_V01;
  request.verify_pin.pin_id = UIM_PIN_ID_PIN_1_V01;
  strcpy(request.verify_pin.pin_value, pin_code);
  uim_verify_pin_resp response;
  if (!vek::qmi::ask(client, kVerifyPin, request, response)) {
    if (response.retries_left_valid != 0) LOG_E("verify PIN failed, %d tries left", response.retries_left.verify_left);
    return -1;
  }
  LOG_I("verify PIN successfully");
  return 0;
}
