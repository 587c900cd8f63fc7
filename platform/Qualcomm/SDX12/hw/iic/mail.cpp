// What the kernel's side of the I2C device offers: an interrupt line, and messages when it fires.
#include <fcntl.h>
#include <linux/netlink.h>
#include <stdio.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include "common/base/unique_fd.h"
#include "log/log.h"
#include "vek_pal/i2c.h"

namespace {

constexpr char kLogTag[] = "I2C";
constexpr uint32_t kMailPort = 0xFFFF0010;
constexpr unsigned long kGpioSet = 0x40016702;

struct GpioRequest {
  uint32_t gpio;
  uint32_t direction;  // 0 input
  uint32_t level;
};
constexpr GpioRequest kInterruptLine = {161, 0, 1};

}  // namespace

int vek_pal_i2c_mail_create(int* mail_fd) {
  if (mail_fd == nullptr) return FAIL(-1, "i2c mail is NULL");
  vek::UniqueFd mail(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_USERSOCK));
  if (!mail) return FAIL(-1, "i2c socket create failed");
  sockaddr_nl address = {};
  address.nl_family = AF_NETLINK;
  address.nl_pid = kMailPort;
  if (bind(mail.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    return FAIL(-1, "i2c socket bind failed");
  LOG_I("i2c socket create success");
  *mail_fd = mail.release();
  return 0;
}

int set_i2c_irq_gpio_to_input(void) {
  const vek::UniqueFd device(open("/dev/korv_gpio_ctl", O_RDWR | O_CLOEXEC));
  if (!device) {
    perror("open device");
    return -1;
  }
  GpioRequest request = kInterruptLine;
  if (ioctl(device.get(), kGpioSet, &request) < 0) {
    perror("ioctl SET failed");
    return -1;
  }
  LOG_I("GPIO%d set to %s success", static_cast<int>(request.gpio), request.level != 0 ? "HIGH" : "LOW");
  return 0;
}
