#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <span>
#include <string>

#include "control/module.h"

namespace simulated {

// The laptop's embedded controller as a device on the module's I2C bus: 256 registers. A write gives the number of a
// register, then what goes in from there; a read goes on from where the last transfer ended. After the last register
// comes the first.
class EmbeddedController {
 public:
  explicit EmbeddedController(Module& module);

  // One message of a transfer. 0, or what the bus's driver makes of the failure (an errno).
  int write(std::uint16_t address, std::span<const std::uint8_t> bytes);
  int read(std::uint16_t address, std::span<std::uint8_t> bytes);

 private:
  enum class Fault { none, nack, nack_data, timeout, short_read };
  struct Transfer {
    const char* direction;
    std::size_t length;
    int error;
  };

  // The fault that this message meets; each one used up counts down.
  Fault meet(std::uint16_t address, bool reading);
  int done(const char* direction, std::size_t length, int error);
  bool interrupt(const std::string& text, std::uint8_t cause);
  void declare(CLI::App& top, const ReplyPtr& reply);
  void declare_faults(CLI::App& ec, const ReplyPtr& reply);

  Watch& watch_;
  std::uint16_t address_;
  std::array<std::uint8_t, 256> registers_{};
  std::uint8_t pointer_ = 0;
  Fault fault_ = Fault::none;
  unsigned fault_bytes_ = 0;  // that still pass
  unsigned fault_times_ = 0;  // 0: until further notice
  std::deque<Transfer> transfers_;
};

}  // namespace simulated
