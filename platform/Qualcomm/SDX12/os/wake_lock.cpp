#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include "log/log.h"
#include "vek_pal/timer.h"

namespace {

constexpr char kLogTag[] = "TIMER";

int write_name(const char* path, const char* name) {
  const int fd = open(path, O_WRONLY | O_APPEND | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return FAIL(-1, "open %s failed", path);
  const ssize_t written = write(fd, name, strlen(name));
  // The descriptor stays open: the record names it, for whoever looks into /proc/self/fd afterwards.
  if (written < 0) return FAIL(-1, "set lock write fd %d ret %d with errno %d", fd, static_cast<int>(written), errno);
  const int closed = close(fd);
  if (closed != 0) return FAIL(-1, "qbi: set lock close ret %d with errno %d", closed, errno);
  return 0;
}

}  // namespace

int vek_pal_acquire_wake_lock(const char* name, int) {
  if (name == nullptr) return FAIL(-1, "The input parameters is incorrect");
  LOG_I("acquire_wake_lock %s", name);
  return write_name("/sys/power/wake_lock", name);
}

int vek_pal_release_wake_lock(const char* name) {
  if (name == nullptr) return FAIL(-1, "The input parameters is incorrect");
  LOG_I("release_wake_lock %s", name);
  return write_name("/sys/power/wake_unlock", name);
}
