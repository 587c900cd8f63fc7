// What the receive thread and calls that wait for the SIM share.
#pragma once

#include "sys/modem_event.h"

namespace vek::sim {

extern ModemEvent g_ready;          // the SIM is ready
extern ModemEvent g_slot_switched;  // the slot switch has taken effect

}  // namespace vek::sim
