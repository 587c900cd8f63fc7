// QMUX frames: marker, length, sender, service and client id, then a header of the service's and its TLVs.
#pragma once

#include <stdint.h>

#include <optional>
#include <span>

#include "providers/qmi/codec/table.h"

namespace vek::qmi {

constexpr uint8_t kCtlService = 0;
constexpr uint8_t kBroadcastClient = 0xFF;  // in indications only: to every client of the service
constexpr size_t kFrameMax = 65536;
constexpr size_t kFrameHeaderMax = 13;  // 12 for CTL

struct FrameHeader {
  uint8_t service;
  uint8_t client_id;
  MessageType type;
  uint16_t transaction;  // one byte on the wire for CTL; 0 in indications
  uint16_t message_id;
};

struct Frame {
  FrameHeader header;
  std::span<const uint8_t> tlvs;
};

// Where the first frame of a byte stream ends: its size, 0 while it is not complete, or -1 when these bytes are no
// frame, and nothing can tell where the next one begins. `*wanted` is the size that would complete it, as far as that
// is known.
ptrdiff_t cut_frame(std::span<const uint8_t> stream, size_t* wanted = nullptr);

// Takes a whole frame apart; nothing when its lengths contradict each other.
std::optional<Frame> parse_frame(std::span<const uint8_t> whole);

// Bytes before the TLVs.
constexpr size_t frame_header_size(uint8_t service) { return service == kCtlService ? 12 : 13; }

enum class Sender : uint8_t { client = 0x00, modem = 0x80 };

// Writes the header of a frame whose TLVs take `tlv_size` bytes and stand, or will stand, right behind it. `out` has
// room for frame_header_size() bytes, and the frame is at most kFrameMax bytes. Returns the frame's size.
size_t write_frame_header(uint8_t* out, const FrameHeader& header, Sender sender, size_t tlv_size);

}  // namespace vek::qmi
