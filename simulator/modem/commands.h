#pragma once

#include "control/control.h"
#include "modem/modem.h"
#include "modem/proxy_port.h"

namespace simulated {

// modulectl modem ... and modulectl trace.
void declare_power(Modem& modem, ProxyPort& proxy, CLI::App& top, const ReplyPtr& reply);
void declare_faults(Modem& modem, CLI::App& top, const ReplyPtr& reply);
void declare_trace(Modem& modem, CLI::App& top, const ReplyPtr& reply);

}  // namespace simulated
