#include "modem/sms/bits.h"

#include <algorithm>

#include "log/log.h"

namespace vek::sms {
namespace {

constexpr char kLogTag[] = "SMS_PDU_DECODE";
constexpr unsigned kMostBits = 32;

}  // namespace

uint32_t BitSource::ReadBits(unsigned count) {
  if (count > kMostBits) {
    ran_out_ = true;
    return FAIL(0u, "Should not read more that 32 bits");
  }
  if (count > left()) {
    ran_out_ = true;
    return 0;
  }
  uint64_t value = 0;
  while (count != 0) {
    const auto ahead = static_cast<unsigned>(8 - position_ % 8);  // in this octet
    const unsigned taken = std::min(count, ahead);
    const unsigned octet = octets_[position_ / 8];
    value = value << taken | (octet >> (ahead - taken) & ((1u << taken) - 1));
    position_ += taken;
    count -= taken;
  }
  return static_cast<uint32_t>(value);
}

void BitSource::skip(size_t count) {
  if (count > left()) {
    ran_out_ = true;
    return;
  }
  position_ += count;
}

bool BitSink::WriteBits(uint32_t value, unsigned count) {
  if (count > kMostBits || position_ + count > room_.size() * 8)
    return FAIL(false, "Internal buffer overflow [%d]", static_cast<int>(room_.size()));
  while (count != 0) {
    const auto free = static_cast<unsigned>(8 - position_ % 8);  // in this octet
    const unsigned put = std::min(count, free);
    const unsigned piece = value >> (count - put) & ((1u << put) - 1);
    room_[position_ / 8] = static_cast<uint8_t>(room_[position_ / 8] | piece << (free - put));
    position_ += put;
    count -= put;
  }
  return true;
}

bool BitSink::WritePadding() { return WriteBits(0, static_cast<unsigned>((8 - position_ % 8) % 8)); }

}  // namespace vek::sms
