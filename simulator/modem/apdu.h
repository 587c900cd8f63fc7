// The card as a terminal talks to it: channels, applications, files, and the eUICC's list of its profiles.
#pragma once

#include "modem/state.h"

namespace simulated {

// The answer: data, if any, and the two status bytes.
Bytes process_apdu(Card& card, const Bytes& command);

}  // namespace simulated
