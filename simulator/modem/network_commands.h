#pragma once

#include "modem/modem.h"

namespace simulated {

// modulectl network ...: what the operator and the air do to the modem.
void declare_network(Modem& modem, CLI::App& top, const ReplyPtr& reply);

// What `modulectl status` shows of it.
Json network_status(const Modem& modem);

// Whether a text is digits, as many as a country or network code has.
bool is_operator_code(const std::string& text, size_t least, size_t most);

}  // namespace simulated
