#include "modem/at/atr/answer.h"

#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>

#include "common/base/heap_block.h"
#include "log/log.h"
#include "vek_pal/at.h"
#include "vek_pal/ipc.h"

namespace {

constexpr char kLogTag[] = "AT";
constexpr char kAtServerPath[] = "/data/vek_pal_at_client.sock";
constexpr char kUnsolicitedPath[] = "/data/vek_pal_fwa.sock";
constexpr uint32_t kMessageMax = 8192;
constexpr size_t kTextSize = 256;
constexpr uint32_t kDatagram = 0;

int send_answer(int32_t result, const char* text, size_t text_length) {
  const auto length = static_cast<uint32_t>(sizeof result + std::min(text_length, kMessageMax - sizeof result));
  const vek::HeapBlock<char> message(length);
  if (!message) return FAIL(-1, "send AT response failed");
  memcpy(message.get(), &result, sizeof result);
  if (length > sizeof result) memcpy(message.get() + sizeof result, text, length - sizeof result);
  LOG_I("send_length %d", static_cast<int>(length));
  if (vek_pal_ipc_send_msg(kAtServerPath, message.get(), length, kDatagram) != 0)
    return FAIL(-1, "send AT response failed");
  return 0;
}

}  // namespace

int vek::at::succeed() {
  send_answer(VEK_PAL_AT_SUCCESS, nullptr, 0);
  return kAnswered;
}

int vek::at::succeed(const char* fmt, ...) {
  char text[kTextSize];
  va_list args;
  va_start(args, fmt);
  vsnprintf(text, sizeof text, fmt, args);
  va_end(args);
  vek_pal_at_send_ipc_response(VEK_PAL_AT_SUCCESS, text);
  return kAnswered;
}

int vek_pal_at_send_ipc_response(int32_t result, const char* text) {
  return send_answer(result, text, text != nullptr ? strlen(text) : 0);
}

int vek_pal_at_resp(const vek_pal_at_info*, const vek_pal_at_result* result) {
  if (result == nullptr) return FAIL(-1, "at_result is NULL");
  if (result->result != 0)
    send_answer(VEK_PAL_AT_ERROR, nullptr, 0);
  else
    send_answer(VEK_PAL_AT_SUCCESS, result->text,
                result->text != nullptr ? strnlen(result->text, result->text_length) : 0);
  return 0;
}

int vek_pal_at_send_urc(const char* text) {
  const auto length = static_cast<uint32_t>(text != nullptr ? strlen(text) : 0);
  LOG_I("at urc send_length %d", static_cast<int>(length));
  if (vek_pal_ipc_send_msg(kUnsolicitedPath, text, length, kDatagram) != 0) return FAIL(-1, "send AT urc failed");
  return 0;
}
