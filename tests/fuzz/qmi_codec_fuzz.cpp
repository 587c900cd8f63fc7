// Every message of every service, in both directions: any bytes as TLVs, any bytes as a record, and what a record
// makes with one byte of it changed. What decodes must encode, and decode to the same record again. The input's first
// two bytes choose service and message.
#include <stdint.h>

#include <algorithm>

#include "exact.h"
#include "providers/qmi/codec/codec.h"
#include "providers/qmi/services/ctl.h"
#include "providers/qmi/services/dms.h"

namespace {

using namespace vek::qmi;

struct Encoded {
  Exact bytes;
  size_t size;
};

bool is_failure(const Message& message, const uint8_t* record) {
  uint32_t result = 0;
  if (message.type == MessageType::response) memcpy(&result, record, sizeof result);
  return result != 0;
}

// Into exactly as much room as the tables promise to be enough, and then into one byte less than that takes.
Encoded encoded(const Message& message, const Exact& record) {
  const size_t most = encoded_max(message);
  Exact room(most);
  const auto size = encode(message, record.bytes(), message.record_size, {room.bytes(), most});
  require(size && *size <= most);
  if (*size != 0) {
    const Exact short_room(*size - 1);
    require(!encode(message, record.bytes(), message.record_size, {short_room.bytes(), *size - 1}));
  }
  return {Exact(*size, room.bytes()), *size};
}

Decoded decode_twice(const Message& message, const uint8_t* tlvs, size_t size) {
  const Exact exact(size, tlvs);
  const Exact record(message.record_size);
  const Decoded outcome = decode(message, {exact.bytes(), size}, record.bytes(), message.record_size);
  require(outcome != Decoded::record_too_small);
  if (outcome != Decoded::ok) return outcome;

  const Encoded again = encoded(message, record);
  const Exact second(message.record_size);
  require(decode(message, {again.bytes.bytes(), again.size}, second.bytes(), message.record_size) == Decoded::ok);
  // A failure is written with its result and its optional TLVs only.
  require(is_failure(message, record.bytes()) == is_failure(message, second.bytes()));
  if (!is_failure(message, record.bytes()))
    require(message.record_size == 0 || memcmp(record.bytes(), second.bytes(), message.record_size) == 0);
  return outcome;
}

// Brings the counts of lists into their bounds: no more than encode() has to turn down.
void bound_counts(const Field& field, uint8_t* record) {
  if (field.kind == Kind::record)
    for (const Field& member : field.members()) bound_counts(member, record + field.offset);
  if (field.kind != Kind::list) return;
  uint32_t count;
  memcpy(&count, record + field.count_offset, sizeof count);
  const uint32_t elements = field.size / field.stride;
  count %= (field.count_width == 1 ? std::min(elements, 255u) : elements) + 1;
  memcpy(record + field.count_offset, &count, sizeof count);
  for (uint32_t i = 0; i < count; i++)
    for (const Field& member : field.members()) bound_counts(member, record + field.offset + i * field.stride);
}

void try_message(const Message& message, const uint8_t* data, size_t size) {
  decode_twice(message, data, size);
  if (size < 4) return;

  const Exact record(message.record_size);
  for (size_t i = 0; i < message.record_size; i++) record.bytes()[i] = data[i % size];
  // As it stands: its counts may promise anything.
  const Exact any_room(encoded_max(message));
  encode(message, record.bytes(), message.record_size, {any_room.bytes(), encoded_max(message)});

  for (const Tlv& row : message.tlvs()) bound_counts(row.value, record.bytes());
  if (message.type == MessageType::response) {
    const uint32_t result = data[0] % 4 == 0 ? QMI_RESULT_FAILURE_V01 : QMI_RESULT_SUCCESS_V01;
    memcpy(record.bytes(), &result, sizeof result);
  }
  const Encoded whole = encoded(message, record);
  require(decode_twice(message, whole.bytes.bytes(), whole.size) == Decoded::ok);
  if (whole.size == 0) return;
  whole.bytes.bytes()[(data[1] + 256u * data[2]) % whole.size] = data[3];
  decode_twice(message, whole.bytes.bytes(), whole.size);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const qmi_idl_service_object_type services[] = {
      ctl_get_service_object(),
      dms_get_service_object_internal_v01(1, 0, 6),
      nas_get_service_object_internal_v01(1, 0, 6),
      pdc_get_service_object_internal_v01(1, 0, 6),
      uim_get_service_object_internal_v01(1, 0, 6),
      wds_get_service_object_internal_v01(1, 0, 6),
      wms_get_service_object_internal_v01(1, 0, 6),
  };
  if (size < 2) return 0;
  const qmi_idl_service_object& service = *services[data[0] % std::size(services)];
  try_message(service.messages[data[1] % service.message_count], data + 2, size - 2);
  return 0;
}
