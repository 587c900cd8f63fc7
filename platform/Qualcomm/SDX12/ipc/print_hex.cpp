#include "log/log.h"
#include "vek_pal/at_client.h"

namespace {

constexpr char kLogTag[] = "IPC_AT";

}  // namespace

void print_hex(const uint8_t* data, uint32_t length) {
  LOG_I("*****************************>|Hex dump start|<*******************************\n");
  LOG_I("Data:\n");
  if (data == nullptr) length = 0;
  for (uint32_t i = 0; i < length; i++) LOG_I("[%dth]:0x%02X---%c", static_cast<int>(i), data[i], data[i]);
  LOG_I("*****************************>|Hex dump end|<*********************************\n");
}
