#pragma once

#include "at_server/at_commands.h"
#include "at_server/daemon_link.h"

namespace simulated {

// The connected-PC feature's own commands. The feature daemon answers them; the server only passes them on.
void add_feature_commands(AtCommands& commands, DaemonLink& daemon);

}  // namespace simulated
