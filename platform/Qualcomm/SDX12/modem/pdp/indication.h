// What the modem reports about the sessions of the data call by itself.
#pragma once

#include <stdint.h>

#include <atomic>

#include "providers/qmi/qmi_client.h"
#include "sys/modem_event.h"

// 1 while the process takes the data call down: a disconnect is then no news for the daemon.
extern std::atomic<uint8_t> g_release_in_process;

namespace vek::pdp {

// A session is up, and one that was to be stopped is down.
extern ModemEvent g_connected;
extern ModemEvent g_released;

// The recovery callback of the WDS clients: a modem that has restarted has lost its sessions without a word.
int session_lost_with_modem(qmi_client_type client, void* unused);

}  // namespace vek::pdp
