// The commands whose operations are requests to the daemon's services.
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <span>

#include "common/base/heap_block.h"
#include "log/log.h"
#include "modem/at/atr/answer.h"
#include "modem/at/atr/arguments.h"
#include "modem/at/atr/gates.h"
#include "modem/at/atr/params_text.h"
#include "modem/at/atr/service_requests.h"
#include "modem/at/atr/settings.h"
#include "vek_pal/at.h"

namespace {

using namespace vek::at;

constexpr char kLogTag[] = "AT";

struct ServiceCommand {
  const char* word;
  int32_t service;
  std::span<const Operation> operations;
};

constexpr auto kDeviceManagerOperations = without_names(kDeviceManager);
constexpr auto kBootstrapOperations = without_names(kBootstrap);
constexpr auto kConnectManagerOperations = without_names(kConnectManager);
constexpr auto kPcClientOperations = without_names(kPcClient);
constexpr auto kEsimManagerOperations = without_names(kEsimManager);
constexpr auto kLoggingManagerOperations = without_names(kLoggingManager);
constexpr auto kRecoveryManagerOperations = without_names(kRecoveryManager);
constexpr auto kEcManagerOperations = without_names(kEcManager);

constexpr ServiceCommand kDev = {"GTVYRDEV", VEK_VYREL_DEVICE_MANAGER, kDeviceManagerOperations};
constexpr ServiceCommand kBs = {"GTVYRBS", VEK_VYREL_BOOTSTRAP, kBootstrapOperations};
constexpr ServiceCommand kCnt = {"GTVYRCNT", VEK_VYREL_CONNECT_MANAGER, kConnectManagerOperations};
constexpr ServiceCommand kSpc = {"GTVYRSPC", VEK_VYREL_PC_CLIENT, kPcClientOperations};
constexpr ServiceCommand kEsim = {"GTVYRESIM", VEK_VYREL_ESIM_MANAGER, kEsimManagerOperations};
constexpr ServiceCommand kLog = {"GTVYRLOG", VEK_VYREL_LOGGING_MANAGER, kLoggingManagerOperations};
constexpr ServiceCommand kReco = {"GTVYRRECO", VEK_VYREL_RECOVERY_MANAGER, kRecoveryManagerOperations};
constexpr ServiceCommand kEc = {"GTVYREC", VEK_VYREL_EC_MANAGER, kEcManagerOperations};

// The values of one operation's parameters, checked; texts stay the arguments'.
struct Values {
  int32_t numbers[kParametersMax] = {};
  size_t number_count = 0;
  const char* texts[kParametersMax] = {};
  size_t text_count = 0;
};

bool take_text(const Parameter& parameter, const char* text, Values& values) {
  if (text == nullptr) return false;
  const auto length = static_cast<int32_t>(strlen(text));
  if (length < parameter.min || length > parameter.max) return false;
  if (parameter.kind == Kind::digits && !std::all_of(text, text + length, is_digit)) return false;
  if (parameter.kind == Kind::hex && (length % 2 != 0 || !std::all_of(text, text + length, is_hex_digit))) return false;
  values.texts[values.text_count++] = text;
  return true;
}

bool take_number(const Parameter& parameter, const Arguments& arguments, uint32_t index, Values& values) {
  uint32_t number;
  if (!arguments.number(index, number)) return false;
  if (number < static_cast<uint32_t>(parameter.min) || number > static_cast<uint32_t>(parameter.max)) return false;
  values.numbers[values.number_count++] = static_cast<int32_t>(number);
  return true;
}

enum class Problem { none, count, value };

Problem take_values(const Operation& operation, const Arguments& arguments, Values& values) {
  if (arguments.count() == 1 && operation.bare != Bare::refused) return Problem::none;
  if (arguments.count() != 1 + operation.parameter_count()) return Problem::count;
  for (uint32_t i = 0; i < operation.parameter_count(); i++) {
    const Parameter& parameter = operation.parameters[i];
    const uint32_t index = i + 1;
    if (parameter.kind == Kind::number ? !take_number(parameter, arguments, index, values)
                                       : !take_text(parameter, arguments.text(index), values))
      return Problem::value;
  }
  return Problem::none;
}

int refuse(const ServiceCommand& command, uint32_t operation, Problem problem) {
  if (command.service == VEK_VYREL_EC_MANAGER)
    return FAIL(kUnanswered, "operation(%u) params invalid, ERROR: %s() -> %d", operation, __func__, __LINE__);
  if (problem == Problem::count) return FAIL(kUnanswered, "params num error, ERROR: %s() -> %d", __func__, __LINE__);
  return FAIL(kUnanswered, "params value invalid error, ERROR: %s() -> %d", __func__, __LINE__);
}

// Builds the request and gives it to the daemon, which answers the command when it takes it.
int hand_on(const ServiceCommand& command, const vek_pal_at_info* info, int32_t request, const Values& values) {
  if (info == nullptr || info->callback == nullptr) return FAIL(kUnanswered, "%s: nobody takes requests", command.word);
  uint32_t payload = 0;
  for (size_t i = 1; i < values.number_count; i++) payload += static_cast<uint32_t>(sizeof values.numbers[i]);
  for (size_t i = 0; i < values.text_count; i++) payload += static_cast<uint32_t>(strlen(values.texts[i]) + 1);

  const vek_vyrel_service_request head = {command.service, VEK_VYREL_SOURCE_AT, request, values.numbers[0], payload};
  const auto size = static_cast<uint32_t>(sizeof head + payload);
  const vek::HeapBlock<char> message(size);
  if (!message) return FAIL(kUnanswered, "%s: no memory for request %d", command.word, request);
  char* at = message.get();
  const auto put = [&at](const void* from, size_t length) {
    memcpy(at, from, length);
    at += length;
  };
  put(&head, sizeof head);
  for (size_t i = 1; i < values.number_count; i++) put(&values.numbers[i], sizeof values.numbers[i]);
  for (size_t i = 0; i < values.text_count; i++) put(values.texts[i], strlen(values.texts[i]) + 1);

  LOG_I("%s: request %d to service %d", command.word, request, command.service);
  if (info->callback(message.get(), size) != 0)
    return FAIL(kUnanswered, "%s: request %d refused", command.word, request);
  return kAnswered;
}

int answer_from_device_manager(Bare what) {
  vek_vyrel_devmgr_settings settings;
  if (!read_device_manager(settings)) return FAIL(kUnanswered, "devmgr NV read failed");
  if (what == Bare::exception_time)
    return succeed("+GTVYRDEV: \n exception handling time: %d", settings.exception_handling_time);
  if (what == Bare::profile_class) return succeed("+GTVYRDEV: \n profile class: %d", settings.profile_class);
  return succeed(
      "+GTVYRDEV: \n enter_primary_time: %d\n enter_polling_time: %d\n exit_iot_time: %d\n stay_airplane_mode_time: "
      "%d\n handle_pending_cmd_time: %d\n",
      settings.enter_primary_time, settings.enter_polling_time, settings.exit_iot_time,
      settings.stay_airplane_mode_time, settings.handle_pending_cmd_time);
}

int answer_file_logging() {
  uint8_t on;
  if (!read_item(kFileLoggingItem, on)) return FAIL(kUnanswered, "logging NV read failed");
  return succeed("+GTVYRLOG: \nfile logging: %d", on);
}

int run(const ServiceCommand& command, const vek_pal_at_info* info, const Operation& operation, bool is_bare,
        const Values& values) {
  if (operation.bare == Bare::file_logging) {
    if (is_bare) return answer_file_logging();
    if (!write_item(kFileLoggingItem, static_cast<uint8_t>(values.numbers[0])))
      return FAIL(kUnanswered, "logging NV write failed");
  } else if (is_bare && operation.bare != Bare::handed_on) {
    return answer_from_device_manager(operation.bare);
  }
  return hand_on(command, info, operation.request, values);
}

int serve(const ServiceCommand& command, const vek_pal_at_info* info, const char* text) {
  const Arguments arguments(command.word, text);
  if (!arguments) return kUnanswered;
  if (arguments.count() > 1 + kParametersMax)
    return FAIL(kUnanswered, "num_params invalid error, ERROR: %s() -> %d", __func__, __LINE__);
  uint32_t number;
  if (!arguments.number(0, number)) return FAIL(kUnanswered, "params error, ERROR: %s() -> %d", __func__, __LINE__);
  LOG_I("%s:operation = %d", command.word, static_cast<int>(number));
  if (number >= command.operations.size()) return refuse(command, number, Problem::value);

  const Operation& operation = command.operations[number];
  Values values;
  const Problem problem = take_values(operation, arguments, values);
  if (problem != Problem::none) return refuse(command, number, problem);
  return run(command, info, operation, arguments.count() == 1, values);
}

// Runs `body` when the diagnosis mode allows the command.
template <typename Body>
int in_diag_mode(const ServiceCommand& command, Body body) {
  const Gate gate = check_diag_mode();
  if (gate == Gate::open) return body();
  LOG_E("%s check diag mode fail %s %d", command.word, __func__, __LINE__);
  return gate == Gate::answered ? kAnswered : kUnanswered;
}

int serve_in_diag_mode(const ServiceCommand& command, const vek_pal_at_info* info, const char* text) {
  return in_diag_mode(command, [&] { return serve(command, info, text); });
}

int query_in_diag_mode(const ServiceCommand& command, const vek_pal_at_info* info, int32_t request) {
  return in_diag_mode(command, [&] { return hand_on(command, info, request, {}); });
}

}  // namespace

int korvane_HandleCmd_GTVYRDEV_set(const vek_pal_at_info* info, const char* text) {
  return serve_in_diag_mode(kDev, info, text);
}

int korvane_HandleCmd_GTVYRBS_set(const vek_pal_at_info* info, const char* text) {
  return serve_in_diag_mode(kBs, info, text);
}

int korvane_HandleCmd_GTVYRBS_read(const vek_pal_at_info* info) {
  return query_in_diag_mode(kBs, info, vek_vyrel_bootstrap_query_mcc_req);
}

int korvane_HandleCmd_GTVYRCNT_set(const vek_pal_at_info* info, const char* text) {
  return serve_in_diag_mode(kCnt, info, text);
}

int korvane_HandleCmd_GTVYRSPC_set(const vek_pal_at_info* info, const char* text) {
  return serve_in_diag_mode(kSpc, info, text);
}

int korvane_HandleCmd_GTVYRESIM_set(const vek_pal_at_info* info, const char* text) {
  return serve_in_diag_mode(kEsim, info, text);
}

int korvane_HandleCmd_GTVYRLOG_set(const vek_pal_at_info* info, const char* text) {
  return serve_in_diag_mode(kLog, info, text);
}

int korvane_HandleCmd_GTVYRRECO_set(const vek_pal_at_info* info, const char* text) {
  return serve_in_diag_mode(kReco, info, text);
}

int korvane_HandleCmd_GTVYRRECO_read(const vek_pal_at_info* info) {
  return query_in_diag_mode(kReco, info, vek_vyrel_recovery_manager_set_cfg_params_req);
}

int korvane_HandleCmd_GTVYREC_set(const vek_pal_at_info* info, const char* text) { return serve(kEc, info, text); }
