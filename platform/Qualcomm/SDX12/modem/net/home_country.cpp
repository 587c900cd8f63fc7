// The country of the SIM's operator.
#include <string.h>

#include "log/log.h"
#include "vek_pal/net.h"
#include "vek_pal/sim.h"

namespace {

constexpr char kLogTag[] = "NET";
constexpr unsigned kImsiSize = 16;

}  // namespace

int vek_pal_get_mcc_info(char mcc[3]) {
  if (mcc == nullptr) return FAIL(VEK_PAL_NET_BAD_ARGUMENT, "get imsi failed for param");
  char imsi[kImsiSize] = {};
  if (vek_pal_get_imsi(imsi) != 0) {
    LOG_E("get imsi failed for param");
    return FAIL(-1, "get mcc failed");
  }
  memcpy(mcc, imsi, 3);
  LOG_I("operate success, imsi:%s, mcc:%.3s", imsi, imsi);
  return 0;
}
