#pragma once

#include <optional>

#include "providers/qmi/services/nas.h"

namespace vek::net {

// The number that stands for a registration (VEK_PAL_NET_*); none when the modem does not know. `roaming_indicator` is
// nullptr when the modem gave none.
std::optional<int> registration_state(const nas_serving_system& system, const uint8_t* roaming_indicator);

}  // namespace vek::net
