#include "providers/qmi/codec/frame.h"

namespace vek::qmi {
namespace {

constexpr uint8_t kMarker = 0x01;
constexpr size_t kQmuxHeader = 6;

uint16_t read16(const uint8_t* from) { return static_cast<uint16_t>(from[0] | from[1] << 8); }

uint8_t* write16(uint8_t* to, size_t value) {
  to[0] = static_cast<uint8_t>(value);
  to[1] = static_cast<uint8_t>(value >> 8);
  return to + 2;
}

}  // namespace

ptrdiff_t cut_frame(std::span<const uint8_t> stream, size_t* wanted) {
  if (wanted != nullptr) *wanted = kQmuxHeader;
  if (!stream.empty() && stream[0] != kMarker) return -1;
  if (stream.size() < 3) return 0;
  const size_t size = read16(&stream[1]) + size_t{1};
  if (size < kQmuxHeader) return -1;
  if (wanted != nullptr) *wanted = size;
  return stream.size() < size ? 0 : static_cast<ptrdiff_t>(size);
}

std::optional<Frame> parse_frame(std::span<const uint8_t> whole) {
  if (whole.size() < kQmuxHeader || whole[0] != kMarker || read16(&whole[1]) + size_t{1} != whole.size())
    return std::nullopt;
  Frame frame{};
  frame.header.service = whole[4];
  frame.header.client_id = whole[5];
  const size_t head = frame_header_size(frame.header.service);
  if (whole.size() < head || read16(&whole[head - 2]) != whole.size() - head) return std::nullopt;

  const bool ctl = frame.header.service == kCtlService;
  const uint8_t flags = whole[6];
  if (flags == 0)
    frame.header.type = MessageType::request;
  else if (flags == (ctl ? 1 : 2))
    frame.header.type = MessageType::response;
  else if (flags == (ctl ? 2 : 4))
    frame.header.type = MessageType::indication;
  else
    return std::nullopt;
  frame.header.transaction = ctl ? whole[7] : read16(&whole[7]);
  frame.header.message_id = read16(&whole[head - 4]);
  frame.tlvs = whole.subspan(head);
  return frame;
}

size_t write_frame_header(uint8_t* out, const FrameHeader& header, Sender sender, size_t tlv_size) {
  const bool ctl = header.service == kCtlService;
  const size_t size = frame_header_size(header.service) + tlv_size;
  *out++ = kMarker;
  out = write16(out, size - 1);
  *out++ = static_cast<uint8_t>(sender);
  *out++ = header.service;
  *out++ = header.client_id;
  const auto type = static_cast<uint8_t>(header.type);
  *out++ = ctl ? type : static_cast<uint8_t>(type * 2);
  if (ctl)
    *out++ = static_cast<uint8_t>(header.transaction);
  else
    out = write16(out, header.transaction);
  out = write16(out, header.message_id);
  write16(out, tlv_size);
  return size;
}

}  // namespace vek::qmi
