// The two sessions of a data call, one an IP family, each on a WDS client of its own.
#pragma once

#include <stdint.h>

#include "providers/qmi/qmi_client.h"
#include "vek_pal/data.h"

namespace vek::pdp {

enum Family : unsigned { kIpv4 = 0, kIpv6 = 1 };  // the index of its WDS client

// How a start went. A session that the modem had up already will not report that it has come up.
enum class Started : uint8_t { no, yes, already };

Started start_session(Family family, uint8_t profile_index);

// Has the modem stop a session that is up. False when it refused.
bool stop_session(Family family);

bool is_up(Family family);

// The session of a family is down.
void forget_session(Family family);

// As forget_session(), by the client that the session ran on. False when none was up on it.
bool session_has_ended(qmi_client_type client);

// Reads the addresses of a session's family into `info`. False when the modem has none.
bool read_runtime_settings(Family family, vek_pal_data_conn_info& info);

}  // namespace vek::pdp
