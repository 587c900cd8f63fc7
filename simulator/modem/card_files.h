// What a card has stored, in the form in which it is stored.
#pragma once

#include "modem/state.h"

namespace simulated {

enum class FileOutcome { found, missing, locked };

struct CardFile {
  FileOutcome outcome = FileOutcome::missing;
  Bytes content = {};
};

// The elementary file at a path from the root, such as {0x3F00, 0x7FFF, 0x6F07}: 3GPP TS 31.102, 4.2.
CardFile read_file(const Card& card, const std::vector<uint16_t>& path);

// The AID of the card's application at this place.
Bytes application_id(const Card& card, size_t index);

Bytes stored_iccid(const std::string& digits);  // two and two swapped, with filler, always 10 bytes
Bytes stored_eid(const std::string& digits);    // as they stand

}  // namespace simulated
