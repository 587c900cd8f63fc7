// Names and layouts for people who read traces. What stands in the message tables is named there; this adds what only
// other clients ask for. Nothing that the modem does depends on it: what is missing here is shown by number and in hex.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "modem/trace.h"
#include "providers/qmi/codec/frame.h"

namespace simulated::catalogue {

// A TLV that no table has. Its layout names values with their forms, separated by commas: "u8 type, s8 name". Forms are
// u8 u16 u32 u64 i8 i16 i32 f32, ip4 (a number whose highest byte is the first octet), ip6, text and hex (what is
// left), s8 and s16 (text with its length), b8 and b16 (bytes with their length), cN (N characters), and lists a8<...>,
// a16<...>, a32<...>. A single value needs no name.
struct Entry {
  uint8_t tlv;
  std::string_view name;
  std::string_view layout;
};

const Entry* find(const vek::qmi::FrameHeader& header, uint8_t tlv);  // nullptr when there is none
std::string message_name(const vek::qmi::FrameHeader& header);
std::string error_name(unsigned error);
// What a number means in a member of this name; empty when it is just a number.
std::string word(std::string_view member, long long value);

// The value as data; throws Refused where it is too short for its form.
OrderedJson decode(const vek::qmi::Field& field, std::span<const uint8_t> value);
OrderedJson decode(std::string_view layout, std::span<const uint8_t> value);

}  // namespace simulated::catalogue
