// UIM: cards, slots, PINs and files.
#include "providers/qmi/services/uim.h"

#include <algorithm>

#include "modem/card_files.h"
#include "modem/cards.h"
#include "modem/sim_commands.h"
#include "modem/uim_pins.h"

namespace simulated {
namespace {

constexpr uint8_t kPoweredDown = 1;  // the error code of a card
constexpr uint32_t kFeatureUnknown = 11, kPersonalisationReady = 2;
constexpr uint16_t kNoSession = 0xFFFF;

// --- What is reported ---

template <size_t size>
uint32_t copy_bytes(uint8_t (&member)[size], const Bytes& bytes) {
  const size_t count = std::min(size, bytes.size());
  std::copy_n(bytes.begin(), count, member);
  return static_cast<uint32_t>(count);
}

uim_pin_info pin_info(const Pin& pin) { return {static_cast<uint32_t>(pin.state), pin.retries, pin.unblock_retries}; }

uim_app_info app_info(const Slot& slot, size_t index) {
  const Card& card = *slot.card;
  uim_app_info info{};
  info.app_type = static_cast<uint32_t>(card.applications[index]);
  info.app_state = static_cast<uint32_t>(slot.app);
  info.perso_state = slot.app == AppState::ready ? kPersonalisationReady : 0;
  info.perso_feature = kFeatureUnknown;
  info.aid_len = copy_bytes(info.aid, application_id(card, index));
  info.pin1 = pin_info(card.pin1);
  info.pin2 = pin_info(card.pin2);
  return info;
}

// The application that the network knows the card by.
size_t network_application(const Card& card) {
  const auto at = std::ranges::find(card.applications, App::usim);
  return at == card.applications.end() ? 0 : static_cast<size_t>(at - card.applications.begin());
}

uim_card_status card_status(const State& state) {
  const Slot& slot = state.slots[state.active_slot];
  uim_card_status status{kNoSession, kNoSession, kNoSession, kNoSession, 1, {}};
  uim_card_info& info = status.card_info[0];
  if (!slot.card) return status;
  if (!slot.powered || slot.error) {
    info.card_state = UIM_CARD_STATE_ERROR_V01;
    info.error_code = slot.error.value_or(kPoweredDown);
    return status;
  }
  if (slot.app == AppState::unknown) return status;
  info.card_state = UIM_CARD_STATE_PRESENT_V01;
  if (slot.card->subscription() == nullptr) return status;
  info.app_info_len = static_cast<uint32_t>(slot.card->applications.size());
  for (size_t i = 0; i < info.app_info_len; i++) info.app_info[i] = app_info(slot, i);
  status.index_gw_pri = static_cast<uint16_t>(network_application(*slot.card));
  return status;
}

uim_slots slots_status(const State& state) {
  uim_slots slots{};
  slots.physical_slot_status_valid = slots.physical_slot_information_valid = slots.slot_eid_valid = 1;
  slots.physical_slot_status_len = slots.physical_slot_information_len = slots.slot_eid_len =
      static_cast<uint32_t>(state.slots.size());
  for (size_t i = 0; i < state.slots.size(); i++) {
    const auto& card = state.slots[i].card;
    const bool active = i == state.active_slot;
    uim_physical_slot_status& status = slots.physical_slot_status[i];
    status.physical_card_status = card ? UIM_PHYSICAL_CARD_STATE_PRESENT_V01 : UIM_PHYSICAL_CARD_STATE_ABSENT_V01;
    status.physical_slot_state = active ? UIM_PHYSICAL_SLOT_STATE_ACTIVE_V01 : UIM_PHYSICAL_SLOT_STATE_INACTIVE_V01;
    status.logical_slot = active ? 1 : 0;
    if (!card) continue;
    uim_physical_slot_information& information = slots.physical_slot_information[i];
    information.card_protocol = UIM_CARD_PROTOCOL_UICC_V01;
    information.is_euicc = card->euicc;
    slots.slot_eid[i].eid_len = copy_bytes(slots.slot_eid[i].eid, stored_eid(card->eid));
    if (!active && !state.card_habits.inactive_known) continue;
    information.atr_len = copy_bytes(information.atr, card->atr);
    if (card->subscription() == nullptr) continue;
    status.iccid_len = copy_bytes(status.iccid, stored_iccid(card->subscription()->iccid));
    information.num_app = static_cast<uint8_t>(card->applications.size());
  }
  return slots;
}

// --- Requests ---

void get_card_status(Modem& modem, const Request&, Response& response) {
  uim_get_card_status_resp resp{};
  resp.card_status_valid = 1;
  resp.card_status = card_status(modem.state);
  resp.hot_swap_valid = 1;
  for (const Slot& slot : modem.state.slots)
    resp.hot_swap[resp.hot_swap_len++] = slot.detect ? UIM_HOT_SWAP_CARD_PRESENT_V01 : UIM_HOT_SWAP_NO_CARD_V01;
  response.record(resp);
}

void get_slots_status(Modem& modem, const Request&, Response& response) {
  response.record(uim_get_slots_status_resp{.resp = {}, .slots = slots_status(modem.state)});
}

void event_reg(Modem&, const Request& request, Response& response) {
  const uint32_t mask = request.record<uim_event_reg_req>().event_mask;
  if (request.client->events == mask) throw Refused(QMI_ERR_NO_EFFECT_V01);
  request.client->events = mask;
  response.record(uim_event_reg_resp{.resp = {}, .event_mask_valid = 1, .event_mask = mask});
}

void read_transparent(Modem& modem, const Request& request, Response& response) {
  const auto wanted = request.record<uim_read_transparent_req>();
  const Card& card = card_of_session(modem.state, wanted.session_information.session_type);
  std::vector<uint16_t> path;
  for (size_t i = 0; i + 1 < wanted.file_id.path_len; i += 2)
    path.push_back(static_cast<uint16_t>(wanted.file_id.path[i] | wanted.file_id.path[i + 1] << 8));
  path.push_back(wanted.file_id.file_id);

  const CardFile file = read_file(card, path);
  if (file.outcome == FileOutcome::missing) {
    response.refuse(QMI_ERR_SIM_FILE_NOT_FOUND_V01).tlv(0x10).u8(0x6A).u8(0x82);
    return;
  }
  if (file.outcome == FileOutcome::locked) {
    response.refuse(QMI_ERR_ACCESS_DENIED_V01).tlv(0x10).u8(0x69).u8(0x82);
    return;
  }
  const size_t offset = wanted.read_transparent.offset, length = wanted.read_transparent.length;
  if (offset > file.content.size()) {
    response.refuse(QMI_ERR_INVALID_ARG_V01).tlv(0x10).u8(0x6B).u8(0x00);
    return;
  }
  const size_t rest = file.content.size() - offset;
  const auto from = file.content.begin() + static_cast<ptrdiff_t>(offset);
  const Bytes content(from, from + static_cast<ptrdiff_t>(length == 0 ? rest : std::min(length, rest)));
  response.tlv(0x10).u8(0x90).u8(0x00);
  response.tlv(0x11).u16(content.size()).raw(content);
}

size_t power_slot(const State& state, const Request& request) {
  const uint8_t slot = request.record<uim_slot_req>().slot;
  if (slot < 1 || slot > state.slots.size()) throw Refused(QMI_ERR_INVALID_ARG_V01);
  return slot - 1u;
}

void switch_power(Modem& modem, const Request& request, bool on) {
  const size_t slot = power_slot(modem.state, request);
  if (modem.state.slots[slot].powered == on) throw Refused(QMI_ERR_NO_EFFECT_V01);
  (on ? power_up : power_down)(modem, slot);
}

void switch_to_slot(Modem& modem, const Request& request, Response&) {
  const auto wanted = request.record<uim_switch_slot_req>();
  if (wanted.logical_slot != 1 || wanted.physical_slot < 1 || wanted.physical_slot > modem.state.slots.size())
    throw Refused(QMI_ERR_INVALID_ARG_V01);
  switch_slot(modem, wanted.physical_slot - 1);
}

void changed(Modem& modem, Change change) {
  if (change == Change::started) boot_cards(modem);
}

constexpr Handler kHandlers[] = {
    {QMI_UIM_READ_TRANSPARENT_REQ_V01, read_transparent},
    {QMI_UIM_VERIFY_PIN_REQ_V01, uim_verify_pin_handler},
    {kUimSetPinProtection, uim_set_pin_protection_handler},
    {kUimUnblockPin, uim_unblock_pin_handler},
    {kUimChangePin, uim_change_pin_handler},
    {QMI_UIM_EVENT_REG_REQ_V01, event_reg},
    {QMI_UIM_GET_CARD_STATUS_REQ_V01, get_card_status},
    {QMI_UIM_POWER_DOWN_REQ_V01, [](Modem& m, const Request& request, Response&) { switch_power(m, request, false); }},
    {QMI_UIM_POWER_UP_REQ_V01, [](Modem& m, const Request& request, Response&) { switch_power(m, request, true); }},
    {QMI_UIM_SWITCH_SLOT_REQ_V01, switch_to_slot},
    {QMI_UIM_GET_SLOTS_STATUS_REQ_V01, get_slots_status},
};

}  // namespace

void tell_slots(Modem& modem) {
  modem.indicate_registered(uim_service, kSlotStatusEvents, QMI_UIM_SLOT_STATUS_CHANGE_IND_V01,
                            Modem::indication(uim_service, QMI_UIM_SLOT_STATUS_CHANGE_IND_V01,
                                              uim_slot_status_change_ind{slots_status(modem.state)}));
}

void tell_card(Modem& modem) {
  uim_status_change_ind indication{};
  indication.card_status_valid = 1;
  indication.card_status = card_status(modem.state);
  modem.indicate_registered(uim_service, kCardStatusEvents, QMI_UIM_STATUS_CHANGE_IND_V01,
                            Modem::indication(uim_service, QMI_UIM_STATUS_CHANGE_IND_V01, indication));
}

const Service uim_service = {0x0B,    "UIM",    1,          46, kHandlers, uim_get_service_object_internal_v01(1, 0, 0),
                             changed, load_sim, declare_sim};

}  // namespace simulated
