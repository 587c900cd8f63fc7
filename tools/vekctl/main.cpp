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

int run(int argc, char** argv) {
  CLI::App top{"Asks and changes the module through its library.", "vekctl"};
  bool verbose = false;
  Run run;
  top.add_flag("--json", run.as_json, "Prints one JSON object instead of lines; what is not known is null");
  top.add_flag("-v,--verbose", verbose, "Shows the library's records on standard error");
  top.require_subcommand(1);
  top.fallthrough();
  top.footer(kFooter);
  Group::declare_all(top, run);
  try {
    top.parse(argc, argv);
  } catch (const CLI::ParseError& mistake) {
    return top.exit(mistake) == 0 ? kDone : kMisused;
  }

  if (!verbose) vek_pal_log_set_level(VEK_PAL_LOG_FATAL);
  end_on_signals();
  try {
    if (const Json answer = run.run(); !answer.is_null()) run.show(answer);
    return run.complained() ? kFailed : kDone;
  } catch (const Failure& failure) {
    fmt::print(stderr, "vekctl: {}\n", failure.what());
    return failure.status();
  }
}

}  // namespace
}  // namespace vekctl

int main(int argc, char** argv) { return vekctl::run(argc, argv); }
