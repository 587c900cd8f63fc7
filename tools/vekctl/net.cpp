// vekctl net: registration, the serving cell, the radio, and the profile of the LTE attach.
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <optional>

#include "command.h"
#include "pdp_options.h"
#include "vek_pal/net.h"
#include "vek_pal/qmi.h"

namespace vekctl {
namespace {

constexpr const char* kStates[] = {"detached", "home", "searching", "denied", "roaming"};

std::string state_name(int state) {
  return state >= 0 && state < static_cast<int>(std::size(kStates)) ? kStates[state] : "unknown";
}

template <typename Value>
Json asked(int (*ask)(Value*), Value initial = {}) {
  Value value = initial;
  return ask(&value) == 0 ? Json(value) : Json(nullptr);
}

Json status() {
  need_modem(vek_pal_qmi_get_nas_client(), "NAS");
  int state = -1, radio = -1, generation = 0;
  char mcc[6] = "", mnc[6] = "", home[4] = "";  // the library fills three digits of the last
  const bool registered = vek_pal_get_register_state(&state) == 0;
  const bool has_operator = vek_pal_get_register_info_str(mcc, mnc) == 0;
  const bool has_generation = vek_pal_get_current_dataclass(&generation) == 0 && generation != 0;
  const bool has_radio = vek_pal_get_radio_state(&radio) == 0;
  return {{"registration", registered ? Json(state_name(state)) : Json(nullptr)},
          {"radio", has_radio ? Json(radio == 1 ? "on" : "off") : Json(nullptr)},
          {"generation", has_generation ? Json(fmt::format("{}G", generation)) : Json(nullptr)},
          {"mcc", has_operator ? Json(mcc) : Json(nullptr)},
          {"mnc", has_operator ? Json(mnc) : Json(nullptr)},
          {"home_mcc", vek_pal_get_mcc_info(home) == 0 ? Json(home) : Json(nullptr)},
          {"cell_id", asked(vek_pal_get_cellid)},
          {"area", asked(vek_pal_get_lac)},
          {"rssi", asked(vek_pal_get_rssi)}};
}

// States that the library's thread hands to the command's.
class States {
 public:
  void add(int state) {
    const std::scoped_lock lock(mutex_);
    states_.push_back(state);
    added_.notify_one();
  }
  std::optional<int> next(std::optional<std::chrono::steady_clock::time_point> end) {
    std::unique_lock lock(mutex_);
    const auto some = [this] { return !states_.empty(); };
    if (end && !added_.wait_until(lock, *end, some)) return std::nullopt;
    added_.wait(lock, some);
    const int state = states_.front();
    states_.pop_front();
    return state;
  }

 private:
  std::mutex mutex_;
  std::condition_variable added_;
  std::deque<int> states_;
};

Json watch(const Run& run, unsigned seconds) {
  need_modem(vek_pal_qmi_get_nas_client(), "NAS");
  static States states;  // the library keeps the callback for good
  if (vek_pal_register_state_indication_register([](int state, void* user) { static_cast<States*>(user)->add(state); },
                                                 &states) != 0)
    throw Failure("the modem does not report changes of the registration");
  int now = -1;
  if (vek_pal_get_register_state(&now) == 0) run.show({{"registration", state_name(now)}});
  std::optional<std::chrono::steady_clock::time_point> end;
  if (seconds != 0) end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  while (const auto state = states.next(end)) run.show({{"registration", state_name(*state)}});
  return nullptr;
}

Json radio(const std::string& position) {
  need_modem(vek_pal_qmi_get_dms_client(), "DMS");
  if (vek_pal_set_radio_state(position == "on" ? 1 : 0) != 0)
    throw Failure("the modem does not switch its radio " + position);
  return {{"radio", position}};
}

Json attach() {
  need_modem(vek_pal_qmi_get_nas_client(), "NAS");
  if (vek_pal_ps_attach() != 0) throw Failure("the modem does not attach");
  return {{"attach", "asked for"}};
}

Json attach_apn(const PdpOptions& wanted, int32_t profile) {
  need_modem(vek_pal_qmi_get_wds_client(0), "WDS");
  if (profile != 0 || !wanted.apn.empty()) {
    vek_pal_attach_apn_info info{};
    info.profile_index = profile;
    wanted.copy_to(info);
    info.roaming_pdp_type = info.pdp_type;
    if (vek_pal_set_attach_apn(&info) != 0) throw Failure("the modem does not take this attach APN");
  }
  vek_pal_attach_apn_info now{};
  if (vek_pal_get_attach_apn(&now) != 0) throw Failure("the modem does not tell its attach APN");
  return {{"profile", now.profile_index},        {"apn", now.apn_name},
          {"type", pdp_type_name(now.pdp_type)}, {"while_roaming", pdp_type_name(now.roaming_pdp_type)},
          {"auth", auth_name(now.auth_type)},    {"user", now.user_name}};
}

const Group kGroup{
    "net", [](CLI::App& top, Run& run) {
      CLI::App* net = top.add_subcommand("net", "The mobile network")->require_subcommand(1);
      run.command(net->add_subcommand("status", "Registration, operator, cell and signal"), status);

      static unsigned seconds = 0;
      CLI::App* watch_command = net->add_subcommand("watch", "Shows the registration whenever it changes");
      watch_command->add_option("--seconds", seconds, "How long; without it until Ctrl-C");
      run.command(watch_command, [&run] { return watch(run, seconds); });

      static std::string position;
      CLI::App* radio_command = net->add_subcommand("radio", "Switches the radio");
      radio_command->add_option("position", position)->required()->check(CLI::IsMember({"on", "off"}));
      run.command(radio_command, [] { return radio(position); });

      run.command(net->add_subcommand("attach", "Asks for the packet service"), attach);

      static PdpOptions wanted;
      static int32_t profile = 0;
      CLI::App* apn =
          net->add_subcommand("attach-apn", "Shows the profile of the LTE attach, and changes it when one is named");
      wanted.add_to(*apn);
      apn->add_option("--profile", profile, "A profile's number, instead of an APN")->check(CLI::Range(1, 255));
      run.command(apn, [] { return attach_apn(wanted, profile); });
    }};

}  // namespace
}  // namespace vekctl
