// Cards in slots: what changes about them, and who is told of it in which order.
#pragma once

#include <functional>
#include <string>

#include "modem/modem.h"

namespace simulated {

// Bits of a UIM client's events, as they are on the wire.
enum : uint64_t { kCardStatusEvents = 1 << 0, kSlotStatusEvents = 1 << 4 };

void insert_card(Modem& modem, size_t slot, Card card);
void remove_card(Modem& modem, size_t slot);
// The modem takes the power from a card, or finds it in error; and starts it up again.
void power_down(Modem& modem, size_t slot);
void fail_card(Modem& modem, size_t slot, uint8_t error);
void power_up(Modem& modem, size_t slot);
void switch_slot(Modem& modem, size_t slot);
// A card is what it was, but for what `change` makes of it, and starts up anew.
void change_card(Modem& modem, size_t slot, const std::function<void(Card&)>& change);

enum class PinOutcome { done, wrong, blocked, nothing_to_do };

// All enter a code into the card: a wrong one costs a try.
PinOutcome verify_pin(Modem& modem, size_t slot, Pin& pin, const std::string& code);
PinOutcome protect_by_pin(Modem& modem, size_t slot, Pin& pin, bool on, const std::string& code);
PinOutcome change_pin(Modem& modem, size_t slot, Pin& pin, const std::string& code, const std::string& new_code);
PinOutcome unblock_pin(Modem& modem, size_t slot, Pin& pin, const std::string& unblock_code, const std::string& code);

// Everything as after power-on, at once.
void boot_cards(Modem& modem);

// What the modem has to report; uim.cpp knows how that looks on the wire.
void tell_slots(Modem& modem);
void tell_card(Modem& modem);

}  // namespace simulated
