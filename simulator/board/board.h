#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "board/control_files.h"
#include "control/module.h"

namespace simulated {

// What the module's own board has beside the modem: the USB controller, the control devices, wake locks and the reboot.
// Daemons meet it as files in /sys and /dev, people as `modulectl usb` and `modulectl device`.
class Board {
 public:
  // `restart` restarts what else a reboot restarts.
  Board(Module& module, std::function<void()> restart);

  // One line of the GPIO controller, as its driver is told.
  struct Line {
    std::uint32_t direction, level;  // direction 0 is input
  };
  void set_line(std::uint32_t gpio, Line line);

 private:
  enum Control { kWDisable, kGpioGroup, kUsbMode, kWakeLock, kControls };

  // All that a reboot resets.
  struct State {
    bool w_disable_off = false, gpio_group_off = false;
    std::string usb_mode = "peripheral";
    std::map<std::string, bool> wake_locks;  // whether it is held; false: known and released
    std::map<std::uint32_t, Line> lines;
    int sar_index = 0;
  };

  void serve_files();
  ControlFile switch_file(const char* path, Control control, const char* name, bool State::*off);
  int refused(Control control, std::string_view name);
  int set_usb_mode(std::string_view text);
  int hold(std::string_view text);
  int let_go(std::string_view text);
  std::string wake_locks(bool held) const;
  std::string usb_state() const;
  AtAnswer body_sar(const AtRequest& request);
  void reboot();
  Json device_status() const;
  Json usb_status() const;
  void declare_usb(CLI::App& top, const ReplyPtr& reply);
  void declare_device(CLI::App& top, const ReplyPtr& reply);

  Module& module_;
  std::function<void()> restart_;
  State state_;
  std::string host_state_ = "configured";  // what the host makes of the USB device
  std::array<bool, kControls> broken_{};
  unsigned reboots_ = 0;
  std::unique_ptr<ControlFiles> files_;
};

}  // namespace simulated
