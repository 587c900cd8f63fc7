// Between C records and TLVs, by the tables and in both directions. Nothing is read past `tlvs`, written past `out`, or
// touched past the record, whatever the bytes or the record's own counts say.
#pragma once

#include <stdint.h>

#include <optional>
#include <span>

#include "providers/qmi/codec/table.h"

namespace vek::qmi {

enum class Decoded : uint8_t {
  ok,
  missing,    // a mandatory TLV is not there (a failure response need hold nothing but its result)
  malformed,  // the TLVs do not fill their space, or a mandatory one is too short or too long for its member
  record_too_small,
};

// Clears the record, then fills it. Unknown TLVs are skipped, of two equal ones the first counts, an optional one that
// does not make its member counts as absent. Text that is longer than its member is cut; a longer list is malformed.
Decoded decode(const Message& message, std::span<const uint8_t> tlvs, void* record, size_t record_size);

// The TLVs' bytes in `out`; nothing when they do not fit, or when the record is smaller than the message's or counts
// more elements than it has. A failure response is written without its mandatory TLVs but the result.
std::optional<size_t> encode(const Message& message, const void* record, size_t record_size, std::span<uint8_t> out);

// The most that encode() can write for a message.
constexpr size_t encoded_max(std::span<const Field> members);

constexpr size_t encoded_max(const Field& field) {
  const size_t elements = field.stride == 0 ? 0 : field.size / field.stride;
  switch (field.kind) {
    case Kind::number:
      return field.width;
    case Kind::bytes:
      return field.size;
    case Kind::text:
      return field.count_width + size_t{field.size};
    case Kind::list:
      return field.count_width + elements * (field.inner != nullptr ? encoded_max(field.members()) : field.width);
    case Kind::record:
      return encoded_max(field.members());
  }
  return 0;
}

constexpr size_t encoded_max(std::span<const Field> members) {
  size_t size = 0;
  for (const Field& member : members) size += encoded_max(member);
  return size;
}

constexpr size_t encoded_max(const Message& message) {
  size_t size = 0;
  for (const Tlv& row : message.tlvs()) size += 3 + encoded_max(row.value);
  return size;
}

}  // namespace vek::qmi
