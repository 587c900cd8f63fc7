#include "ipc/poc_line.h"

#include "log/log.h"
#include "vek_pal/at_client.h"
#include "vek_pal/mbim.h"

namespace {

constexpr char kLogTag[] = "IPC_AT";

}  // namespace

const char* vek::ipc::poc_line(int32_t state) {
  switch (state) {
    case 0:
      return "+GTVYRPOC: DEACTIVE";
    case 1:
      return "+GTVYRPOC: ACTIVE";
    case 2:
      return "+GTVYRPOC: CHECK";
    default:
      return nullptr;
  }
}

void vek_pal_dpd_at_process(int32_t state) {
  LOG_I("GTVYRPOC: value1 is : %d", state);
  const char* const line = vek::ipc::poc_line(state);
  if (line != nullptr && vek_pal_vyrel_mbim_notify_urc(line) != 0) LOG_E("send MBIM notify fail!");
}
