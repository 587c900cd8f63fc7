#include <string.h>

#include "log/log.h"
#include "vek_pal/net.h"
#include "vek_pal/sim.h"

namespace {

constexpr char kLogTag[] = "NET";
constexpr size_t kMccDigits = 3;  // an IMSI begins with them: 3GPP TS 23.003, 2.2

}  // namespace

int vek_pal_get_mcc_info(char mcc[3]) {
  if (mcc == nullptr) return FAIL(VEK_PAL_NET_BAD_ARGUMENT, "get mcc failed for param");
  char imsi[16];
  if (vek_pal_get_imsi(imsi) != 0) {
    LOG_E("get imsi failed for param");
    return FAIL(-1, "get mcc failed");
  }
  memcpy(mcc, imsi, kMccDigits);
  LOG_I("operate success, imsi:%s, mcc:%.3s", imsi, mcc);
  return 0;
}
