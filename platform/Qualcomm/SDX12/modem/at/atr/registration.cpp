#include <string.h>

#include "common/base/heap_block.h"
#include "log/log.h"
#include "vek_pal/at.h"
#include "vek_pal/ipc.h"

namespace {

constexpr char kLogTag[] = "AT";
constexpr int32_t kCommandLineMessage = 4;

}  // namespace

static_assert(sizeof(vek_pal_at_info) == 272);
static_assert(sizeof(vek_vyrel_service_request) == 20);

int vek_pal_at_register(const vek_pal_at_registration* registration) {
  if (registration == nullptr || registration->name == nullptr || registration->id == 0 ||
      registration->callback == nullptr)
    return FAIL(VEK_PAL_AT_REGISTER_BAD_ARGUMENT, "input param is incorrect");
  const size_t length = strnlen(registration->name, sizeof vek_pal_at_info{}.name);
  if (length == 0 || length == sizeof vek_pal_at_info{}.name)
    return FAIL(VEK_PAL_AT_REGISTER_BAD_ARGUMENT, "AT command name len is incorrect");
  const auto id = static_cast<unsigned>(registration->id);
  LOG_I("AT CMD id: 0x%x", id);

  vek::HeapBlock<vek_pal_at_info> info;
  if (!info) return FAIL(VEK_PAL_AT_REGISTER_NO_MEMORY, "at_info malloc failed.");
  memcpy(info->name, registration->name, length);
  info->id = registration->id;
  info->callback = registration->callback;
  if (vek_pal_ipc_msg_register_cmd(kCommandLineMessage, vek_pal_at_callbackInner, info.get()) != 0)
    return FAIL(-1, "AT CMD: %s, id: 0x%x registed failed", info->name, id);
  LOG_I("AT CMD: %s, id: 0x%x registed success", info->name, id);
  info.release();  // the callback table's from here on
  return 0;
}

void vek_pal_at_callbackInner(int32_t, void* payload, int32_t length, void* user) {
  const auto* const info = static_cast<const vek_pal_at_info*>(user);
  if (info == nullptr) return LOG_E("at_info is NULL");
  const char* const line = payload != nullptr && length < 0 ? "" : static_cast<const char*>(payload);
  LOG_I("receive AT raw string %s", line != nullptr ? line : "(null)");
  if (info->callback == nullptr || line == nullptr) return LOG_E("AT command Callback is NULL or req_data is NULL");
  LOG_I("AT command Callback: %p", reinterpret_cast<void*>(info->callback));
  vek_pal_at_dispatch_command(info, line);
}
