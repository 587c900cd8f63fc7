// vekctl: the module on the command line, over nothing but the library's public interface.
#include <fmt/format.h>
#include <signal.h>

#include <cstdio>
#include <cstdlib>
#include <thread>

#include "command.h"
#include "vek_pal/log.h"

namespace vekctl {
namespace {

constexpr char kFooter[] =
    "Exit status:\n"
    "  0    done\n"
    "  1    the module refused, or not everything could be shown; standard error says why\n"
    "  2    wrong usage\n"
    "  3    no modem answers\n"
    "  130  ended by Ctrl-C, 143 by SIGTERM; what the modem lent has been given back";

// Ctrl-C and SIGTERM end the program as main() would: the library then gives its client ids back to the modem, which
// has only about ten a service. They are blocked in every thread and taken here, where exit() may be called.
void end_on_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  std::thread([signals] {
    int signal = 0;
    sigwait(&signals, &signal);
    std::exit(128 + signal);
  }).detach();
}

// "name: value" lines; what is below a name is indented under it.
void print_lines(const Json& json, int indent) {
  for (const auto& [name, value] : json.items()) {
    if (value.is_structured() && !value.empty()) {
      fmt::print("{:{}}{}:\n", "", indent, name);
      print_lines(value, indent + 2);
    } else {
      fmt::print("{:{}}{}: {}\n", "", indent, name,
                 value.is_string() ? value.get<std::string>()
                 : value.is_null() ? "-"
                                   : value.dump());
    }
  }
}

int run(int argc, char** argv) {
  CLI::App top{"Asks and changes the module through its library.", "vekctl"};
  bool as_json = false, verbose = false;
  top.add_flag("--json", as_json, "Prints one JSON object instead of lines; what is not known is null");
  top.add_flag("-v,--verbose", verbose, "Shows the library's records on standard error");
  top.require_subcommand(1);
  top.fallthrough();
  top.footer(kFooter);
  Run run;
  Group::declare_all(top, run);
  try {
    top.parse(argc, argv);
  } catch (const CLI::ParseError& mistake) {
    return top.exit(mistake) == 0 ? kDone : kMisused;
  }

  if (!verbose) vek_pal_log_set_level(VEK_PAL_LOG_FATAL);
  end_on_signals();
  try {
    const Json answer = run.run();
    if (as_json) {
      fmt::print("{}\n", answer.dump(-1, ' ', false, Json::error_handler_t::replace));
    } else {
      print_lines(answer, 0);
    }
    return run.complained() ? kFailed : kDone;
  } catch (const Failure& failure) {
    fmt::print(stderr, "vekctl: {}\n", failure.what());
    return failure.status();
  }
}

}  // namespace
}  // namespace vekctl

int main(int argc, char** argv) { return vekctl::run(argc, argv); }
