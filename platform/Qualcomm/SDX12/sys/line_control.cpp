// Lines and ports of the module that are switched by writing to a file, and the host's state that is read from one.
#include <fcntl.h>
#include <string.h>
#include <strings.h>
#include <unistd.h>

#include <string_view>

#include "common/base/unique_fd.h"
#include "log/log.h"
#include "vek_pal/device.h"

namespace {

constexpr char kLogTag[] = "UTILS";
constexpr char kUsbState[] = "/sys/devices/platform/8a00000.ssusb/8a00000.dwc3/udc/8a00000.dwc3/state";
constexpr char kUsbMode[] = "/sys/devices/platform/8a00000.ssusb/mode";
constexpr char kUsbOff[] = "none";
constexpr const char* kEnumeratedStates[] = {"CONFIGURED", "CONNECTED", "ADDRESSED"};

bool write_text(int fd, std::string_view text) {
  return write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

}  // namespace

int vek_pal_below_os_status_check(void) {
  const vek::UniqueFd file(open(kUsbState, O_RDONLY | O_CLOEXEC));
  if (!file) return FAIL(1, "usb state file open failed, file not exist\n");
  LOG_I("usb state file read begin\n");
  char state[128 + 1] = "";
  if (read(file.get(), state, sizeof state - 1) < 0) state[0] = '\0';
  LOG_I("usb state file read is:%s\n", state);
  state[strcspn(state, "\r\n")] = '\0';
  for (const char* enumerated : kEnumeratedStates) {
    if (strcasecmp(state, enumerated) != 0) continue;
    LOG_I("usb is enumerated, is usb connection mode.\n");
    return 0;
  }
  LOG_I("usb is not enumerated, is not usb connection mode.\n");
  return 1;
}

int vek_pal_disable_w_disable(void) {
  const vek::UniqueFd file(open("/dev/korv_wdis_ctl", O_WRONLY | O_CLOEXEC));
  if (!file) return FAIL(-1, "fail to open korv_vyrel_wdis_ctl, fd is %d\n", file.get());
  if (!write_text(file.get(), "1")) return FAIL(-1, "fail to write korv_vyrel_wdis_ctl, fd is %d\n", file.get());
  LOG_I("disable w_disable eint success");
  return 0;
}

int vek_pal_disable_gpio_group(void) {
  const vek::UniqueFd file(open("/dev/korv_vyrel_ctl", O_WRONLY | O_CLOEXEC));
  if (!file) return FAIL(-1, "Failed to open device node");
  if (!write_text(file.get(), "1")) return FAIL(-1, "Failed to write data");
  LOG_I("success to write data");
  return 0;
}

int vek_pal_disable_usb(void) {
  LOG_I("whill disable usb");
  const vek::UniqueFd file(open(kUsbMode, O_WRONLY | O_CLOEXEC));
  if (!file) return FAIL(-1, "failed to open %s", kUsbMode);
  if (!write_text(file.get(), kUsbOff)) return FAIL(-1, "failed to write %s to %s\n", kUsbOff, kUsbMode);
  LOG_I("disable usb success");
  return 0;
}
