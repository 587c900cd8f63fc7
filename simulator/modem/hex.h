// Bytes as pairs of hex digits.
#pragma once

#include <string>
#include <string_view>

#include "modem/state.h"

namespace simulated {

std::string hex_of(const Bytes& bytes);  // upper case
Bytes bytes_of(std::string_view hex);    // throws at anything else

}  // namespace simulated
