#include <fcntl.h>
#include <net/if.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <charconv>

#include "common/base/unique_fd.h"
#include "log/log.h"
#include "vek_pal/data.h"

namespace {

constexpr char kLogTag[] = "PDP";

// A name that can stand in a path as one step and nothing else.
bool is_interface_name(const char* name) {
  return *name != '\0' && strnlen(name, IFNAMSIZ) < IFNAMSIZ && strchr(name, '/') == nullptr &&
         strcmp(name, ".") != 0 && strcmp(name, "..") != 0;
}

int open_counter(const char* name, const char* counter) {
  char path[sizeof("/sys/devices/virtual/net//statistics/rx_bytes") + IFNAMSIZ];
  snprintf(path, sizeof path, "/sys/devices/virtual/net/%s/statistics/%s", name, counter);
  return open(path, O_RDONLY | O_CLOEXEC);
}

bool read_counter(int fd, uint64_t& value) {
  char text[24];
  const ssize_t length = read(fd, text, sizeof text);
  return length > 0 && std::from_chars(text, text + length, value).ec == std::errc();
}

}  // namespace

int vek_pal_get_traffic_by_interface_name(const char* name, uint64_t* tx, uint64_t* rx) {
  if (name == nullptr || tx == nullptr || rx == nullptr || !is_interface_name(name))
    return FAIL(-1, "[TRAFFIC]: invalid param!");
  uint64_t sent = 0;
  uint64_t received = 0;
  const vek::UniqueFd rx_file(open_counter(name, "rx_bytes"));
  if (!rx_file) return FAIL(-1, "[TRAFFIC]:open fd failed");
  if (!read_counter(rx_file.get(), received)) return FAIL(-1, "[TRAFFIC]:read fd failed");
  const vek::UniqueFd tx_file(open_counter(name, "tx_bytes"));
  if (!tx_file) return FAIL(-1, "[TRAFFIC]:open fd2 failed");
  if (!read_counter(tx_file.get(), sent)) return FAIL(-1, "[TRAFFIC]:read fd failed");
  *tx = sent;
  *rx = received;
  LOG_I("[TRAFFIC]: get success, get tx:%llu, rx:%llu", static_cast<unsigned long long>(sent),
        static_cast<unsigned long long>(received));
  return 0;
}
