// A data call lasts as long as the process that brought it up. "vekctl data up" therefore leaves a process behind,
// which holds the call and answers to the other commands on a socket.
#pragma once

#include <optional>
#include <string>

#include "command.h"
#include "pdp_options.h"

namespace vekctl {

// Brings the call up, writes one line of JSON to `report` ({"up":...} or {"failed":...}) and holds the call until
// somebody says "down". Returns the process's exit status.
int hold_data_call(const PdpOptions& wanted, int report);

// Says a word ("status" or "down") to the process that holds the call and returns its answer; nothing when none does.
std::optional<Json> tell_holder(const std::string& word);

}  // namespace vekctl
