#pragma once

#include <toml++/toml.h>
#include <asio/io_context.hpp>

#include "at_server/at_commands.h"
#include "control/control.h"
#include "control/watch.h"

namespace simulated {

// What every subsystem is given. All of them run on the one thread of `events`.
struct Module {
  asio::io_context& events;
  const toml::table& scenario;  // the starting state; each subsystem reads the table of its own name
  Control& control;
  Watch& watch;
  AtCommands& at_commands;
};

}  // namespace simulated
