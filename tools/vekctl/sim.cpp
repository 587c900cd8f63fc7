// vekctl sim: the SIM, its slots, and what happens to it.
#include <fmt/format.h>

#include <chrono>
#include <string>
#include <thread>

#include "command.h"
#include "vek_pal/sim.h"

namespace vekctl {
namespace {

void open_service() { need_modem(vek_pal_qmi_get_uim_client(), "UIM"); }

std::string in_words(int status) {
  switch (status) {
    case VEK_PAL_SIM_ABSENT:
      return "no usable card";
    case VEK_PAL_SIM_PIN_REQUIRED:
      return "PIN required";
    case VEK_PAL_SIM_PUK_REQUIRED:
      return "PUK required";
    case VEK_PAL_SIM_NO_PROFILE:
      return "no eSIM profile";
    case VEK_PAL_SIM_READY:
      return "ready";
    case VEK_PAL_SIM_UNKNOWN:
      return "unknown";
    default:
      return "not to be had";
  }
}

// Slots count from 1 here, as they are printed on modules.
Json slot_number(int slot) {
  return slot == VEK_PAL_SIM_FIRST_SLOT || slot == VEK_PAL_SIM_SECOND_SLOT ? Json(slot + 1) : Json(nullptr);
}

Json status() {
  open_service();
  const int status = vek_pal_get_sim_status();
  if (status < 0 || status == VEK_PAL_SIM_QUERY_FAILED) throw Failure("the modem does not tell the SIM's status");
  return {{"status", status}, {"meaning", in_words(status)}, {"slot", slot_number(vek_pal_get_current_sim_slot())}};
}

Json wait() {
  open_service();
  const auto ignore = [](int, int, int, void*) {};
  if (vek_pal_sim_status_indication_register(ignore, nullptr) != 0)
    throw Failure("the modem does not report the SIM's status");
  const auto start = std::chrono::steady_clock::now();
  vek_pal_wait_sim_ready_sem();
  const auto waited = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
  const int status = vek_pal_get_sim_status();
  if (status != VEK_PAL_SIM_READY)
    throw Failure(fmt::format("the SIM is not ready after {} ms: {}", waited.count(), in_words(status)));
  return {{"status", status}, {"waited_ms", waited.count()}};
}

template <size_t size>
Json text(const char* name, int (*get)(char*), const char* failure) {
  char value[size];
  if (get(value) != 0) throw Failure(failure);
  return {{name, value}};
}

Json iccid() {
  open_service();
  return text<21>("iccid", vek_pal_get_iccid, "the active slot has no card number");
}

Json imsi() {
  open_service();
  return text<16>("imsi", vek_pal_get_imsi, "the SIM gives no identity: there is none, or it wants its PIN");
}

Json eid() { return text<33>("eid", vek_pal_get_eid, "the module's AT server gives no number of an eSIM"); }

Json slot() {
  open_service();
  const int slot = vek_pal_get_current_sim_slot();
  if (slot < 0) throw Failure("the modem does not tell which slot is the active one");
  return {{"slot", slot + 1}};
}

Json switch_slot(int target) {
  open_service();
  const auto ignore = [](int, void*) {};
  if (vek_pal_hotplug_status_indication_register(ignore, nullptr) != 0)
    throw Failure("the modem does not report its slots");
  const auto start = std::chrono::steady_clock::now();
  const int result = vek_pal_sim_slot_switch(target - 1);
  const auto waited = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
  if (result != 0) throw Failure(fmt::format("the modem does not switch to slot {}", target));
  return {{"slot", slot_number(vek_pal_get_current_sim_slot())}, {"waited_ms", waited.count()}};
}

Json verify_pin(const std::string& pin) {
  open_service();
  if (vek_pal_sim_verify_pin(pin.c_str()) != 0)
    throw Failure("the SIM does not take this PIN; with -v the library says how many tries are left");
  return {{"pin", "accepted"}};
}

Json reset(int target) {
  open_service();
  if (vek_pal_resetSIM(target - 1) != 0) throw Failure("the SIM's power cannot be switched off and on");
  return {{"reset", target}};
}

Json protect() {
  open_service();
  const int protect = vek_pal_check_sim_protect_event();
  if (protect == VEK_PAL_SIM_PROTECT_UNKNOWN) throw Failure("the modem does not tell the card's status");
  return {{"protect", protect == 1}};
}

// Shows what happens until it is ended, or `seconds` long.
Json watch(const Run& run, int seconds) {
  open_service();
  const auto on_hotplug = [](int event, void* user) {
    static_cast<const Run*>(user)->show({{"event", event == VEK_PAL_SIM_PLUG_IN ? "plug-in" : "plug-out"}});
  };
  const auto on_status = [](int slot, int status, int, void* user) {
    static_cast<const Run*>(user)->show(
        {{"event", "status"}, {"slot", slot_number(slot)}, {"status", status}, {"meaning", in_words(status)}});
  };
  void* const user = const_cast<Run*>(&run);
  if (vek_pal_hotplug_status_indication_register(on_hotplug, user) != 0 ||
      vek_pal_sim_status_indication_register(on_status, user) != 0)
    throw Failure("the modem does not report what happens to the SIM");
  run.show({{"event", "watching"}});
  if (seconds > 0) {
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
  } else {
    for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
  }
  return nullptr;
}

void declare(CLI::App& top, Run& run) {
  CLI::App* sim = top.add_subcommand("sim", "The SIM, its slots, and what happens to it");
  sim->require_subcommand(1);
  run.command(sim->add_subcommand("status", "Shows how far the SIM is"), status);
  run.command(sim->add_subcommand("wait", "Waits, at most 5 s, until the SIM is ready"), wait);
  run.command(sim->add_subcommand("iccid", "Shows the number of the card, or of the eSIM's profile"), iccid);
  run.command(sim->add_subcommand("imsi", "Shows the subscriber's identity"), imsi);
  run.command(sim->add_subcommand("eid", "Shows the eSIM's number"), eid);
  run.command(sim->add_subcommand("slot", "Shows which slot is the active one"), slot);
  run.command(sim->add_subcommand("protect", "Shows whether a card is in the first slot that the modem does not find"),
              protect);

  static int target = 0, seconds = 0;
  static std::string pin;
  CLI::App* switching =
      sim->add_subcommand("switch", "Makes a slot the active one and waits, at most 10 s, for its card");
  switching->add_option("slot", target, "1 or 2")->required()->check(CLI::Range(1, 2));
  run.command(switching, [] { return switch_slot(target); });
  CLI::App* verifying =
      sim->add_subcommand("verify-pin", "Gives the SIM its PIN; a wrong one costs one of three tries");
  verifying->add_option("pin", pin)->required();
  run.command(verifying, [] { return verify_pin(pin); });
  CLI::App* resetting = sim->add_subcommand("reset", "Switches a SIM's power off and on");
  resetting->add_option("slot", target, "1 or 2")->required()->check(CLI::Range(1, 2));
  run.command(resetting, [] { return reset(target); });
  CLI::App* watching = sim->add_subcommand("watch", "Shows the SIM's events as they come");
  watching->add_option("--seconds", seconds, "So long; without, until Ctrl-C");
  run.command(watching, [&run] { return watch(run, seconds); });
}

const Group kGroup{"sim", declare};

}  // namespace
}  // namespace vekctl
