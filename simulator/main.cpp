// module-sim: the simulated module. It runs inside a box (module-box --with-module), whose files and network are the
// module's.
#include <fmt/format.h>
#include <toml++/toml.h>

#include <CLI/CLI.hpp>
#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>
#include <csignal>
#include <cstdio>
#include <exception>
#include <memory>

#include "at_server/at_server.h"
#include "at_server/daemon_link.h"
#include "at_server/feature_commands.h"
#include "at_server/unsolicited.h"
#include "board/board.h"
#include "control/control.h"
#include "control/control_server.h"
#include "control/module.h"
#include "control/watch.h"
#include "gnss_engine/gnss_engine.h"
#include "host/host_filter.h"
#include "i2c/bus.h"
#include "i2c/embedded_controller.h"
#include "mbim_service/mbim_service.h"
#include "modem/install.h"
#include "modem/sim_commands.h"
#include "network/operator_network.h"

namespace {

// The modem works without: then its sessions have addresses and no packets.
std::unique_ptr<simulated::OperatorNetwork> connect_operator(simulated::Module& module) {
  try {
    return std::make_unique<simulated::OperatorNetwork>(module);
  } catch (const std::exception& failure) {
    fmt::print(stderr, "module-sim: no operator's network here: {}\n", failure.what());
    return nullptr;
  }
}

void run(const std::string& scenario_file, const std::string& run_directory) {
  using namespace simulated;
  const toml::table scenario = scenario_file.empty() ? toml::table{} : toml::parse_file(scenario_file);
  std::signal(SIGPIPE, SIG_IGN);  // a client that has gone is an error of its own connection, nothing more
  asio::io_context events{1};
  Control control;
  Watch watch{control};
  AtCommands at_commands;
  Module module{events, scenario, control, watch, at_commands};

  // The subsystems, in the order in which they need each other.
  const auto operator_network = connect_operator(module);
  Modem modem{events};
  modem.carrier = operator_network.get();
  install_modem(module, modem);
  DaemonLink daemon{module};
  MbimService mbim{module, daemon};
  add_identity_commands(at_commands, modem);
  add_state_commands(at_commands, modem);
  add_sim_commands(at_commands, modem);
  add_feature_commands(at_commands, daemon);
  const GnssEngine gnss{module};
  AtServer at_server{module};
  const Unsolicited unsolicited{module, at_server};
  mbim.when_line([&at_server](const std::string& line) { at_server.show(line); });
  const HostFilter host_filter{module};
  Board board{module, [&modem] { modem.restart(kRestartPause); }};
  EmbeddedController controller{module};
  const I2cBus i2c_bus{module, board, controller};

  // Last: who finds the control socket finds everything else running.
  const ControlServer control_server{events, control, run_directory + "/control.sock"};
  watch.tell("module", "running");

  asio::signal_set stop{events, SIGINT, SIGTERM};
  stop.async_wait([&](asio::error_code, int) { events.stop(); });
  events.run();
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App options{"The simulated module. Start it with: module-box --with-module -- COMMAND", "module-sim"};
  std::string scenario_file, run_directory = "/run/module";
  options.add_option("--scenario", scenario_file, "Starting state (TOML)");
  options.add_option("--run", run_directory, "Directory of the control socket")->capture_default_str();
  CLI11_PARSE(options, argc, argv);
  try {
    run(scenario_file, run_directory);
    return 0;
  } catch (const toml::parse_error& mistake) {
    const auto& where = mistake.source().begin;
    fmt::print(stderr, "module-sim: {}:{}: {}\n", scenario_file, where.line, mistake.description());
  } catch (const std::exception& failure) {
    fmt::print(stderr, "module-sim: {}\n", failure.what());
  }
  return 1;
}
