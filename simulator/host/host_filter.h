#pragma once

#include <string>
#include <vector>

#include "control/module.h"

namespace simulated {

// The laptop's filter driver, and the agent that reports to it: `modulectl host filter ...` says their lines of the
// handshake at the AT port and shows what comes back.
class HostFilter {
 public:
  explicit HostFilter(Module& module);

 private:
  void declare_commands(Control& control);
  void say(const ReplyPtr& reply, std::vector<std::string> lines);

  asio::io_context& events_;
  const AtCommands& commands_;
};

}  // namespace simulated
