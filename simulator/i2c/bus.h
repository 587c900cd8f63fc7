#pragma once

#include <asio/posix/stream_descriptor.hpp>

#include "board/board.h"
#include "control/module.h"
#include "i2c/embedded_controller.h"

namespace simulated {

// The module's I2C bus and its interrupt line, for the programs that have the device shim loaded. They all see one
// controller.
class I2cBus {
 public:
  I2cBus(Module& module, Board& board, EmbeddedController& controller);

 private:
  void accept();

  Board& board_;
  EmbeddedController& controller_;
  asio::posix::stream_descriptor listener_;
};

}  // namespace simulated
