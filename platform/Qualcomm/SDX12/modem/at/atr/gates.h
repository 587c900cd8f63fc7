// What a command must pass before it does anything.
#pragma once

namespace vek::at {

enum class Gate {
  open,
  shut,      // the dispatcher answers the error
  answered,  // the gate has answered with its own text
};

Gate check_diag_mode();

}  // namespace vek::at
