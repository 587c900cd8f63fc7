#pragma once

#include "modem/modem.h"

namespace simulated {

// modulectl network ...: what the operator and the air do to the modem.
void declare_network(Modem& modem, CLI::App& top, const ReplyPtr& reply);

}  // namespace simulated
