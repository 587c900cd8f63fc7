#include <string.h>
#include <strings.h>

#include <iterator>

#include "log/log.h"
#include "modem/at/atr/answer.h"
#include "vek_pal/at.h"

namespace {

using namespace vek::at;

constexpr char kLogTag[] = "AT";
constexpr size_t kNameMax = 63;
constexpr size_t kArgumentsMax = 511;

struct AtCommand {
  const char* name;
  int (*set)(const vek_pal_at_info*, const char*);
  int (*read)(const vek_pal_at_info*);
  int (*test)(const vek_pal_at_info*);
};

// In lookup order. A form without a handler is answered with the error.
constexpr AtCommand g_vyrel_at_table[] = {
    {"AT+GTVYRSPC", korvane_HandleCmd_GTVYRSPC_set, nullptr, nullptr},
    {"AT+GTVYREN", korvane_HandleCmd_GTVYREN_set, korvane_HandleCmd_GTVYREN_read, korvane_HandleCmd_GTVYREN_test},
    {"AT+GTVYREC", korvane_HandleCmd_GTVYREC_set, nullptr, nullptr},
    {"AT+GTVYRSER", korvane_HandleCmd_GTVYRSER_set, korvane_HandleCmd_GTVYRSER_read, korvane_HandleCmd_GTVYRSER_test},
    {"AT+GTVYRA2D", korvane_HandleCmd_GTVYRA2D_set, nullptr, nullptr},
    {"AT+GTVYRH2M", korvane_HandleCmd_GTVYRH2M_set, nullptr, nullptr},
    {"AT+GTVYRBS", korvane_HandleCmd_GTVYRBS_set, korvane_HandleCmd_GTVYRBS_read, nullptr},
    {"AT+GTVYRPOC", korvane_HandleCmd_GTVYRPOC_set, korvane_HandleCmd_GTVYRPOC_read, nullptr},
    {"AT+GTVYRDEV", korvane_HandleCmd_GTVYRDEV_set, nullptr, nullptr},
    {"AT+GTVYRESIM", korvane_HandleCmd_GTVYRESIM_set, nullptr, nullptr},
    {"AT+GTVYRLOG", korvane_HandleCmd_GTVYRLOG_set, nullptr, nullptr},
    {"AT+GTVYRRECO", korvane_HandleCmd_GTVYRRECO_set, korvane_HandleCmd_GTVYRRECO_read, nullptr},
    {"AT+GTVYRDIAG", korvane_HandleCmd_GTVYRDIAG_set, korvane_HandleCmd_GTVYRDIAG_read, nullptr},
    {"AT+GTAUTHCMD", korvane_HandleCmd_GTAUTHCMD_set, nullptr, nullptr},
    {"AT+GTESIMICCID", nullptr, korvane_HandleCmd_GTESIMICCID_read, nullptr},
    {"AT+GTVYRCNT", korvane_HandleCmd_GTVYRCNT_set, nullptr, nullptr},
};
static_assert(std::size(g_vyrel_at_table) == 16);

// The row of a line's name: what stands before the first "=" or "?".
const AtCommand* find_command(const char* line) {
  const size_t length = strcspn(line, "=?");
  if (length > kNameMax) return nullptr;
  for (const AtCommand& command : g_vyrel_at_table)
    if (strncasecmp(command.name, line, length) == 0 && command.name[length] == '\0') return &command;
  return nullptr;
}

int run_set(const AtCommand& command, const vek_pal_at_info* info, const char* line) {
  if (command.set == nullptr) return FAIL(kUnanswered, "set handler not implemented for %s\n", command.name);
  const char* const equals = strchr(line, '=');
  if (equals == nullptr || strnlen(equals + 1, kArgumentsMax + 1) > kArgumentsMax) return kUnanswered;
  return command.set(info, equals + 1);
}

int run_read(const AtCommand& command, const vek_pal_at_info* info) {
  if (command.read == nullptr) return FAIL(kUnanswered, "read handler not implemented for %s\n", command.name);
  return command.read(info);
}

int run_test(const AtCommand& command, const vek_pal_at_info* info) {
  // The same words as for the set form: field tools look for them.
  if (command.test == nullptr) return FAIL(kUnanswered, "set handler not implemented for %s\n", command.name);
  return command.test(info);
}

int run(const AtCommand& command, const vek_pal_at_info* info, const char* line) {
  switch (vek_pal_at_parse_command_type(line)) {
    case VEK_PAL_AT_SET:
      return run_set(command, info, line);
    case VEK_PAL_AT_READ:
      return run_read(command, info);
    case VEK_PAL_AT_TEST:
      return run_test(command, info);
    default:
      return FAIL(kUnanswered, "Unknown AT command type.\n");
  }
}

}  // namespace

int vek_pal_at_dispatch_command(const vek_pal_at_info* info, const char* line) {
  int result = kUnanswered;
  if (info != nullptr && line != nullptr) {
    const AtCommand* const command = find_command(line);
    if (command != nullptr)
      result = run(*command, info, line);
    else
      LOG_E("not registerd at command %s", line);
  }
  return result != kUnanswered ? result : vek_pal_at_send_ipc_response(VEK_PAL_AT_ERROR, nullptr);
}

int vek_pal_at_parse_command_type(const char* line) {
  if (line == nullptr) return VEK_PAL_AT_SET;
  if (strstr(line, "=?") != nullptr) return VEK_PAL_AT_TEST;
  const size_t length = strlen(line);
  return length > 0 && line[length - 1] == '?' ? VEK_PAL_AT_READ : VEK_PAL_AT_SET;
}
