#include "modem/cards.h"

#include <stdexcept>
#include <utility>

namespace simulated {
namespace {

using Step = CardHabits::Step;

// What the start-up of a card ends with.
AppState started_state(const Card& card) {
  if (card.subscription() == nullptr) return AppState::detected;  // there is no application that could become ready
  switch (card.pin1.state) {
    case PinState::enabled_not_verified:
      return AppState::pin1_required;
    case PinState::blocked:
      return AppState::puk1_required;
    case PinState::permanently_blocked:
      return AppState::pin1_blocked;
    default:
      return AppState::ready;
  }
}

// What a card forgets without power.
void reset(Card& card) {
  card.channels = {Channel{.open = true}};
  if (card.pin1.state == PinState::enabled_verified) card.pin1.state = PinState::enabled_not_verified;
  if (card.pin2.state == PinState::enabled_verified) card.pin2.state = PinState::enabled_not_verified;
}

// One step after another, each so long after the one before; a step that never happens is the last. Whatever begins a
// start-up of the slot anew ends it.
struct Sequence {
  Modem& modem;
  size_t slot;
  unsigned start_up;
  std::vector<std::pair<Step, std::function<void()>>> steps = {};

  void run(size_t next = 0) const {
    if (next == steps.size() || !steps[next].first) return;
    modem.after(std::chrono::milliseconds(*steps[next].first), [sequence = *this, next] {
      if (sequence.modem.state.slots[sequence.slot].start_ups != sequence.start_up) return;
      sequence.steps[next].second();
      sequence.run(next + 1);
    });
  }
};

Sequence begin(Modem& modem, size_t slot) { return {modem, slot, ++modem.state.slots[slot].start_ups}; }

void set_app(Modem& modem, size_t slot, AppState app) {
  modem.state.slots[slot].app = app;
  modem.changed(Change::cards);
  if (slot == modem.state.active_slot) tell_card(modem);
}

void add_start_up(Sequence& sequence) {
  Modem& modem = sequence.modem;
  const size_t number = sequence.slot;
  const Slot& slot = modem.state.slots[number];
  if (number != modem.state.active_slot || !slot.card || !slot.powered || slot.error) return;
  const CardHabits& habits = modem.state.card_habits;
  sequence.steps.emplace_back(habits.detected_ms, [&modem, number] { set_app(modem, number, AppState::detected); });
  if (slot.card->subscription() == nullptr) return;
  sequence.steps.emplace_back(
      habits.ready_ms, [&modem, number] { set_app(modem, number, started_state(*modem.state.slots[number].card)); });
}

// The modem has lost sight of the card, and reports the slots.
Sequence begin_with_slots(Modem& modem, size_t slot) {
  Sequence sequence = begin(modem, slot);
  modem.state.slots[slot].app = AppState::unknown;
  modem.changed(Change::cards);
  sequence.steps.emplace_back(modem.state.card_habits.slot_ms, [&modem] { tell_slots(modem); });
  return sequence;
}

Card& card_in(Modem& modem, size_t slot) {
  auto& card = modem.state.slots[slot].card;
  if (!card) throw std::runtime_error("there is no card in this slot");
  return *card;
}

}  // namespace

void insert_card(Modem& modem, size_t number, Card card) {
  Slot& slot = modem.state.slots[number];
  slot.card = std::move(card);
  slot.detect = slot.powered = true;
  slot.error.reset();
  reset(*slot.card);
  Sequence sequence = begin_with_slots(modem, number);
  add_start_up(sequence);
  sequence.run();
}

void remove_card(Modem& modem, size_t number) {
  Slot& slot = modem.state.slots[number];
  if (slot.card) slot.taken_out = std::exchange(slot.card, std::nullopt);
  slot.detect = false;
  slot.error.reset();
  Sequence sequence = begin_with_slots(modem, number);
  if (number == modem.state.active_slot)
    sequence.steps.emplace_back(modem.state.card_habits.absent_ms, [&modem] { tell_card(modem); });
  sequence.run();
}

void power_down(Modem& modem, size_t slot) {
  modem.state.slots[slot].powered = false;
  begin(modem, slot);
  set_app(modem, slot, AppState::unknown);
}

void fail_card(Modem& modem, size_t slot, uint8_t error) {
  card_in(modem, slot);
  modem.state.slots[slot].error = error;
  begin(modem, slot);
  set_app(modem, slot, AppState::unknown);
}

void power_up(Modem& modem, size_t number) {
  Slot& slot = modem.state.slots[number];
  slot.powered = true;
  slot.error.reset();
  if (slot.card) reset(*slot.card);
  Sequence sequence = begin(modem, number);
  add_start_up(sequence);
  sequence.run();
}

void switch_slot(Modem& modem, size_t number) {
  State& state = modem.state;
  if (number == state.active_slot) return;  // nothing changes, so there is nothing to report
  Slot& left = state.slots[state.active_slot];
  ++left.start_ups;
  left.app = AppState::unknown;
  if (left.card) reset(*left.card);
  state.active_slot = number;
  Slot& slot = state.slots[number];
  if (slot.card) reset(*slot.card);
  Sequence sequence = begin_with_slots(modem, number);
  sequence.steps.emplace_back(state.card_habits.absent_ms, [&modem] { tell_card(modem); });
  add_start_up(sequence);
  sequence.run();
}

void change_card(Modem& modem, size_t number, const std::function<void(Card&)>& change) {
  Card& card = card_in(modem, number);
  change(card);
  reset(card);
  Sequence sequence = begin_with_slots(modem, number);
  if (number == modem.state.active_slot)
    sequence.steps.emplace_back(modem.state.card_habits.absent_ms, [&modem] { tell_card(modem); });
  add_start_up(sequence);
  sequence.run();
}

namespace {

// PIN1 decides how far the card has come, if it has started up at all.
void pin_changed(Modem& modem, size_t number, const Pin& pin) {
  const Slot& slot = modem.state.slots[number];
  if (&pin == &slot.card->pin1 && slot.app != AppState::unknown) set_app(modem, number, started_state(*slot.card));
}

}  // namespace

namespace {

bool is_blocked(const Pin& pin) { return pin.state == PinState::blocked || pin.state == PinState::permanently_blocked; }

// `state` is what the right code brings the PIN to.
PinOutcome enter(Modem& modem, size_t slot, Pin& pin, const std::string& code, PinState state) {
  if (is_blocked(pin)) return PinOutcome::blocked;
  if (code == pin.code) {
    pin.retries = Pin{}.retries;
    pin.state = state;
    pin_changed(modem, slot, pin);
    return PinOutcome::done;
  }
  if (--pin.retries == 0) {
    pin.state = PinState::blocked;
    pin_changed(modem, slot, pin);
  }
  return PinOutcome::wrong;
}

}  // namespace

PinOutcome verify_pin(Modem& modem, size_t slot, Pin& pin, const std::string& code) {
  if (!is_blocked(pin) && pin.state != PinState::enabled_not_verified) return PinOutcome::nothing_to_do;
  return enter(modem, slot, pin, code, PinState::enabled_verified);
}

PinOutcome protect_by_pin(Modem& modem, size_t slot, Pin& pin, bool on, const std::string& code) {
  if (!is_blocked(pin) && on == (pin.state != PinState::disabled)) return PinOutcome::nothing_to_do;
  return enter(modem, slot, pin, code, on ? PinState::enabled_verified : PinState::disabled);
}

PinOutcome change_pin(Modem& modem, size_t slot, Pin& pin, const std::string& code, const std::string& new_code) {
  if (pin.state == PinState::disabled) return PinOutcome::nothing_to_do;
  const PinOutcome outcome = enter(modem, slot, pin, code, PinState::enabled_verified);
  if (outcome == PinOutcome::done) pin.code = new_code;
  return outcome;
}

PinOutcome unblock_pin(Modem& modem, size_t slot, Pin& pin, const std::string& unblock_code, const std::string& code) {
  if (pin.state == PinState::permanently_blocked) return PinOutcome::blocked;
  if (unblock_code == pin.unblock_code) {
    pin = Pin{.code = code, .unblock_code = pin.unblock_code, .state = PinState::enabled_verified};
    pin_changed(modem, slot, pin);
    return PinOutcome::done;
  }
  if (--pin.unblock_retries == 0) {
    pin.state = PinState::permanently_blocked;
    pin_changed(modem, slot, pin);
  }
  return PinOutcome::wrong;
}

void boot_cards(Modem& modem) {
  for (Slot& slot : modem.state.slots) {
    slot.powered = true;
    ++slot.start_ups;
    slot.app = AppState::unknown;
    if (slot.card) reset(*slot.card);
  }
  Slot& slot = modem.state.slot();
  if (slot.card && !slot.error) slot.app = started_state(*slot.card);
  modem.changed(Change::cards);
}

}  // namespace simulated
