#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <map>
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

// For an option that is given as one of `words`; help shows the words. CLI11 alone shows the values too, and those of
// one byte as characters.
template <typename T>
CLI::Validator one_of(const std::map<std::string, T>& words) {
  std::map<std::string, int> numbers;
  std::string names;
  for (const auto& [name, value] : words) {
    numbers[name] = static_cast<int>(value);
    names += (names.empty() ? "" : ",") + name;
  }
  return CLI::CheckedTransformer(numbers, CLI::ignore_case).description("{" + names + "}");
}

}  // namespace simulated
