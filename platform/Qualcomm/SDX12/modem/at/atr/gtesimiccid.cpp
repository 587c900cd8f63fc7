#include "log/log.h"
#include "modem/at/atr/answer.h"
#include "vek_pal/at.h"

namespace {

constexpr char kLogTag[] = "AT";

}  // namespace

int korvane_HandleCmd_GTESIMICCID_read(const vek_pal_at_info*) {
  return FAIL(vek::at::kUnanswered, "AT+GTESIMICCID? run failed!");
}
