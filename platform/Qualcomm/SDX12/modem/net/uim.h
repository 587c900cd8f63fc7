// Questions about the SIM that several areas of it ask.
#pragma once

#include "providers/qmi/services/uim.h"
#include "sys/qmi_request.h"

namespace vek::sim {

constexpr unsigned kTimeoutMs = 3000;

// The client, or nullptr and a record.
qmi_client_type uim_client();

// False, with a record, when the modem did not answer as asked.
bool get_slots_status(qmi_client_type client, uim_get_slots_status_resp& response);
bool get_card_status(qmi_client_type client, uim_get_card_status_resp& response);

// The slots, if the answer has any; else nullptr and a record.
const uim_physical_slot_status* physical_slots(const uim_get_slots_status_resp& response);

// Of the first two; -1 when neither is active.
int active_slot(const uim_physical_slot_status* slots);

// Asks for the slots: the index of the active one, or -1 and a record.
int ask_active_slot(uim_get_slots_status_resp& answer);

// The USIM, else the card's first application. A card without any has an application of zeros.
const uim_app_info& select_app(const uim_card_info& card);

}  // namespace vek::sim
