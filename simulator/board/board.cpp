#include "board/board.h"

#include <fmt/format.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <exception>
#include <utility>

namespace simulated {
namespace {

constexpr char kUsbState[] = "/sys/devices/platform/8a00000.ssusb/8a00000.dwc3/udc/8a00000.dwc3/state";
constexpr char kUsbModes[][11] = {"peripheral", "host", "none"};

// What is written ends with a line end or without, as in sysfs.
std::string_view one_line(std::string_view text) {
  if (text.ends_with('\n')) text.remove_suffix(1);
  return text;
}

}  // namespace

Board::Board(Module& module, std::function<void()> restart) : module_(module), restart_(std::move(restart)) {
  host_state_ = module.scenario["usb"]["state"].value_or(host_state_);
  module.at_commands.add("+BODYSARON", [this](const AtRequest& request) { return body_sar(request); });
  module.control.add([this](CLI::App& top, const ReplyPtr& reply) {
    declare_usb(top, reply);
    declare_device(top, reply);
  });
  module.control.add_status("usb", [this] { return usb_status(); });
  module.control.add_status("device", [this] { return device_status(); });
  serve_files();
}

// Without FUSE the box's plain files stay: what is written there is only stored.
void Board::serve_files() {
  std::vector<ControlFile> files = {
      {kUsbState, [this] { return usb_state() + "\n"; }, nullptr},
      {"/sys/devices/platform/8a00000.ssusb/mode", [this] { return state_.usb_mode + "\n"; },
       [this](std::string_view text) { return set_usb_mode(text); }},
      {"/sys/power/wake_lock", [this] { return wake_locks(true); },
       [this](std::string_view text) { return hold(text); }},
      {"/sys/power/wake_unlock", [this] { return wake_locks(false); },
       [this](std::string_view text) { return let_go(text); }},
      switch_file("/dev/korv_wdis_ctl", kWDisable, "w-disable", &State::w_disable_off),
      switch_file("/dev/korv_vyrel_ctl", kGpioGroup, "gpio-group", &State::gpio_group_off),
  };
  try {
    files_ = std::make_unique<ControlFiles>(module_.events, "/run/board", std::move(files));
  } catch (const std::exception& failure) {
    fmt::print(stderr, "module-sim: control files are plain files here: {}\n", failure.what());
  }
}

// A device that switches something off with "1" and on again with "0".
ControlFile Board::switch_file(const char* path, Control control, const char* name, bool State::*off) {
  return {path, [this, off] { return std::string(state_.*off ? "1\n" : "0\n"); },
          [this, control, name, off](std::string_view text) {
            if (const int refusal = refused(control, name)) return refusal;
            text = one_line(text);
            if (text != "0" && text != "1") return EINVAL;
            state_.*off = text == "1";
            module_.watch.tell("device", fmt::format("{} switched {}", name, state_.*off ? "off" : "on"));
            return 0;
          }};
}

int Board::refused(Control control, std::string_view name) {
  if (!broken_[control]) return 0;
  module_.watch.tell("device", fmt::format("{} refused a write", name));
  return EIO;
}

int Board::set_usb_mode(std::string_view text) {
  if (const int refusal = refused(kUsbMode, "usb-mode")) return refusal;
  for (const char* const mode : kUsbModes) {
    if (one_line(text) != mode) continue;
    state_.usb_mode = mode;
    module_.watch.tell("usb", fmt::format("mode {}", mode));
    return 0;
  }
  return EINVAL;
}

// A port that is off, or has turned host, is no device of anybody's.
std::string Board::usb_state() const { return state_.usb_mode == "peripheral" ? host_state_ : "not attached"; }

int Board::hold(std::string_view text) {
  if (const int refusal = refused(kWakeLock, "wake-lock")) return refusal;
  const std::string name{one_line(text)};
  if (name.empty()) return EINVAL;
  state_.wake_locks[name] = true;
  module_.watch.tell("device", fmt::format("wake lock {} held", name), {{"wake_lock", name}, {"held", true}});
  return 0;
}

// As the kernel: a name that was never held is not known.
int Board::let_go(std::string_view text) {
  if (const int refusal = refused(kWakeLock, "wake-lock")) return refusal;
  const std::string name{one_line(text)};
  const auto found = state_.wake_locks.find(name);
  if (found == state_.wake_locks.end()) return EINVAL;
  found->second = false;
  module_.watch.tell("device", fmt::format("wake lock {} released", name), {{"wake_lock", name}, {"held", false}});
  return 0;
}

std::string Board::wake_locks(bool held) const {
  std::string text;
  for (const auto& [name, is_held] : state_.wake_locks)
    if (is_held == held) text += (text.empty() ? "" : " ") + name;
  return text + "\n";
}

void Board::set_line(std::uint32_t gpio, Line line) {
  state_.lines[gpio] = line;
  module_.watch.tell("device", fmt::format("GPIO {} is {}", gpio, line.direction == 0 ? "an input" : "an output"),
                     {{"gpio", gpio}, {"direction", line.direction}, {"level", line.level}});
}

// AT+BODYSARON=1,INDEX
AtAnswer Board::body_sar(const AtRequest& request) {
  switch (request.form) {
    case AtForm::read:
      return AtAnswer::ok({fmt::format("+BODYSARON: 1,{}", state_.sar_index)});
    case AtForm::test:
      return AtAnswer::ok({"+BODYSARON: (1),(0-255)"});
    case AtForm::execute:
      return AtAnswer::error();
    case AtForm::set:
      break;
  }
  std::string_view text = request.arguments;
  int index = -1;
  if (!text.starts_with("1,")) return AtAnswer::error();
  text.remove_prefix(2);
  const auto [end, mistake] = std::from_chars(text.data(), text.data() + text.size(), index);
  if (mistake != std::errc{} || end != text.data() + text.size() || index < 0 || index > 255) return AtAnswer::error();
  state_.sar_index = index;
  module_.watch.tell("device", fmt::format("SAR index {}", index), {{"sar_index", index}});
  return AtAnswer::ok();
}

// What hangs on the module goes, what lies on its flash stays. The processes of the box stay too: the shell that says
// "reboot" is one of them.
void Board::reboot() {
  state_ = {};
  reboots_++;
  module_.watch.tell("device", "reboot", {{"reboots", reboots_}});
  restart_();
}

Json Board::usb_status() const { return {{"state", usb_state()}, {"mode", state_.usb_mode}}; }

Json Board::device_status() const {
  Json held = Json::array();
  for (const auto& [name, is_held] : state_.wake_locks)
    if (is_held) held.push_back(name);
  Json lines = Json::object();
  for (const auto& [gpio, line] : state_.lines)
    lines[std::to_string(gpio)] = {{"direction", line.direction}, {"level", line.level}};
  return {{"w_disable", state_.w_disable_off ? "off" : "on"},
          {"gpio_group", state_.gpio_group_off ? "off" : "on"},
          {"gpio", lines},
          {"wake_locks", held},
          {"sar_index", state_.sar_index},
          {"reboots", reboots_},
          {"served", files_ != nullptr}};
}

void Board::declare_usb(CLI::App& top, const ReplyPtr& reply) {
  CLI::App& usb = group(top, "usb", "The USB port to the laptop");

  usb.add_subcommand("show", "Shows its state and mode")->callback([this, reply] {
    reply->done(fmt::format("state {}, mode {}", usb_state(), state_.usb_mode), usb_status());
  });

  auto& state = reply->argument<std::string>();
  CLI::App* set_state = usb.add_subcommand("state", "What the laptop makes of the module: whether its system is up");
  set_state->add_option("state", state, "configured, suspended, \"not attached\", ... or any other text")->required();
  set_state->callback([this, &state] {
    if (files_ == nullptr) throw std::runtime_error("the state file is a plain file here; write to it");
    host_state_ = state;
    module_.watch.tell("usb", fmt::format("state {}", usb_state()));
  });

  auto& mode = reply->argument<std::string>();
  CLI::App* set_mode = usb.add_subcommand("mode", "Switches the port, as the module itself can");
  set_mode->add_option("mode", mode)
      ->required()
      ->check(CLI::IsMember({std::string(kUsbModes[0]), std::string(kUsbModes[1]), std::string(kUsbModes[2])}));
  set_mode->callback([this, &mode] {
    state_.usb_mode = mode;
    module_.watch.tell("usb", fmt::format("mode {}", mode));
  });
}

void Board::declare_device(CLI::App& top, const ReplyPtr& reply) {
  static const std::map<std::string, Control> kNames = {
      {"w-disable", kWDisable}, {"gpio-group", kGpioGroup}, {"usb-mode", kUsbMode}, {"wake-lock", kWakeLock}};
  CLI::App& device = group(top, "device", "The board: control devices, wake locks, reboot");

  device.add_subcommand("show", "Shows what is switched off, the wake locks held and the SAR index")
      ->callback([this, reply] {
        const Json status = device_status();
        std::string text;
        for (const auto& [name, value] : status.items())
          text += fmt::format("{}{}: {}", text.empty() ? "" : "\n", name,
                              value.is_string() ? value.get<std::string>() : value.dump());
        reply->done(text, status);
      });

  auto& broken = reply->argument<std::string>();
  CLI::App* break_control = device.add_subcommand("break", "Lets every write to a control fail (EIO)");
  break_control->add_option("control", broken)->required()->check(CLI::IsMember(kNames));
  break_control->callback([this, &broken] { broken_[kNames.at(broken)] = true; });
  device.add_subcommand("repair", "Ends that for all controls")->callback([this] { broken_ = {}; });

  device.add_subcommand("reset", "Switches everything on again and forgets wake locks and SAR index")->callback([this] {
    state_ = {};
  });
  device.add_subcommand("reboot", "Restarts the board and the modem; what \"reboot\" in the box does")
      ->callback([this] { reboot(); });
}

}  // namespace simulated
