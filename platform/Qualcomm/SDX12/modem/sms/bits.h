#pragma once

#include <stddef.h>
#include <stdint.h>

#include <span>

namespace vek::sms {

// Bits of a message, most significant first. What runs past the end gives 0 and is remembered.
class BitSource {
 public:
  explicit BitSource(std::span<const uint8_t> octets) : octets_(octets) {}

  // At most 32 at a time.
  uint32_t ReadBits(unsigned count);
  void skip(size_t count);

  size_t left() const { return octets_.size() * 8 - position_; }
  bool ran_out() const { return ran_out_; }

 private:
  std::span<const uint8_t> octets_;
  size_t position_ = 0;
  bool ran_out_ = false;
};

// Room for bits, most significant first; must be clear at the start. What does not fit is refused.
class BitSink {
 public:
  explicit BitSink(std::span<uint8_t> room) : room_(room) {}

  // The lowest `count` bits of `value`, at most 32.
  bool WriteBits(uint32_t value, unsigned count);
  // Zero bits up to the next whole octet.
  bool WritePadding();

  size_t octets() const { return (position_ + 7) / 8; }

 private:
  std::span<uint8_t> room_;
  size_t position_ = 0;
};

}  // namespace vek::sms
