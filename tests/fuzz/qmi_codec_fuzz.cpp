// The modem's bytes: a stream is cut into frames, and what a frame carries is decoded by every table that knows its
// message. What is written of a record that could be made is read as a record that is written in the same bytes.
#include <algorithm>
#include <span>

#include "exact.h"
#include "providers/qmi/codec/codec.h"
#include "providers/qmi/codec/frame.h"
#include "providers/qmi/services/ctl.h"
#include "providers/qmi/services/dms.h"
#include "providers/qmi/services/nas.h"
#include "providers/qmi/services/pdc.h"
#include "providers/qmi/services/uim.h"
#include "providers/qmi/services/wds.h"
#include "providers/qmi/services/wms.h"

using namespace vek::qmi;

namespace {

const qmi_idl_service_object_type kServices[] = {
    ctl_get_service_object(),
    dms_get_service_object_internal_v01(1, 0, 6),
    nas_get_service_object_internal_v01(1, 0, 6),
    pdc_get_service_object_internal_v01(1, 0, 6),
    uim_get_service_object_internal_v01(1, 0, 6),
    wds_get_service_object_internal_v01(1, 0, 6),
    wms_get_service_object_internal_v01(1, 35, 6),
};

void check_message(const Message& message, std::span<const uint8_t> tlvs) {
  const size_t size = message.record_size;
  const Exact bytes(tlvs.size(), tlvs.data());
  const Exact record(size);
  const std::span<const uint8_t> exact(bytes.bytes(), tlvs.size());
  if (size != 0) require(decode(message, exact, record.bytes(), size - 1) == Decoded::record_too_small);
  if (decode(message, exact, record.bytes(), size) != Decoded::ok) return;

  const size_t room = encoded_max(message);
  const Exact out(room);
  const auto length = encode(message, record.bytes(), size, {out.bytes(), room});
  require(length && *length <= room);
  const Exact again(size);
  require(decode(message, {out.bytes(), *length}, again.bytes(), size) == Decoded::ok);
  const Exact same(room);
  require(encode(message, again.bytes(), size, {same.bytes(), room}) == length);
  require(memcmp(out.bytes(), same.bytes(), *length) == 0);
  if (*length == 0) return;
  const Exact less(*length - 1);
  require(!encode(message, record.bytes(), size, {less.bytes(), *length - 1}));
}

void check_frame(std::span<const uint8_t> whole) {
  const auto frame = parse_frame(whole);
  if (!frame) return;
  const FrameHeader& header = frame->header;
  const size_t head = frame_header_size(header.service);
  require(frame->tlvs.size() <= whole.size() - head);
  for (const qmi_idl_service_object_type service : kServices) {
    if (service->number != header.service) continue;
    if (const Message* const message = service->find(header.type, header.message_id))
      check_message(*message, frame->tlvs);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Exact stream(size, data);
  for (size_t at = 0; at < size;) {
    const std::span<const uint8_t> rest(stream.bytes() + at, size - at);
    size_t wanted = 0;
    const ptrdiff_t frame = cut_frame(rest, &wanted);
    require(frame >= -1 && frame <= static_cast<ptrdiff_t>(std::min(rest.size(), kFrameMax)) && wanted <= kFrameMax);
    if (frame <= 0) return 0;
    check_frame(rest.first(static_cast<size_t>(frame)));
    at += static_cast<size_t>(frame);
  }
  return 0;
}
