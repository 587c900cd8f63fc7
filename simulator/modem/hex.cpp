#include "modem/hex.h"

#include <fmt/format.h>

#include <charconv>
#include <stdexcept>

namespace simulated {

std::string hex_of(const Bytes& bytes) { return fmt::format("{:02X}", fmt::join(bytes, "")); }

Bytes bytes_of(std::string_view hex) {
  Bytes bytes;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) {
    uint8_t byte = 0;
    if (std::from_chars(hex.data() + i, hex.data() + i + 2, byte, 16).ptr != hex.data() + i + 2) break;
    bytes.push_back(byte);
  }
  if (bytes.size() * 2 != hex.size()) throw std::runtime_error("bytes are pairs of hex digits");
  return bytes;
}

}  // namespace simulated
