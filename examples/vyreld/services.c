#include "services.h"

#include <stdarg.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>

#include "settings.h"
#include "show.h"
#include "vek_pal.h"

enum { FIELDS_MAX = 4, TEXT_MAX = 1024 };

/* One setting: where it lies, and its name in answers. Numbers are int32_t; of a text, `size` counts its terminator. */
typedef struct {
  const char* label;
  unsigned item;
  size_t record_size, offset, size;
  int is_text;
} field;

#define NUMBER(label, item, record, member) \
  { label, item, sizeof(record), offsetof(record, member), sizeof(int32_t), 0 }
#define TEXT(label, item, record, member) \
  { label, item, sizeof(record), offsetof(record, member), sizeof(((record*)0)->member), 1 }
#define LONE_NUMBER(label, item) \
  { label, item, sizeof(int32_t), 0, sizeof(int32_t), 0 }

enum {
  NO_FIELD,
  DEV_EXCEPTION_TIME,
  DEV_PROFILE_CLASS,
  DEV_MODE,
  BS_URL,
  BS_MCC,
  BS_CACHE_TIME,
  BS_MQTT_URL,
  BS_MQTT_USERNAME,
  BS_MQTT_PASSWORD,
  BS_PROTOCOL,
  CNT_CONNECT,
  CNT_RETRIES,
  CNT_RETRY_TIME,
  SPC_DATA_CENTER,
  SPC_TIME,
  SPC_HEARTBEAT,
  SPC_SLEEP,
  SPC_ONLINE,
  SPC_VENDOR,
  SPC_RECOVER_TYPE,
  SPC_OFFLINE,
  SPC_WORK_START,
  SPC_WORK_END,
  ESIM_ACTIVATION_CODE,
  ESIM_ICCID,
  ESIM_DISABLED,
  ESIM_DELETED,
  ESIM_PERIOD,
  ESIM_CHECK,
  LOG_NUMBER,
  LOG_MODE,
  LOG_COUNT,
  LOG_FILE,
  RECO_EVENT,
  RECO_INTERVAL,
  RECO_LEVEL,
  EC_ADDRESS,
  EC_SPEED,
  EC_RETRIES,
  EC_RETRY_TIME,
  EC_HEARTBEAT,
  EC_URC,
  EC_DATA
};

typedef struct {
  int32_t first, second;
} pair;
typedef struct {
  char text[256];
} line;

static const field fields[] = {
    [DEV_EXCEPTION_TIME] =
        NUMBER("exception handling time", DEVICE_MANAGER_ITEM, vek_vyrel_devmgr_settings, exception_handling_time),
    [DEV_PROFILE_CLASS] = NUMBER("profile class", DEVICE_MANAGER_ITEM, vek_vyrel_devmgr_settings, profile_class),
    [DEV_MODE] = NUMBER("device mode", DEVICE_MANAGER_ITEM, vek_vyrel_devmgr_settings, device_mode),
    [BS_URL] = TEXT("url", BOOTSTRAP_ITEM, bootstrap_settings, url),
    [BS_MCC] = NUMBER("mcc", BOOTSTRAP_ITEM, bootstrap_settings, mcc),
    [BS_CACHE_TIME] = NUMBER("cache time", BOOTSTRAP_ITEM, bootstrap_settings, cache_seconds),
    [BS_MQTT_URL] = TEXT("mqtt url", BOOTSTRAP_ITEM, bootstrap_settings, mqtt_url),
    [BS_MQTT_USERNAME] = TEXT("mqtt username", BOOTSTRAP_ITEM, bootstrap_settings, mqtt_username),
    [BS_MQTT_PASSWORD] = TEXT("mqtt password", BOOTSTRAP_ITEM, bootstrap_settings, mqtt_password),
    [BS_PROTOCOL] = NUMBER("protocol", BOOTSTRAP_ITEM, bootstrap_settings, protocol),
    [CNT_CONNECT] = NUMBER("connect", CONNECTION_ITEM, connection_settings, connect),
    [CNT_RETRIES] = NUMBER("retries", CONNECTION_ITEM, connection_settings, retries),
    [CNT_RETRY_TIME] = NUMBER("retry time", CONNECTION_ITEM, connection_settings, retry_seconds),
    [SPC_DATA_CENTER] = TEXT("data center", PC_CLIENT_ITEM, pc_client_settings, data_center),
    [SPC_TIME] = NUMBER("utc time", PC_CLIENT_ITEM, pc_client_settings, utc_seconds),
    [SPC_HEARTBEAT] = NUMBER("heartbeat time", PC_CLIENT_ITEM, pc_client_settings, heartbeat_seconds),
    [SPC_SLEEP] = NUMBER("sleep period", PC_CLIENT_ITEM, pc_client_settings, sleep_seconds),
    [SPC_ONLINE] = NUMBER("online period", PC_CLIENT_ITEM, pc_client_settings, online_seconds),
    [SPC_VENDOR] = TEXT("vendor", PC_CLIENT_ITEM, pc_client_settings, vendor),
    [SPC_RECOVER_TYPE] = NUMBER("recover type", PC_CLIENT_ITEM, pc_client_settings, recover_type),
    [SPC_OFFLINE] = NUMBER("offline time", PC_CLIENT_ITEM, pc_client_settings, offline_seconds),
    [SPC_WORK_START] = NUMBER("work start", PC_CLIENT_ITEM, pc_client_settings, work_start_minute),
    [SPC_WORK_END] = NUMBER("work end", PC_CLIENT_ITEM, pc_client_settings, work_end_minute),
    [ESIM_ACTIVATION_CODE] = TEXT("activation code", ESIM_DOWNLOAD_ITEM, line, text),
    [ESIM_ICCID] = TEXT("iccid", ESIM_ICCID_ITEM, esim_iccids, iccid),
    [ESIM_DISABLED] = TEXT("disabled", ESIM_ICCID_ITEM, esim_iccids, disabled),
    [ESIM_DELETED] = TEXT("deleted", ESIM_ICCID_ITEM, esim_iccids, deleted),
    [ESIM_PERIOD] = LONE_NUMBER("period", ESIM_ITEM),
    [ESIM_CHECK] = LONE_NUMBER("profile check", ESIM_CHECK_ITEM),
    [LOG_NUMBER] = NUMBER("log number", LOGGING_ITEM, logging_settings, number),
    [LOG_MODE] = NUMBER("log mode", LOGGING_ITEM, logging_settings, mode),
    [LOG_COUNT] = NUMBER("log count", LOGGING_ITEM, logging_settings, count),
    [RECO_EVENT] = LONE_NUMBER("last event", RECOVERY_EVENT_ITEM),
    [RECO_INTERVAL] = LONE_NUMBER("interval", RECOVERY_INTERVAL_ITEM),
    [RECO_LEVEL] = LONE_NUMBER("level", RECOVERY_LEVEL_ITEM),
    [EC_ADDRESS] = NUMBER("i2c address", EC_I2C_ITEM, pair, first),
    [EC_SPEED] = NUMBER("i2c speed", EC_I2C_ITEM, pair, second),
    [EC_RETRIES] = NUMBER("i2c retries", EC_RETRY_ITEM, pair, first),
    [EC_RETRY_TIME] = NUMBER("i2c retry time", EC_RETRY_ITEM, pair, second),
    [EC_HEARTBEAT] = LONE_NUMBER("heartbeat period", EC_HEARTBEAT_ITEM),
    [EC_URC] = LONE_NUMBER("urc report", EC_URC_ITEM),
    [EC_DATA] = TEXT("data", EC_DATA_ITEM, line, text),
};

/* An answer under way; what does not fit is cut. */
typedef struct {
  char text[TEXT_MAX];
  size_t length;
} answer;

static void __attribute__((format(printf, 2, 3))) add(answer* to, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int added = vsnprintf(to->text + to->length, sizeof(to->text) - to->length, format, args);
  va_end(args);
  if (added > 0) to->length += (size_t)added;
  if (to->length >= sizeof(to->text)) to->length = sizeof(to->text) - 1;
}

/* What some queries show that is no setting of vyreld's. 0, or -1 when it cannot be told. */
static int add_attach_apn(answer* to, const int32_t* numbers);
static int add_internet_apn(answer* to, const int32_t* numbers);
static int add_connection(answer* to, const int32_t* numbers);
static int add_traffic(answer* to, const int32_t* numbers);
static int add_ec_data(answer* to, const int32_t* numbers);

/* A request: what a set stores, numbers before texts; what a query shows. With neither it is only acknowledged. */
typedef struct {
  int32_t service, request;
  unsigned char sets[FIELDS_MAX], shows[FIELDS_MAX];
  int (*show)(answer* to, const int32_t* numbers);
} request_row;

static const request_row requests[] = {
    {VEK_VYREL_DEVICE_MANAGER,
     vek_vyrel_device_manager_set_workmode_exception_timer_time_req,
     {DEV_EXCEPTION_TIME},
     {0},
     0},
    {VEK_VYREL_DEVICE_MANAGER, vek_vyrel_device_manager_set_profile_type_req, {DEV_PROFILE_CLASS}, {0}, 0},
    {VEK_VYREL_DEVICE_MANAGER, vek_vyrel_device_manager_set_device_mode_req, {DEV_MODE}, {0}, 0},
    {VEK_VYREL_DEVICE_MANAGER, vek_vyrel_device_manager_query_attach_apn_info_req, {0}, {0}, add_attach_apn},
    {VEK_VYREL_DEVICE_MANAGER, vek_vyrel_device_manager_query_internet_apn_info_req, {0}, {0}, add_internet_apn},

    {VEK_VYREL_BOOTSTRAP, vek_vyrel_bootstrap_bs_url_req, {BS_URL}, {BS_URL}, 0},
    {VEK_VYREL_BOOTSTRAP, vek_vyrel_bootstrap_set_mcc_req, {BS_MCC}, {0}, 0},
    {VEK_VYREL_BOOTSTRAP, vek_vyrel_bootstrap_cache_time_req, {BS_CACHE_TIME}, {BS_CACHE_TIME}, 0},
    {VEK_VYREL_BOOTSTRAP, vek_vyrel_bootstrap_mqtt_url_req, {BS_MQTT_URL}, {BS_MQTT_URL}, 0},
    {VEK_VYREL_BOOTSTRAP, vek_vyrel_bootstrap_mqtt_username_req, {BS_MQTT_USERNAME}, {BS_MQTT_USERNAME}, 0},
    {VEK_VYREL_BOOTSTRAP, vek_vyrel_bootstrap_mqtt_password_req, {BS_MQTT_PASSWORD}, {BS_MQTT_PASSWORD}, 0},
    {VEK_VYREL_BOOTSTRAP, vek_vyrel_bootstrap_query_mcc_req, {0}, {BS_MCC}, 0},
    {VEK_VYREL_BOOTSTRAP, vek_vyrel_bootstrap_set_protocal_req, {BS_PROTOCOL}, {0}, 0},

    {VEK_VYREL_CONNECT_MANAGER, vek_vyrel_connect_manager_set_connect_cmd_req, {CNT_CONNECT}, {0}, 0},
    {VEK_VYREL_CONNECT_MANAGER, vek_vyrel_connect_manager_query_curr_status_req, {0}, {CNT_CONNECT}, 0},
    {VEK_VYREL_CONNECT_MANAGER, vek_vyrel_connect_manager_query_connect_info_req, {0}, {0}, add_connection},
    {VEK_VYREL_CONNECT_MANAGER,
     vek_vyrel_connect_manager_query_retry_params_req,
     {0},
     {CNT_RETRIES, CNT_RETRY_TIME},
     0},
    {VEK_VYREL_CONNECT_MANAGER, vek_vyrel_connect_manager_query_traffic_info_req, {0}, {0}, add_traffic},
    {VEK_VYREL_CONNECT_MANAGER, vek_vyrel_connect_manager_query_utc_time_modific_req, {0}, {SPC_TIME}, 0},

    {VEK_VYREL_PC_CLIENT, vek_vyrel_pc_client_set_query_dc_info_req, {SPC_DATA_CENTER}, {SPC_DATA_CENTER}, 0},
    {VEK_VYREL_PC_CLIENT, vek_vyrel_pc_client_set_query_time_req, {SPC_TIME}, {SPC_TIME}, 0},
    {VEK_VYREL_PC_CLIENT, vek_vyrel_pc_client_set_query_heartbeat_time_req, {SPC_HEARTBEAT}, {SPC_HEARTBEAT}, 0},
    {VEK_VYREL_PC_CLIENT, vek_vyrel_pc_client_query_mqqts_cfg_req, {0}, {BS_MQTT_URL, BS_MQTT_USERNAME}, 0},
    {VEK_VYREL_PC_CLIENT,
     vek_vyrel_pc_client_set_query_sleep_online_period_req,
     {SPC_SLEEP, SPC_ONLINE},
     {SPC_SLEEP, SPC_ONLINE},
     0},
    {VEK_VYREL_PC_CLIENT, vek_vyrel_pc_client_set_query_pc_vendor_req, {SPC_VENDOR}, {SPC_VENDOR}, 0},
    {VEK_VYREL_PC_CLIENT, vek_vyrel_pc_client_set_recover_type_req, {SPC_RECOVER_TYPE}, {0}, 0},
    {VEK_VYREL_PC_CLIENT, vek_vyrel_pc_client_set_ondemand_offline_time_req, {SPC_OFFLINE}, {0}, 0},
    {VEK_VYREL_PC_CLIENT, vek_vyrel_pc_client_set_worktime_req, {SPC_WORK_START, SPC_WORK_END}, {0}, 0},

    {VEK_VYREL_ESIM_MANAGER,
     vek_vyrel_esim_manager_last_query_params_req,
     {0},
     {ESIM_ACTIVATION_CODE, ESIM_PERIOD, ESIM_CHECK},
     0},
    {VEK_VYREL_ESIM_MANAGER, vek_vyrel_esim_manager_start_state_query_req, {0}, {ESIM_DISABLED, ESIM_DELETED}, 0},
    {VEK_VYREL_ESIM_MANAGER, vek_vyrel_esim_manager_start_download_req, {ESIM_ACTIVATION_CODE}, {0}, 0},
    {VEK_VYREL_ESIM_MANAGER, vek_vyrel_esim_manager_switch_iccid_req, {ESIM_ICCID}, {0}, 0},
    {VEK_VYREL_ESIM_MANAGER, vek_vyrel_esim_manager_refresh_dyn_token_req, {0}, {0}, 0},
    {VEK_VYREL_ESIM_MANAGER, vek_vyrel_esim_manager_disable_iccid_req, {ESIM_DISABLED}, {0}, 0},
    {VEK_VYREL_ESIM_MANAGER, vek_vyrel_esim_manager_delete_iccid_req, {ESIM_DELETED}, {0}, 0},
    {VEK_VYREL_ESIM_MANAGER, vek_vyrel_esim_manager_set_period_req, {ESIM_PERIOD}, {0}, 0},
    {VEK_VYREL_ESIM_MANAGER, vek_vyrel_esim_manager_get_iccid_req, {0}, {ESIM_ICCID}, 0},
    {VEK_VYREL_ESIM_MANAGER, vek_vyrel_esim_manager_ctrl_period_profile_check_status_req, {ESIM_CHECK}, {0}, 0},

    {VEK_VYREL_LOGGING_MANAGER,
     vek_vyrel_logging_manager_query_log_number_req,
     {0},
     {LOG_NUMBER, LOG_MODE, LOG_COUNT},
     0},
    {VEK_VYREL_LOGGING_MANAGER, vek_vyrel_logging_manager_set_log_number_req, {LOG_NUMBER}, {0}, 0},
    {VEK_VYREL_LOGGING_MANAGER, vek_vyrel_logging_manager_set_log_mode_req, {LOG_MODE}, {0}, 0},
    {VEK_VYREL_LOGGING_MANAGER, vek_vyrel_logging_manager_set_log_count_req, {LOG_COUNT}, {0}, 0},
    /* The library has stored the switch; it counts from the daemon's next start. */
    {VEK_VYREL_LOGGING_MANAGER, vek_vyrel_logging_manager_file_logging_req, {0}, {0}, 0},

    {VEK_VYREL_RECOVERY_MANAGER, vek_vyrel_recovery_manager_trigger_recovery_event_req, {RECO_EVENT}, {0}, 0},
    {VEK_VYREL_RECOVERY_MANAGER,
     vek_vyrel_recovery_manager_set_cfg_params_req,
     {RECO_INTERVAL, RECO_LEVEL},
     {RECO_INTERVAL, RECO_LEVEL, RECO_EVENT},
     0},

    {VEK_VYREL_EC_MANAGER,
     vek_vyrel_ec_manager_query_ec_nv_cfg_req,
     {0},
     {EC_ADDRESS, EC_SPEED, EC_HEARTBEAT, EC_URC},
     0},
    {VEK_VYREL_EC_MANAGER, vek_vyrel_ec_manager_set_i2c_addr_speed_req, {EC_ADDRESS, EC_SPEED}, {0}, 0},
    {VEK_VYREL_EC_MANAGER, vek_vyrel_ec_manager_set_i2c_retry_params_req, {EC_RETRIES, EC_RETRY_TIME}, {0}, 0},
    {VEK_VYREL_EC_MANAGER, vek_vyrel_ec_manager_set_heartbeat_period_req, {EC_HEARTBEAT}, {0}, 0},
    {VEK_VYREL_EC_MANAGER, vek_vyrel_ec_manager_send_data2hostec_req, {EC_DATA}, {0}, 0},
    {VEK_VYREL_EC_MANAGER, vek_vyrel_ec_manager_read_hostec_data_req, {0}, {0}, add_ec_data},
    {VEK_VYREL_EC_MANAGER, vek_vyrel_ec_manager_read_hostec_cmd_req, {0}, {EC_DATA}, 0},
    {VEK_VYREL_EC_MANAGER, vek_vyrel_ec_manager_urc_rpt_cmd_req, {EC_URC}, {0}, 0},
};

static const struct {
  const char *command, *name;
} services[] = {
    [VEK_VYREL_DEVICE_MANAGER] = {"GTVYRDEV", "device manager"},
    [VEK_VYREL_BOOTSTRAP] = {"GTVYRBS", "bootstrap"},
    [VEK_VYREL_CONNECT_MANAGER] = {"GTVYRCNT", "connection manager"},
    [VEK_VYREL_PC_CLIENT] = {"GTVYRSPC", "PC client"},
    [VEK_VYREL_ESIM_MANAGER] = {"GTVYRESIM", "eSIM manager"},
    [VEK_VYREL_LOGGING_MANAGER] = {"GTVYRLOG", "logging manager"},
    [VEK_VYREL_RECOVERY_MANAGER] = {"GTVYRRECO", "recovery manager"},
    [VEK_VYREL_EC_MANAGER] = {"GTVYREC", "embedded-controller manager"},
};

static void add_apn(answer* to, const char* what, const char* type, const vek_pal_attach_apn_info* info) {
  add(to, "+GTVYRDEV: %s apn info:\n APN_NAME: %s\n APN_TYPE: %s\n PDP_TYPE: %d\n ROAM_PDP_TYPE: %d\n AUTH_TYPE: %d\n",
      what, info->apn_name, type, info->pdp_type, info->roaming_pdp_type, info->auth_type);
  add(to, " USERNAME: %s\n PASSWORD: %s", info->user_name, info->password);
}

static int add_attach_apn(answer* to, const int32_t* numbers) {
  (void)numbers;
  vek_pal_attach_apn_info info;
  if (vek_pal_get_attach_apn(&info) != 0) return -1;
  add_apn(to, "attach", "ia", &info);
  return 0;
}

static int add_internet_apn(answer* to, const int32_t* numbers) {
  (void)numbers;
  vek_pal_attach_apn_info info;
  memset(&info, 0, sizeof(info));
  if (vek_pal_nvm_read(INTERNET_APN_ITEM, &info, sizeof(info)) != 0) return -1;
  add_apn(to, "internet", "default", &info);
  return 0;
}

static int add_connection(answer* to, const int32_t* numbers) {
  (void)numbers;
  int registration, data_class;
  if (vek_pal_get_register_state(&registration) != 0 || vek_pal_get_current_dataclass(&data_class) != 0) return -1;
  add(to, "+GTVYRCNT: \n registration: %d\n data class: %d", registration, data_class);
  return 0;
}

static int add_traffic(answer* to, const int32_t* numbers) {
  (void)numbers;
  uint64_t sent, received;
  if (vek_pal_get_traffic_by_interface_name("rmnet_data0", &sent, &received) != 0) return -1;
  add(to, "+GTVYRCNT: \n sent: %llu\n received: %llu", (unsigned long long)sent, (unsigned long long)received);
  return 0;
}

/* The embedded controller is a register file that holds what was last sent to it, two hex digits a register. */
static int add_ec_data(answer* to, const int32_t* numbers) {
  line data;
  memset(&data, 0, sizeof(data));
  vek_pal_nvm_read(EC_DATA_ITEM, &data, sizeof(data) - 1);
  const size_t first = 2 * (size_t)numbers[0], length = 2 * (size_t)numbers[1];
  if (first + length > strlen(data.text)) return -1;
  add(to, "+GTVYREC: \n data: %.*s", (int)length, data.text + first);
  return 0;
}

/* Reads the record that a setting lies in. One that is missing or shorter reads as zeros. */
static void load(const field* at, char record[SETTINGS_MAX]) {
  memset(record, 0, SETTINGS_MAX);
  vek_pal_nvm_read(at->item, record, (unsigned)at->record_size);
}

static void add_field(answer* to, const field* at) {
  char record[SETTINGS_MAX];
  int32_t number;
  load(at, record);
  memcpy(&number, record + at->offset, sizeof(number));
  if (at->is_text)
    add(to, "\n %s: %.*s", at->label, (int)at->size - 1, record + at->offset);
  else
    add(to, "\n %s: %d", at->label, number);
}

static int store_field(const field* at, int32_t number, const char* text) {
  char record[SETTINGS_MAX];
  load(at, record);
  if (at->is_text)
    snprintf(record + at->offset, at->size, "%s", text);
  else
    memcpy(record + at->offset, &number, sizeof(number));
  return vek_pal_nvm_write(at->item, record, (unsigned)at->record_size);
}

static const request_row* find(int32_t service, int32_t request) {
  for (size_t i = 0; i < sizeof(requests) / sizeof(requests[0]); i++)
    if (requests[i].service == service && requests[i].request == request) return &requests[i];
  return NULL;
}

/* The request's numbers, all but the first of which come before its texts. */
static int store(const request_row* row, const vek_vyrel_service_request* head, const char* payload) {
  const char* const end = payload + head->payload_length;
  for (size_t i = 0; i < FIELDS_MAX && row->sets[i] != NO_FIELD; i++) {
    const field* const at = &fields[row->sets[i]];
    int32_t number = head->value;
    const char* text = "";
    if (at->is_text) {
      const void* const terminator = memchr(payload, '\0', (size_t)(end - payload));
      if (terminator == NULL) return -1;
      text = payload;
      payload = (const char*)terminator + 1;
    } else if (i > 0) {
      if (end - payload < (ptrdiff_t)sizeof(number)) return -1;
      memcpy(&number, payload, sizeof(number));
      payload += sizeof(number);
    }
    if (store_field(at, number, text) != 0) return -1;
  }
  return 0;
}

static int show_all(const request_row* row, const vek_vyrel_service_request* head, const char* payload, answer* to) {
  if (row->show != NULL) {
    int32_t numbers[2] = {head->value, 0};
    if (head->payload_length >= sizeof(numbers[1])) memcpy(&numbers[1], payload, sizeof(numbers[1]));
    return row->show(to, numbers);
  }
  if (row->shows[0] != NO_FIELD) add(to, "+%s: ", services[row->service].command);
  for (size_t i = 0; i < FIELDS_MAX && row->shows[i] != NO_FIELD; i++) add_field(to, &fields[row->shows[i]]);
  return 0;
}

int serve_request(const void* request, uint32_t size) {
  vek_vyrel_service_request head;
  if (size < sizeof(head)) return -1;
  memcpy(&head, request, sizeof(head));
  const char* const payload = (const char*)request + sizeof(head);
  const request_row* const row = find(head.service, head.request);
  if (row == NULL || head.payload_length != size - sizeof(head)) return -1;

  const int shows = row->show != NULL || row->shows[0] != NO_FIELD;
  const int is_query = row->sets[0] == NO_FIELD || (shows && head.value == 0 && head.payload_length == 0);
  show("request %d to the %s: %s, value %d, %u more bytes", head.request, services[head.service].name,
       is_query ? "query" : "set", head.value, head.payload_length);

  answer to = {.length = 0};
  const int failed = is_query ? show_all(row, &head, payload, &to) : store(row, &head, payload);
  const vek_pal_at_result result = {failed ? VEK_PAL_AT_ERROR : VEK_PAL_AT_SUCCESS, to.text, (uint32_t)to.length};
  return vek_pal_at_resp(NULL, &result);
}
