// How vekctl is put together: each command group is one file that declares its commands and registers itself.
//
//   Json show(...) { ... return {{"imei", imei}}; }       // what it prints, as lines or with --json
//   const Group kGroup{"info", [](CLI::App& top, Run& run) {
//     run.command(top.add_subcommand("info", "Who the module is"), show);
//   }};
//
// A command that cannot do its work throws Failure.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

namespace vekctl {

using Json = nlohmann::ordered_json;

// What the shell is told; --help lists them.
enum ExitStatus { kDone = 0, kFailed = 1, kMisused = 2, kNoModem = 3 };

class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& text, ExitStatus status = kFailed) : std::runtime_error(text), status_(status) {}
  ExitStatus status() const { return status_; }

 private:
  ExitStatus status_;
};

// What the command line asked for.
class Run {
 public:
  using Action = std::function<Json()>;

  // `action` runs when `command` is the one that was typed.
  void command(CLI::App* command, Action action) {
    command->callback([this, action = std::move(action)] { action_ = action; });
  }
  // A line on standard error that does not end the command: something is missing from what it prints.
  void complain(const std::string& text);
  // Prints an answer at once, for commands that have many; they return null in the end.
  void show(const Json& answer) const;

  Json run() { return action_(); }
  bool complained() const { return complained_; }

  bool as_json = false;

 private:
  Action action_;
  bool complained_ = false;
};

class Group {
 public:
  using Declare = void (*)(CLI::App& top, Run& run);

  Group(const char* name, Declare declare);

  static void declare_all(CLI::App& top, Run& run);  // in the order of their names

 private:
  const char* name_;
  Declare declare_;
  Group* next_;
};

// Throws a Failure that says what to do when `client`, a handle of the library's, is none.
void need_modem(const void* client, const char* service);

}  // namespace vekctl
