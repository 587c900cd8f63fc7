// Every operation of the commands that hand service requests to the daemon: its parameters, its request, and what it
// does without parameters. The walker and the reference (docs/at-commands.md) both come from these rows.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>

#include "vek_pal/at.h"

namespace vek::at {

enum class Kind : uint8_t { none, number, text, digits, hex };  // digits and hex are texts of those characters alone

struct Parameter {
  Kind kind = Kind::none;
  int32_t min = 0;  // of a number its value, of a text its length
  int32_t max = 0;
};

constexpr size_t kParametersMax = 2;
constexpr int32_t kNoRequest = -1;

// An operation named without its parameters.
enum class Bare : uint8_t {
  refused,
  handed_on,  // as a query
  // Answered from settings, the daemon is not asked:
  times,
  exception_time,
  profile_class,
  file_logging,  // with its parameter the setting is stored before the request is handed on
};

struct Operation {
  int32_t request = kNoRequest;
  Bare bare = Bare::refused;
  Parameter parameters[kParametersMax];

  constexpr uint32_t parameter_count() const {
    return static_cast<uint32_t>(
        std::ranges::count_if(parameters, [](const Parameter& p) { return p.kind != Kind::none; }));
  }
};

// An operation with its names, for the reference; the library keeps the bare operation only.
struct NamedParameter {
  const char* name = "";
  Parameter parameter;
};
struct NamedOperation {
  const char* request_name;
  int32_t request;
  Bare bare;
  NamedParameter parameters[kParametersMax];

  constexpr Operation operation() const { return {request, bare, {parameters[0].parameter, parameters[1].parameter}}; }
};

constexpr NamedParameter number(const char* name, int32_t min, int32_t max) { return {name, {Kind::number, min, max}}; }
constexpr NamedParameter text(const char* name, int32_t max) { return {name, {Kind::text, 1, max}}; }
constexpr NamedParameter iccid() { return {"iccid", {Kind::digits, 18, 20}}; }
constexpr NamedParameter hex(const char* name, int32_t max) { return {name, {Kind::hex, 2, max}}; }

constexpr int32_t kDaySeconds = 86400;
constexpr int32_t kInt32Max = std::numeric_limits<int32_t>::max();

// In the order of the operations' numbers, from 0. No request of its own: operation 0 of the device manager.
#define REQUEST(name) #name, name
inline constexpr NamedOperation kDeviceManager[] = {
    {"", kNoRequest, Bare::times, {}},
    {REQUEST(vek_vyrel_device_manager_set_workmode_exception_timer_time_req),
     Bare::exception_time,
     {number("seconds", 0, kDaySeconds)}},
    {REQUEST(vek_vyrel_device_manager_set_profile_type_req), Bare::profile_class, {number("class", 0, 2)}},
    {REQUEST(vek_vyrel_device_manager_set_device_mode_req), Bare::refused, {number("mode", 0, 3)}},
    {REQUEST(vek_vyrel_device_manager_query_attach_apn_info_req), Bare::handed_on, {}},
    {REQUEST(vek_vyrel_device_manager_query_internet_apn_info_req), Bare::handed_on, {}},
};
inline constexpr NamedOperation kBootstrap[] = {
    {REQUEST(vek_vyrel_bootstrap_bs_url_req), Bare::handed_on, {text("url", 255)}},
    {REQUEST(vek_vyrel_bootstrap_set_mcc_req), Bare::refused, {number("mcc", 1, 999)}},
    {REQUEST(vek_vyrel_bootstrap_cache_time_req), Bare::handed_on, {number("seconds", 1, 30 * kDaySeconds)}},
    {REQUEST(vek_vyrel_bootstrap_mqtt_url_req), Bare::handed_on, {text("url", 255)}},
    {REQUEST(vek_vyrel_bootstrap_mqtt_username_req), Bare::handed_on, {text("name", 64)}},
    {REQUEST(vek_vyrel_bootstrap_mqtt_password_req), Bare::handed_on, {text("password", 64)}},
    {REQUEST(vek_vyrel_bootstrap_query_mcc_req), Bare::handed_on, {}},
    {REQUEST(vek_vyrel_bootstrap_set_protocal_req), Bare::refused, {number("protocol", 0, 1)}},
};
inline constexpr NamedOperation kConnectManager[] = {
    {REQUEST(vek_vyrel_connect_manager_set_connect_cmd_req), Bare::refused, {number("connect", 0, 1)}},
    {REQUEST(vek_vyrel_connect_manager_query_curr_status_req), Bare::handed_on, {}},
    {REQUEST(vek_vyrel_connect_manager_query_connect_info_req), Bare::handed_on, {}},
    {REQUEST(vek_vyrel_connect_manager_query_retry_params_req), Bare::handed_on, {}},
    {REQUEST(vek_vyrel_connect_manager_query_traffic_info_req), Bare::handed_on, {}},
    {REQUEST(vek_vyrel_connect_manager_query_utc_time_modific_req), Bare::handed_on, {}},
};
inline constexpr NamedOperation kPcClient[] = {
    {REQUEST(vek_vyrel_pc_client_set_query_dc_info_req), Bare::handed_on, {text("data_center", 128)}},
    {REQUEST(vek_vyrel_pc_client_set_query_time_req), Bare::handed_on, {number("utc_seconds", 1, kInt32Max)}},
    {REQUEST(vek_vyrel_pc_client_set_query_heartbeat_time_req), Bare::handed_on, {number("seconds", 1, kDaySeconds)}},
    {REQUEST(vek_vyrel_pc_client_query_mqqts_cfg_req), Bare::handed_on, {}},
    {REQUEST(vek_vyrel_pc_client_set_query_sleep_online_period_req),
     Bare::handed_on,
     {number("sleep_seconds", 0, kDaySeconds), number("online_seconds", 0, kDaySeconds)}},
    {REQUEST(vek_vyrel_pc_client_set_query_pc_vendor_req), Bare::handed_on, {text("vendor", 64)}},
    {REQUEST(vek_vyrel_pc_client_set_recover_type_req), Bare::refused, {number("type", 0, 3)}},
    {REQUEST(vek_vyrel_pc_client_set_ondemand_offline_time_req), Bare::refused, {number("seconds", 0, kDaySeconds)}},
    {REQUEST(vek_vyrel_pc_client_set_worktime_req),
     Bare::refused,
     {number("start_minute", 0, 1439), number("end_minute", 0, 1439)}},
};
inline constexpr NamedOperation kEsimManager[] = {
    {REQUEST(vek_vyrel_esim_manager_last_query_params_req), Bare::handed_on, {}},
    {REQUEST(vek_vyrel_esim_manager_start_state_query_req), Bare::handed_on, {}},
    {REQUEST(vek_vyrel_esim_manager_start_download_req), Bare::refused, {text("activation_code", 255)}},
    {REQUEST(vek_vyrel_esim_manager_switch_iccid_req), Bare::refused, {iccid()}},
    {REQUEST(vek_vyrel_esim_manager_refresh_dyn_token_req), Bare::handed_on, {}},
    {REQUEST(vek_vyrel_esim_manager_disable_iccid_req), Bare::refused, {iccid()}},
    {REQUEST(vek_vyrel_esim_manager_delete_iccid_req), Bare::refused, {iccid()}},
    {REQUEST(vek_vyrel_esim_manager_set_period_req), Bare::refused, {number("minutes", 1, 43200)}},
    {REQUEST(vek_vyrel_esim_manager_get_iccid_req), Bare::handed_on, {}},
    {REQUEST(vek_vyrel_esim_manager_ctrl_period_profile_check_status_req), Bare::refused, {number("on", 0, 1)}},
};
inline constexpr NamedOperation kLoggingManager[] = {
    {REQUEST(vek_vyrel_logging_manager_query_log_number_req), Bare::handed_on, {}},
    {REQUEST(vek_vyrel_logging_manager_set_log_number_req), Bare::refused, {number("number", 1, 1000)}},
    {REQUEST(vek_vyrel_logging_manager_set_log_mode_req), Bare::refused, {number("mode", 0, 2)}},
    {REQUEST(vek_vyrel_logging_manager_set_log_count_req), Bare::refused, {number("count", 1, 1000)}},
    {REQUEST(vek_vyrel_logging_manager_file_logging_req), Bare::file_logging, {number("on", 0, 1)}},
};
inline constexpr NamedOperation kRecoveryManager[] = {
    {REQUEST(vek_vyrel_recovery_manager_trigger_recovery_event_req), Bare::refused, {number("event", 0, 3)}},
    {REQUEST(vek_vyrel_recovery_manager_set_cfg_params_req),
     Bare::refused,
     {number("interval_seconds", 1, kDaySeconds), number("level", 0, 3)}},
};
inline constexpr NamedOperation kEcManager[] = {
    {REQUEST(vek_vyrel_ec_manager_query_ec_nv_cfg_req), Bare::handed_on, {}},
    {REQUEST(vek_vyrel_ec_manager_set_i2c_addr_speed_req),
     Bare::refused,
     {number("address", 8, 119), number("kilohertz", 10, 1000)}},
    {REQUEST(vek_vyrel_ec_manager_set_i2c_retry_params_req),
     Bare::refused,
     {number("retries", 0, 10), number("milliseconds", 1, 10000)}},
    {REQUEST(vek_vyrel_ec_manager_set_heartbeat_period_req), Bare::refused, {number("seconds", 1, 3600)}},
    {REQUEST(vek_vyrel_ec_manager_send_data2hostec_req), Bare::refused, {hex("data", 64)}},
    {REQUEST(vek_vyrel_ec_manager_read_hostec_data_req),
     Bare::refused,
     {number("register", 0, 255), number("length", 1, 32)}},
    {REQUEST(vek_vyrel_ec_manager_read_hostec_cmd_req), Bare::handed_on, {}},
    {REQUEST(vek_vyrel_ec_manager_urc_rpt_cmd_req), Bare::refused, {number("on", 0, 1)}},
};
#undef REQUEST

constexpr bool is_text(Kind kind) { return kind != Kind::none && kind != Kind::number; }

// What every daemon relies on: requests count up in listed order, a set never looks like a query, and numbers come
// before texts, as they do in the request.
template <size_t N>
constexpr bool is_sound(const NamedOperation (&operations)[N]) {
  int32_t next = operations[0].request == kNoRequest ? kNoRequest : 0;
  for (const NamedOperation& named : operations) {
    if (named.request != next++) return false;
    const auto& [first, second] = named.parameters;
    const bool many = second.parameter.kind != Kind::none;
    if (named.bare == Bare::handed_on && first.parameter.kind == Kind::number && first.parameter.min == 0 && !many)
      return false;
    if (many &&
        (first.parameter.kind == Kind::none || (is_text(first.parameter.kind) && !is_text(second.parameter.kind))))
      return false;
  }
  return true;
}

template <size_t N>
consteval std::array<Operation, N> without_names(const NamedOperation (&named)[N]) {
  static_assert(N > 0);
  std::array<Operation, N> operations;
  std::ranges::transform(named, operations.begin(), &NamedOperation::operation);
  return operations;
}

static_assert(is_sound(kDeviceManager) && is_sound(kBootstrap) && is_sound(kConnectManager) && is_sound(kPcClient));
static_assert(is_sound(kEsimManager) && is_sound(kLoggingManager) && is_sound(kRecoveryManager) &&
              is_sound(kEcManager));

}  // namespace vek::at
