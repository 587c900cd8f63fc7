#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "control/reply.h"

namespace simulated {

using ReplyPtr = std::shared_ptr<Reply>;

// The commands of modulectl. Each subsystem adds its own, beside the state that they change; they are declared anew for
// every request, so that no argument of an earlier one is left over.
class Control {
 public:
  using Declare = std::function<void(CLI::App& top, const ReplyPtr& reply)>;
  using Status = std::function<Json()>;

  Control();

  void add(Declare declare) { declarations_.push_back(std::move(declare)); }

  // What `modulectl status` shows under `name`.
  void add_status(std::string name, Status status) { statuses_.emplace_back(std::move(name), std::move(status)); }

  void run(std::vector<std::string> arguments, const ReplyPtr& reply);

 private:
  std::vector<Declare> declarations_;
  std::vector<std::pair<std::string, Status>> statuses_;
};

// The command group `name` of `top`, made when it is not there: several subsystems may add to one.
CLI::App& group(CLI::App& top, const std::string& name, const std::string& description);

}  // namespace simulated
