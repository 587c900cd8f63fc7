#include "modem/net/uim.h"

#include "log/log.h"
#include "vek_pal/qmi.h"

namespace vek::sim {

namespace {

constexpr char kLogTag[] = "NET";
constexpr qmi::Question kGetSlotsStatus = {QMI_UIM_GET_SLOTS_STATUS_REQ_V01, "QMI_UIM_GET_SLOTS_STATUS_REQ_V01",
                                           kTimeoutMs};
constexpr qmi::Question kGetCardStatus = {QMI_UIM_GET_CARD_STATUS_REQ_V01, "QMI_UIM_GET_CARD_STATUS_REQ_V01",
                                          kTimeoutMs};

template <typename Response>
bool answered(qmi_client_type client, const qmi::Question& question, Response& response) {
  return qmi::ask(client, question, response) || FAIL(false, " qmi_client_send_msg_sync %s fail", question.name);
}

}  // namespace

qmi_client_type uim_client() {
  const qmi_client_type client = vek_pal_qmi_get_uim_client();
  return client != nullptr ? client : FAIL(nullptr, "Fail to get uim client");
}

bool get_slots_status(qmi_client_type client, uim_get_slots_status_resp& response) {
  return answered(client, kGetSlotsStatus, response);
}

bool get_card_status(qmi_client_type client, uim_get_card_status_resp& response) {
  return answered(client, kGetCardStatus, response);
}

const uim_physical_slot_status* physical_slots(const uim_get_slots_status_resp& response) {
  return response.slots.physical_slot_status_valid != 0 ? response.slots.physical_slot_status
                                                        : FAIL(nullptr, "physical_slot_status invalid");
}

int active_slot(const uim_physical_slot_status* slots) {
  for (int i = 0; i < 2; i++)
    if (slots[i].physical_slot_state == UIM_PHYSICAL_SLOT_STATE_ACTIVE_V01) return i;
  return -1;
}

int ask_active_slot(uim_get_slots_status_resp& answer) {
  const qmi_client_type client = uim_client();
  if (client == nullptr || !get_slots_status(client, answer)) return -1;
  const uim_physical_slot_status* const slots = physical_slots(answer);
  if (slots == nullptr) return -1;
  const int active = active_slot(slots);
  return active >= 0 ? active : FAIL(-1, "no active slot");
}

const uim_app_info& select_app(const uim_card_info& card) {
  for (unsigned i = 0; i < card.app_info_len; i++) {
    if (card.app_info[i].app_type != UIM_APP_TYPE_USIM_V01) continue;
    if (i != 0) LOG_I("usim app index %d", static_cast<int>(i));
    return card.app_info[i];
  }
  return card.app_info[0];
}

}  // namespace vek::sim
