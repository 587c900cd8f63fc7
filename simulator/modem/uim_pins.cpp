#include "modem/uim_pins.h"

#include "modem/cards.h"
#include "providers/qmi/services/uim.h"

namespace simulated {
namespace {

constexpr uint32_t kNoSim = 102;

// What every such request begins with: whose PIN, and which.
struct PinRequest {
  size_t slot;
  Pin& pin;
  ByteReader rest;  // what is to be done with it
};

PinRequest read_request(Modem& modem, const Request& request) {
  const uint8_t session_type = request.tlvs.need(0x01).u8();
  ByteReader info = request.tlvs.need(0x02);
  const uint8_t id = info.u8();
  if (id != UIM_PIN_ID_PIN_1_V01 && id != UIM_PIN_ID_PIN_2_V01) throw Refused(QMI_ERR_INVALID_PINID_V01);
  Card& card = card_of_session(modem.state, session_type);
  return {slot_of_session(modem.state, session_type), id == UIM_PIN_ID_PIN_1_V01 ? card.pin1 : card.pin2, info};
}

std::string text(ByteReader& reader) { return reader.text(reader.u8()); }

// The outcome, with what is left to try after a failure and with the card's status words.
void answer(Response& response, PinOutcome outcome, const Pin& pin, uint8_t tries_left) {
  uint16_t status_word = 0x9000;
  if (outcome == PinOutcome::nothing_to_do) throw Refused(QMI_ERR_NO_EFFECT_V01);
  if (outcome == PinOutcome::wrong || outcome == PinOutcome::blocked) {
    const bool wrong = outcome == PinOutcome::wrong;
    response.refuse(wrong ? QMI_ERR_INCORRECT_PIN_V01 : QMI_ERR_PIN_BLOCKED_V01);
    response.tlv(0x10).u8(pin.retries).u8(pin.unblock_retries);
    status_word = wrong ? static_cast<uint16_t>(0x63C0 | tries_left) : uint16_t{0x6983};
  }
  response.tlv(0x13).u8(status_word >> 8).u8(status_word);
}

}  // namespace

size_t slot_of_session(const State& state, uint32_t session_type) {
  constexpr uint32_t kFirstOfSlots = 4;
  return session_type < kFirstOfSlots ? state.active_slot : session_type % 2;
}

Card& card_of_session(State& state, uint32_t session_type) {
  Slot& slot = state.slots[slot_of_session(state, session_type)];
  if (!slot.card || !slot.powered || slot.error) throw Refused(kNoSim);
  return *slot.card;
}

void uim_verify_pin_handler(Modem& modem, const Request& request, Response& response) {
  PinRequest wanted = read_request(modem, request);
  answer(response, verify_pin(modem, wanted.slot, wanted.pin, text(wanted.rest)), wanted.pin, wanted.pin.retries);
}

void uim_set_pin_protection_handler(Modem& modem, const Request& request, Response& response) {
  PinRequest wanted = read_request(modem, request);
  const bool on = wanted.rest.u8() != 0;
  answer(response, protect_by_pin(modem, wanted.slot, wanted.pin, on, text(wanted.rest)), wanted.pin,
         wanted.pin.retries);
}

void uim_unblock_pin_handler(Modem& modem, const Request& request, Response& response) {
  PinRequest wanted = read_request(modem, request);
  const std::string unblock_code = text(wanted.rest), code = text(wanted.rest);
  answer(response, unblock_pin(modem, wanted.slot, wanted.pin, unblock_code, code), wanted.pin,
         wanted.pin.unblock_retries);
}

void uim_change_pin_handler(Modem& modem, const Request& request, Response& response) {
  PinRequest wanted = read_request(modem, request);
  const std::string old_code = text(wanted.rest), code = text(wanted.rest);
  answer(response, change_pin(modem, wanted.slot, wanted.pin, old_code, code), wanted.pin, wanted.pin.retries);
}

}  // namespace simulated
