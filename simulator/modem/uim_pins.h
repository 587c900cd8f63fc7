// UIM's requests about PINs, of which the library makes one.
#pragma once

#include "modem/modem.h"

namespace simulated {

enum : uint16_t { kUimSetPinProtection = 0x25, kUimUnblockPin = 0x27, kUimChangePin = 0x28 };

void uim_verify_pin_handler(Modem& modem, const Request& request, Response& response);
void uim_set_pin_protection_handler(Modem& modem, const Request& request, Response& response);
void uim_unblock_pin_handler(Modem& modem, const Request& request, Response& response);
void uim_change_pin_handler(Modem& modem, const Request& request, Response& response);

// Provisioning sessions are about the active slot's card, the others name a slot with their last bit.
size_t slot_of_session(const State& state, uint32_t session_type);
Card& card_of_session(State& state, uint32_t session_type);  // refuses the request when there is none to be used

}  // namespace simulated
