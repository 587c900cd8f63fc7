#pragma once

#include <stdint.h>

namespace vek::ipc {

// The unsolicited line that tells the host a POC state; null for a state that it does not hear of.
const char* poc_line(int32_t state);

}  // namespace vek::ipc
