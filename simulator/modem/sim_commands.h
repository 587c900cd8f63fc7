#pragma once

#include "at_server/at_commands.h"
#include "modem/modem.h"

namespace simulated {

// [sim] of the scenario file.
void load_sim(State& state, const toml::table& scenario);

// modulectl sim ...
void declare_sim(Modem& modem, CLI::App& top, const ReplyPtr& reply);
Json sim_status(const State& state);

// AT+CSIM, to the card of the active slot, and AT+GTESIMID.
void add_sim_commands(AtCommands& commands, Modem& modem);

}  // namespace simulated
