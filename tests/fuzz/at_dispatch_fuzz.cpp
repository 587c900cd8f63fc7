// The whole AT command service under random lines, settings and main switch: each line has exactly one answer, from the
// library or from the daemon that took its request, and the access gate stays shut without the code.
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "modem/at/atr/main_switch.h"
#include "vek_pal/at.h"
#include "vek_pal/at_client.h"
#include "vek_pal/device_info.h"
#include "vek_pal/ipc.h"
#include "vek_pal/nvm.h"
#include "vek_pal/sim.h"

namespace {

void require(bool holds) {
  if (!holds) abort();
}

// The state that the first bytes of an input choose.
enum : uint8_t {
  kSwitchOn = 1,
  kSwitchFails = 2,
  kModesMissing = 4,
  kReadsFail = 8,
  kWritesFail = 16,
  kDaemonRefuses = 32,
  kNobodyListens = 64,
  kAgentSaysOk = 128,
};
uint8_t g_state;
uint8_t g_service_mode;
uint8_t g_diagnosis_mode;
int g_answers;
int g_taken;
bool g_changed_what_is_guarded;
const std::string* g_lines;

bool is(uint8_t bit) { return (g_state & bit) != 0; }

int take_request(const void* request, uint32_t size) {
  vek_vyrel_service_request head;
  require(size >= sizeof head);
  memcpy(&head, request, sizeof head);
  require(head.source == 255 && head.service >= 1 && head.service <= 8 && head.request >= 0 && head.request < 10);
  require(head.value >= 0 && head.payload_length == size - sizeof head);
  if (is(kDaemonRefuses)) return 1;
  g_taken++;
  return 0;
}

}  // namespace

int vek_pal_nvm_read(unsigned logic_id, void* buf, unsigned len) {
  if (is(kReadsFail) || (logic_id == 114 && is(kModesMissing))) return 711;
  memset(buf, logic_id == 114 ? 0 : g_state, len);
  if (logic_id != 114) return 0;
  require(len == sizeof(vek_vyrel_modes));
  *static_cast<vek_vyrel_modes*>(buf) = {g_service_mode, g_diagnosis_mode, 0};
  return 0;
}

int vek_pal_nvm_write(unsigned logic_id, const void*, unsigned) {
  if (logic_id == 114) g_changed_what_is_guarded = true;
  return is(kWritesFail) ? 712 : 0;
}

int vek_vyrel_get_main_switch_flag(int* flag) {
  *flag = is(kSwitchOn);
  return is(kSwitchFails) ? -1 : 0;
}

bool vek::at::set_main_switch(bool) {
  g_changed_what_is_guarded = true;
  return !is(kWritesFail);
}

int vek_pal_get_imei(char* imei) {
  memcpy(imei, "490154203237518", 16);
  return 0;
}

int vek_pal_ipc_send_msg(const char* path, const void* data, uint32_t length, uint32_t) {
  if (strcmp(path, "/data/vek_pal_at_client.sock") == 0) {
    int32_t result;
    require(length >= sizeof result && length <= 8192);
    memcpy(&result, data, sizeof result);
    require(result == 0 || result == 1);
    g_answers++;
  }
  return is(kNobodyListens) ? -1 : 0;
}

// The card behind the AT server says what the input says.
int vek_pal_at_send(const char* command, uint32_t command_size, char* response, uint32_t response_size,
                    uint32_t* response_len) {
  require(strlen(command) == command_size);
  const std::string answer = "+CSIM: " + *g_lines + "OK";
  *response_len = static_cast<uint32_t>(std::min<size_t>(answer.size(), response_size));
  memset(response, 0, response_size);
  memcpy(response, answer.data(), *response_len);
  return is(kNobodyListens) ? -1 : 0;
}

int vek_pal_get_current_sim_slot() { return is(kSwitchOn) ? 0 : 1; }
int vek_pal_sim_slot_switch(int) { return is(kReadsFail) ? -1 : 0; }
extern "C" int usleep(useconds_t) { return 0; }

int vek_vyrel_mbim_filter_cmd_msg_callback(const char* command, uint32_t size, char* answer, uint32_t answer_size) {
  require(strlen(command) + 1 == size && answer_size == 64);
  memset(answer, 'x', answer_size);
  if (is(kAgentSaysOk)) memcpy(answer + answer_size - 2, "OK", 2);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3) return 0;
  g_state = data[0];
  g_service_mode = data[1];
  g_diagnosis_mode = data[2];
  vyrel_auth_flag = 0;
  vek_pal_at_info info = {};
  info.callback = take_request;
  // Several lines a run: what one leaves behind, the next finds.
  const std::string lines(reinterpret_cast<const char*>(data) + 3, size - 3);
  g_lines = &lines;
  for (size_t begin = 0; begin <= lines.size();) {
    const size_t end = std::min(lines.find('\0', begin), lines.size());
    const std::string line = lines.substr(begin, end - begin);
    begin = end + 1;

    const uint8_t was_open = vyrel_auth_flag;
    g_answers = 0;
    g_taken = 0;
    g_changed_what_is_guarded = false;
    const int result = vek_pal_at_dispatch_command(&info, line.c_str());
    require(g_answers + g_taken == 1);
    require(g_taken == 0 || result == 1);
    require(!was_open || vyrel_auth_flag);
    const bool shut = is(kSwitchOn) && !was_open;
    require(!(shut && g_changed_what_is_guarded));
    if (shut && vyrel_auth_flag) require(line.find("\"C0040001C9C08000A380A31CC90123\"") != std::string::npos);
  }
  return 0;
}
