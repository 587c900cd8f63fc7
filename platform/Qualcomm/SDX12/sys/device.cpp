#include "vek_pal/device.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "common/base/heap_block.h"
#include "log/log.h"
#include "vek_pal/at_client.h"

namespace {

constexpr char kLogTag[] = "SYS";
constexpr char kReboot[] = "reboot -f";
constexpr int kDualIpcMode = 4;
constexpr uint32_t kResponseSize = 512;

}  // namespace

int vek_pal_rebootModule(void) {
  LOG_I("[korv system cmd] vek pal system_cmd=%s", kReboot);
  const int result = system(kReboot);
  LOG_I("reboot module ret is: %d", result);
  return result;
}

int vek_pal_get_dual_ipc_mode(void) { return kDualIpcMode; }

int vek_pal_sar_index_switch(int index) {
  if (const int status = vek_pal_below_os_status_check(); status != 0)
    return FAIL(-1, "vek_pal_below_os_status_check fail.status: %d", status);

  char command[sizeof "AT+BODYSARON=1,-2147483648\r\n"];
  const int length = snprintf(command, sizeof command, "AT+BODYSARON=1,%d\r\n", index);
  LOG_I("AT send req = %s.", command);
  const vek::HeapBlock<char> response(kResponseSize + 1);
  if (!response) return FAIL(-1, "malloc at_resp failed!");
  uint32_t response_len = 0;
  if (vek_pal_at_send(command, static_cast<uint32_t>(length) + 1, response.get(), kResponseSize, &response_len) != 0)
    return FAIL(-1, "AT send failed, at_resp = %s, at_resp_len = %d.", response.get(), static_cast<int>(response_len));
  LOG_I("AT send success, at_resp = %s, at_resp_len = %d.", response.get(), static_cast<int>(response_len));
  if (strstr(response.get(), "ERROR") != nullptr) return FAIL(-1, "AT Response failed");
  return 0;
}
