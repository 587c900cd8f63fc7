#pragma once

#include <stddef.h>
#include <stdint.h>

#include <span>

namespace vek::sms {

// The octets of a message, front to back. What runs past the end gives zeros (nothing, for take()) and is remembered,
// so that a decoder reads on in a straight line and asks once.
class Octets {
 public:
  explicit Octets(std::span<const uint8_t> octets) : octets_(octets) {}

  uint8_t next() {
    if (position_ < octets_.size()) return octets_[position_++];
    ran_out_ = true;
    return 0;
  }

  std::span<const uint8_t> take(size_t count) {
    if (count > left()) {
      ran_out_ = true;
      return {};
    }
    const size_t first = position_;
    position_ += count;
    return octets_.subspan(first, count);
  }

  size_t left() const { return octets_.size() - position_; }
  int position() const { return static_cast<int>(position_); }
  bool ran_out() const { return ran_out_; }

 private:
  std::span<const uint8_t> octets_;
  size_t position_ = 0;
  bool ran_out_ = false;
};

}  // namespace vek::sms
