#pragma once

#include "control/module.h"
#include "modem/modem.h"

namespace simulated {

// Gives the modem its starting state, its ways in and its commands, and starts it.
void install_modem(Module& module, Modem& modem);

void add_identity_commands(AtCommands& commands, Modem& modem);
void add_state_commands(AtCommands& commands, Modem& modem);

}  // namespace simulated
