// The standard AT commands that show the modem's state: 3GPP TS 27.007.
#include <fmt/format.h>

#include <algorithm>
#include <string>

#include "modem/install.h"

namespace simulated {
namespace {

constexpr int kSimNotInserted = 10;  // 9.2.1
constexpr int kSimFailure = 13;
constexpr int kOperationNotSupported = 4;

// 8.2: minimum, full, and without radio.
AtAnswer functionality(Modem& modem, const AtRequest& request) {
  if (request.form == AtForm::test) return AtAnswer::ok({"+CFUN: (0,1,4),(0)"});
  if (request.form == AtForm::read) return AtAnswer::ok({fmt::format("+CFUN: {}", modem.state.radio_on() ? 1 : 4)});
  if (request.arguments != "0" && request.arguments != "1" && request.arguments != "4")
    return AtAnswer::cme_error(kOperationNotSupported);
  modem.state.mode = request.arguments == "1" ? OperatingMode::online : OperatingMode::low_power;
  modem.changed(Change::operating_mode);
  return AtAnswer::ok();
}

// 8.3
AtAnswer pin_state(Modem& modem, const AtRequest& request) {
  if (request.form != AtForm::read) return AtAnswer::error();
  if (!modem.state.slot().card) return AtAnswer::cme_error(kSimNotInserted);
  switch (modem.state.slot().app) {
    case AppState::ready:
      return AtAnswer::ok({"+CPIN: READY"});
    case AppState::pin1_required:
      return AtAnswer::ok({"+CPIN: SIM PIN"});
    case AppState::puk1_required:
      return AtAnswer::ok({"+CPIN: SIM PUK"});
    default:
      return AtAnswer::cme_error(kSimFailure);
  }
}

AtAnswer subscriber(Modem& modem, const AtRequest& request) {
  if (request.form != AtForm::execute) return AtAnswer::error();
  const auto& card = modem.state.slot().card;
  if (!card) return AtAnswer::cme_error(kSimNotInserted);
  const Subscription* subscription = card->subscription();
  return subscription == nullptr ? AtAnswer::cme_error(kSimFailure) : AtAnswer::ok({subscription->imsi});
}

const Cell* serving_cell(const State& state) {
  const Network& network = state.network;
  return state.radio_on() && network.available && network.serving < network.cells.size()
             ? &network.cells[network.serving]
             : nullptr;
}

// 8.5: 0 is -113 dBm or less, 31 is -51 dBm or more, 99 is unknown.
AtAnswer signal_quality(Modem& modem, const AtRequest& request) {
  if (request.form != AtForm::execute) return AtAnswer::error();
  const Cell* cell = serving_cell(modem.state);
  return AtAnswer::ok({fmt::format("+CSQ: {},99", cell == nullptr ? 99 : std::clamp((cell->rssi + 113) / 2, 0, 31))});
}

// 7.2
AtAnswer registration(Modem& modem, const AtRequest& request, const char* name) {
  if (request.form != AtForm::read) return AtAnswer::error();
  const Network& network = modem.state.network;
  int state = 0;
  switch (network.registration) {
    case Registration::not_registered:
      state = 0;
      break;
    case Registration::registered:
      state = network.roaming ? 5 : 1;
      break;
    case Registration::searching:
      state = 2;
      break;
    case Registration::denied:
      state = 3;
      break;
    case Registration::unknown:
      state = 4;
      break;
  }
  return AtAnswer::ok({fmt::format("{}: 0,{}", name, state)});
}

// 7.3: selected by the modem itself, the name in long form.
AtAnswer current_operator(Modem& modem, const AtRequest& request) {
  if (request.form != AtForm::read) return AtAnswer::error();
  const Cell* cell = serving_cell(modem.state);
  const bool registered = modem.state.network.registration == Registration::registered;
  return AtAnswer::ok({cell != nullptr && registered ? fmt::format("+COPS: 0,0,\"{}\"", cell->name) : "+COPS: 0"});
}

}  // namespace

void add_state_commands(AtCommands& commands, Modem& modem) {
  const struct {
    const char* name;
    AtAnswer (*answer)(Modem&, const AtRequest&);
  } rows[] = {
      {"+CFUN", functionality}, {"+CPIN", pin_state},        {"+CIMI", subscriber},
      {"+CSQ", signal_quality}, {"+COPS", current_operator},
  };
  for (const auto& row : rows)
    commands.add(row.name, [&modem, answer = row.answer](const AtRequest& request) { return answer(modem, request); });
  for (const char* name : {"+CREG", "+CGREG", "+CEREG"})
    commands.add(name, [&modem, name](const AtRequest& request) { return registration(modem, request, name); });
}

}  // namespace simulated
