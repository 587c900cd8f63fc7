#pragma once

#include <functional>
#include <string>

#include "at_server/at_commands.h"

namespace simulated {

struct AtIdentity {
  std::string manufacturer = "VEK";
  std::string model = "VK12-EA";
  std::string revision = "VK12.1.04.07_R2";
  std::string imei = "359072061234569";
};

// What every modem answers: identification, echo, reset. `identity` is asked each time.
void add_standard_commands(AtCommands& commands, std::function<AtIdentity()> identity);

}  // namespace simulated
