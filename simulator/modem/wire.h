// What a message holds, as the modem's side reads and writes it. Most messages go through the tables that the client
// uses too (Request::record, Response::record); what only other clients ask for is read and written TLV by TLV.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

#include "modem/state.h"
#include "providers/qmi/codec/frame.h"
#include "providers/qmi/services/common.h"

namespace simulated {

// What a handler throws to turn a request down with nothing but the result.
struct Refused : std::runtime_error {
  explicit Refused(uint32_t number) : std::runtime_error("request refused"), error(number) {}
  uint32_t error;
};

// Reads a value front to back; past its end it refuses the request as malformed.
class ByteReader {
 public:
  explicit ByteReader(std::span<const uint8_t> bytes) : rest_(bytes) {}

  template <typename T>
  T number() {
    std::make_unsigned_t<T> value = 0;
    const auto bytes = take(sizeof(T));
    for (size_t i = sizeof(T); i-- > 0;) value = static_cast<std::make_unsigned_t<T>>(value << 8 | bytes[i]);
    return static_cast<T>(value);
  }
  uint8_t u8() { return take(1)[0]; }
  uint16_t u16() { return number<uint16_t>(); }
  uint32_t u32() { return number<uint32_t>(); }

  std::span<const uint8_t> take(size_t count) {
    if (count > rest_.size()) throw Refused(QMI_ERR_MALFORMED_MSG_V01);
    const auto front = rest_.first(count);
    rest_ = rest_.subspan(count);
    return front;
  }
  std::string text(size_t count) {
    const auto bytes = take(count);
    return {bytes.begin(), bytes.end()};
  }
  std::span<const uint8_t> rest() const { return rest_; }
  bool empty() const { return rest_.empty(); }

 private:
  std::span<const uint8_t> rest_;
};

// TLVs in a row. Of two of one type the first counts; unknown ones are never looked at.
class Tlvs {
 public:
  Tlvs() = default;
  explicit Tlvs(std::span<const uint8_t> bytes) : bytes_(bytes) {}

  std::span<const uint8_t> bytes() const { return bytes_; }
  std::optional<ByteReader> find(uint8_t type) const;
  ByteReader need(uint8_t type) const;  // refuses the request when it is missing

  // An optional number; one that is too short counts as absent.
  template <typename T>
  std::optional<T> number(uint8_t type) const {
    auto value = find(type);
    return value && value->rest().size() >= sizeof(T) ? std::optional(value->number<T>()) : std::nullopt;
  }
  std::optional<std::string> text(uint8_t type) const {
    auto value = find(type);
    return value ? std::optional(value->text(value->rest().size())) : std::nullopt;
  }

  // Calls `each` with type and value; false when the TLVs do not fill their space exactly.
  template <typename Each>
  bool walk(Each each) const {
    for (auto rest = bytes_; !rest.empty();) {
      if (rest.size() < 3) return false;
      const size_t length = rest[1] | static_cast<size_t>(rest[2]) << 8;
      if (length > rest.size() - 3) return false;
      each(rest[0], rest.subspan(3, length));
      rest = rest.subspan(3 + length);
    }
    return true;
  }

 private:
  std::span<const uint8_t> bytes_;
};

// Writes TLVs one after another: tlv(type) begins one, what follows belongs to it.
class TlvWriter {
 public:
  TlvWriter& tlv(uint8_t type);

  template <typename T>
  TlvWriter& u8(T value) {
    return number(static_cast<uint8_t>(value));
  }
  template <typename T>
  TlvWriter& u16(T value) {
    return number(static_cast<uint16_t>(value));
  }
  template <typename T>
  TlvWriter& u32(T value) {
    return number(static_cast<uint32_t>(value));
  }
  template <typename T>
  TlvWriter& u64(T value) {
    return number(static_cast<uint64_t>(value));
  }
  TlvWriter& f32(float value);
  TlvWriter& raw(std::span<const uint8_t> bytes);
  TlvWriter& text(std::string_view text);    // fills the rest of the TLV
  TlvWriter& text8(std::string_view text);   // with a length byte before it
  TlvWriter& text16(std::string_view text);  // with a 16-bit length before it

  // Whole TLVs, by their table: the members of a record. A response's result is left out, for the modem writes it.
  TlvWriter& record(const vek::qmi::Message& message, const void* record, size_t size);

  const Bytes& bytes() const { return bytes_; }
  void clear() { bytes_.clear(); }

 private:
  template <typename T>
  TlvWriter& number(T value) {
    for (size_t i = 0; i < sizeof(T); ++i) put(static_cast<uint8_t>(value >> (8 * i)));
    return *this;
  }
  void put(uint8_t byte);

  Bytes bytes_;
  size_t length_at_ = 0;
};

Bytes frame_from_modem(const vek::qmi::FrameHeader& header, std::span<const uint8_t> tlvs);

// Cuts a byte stream into frames, however it was split or joined on the way.
class FrameCutter {
 public:
  void feed(std::span<const uint8_t> bytes) { pending_.insert(pending_.end(), bytes.begin(), bytes.end()); }
  // The next whole frame, if there is one. When framing is lost, `garbage` is set and all that waits is forgotten.
  std::optional<Bytes> next(bool& garbage);
  void clear() { pending_.clear(); }

 private:
  Bytes pending_;
};

}  // namespace simulated
