#pragma once

#include <stddef.h>
#include <stdint.h>

#include <span>

namespace vek::sms {

constexpr size_t octets_of_septets(size_t septets) { return (septets * 7 + 7) / 8; }
constexpr size_t septets_of_octets(size_t octets) { return (octets * 8 + 6) / 7; }

// Unpacks 7-bit characters of the GSM default alphabet (3GPP TS 23.038) to ISO-8859-1: septets number `first` to
// `first + count - 1` of `packed`, least significant bit first. An escape and its septet make one byte; an escape at
// the very end is a "?". Returns the number of bytes written; -1 when `out` is full before the last septet or `packed`
// ends before it.
int unpack_septets(std::span<const uint8_t> packed, size_t first, size_t count, std::span<uint8_t> out);

}  // namespace vek::sms
