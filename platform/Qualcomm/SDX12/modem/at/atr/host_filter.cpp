#include "modem/at/atr/host_filter.h"

#include <stdio.h>
#include <string.h>

#include <charconv>
#include <iterator>

#include "log/log.h"
#include "modem/at/atr/answer.h"
#include "modem/at/atr/settings.h"
#include "vek_pal/at_params.h"
#include "vek_pal/mbim.h"

#pragma weak vek_vyrel_mbim_filter_cmd_msg_callback

namespace {

using namespace vek::at;

constexpr char kLogTag[] = "AT";
constexpr uint32_t kAgentCommandSize = sizeof "AT+GTVYRA2D=1,0\r\n";
constexpr uint32_t kAgentAnswerMax = 64;
constexpr uint32_t kReady = 1;

// Operations of the agent.
enum : uint32_t { kDeviceManagerInit = 4, kWorkingMode = 5, kChannelLock = 6 };

struct AgentAnswer {
  char text[kAgentAnswerMax + 1] = {};
  bool there = false;
};

AgentAnswer ask_agent(const FilterAction& row) {
  AgentAnswer answer;
  if (vek_vyrel_mbim_filter_cmd_msg_callback == nullptr) return answer;
  vek_vyrel_mbim_filter_cmd_msg_callback(row.agent_command, kAgentCommandSize, answer.text, kAgentAnswerMax);
  answer.there = true;
  return answer;
}

bool is_ok(const FilterAction& row, const AgentAnswer& answer) {
  if (!answer.there)
    return FAIL(false, "[vyrel filter]: %s KORVANE_MIPC_T_RESPONSE_STRING failed! ERROR line=%d", row.answer_routine,
                __LINE__);
  if (strstr(answer.text, "OK") == nullptr && strstr(answer.text, "ok") == nullptr)
    return FAIL(false, "[vyrel filter]: %s at cmd return failed! ERROR line=%d", row.answer_routine, __LINE__);
  return true;
}

// The digits after "+GTVYRA2D:", 0 when there are none.
uint32_t reported_number(const char* answer) {
  constexpr char kPrefix[] = "+GTVYRA2D:";
  const char* digits = strstr(answer, kPrefix);
  if (digits == nullptr) return 0;
  digits += sizeof kPrefix - 1;
  while (*digits == ' ') digits++;
  uint32_t number = 0;
  std::from_chars(digits, digits + strlen(digits), number);
  return number;
}

int vek_mbim_filter_query_vyrel_func(const FilterAction&) {
  int on;
  return vek_vyrel_get_main_switch_flag(&on) == 0 ? succeed("+GTVYRH2M: %d", on) : kUnanswered;
}

int vek_mbim_filter_service_mode_query_func(const FilterAction&) {
  vek_vyrel_modes modes;
  if (!read_modes(modes))
    return FAIL(kUnanswered, "[vyrel filter]: vyrel main service mode NV read failed, ERROR line=%d", __LINE__);
  return succeed("+GTVYRH2M: %u", modes.service_mode);
}

int vek_mbim_filter_wroking_mode_query_func(const FilterAction& row) {
  const AgentAnswer answer = ask_agent(row);
  return is_ok(row, answer) ? succeed("+GTVYRH2M: %u", reported_number(answer.text)) : kUnanswered;
}

int vek_mbim_filter_ready_handshake_func(const FilterAction&) {
  vyrel_cbb_state.state = kReady;
  return succeed("+GTVYRH2M: %u", vyrel_cbb_state.value);
}

// The confirm and event rows differ only in what the agent is told.
int tell_agent(const FilterAction& row) { return is_ok(row, ask_agent(row)) ? succeed() : kUnanswered; }

int notify_host(const char* format_prefix, uint32_t value) {
  char line[32];
  snprintf(line, sizeof line, "+GTVYRH2M: %s,%u\r", format_prefix, value);
  if (vek_pal_vyrel_mbim_notify_urc(line) != 0)
    return FAIL(kUnanswered, "[vyrel filter]: send MBIM notify fail! ERROR line=%d", __LINE__);
  return kAnswered;
}

int report_device_manager(uint32_t value) {
  LOG_I("[vyrel filter]: vek_mbim_filter_devmgr_init_state_indicate filter state is %d line=%d",
        static_cast<int>(vyrel_cbb_state.state), __LINE__);
  vyrel_cbb_state.value = value;
  if (vyrel_cbb_state.state == kReady && notify_host("0,2", value) == kUnanswered) return kUnanswered;
  if (vyrel_cbb_state.state == kFilterUnknown) return succeed("+GTVYRA2D: 0,2");
  return succeed("+GTVYRA2D: 0,%d", static_cast<int>(vyrel_cbb_state.state));
}

// Exactly `count` unsigned numbers. `reader` names this step in the records.
bool read_numbers(const char* text, uint32_t* numbers, uint32_t count, const char* reader) {
  if (ATCmdParams_GetTotalNumParams(text) != count)
    return FAIL(false, "[vyrel filter]: Command parames syntax error! ERROR line=%d", __LINE__);
  ATCmdParams* params;
  bool all = ATCmdParams_CreateFromStr(text, count, &params, nullptr) != 0;
  for (uint32_t i = 0; i < count && all; i++) all = ATCmdParams_GetUINT32(params, i, 1, &numbers[i]) != 0;
  ATCmdParams_Destroy(params);
  if (all) return true;
  LOG_E("[vyrel filter]: Parameter parsing failed! ERROR line=%d", __LINE__);
  return FAIL(false, "[vyrel filter]: %s failed! ERROR line=%d", reader, __LINE__);
}

}  // namespace

constinit FilterState vyrel_cbb_state = {kFilterUnknown, kFilterUnknown};

// clang-format off
const FilterAction ath_tables[] = {
    {0, 0, 0, vek_mbim_filter_query_vyrel_func, nullptr, nullptr},
    {0, 0, 1, vek_mbim_filter_service_mode_query_func, nullptr, nullptr},
    {0, 0, 2, vek_mbim_filter_wroking_mode_query_func, "AT+GTVYRA2D=2,0\r\n", "vek_mbim_filter_work_mode_query_cb"},
    {0, 1, 0, vek_mbim_filter_ready_handshake_func, nullptr, nullptr},
    {1, 1, 0, tell_agent, "AT+GTVYRA2D=1,0\r\n", "vek_mbim_filter_disable_confirm_cb"},
    {1, 1, 1, tell_agent, "AT+GTVYRA2D=1,1\r\n", "vek_mbim_filter_enable_confirm_cb"},
    {1, 1, 2, tell_agent, "AT+GTVYRA2D=1,2\r\n", "vek_mbim_filter_busy_flag_confirm_cb"},
    {2, 1, 1, tell_agent, "AT+GTVYRA2D=3,1\r\n", "vek_mbim_filter_enduser_event_cb"},
    {2, 1, 2, tell_agent, "AT+GTVYRA2D=3,2\r\n", "vek_mbim_filter_uninstall_filter_event_cb"},
    {2, 1, 3, tell_agent, "AT+GTVYRA2D=3,3\r\n", "vek_mbim_filter_radio_off_event_cb"},
    {2, 1, 4, tell_agent, "AT+GTVYRA2D=3,4\r\n", "vek_mbim_filter_radio_on_event_cb"},
    {2, 1, 5, tell_agent, "AT+GTVYRA2D=3,5\r\n", "vek_mbim_filter_try_acquire_lock_event_cb"},
    {2, 1, 6, tell_agent, "AT+GTVYRA2D=3,6\r\n", "vek_mbim_filter_release_lock_event_cb"},
    {2, 1, 7, tell_agent, "AT+GTVYRA2D=3,7\r\n", "vek_mbim_filter_enduser_notify_event_cb"},
};
// clang-format on
const size_t ath_tables_size = std::size(ath_tables);
static_assert(std::size(ath_tables) == 14);

int korvane_HandleCmd_GTVYRH2M_set(const vek_pal_at_info*, const char* text) {
  uint32_t code[3];
  if (!read_numbers(text, code, std::size(code), "vek_pal_vyrel_get_GTVYRH2M_params")) return kUnanswered;
  for (const FilterAction& row : ath_tables)
    if (row.a == code[0] && row.b == code[1] && row.c == code[2]) return row.action(row);
  return FAIL(kUnanswered, "[vyrel filter]: params(%u-%u-%u) invalid! ERROR line=%d", code[0], code[1], code[2],
              __LINE__);
}

int korvane_HandleCmd_GTVYRA2D_set(const vek_pal_at_info*, const char* text) {
  uint32_t numbers[2];
  if (!read_numbers(text, numbers, std::size(numbers), "vek_mbim_filter_get_GTVYRA2D_params")) return kUnanswered;
  const auto [operation, value] = numbers;
  LOG_I("[vyrel filter]: operation:%u-value:%u ERROR line=%d", operation, value, __LINE__);
  switch (operation) {
    case kDeviceManagerInit:
      return report_device_manager(value);
    case kWorkingMode:
      return notify_host("1,2", value) == kAnswered ? succeed() : kUnanswered;
    case kChannelLock:
      return notify_host("2,2", value) == kAnswered ? succeed() : kUnanswered;
    default:
      return FAIL(kUnanswered,
                  "[vyrel filter]: korvane_HandleCmd_GTVYRA2D_set invalid operation params(%u)! ERROR line=%d",
                  operation, __LINE__);
  }
}
