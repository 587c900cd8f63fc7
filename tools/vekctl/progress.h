#pragma once

#include <condition_variable>
#include <string>
#include <thread>

namespace vekctl {

// Counts the seconds on a terminal while the library works, towards the limit after which it gives up.
class Progress {
 public:
  Progress(std::string what, unsigned limit_seconds);

 private:
  std::condition_variable_any tick_;
  std::jthread ticker_;
};

}  // namespace vekctl
