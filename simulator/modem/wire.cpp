#include "modem/wire.h"

#include <bit>
#include <stdexcept>

#include "providers/qmi/codec/codec.h"

namespace simulated {
namespace {

constexpr uint8_t kResultTlv = 0x02;

}  // namespace

std::optional<ByteReader> Tlvs::find(uint8_t type) const {
  std::optional<ByteReader> found;
  walk([&](uint8_t here, std::span<const uint8_t> value) {
    if (here == type && !found) found.emplace(value);
  });
  return found;
}

ByteReader Tlvs::need(uint8_t type) const {
  const auto value = find(type);
  if (!value) throw Refused(QMI_ERR_MISSING_ARG_V01);
  return *value;
}

TlvWriter& TlvWriter::tlv(uint8_t type) {
  bytes_.push_back(type);
  length_at_ = bytes_.size();
  bytes_.insert(bytes_.end(), 2, 0);
  return *this;
}

void TlvWriter::put(uint8_t byte) {
  bytes_.push_back(byte);
  const size_t length = bytes_.size() - length_at_ - 2;
  bytes_[length_at_] = static_cast<uint8_t>(length);
  bytes_[length_at_ + 1] = static_cast<uint8_t>(length >> 8);
}

TlvWriter& TlvWriter::f32(float value) { return number(std::bit_cast<uint32_t>(value)); }

TlvWriter& TlvWriter::raw(std::span<const uint8_t> bytes) {
  for (const uint8_t byte : bytes) put(byte);
  return *this;
}

TlvWriter& TlvWriter::text(std::string_view text) {
  for (const char c : text) put(static_cast<uint8_t>(c));
  return *this;
}

TlvWriter& TlvWriter::text8(std::string_view value) { return u8(value.size()).text(value); }
TlvWriter& TlvWriter::text16(std::string_view value) { return u16(value.size()).text(value); }

TlvWriter& TlvWriter::record(const vek::qmi::Message& message, const void* record, size_t size) {
  Bytes encoded(vek::qmi::encoded_max(message));
  const auto length = vek::qmi::encode(message, record, size, encoded);
  if (!length) throw std::logic_error("a record does not fit the message that it was meant for");
  Tlvs({encoded.data(), *length}).walk([&](uint8_t type, std::span<const uint8_t> value) {
    if (type != kResultTlv || message.type != vek::qmi::MessageType::response) tlv(type).raw(value);
  });
  return *this;
}

Bytes frame_from_modem(const vek::qmi::FrameHeader& header, std::span<const uint8_t> tlvs) {
  Bytes frame(vek::qmi::kFrameHeaderMax + tlvs.size());
  frame.resize(vek::qmi::write_frame_header(frame.data(), header, vek::qmi::Sender::modem, tlvs.size()));
  std::copy(tlvs.begin(), tlvs.end(), frame.end() - static_cast<std::ptrdiff_t>(tlvs.size()));
  return frame;
}

std::optional<Bytes> FrameCutter::next(bool& garbage) {
  const std::ptrdiff_t size = vek::qmi::cut_frame(pending_);
  garbage = size < 0;
  if (garbage) pending_.clear();
  if (size <= 0) return std::nullopt;
  Bytes frame(pending_.begin(), pending_.begin() + size);
  pending_.erase(pending_.begin(), pending_.begin() + size);
  return frame;
}

}  // namespace simulated
