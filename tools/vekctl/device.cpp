// vekctl sar, usb, reboot: the module and its link to the laptop.
#include <fmt/format.h>
#include <unistd.h>

#include <iostream>
#include <string>

#include "command.h"
#include "vek_pal/device.h"

namespace vekctl {
namespace {

bool host_is_up() { return vek_pal_below_os_status_check() == 0; }

Json select_sar(int index) {
  if (!host_is_up()) throw Failure("the laptop's system is not up, and without it the SAR index stays as it is");
  if (vek_pal_sar_index_switch(index) != 0)
    throw Failure("the module's AT server did not take the index; with -v the library says why");
  return {{"sar_index", index}};
}

Json usb() { return {{"host", host_is_up() ? "up" : "down"}}; }

Json usb_off() {
  if (vek_pal_disable_usb() != 0) throw Failure("the USB port cannot be switched off; with -v the library says why");
  return {{"usb", "off"}};
}

void ask_first() {
  if (isatty(STDIN_FILENO) == 0) throw Failure("nobody is there to ask: --yes", kMisused);
  fmt::print(stderr, "Reboot the module at once, without stopping anything? [y/N] ");
  std::string answer;
  std::getline(std::cin, answer);
  if (answer != "y" && answer != "yes") throw Failure("not rebooted");
}

Json reboot(bool sure) {
  if (!sure) ask_first();
  const int status = vek_pal_rebootModule();
  if (status != 0) throw Failure(fmt::format("the reboot command failed with status {:#x}", status));
  return {{"reboot", "begun"}};
}

void declare(CLI::App& top, Run& run) {
  static int index;
  CLI::App* sar = top.add_subcommand("sar", "Selects a body-SAR index; only while the laptop's system is up");
  sar->add_option("index", index)->required();
  run.command(sar, [] { return select_sar(index); });

  CLI::App* port = top.add_subcommand("usb", "Shows whether the laptop's system is up");
  CLI::App* off = port->add_subcommand("off", "Switches the USB port off");
  run.command(port, [off] { return off->parsed() ? usb_off() : usb(); });

  static bool sure;
  CLI::App* rebooting = top.add_subcommand("reboot", "Reboots the module, after asking");
  rebooting->add_flag("--yes", sure, "Does not ask");
  run.command(rebooting, [] { return reboot(sure); });
}

const Group kGroup{"device", declare};

}  // namespace
}  // namespace vekctl
