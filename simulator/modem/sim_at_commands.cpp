// The AT commands that reach the card itself.
#include <fmt/format.h>

#include <charconv>
#include <stdexcept>

#include "modem/apdu.h"
#include "modem/hex.h"
#include "modem/sim_commands.h"

namespace simulated {
namespace {

constexpr int kSimNotInserted = 10, kSimFailure = 13, kSimBusy = 14, kIncorrectParameters = 50;  // 3GPP TS 27.007, 9.2

// What a test wants instead of the card's own answer.
std::optional<ApduFault> take_fault(State& state, uint8_t instruction) {
  const auto at = state.apdu_faults.find(instruction);
  if (at == state.apdu_faults.end()) return std::nullopt;
  const ApduFault fault = at->second;
  if (at->second.times > 0 && --at->second.times == 0) state.apdu_faults.erase(at);
  return fault;
}

// <length>,"<command>": the length counts characters.
std::optional<Bytes> command_in(const std::string& arguments) {
  size_t length = 0;
  const char* const end = arguments.data() + arguments.size();
  const auto [at, failure] = std::from_chars(arguments.data(), end, length);
  if (failure != std::errc() || end - at < 3 || at[0] != ',' || at[1] != '"' || end[-1] != '"') return std::nullopt;
  const std::string_view hex(at + 2, end - 1);
  if (hex.size() != length) return std::nullopt;
  try {
    return bytes_of(hex);
  } catch (const std::runtime_error&) {
    return std::nullopt;
  }
}

// 3GPP TS 27.007, 8.17
AtAnswer card_access(Modem& modem, const AtRequest& request) {
  if (request.form == AtForm::test) return AtAnswer::ok();
  if (request.form != AtForm::set) return AtAnswer::error();
  const auto command = command_in(request.arguments);
  if (!command || command->size() < 4) return AtAnswer::cme_error(kIncorrectParameters);
  Slot& slot = modem.state.slot();
  if (!slot.card) return AtAnswer::cme_error(kSimNotInserted);
  if (!slot.powered || slot.error) return AtAnswer::cme_error(kSimFailure);
  if (slot.app == AppState::unknown) return AtAnswer::cme_error(kSimBusy);

  Bytes answer;
  if (const auto fault = take_fault(modem.state, (*command)[1])) {
    if (fault->kind == ApduFault::Kind::error) return AtAnswer::cme_error(kSimFailure);
    if (fault->kind == ApduFault::Kind::no_answer) return AtAnswer::ok();
    answer = {static_cast<uint8_t>(fault->status_word >> 8), static_cast<uint8_t>(fault->status_word)};
  } else {
    answer = process_apdu(*slot.card, *command);
  }
  const std::string hex = hex_of(answer);
  return AtAnswer::ok({fmt::format("+CSIM: {},\"{}\"", hex.size(), hex)});
}

// The number of the module's eSIM, whatever slot is active.
AtAnswer esim_id(Modem& modem, const AtRequest& request) {
  if (request.form != AtForm::set || request.arguments != "1") return AtAnswer::error();
  for (const Slot& slot : modem.state.slots)
    if (slot.card && slot.card->euicc) return AtAnswer::ok({fmt::format("+GTESIMID: \"{}\"", slot.card->eid)});
  return AtAnswer::error();
}

}  // namespace

void add_sim_commands(AtCommands& commands, Modem& modem) {
  commands.add("+CSIM", [&modem](const AtRequest& request) { return card_access(modem, request); });
  commands.add("+GTESIMID", [&modem](const AtRequest& request) { return esim_id(modem, request); });
}

}  // namespace simulated
