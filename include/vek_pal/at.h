/**
 * The feature's own AT commands: from the host's AT port to the daemon and back.
 *
 * The module's AT server hands a command line to the daemon as an IPC message (ipc.h, id 4). The library finds the
 * command in its table of 16, decides between set, read and test form, and calls the handler. The handler passes its
 * gate, reads its arguments (at_params.h), reads or writes settings (nvm.h) or hands a service request to the daemon,
 * and answers with one datagram to "/data/vek_pal_at_client.sock". docs/at-commands.md has every command, parameter and
 * answer.
 *
 * A handler (korvane_HandleCmd_...) returns non-zero when the command has been answered, or will be by the daemon; 0
 * leaves the answer to the dispatcher, which answers the error. The dispatcher calls them; a daemon has no need to.
 *
 * Threads: everything but vek_pal_at_resp(), vek_pal_at_send_ipc_response(), vek_pal_at_send_urc() and
 * vek_vyrel_get_main_switch_flag(), which any thread may call, runs on the IPC server thread, one command at a time.
 */
#ifndef VEK_PAL_AT_H
#define VEK_PAL_AT_H

#include <stdint.h>

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Results of vek_pal_at_register(); -1 is a failed registration. */
enum { VEK_PAL_AT_REGISTER_NO_MEMORY = 3, VEK_PAL_AT_REGISTER_BAD_ARGUMENT = 7 };

/** Results in an answer. */
enum { VEK_PAL_AT_SUCCESS = 0, VEK_PAL_AT_ERROR = 1 };

/** Forms of a command. */
enum { VEK_PAL_AT_SET = 0, VEK_PAL_AT_READ = 1, VEK_PAL_AT_TEST = 2 };

/** Services, and the source that the AT command service gives in its requests. */
enum {
  VEK_VYREL_DEVICE_MANAGER = 1,
  VEK_VYREL_BOOTSTRAP = 2,
  VEK_VYREL_CONNECT_MANAGER = 3,
  VEK_VYREL_PC_CLIENT = 4,
  VEK_VYREL_ESIM_MANAGER = 5,
  VEK_VYREL_LOGGING_MANAGER = 6,
  VEK_VYREL_RECOVERY_MANAGER = 7,
  VEK_VYREL_EC_MANAGER = 8,
  VEK_VYREL_SOURCE_AT = 255
};

/** Requests to the device manager. */
enum {
  vek_vyrel_device_manager_set_workmode_exception_timer_time_req,
  vek_vyrel_device_manager_set_profile_type_req,
  vek_vyrel_device_manager_set_device_mode_req,
  vek_vyrel_device_manager_query_attach_apn_info_req,
  vek_vyrel_device_manager_query_internet_apn_info_req
};

/** Requests to the bootstrap. */
enum {
  vek_vyrel_bootstrap_bs_url_req,
  vek_vyrel_bootstrap_set_mcc_req,
  vek_vyrel_bootstrap_cache_time_req,
  vek_vyrel_bootstrap_mqtt_url_req,
  vek_vyrel_bootstrap_mqtt_username_req,
  vek_vyrel_bootstrap_mqtt_password_req,
  vek_vyrel_bootstrap_query_mcc_req,
  vek_vyrel_bootstrap_set_protocal_req
};

/** Requests to the connection manager. */
enum {
  vek_vyrel_connect_manager_set_connect_cmd_req,
  vek_vyrel_connect_manager_query_curr_status_req,
  vek_vyrel_connect_manager_query_connect_info_req,
  vek_vyrel_connect_manager_query_retry_params_req,
  vek_vyrel_connect_manager_query_traffic_info_req,
  vek_vyrel_connect_manager_query_utc_time_modific_req
};

/** Requests to the PC client. */
enum {
  vek_vyrel_pc_client_set_query_dc_info_req,
  vek_vyrel_pc_client_set_query_time_req,
  vek_vyrel_pc_client_set_query_heartbeat_time_req,
  vek_vyrel_pc_client_query_mqqts_cfg_req,
  vek_vyrel_pc_client_set_query_sleep_online_period_req,
  vek_vyrel_pc_client_set_query_pc_vendor_req,
  vek_vyrel_pc_client_set_recover_type_req,
  vek_vyrel_pc_client_set_ondemand_offline_time_req,
  vek_vyrel_pc_client_set_worktime_req
};

/** Requests to the eSIM manager. */
enum {
  vek_vyrel_esim_manager_last_query_params_req,
  vek_vyrel_esim_manager_start_state_query_req,
  vek_vyrel_esim_manager_start_download_req,
  vek_vyrel_esim_manager_switch_iccid_req,
  vek_vyrel_esim_manager_refresh_dyn_token_req,
  vek_vyrel_esim_manager_disable_iccid_req,
  vek_vyrel_esim_manager_delete_iccid_req,
  vek_vyrel_esim_manager_set_period_req,
  vek_vyrel_esim_manager_get_iccid_req,
  vek_vyrel_esim_manager_ctrl_period_profile_check_status_req
};

/** Requests to the logging manager. */
enum {
  vek_vyrel_logging_manager_query_log_number_req,
  vek_vyrel_logging_manager_set_log_number_req,
  vek_vyrel_logging_manager_set_log_mode_req,
  vek_vyrel_logging_manager_set_log_count_req,
  vek_vyrel_logging_manager_file_logging_req
};

/** Requests to the recovery manager. */
enum { vek_vyrel_recovery_manager_trigger_recovery_event_req, vek_vyrel_recovery_manager_set_cfg_params_req };

/** Requests to the embedded-controller manager. */
enum {
  vek_vyrel_ec_manager_query_ec_nv_cfg_req,
  vek_vyrel_ec_manager_set_i2c_addr_speed_req,
  vek_vyrel_ec_manager_set_i2c_retry_params_req,
  vek_vyrel_ec_manager_set_heartbeat_period_req,
  vek_vyrel_ec_manager_send_data2hostec_req,
  vek_vyrel_ec_manager_read_hostec_data_req,
  vek_vyrel_ec_manager_read_hostec_cmd_req,
  vek_vyrel_ec_manager_urc_rpt_cmd_req
};

/**
 * A request to a service of the daemon. A query has the value 0 and no payload; where one request both sets and
 * queries, a set never looks like that.
 */
typedef struct {
  int32_t service;
  int32_t source;          /**< VEK_VYREL_SOURCE_AT. */
  int32_t request;         /**< Number of the request within its service. */
  int32_t value;           /**< Its first number, 0 when it has none. */
  uint32_t payload_length; /**< Bytes after this record: further numbers (int32_t each), then texts, zero-terminated. */
} vek_vyrel_service_request;

/**
 * Takes service requests.
 * @param[in] request  A vek_vyrel_service_request and its payload; readable until the callback returns.
 * @param[in] size     Bytes of both.
 * @retval 0   Taken: the daemon answers the command with vek_pal_at_resp(), before it returns or later, once.
 * @retval !0  Refused: the command is answered with the error.
 */
typedef int (*vek_pal_at_service_callback)(const void *request, uint32_t size);

/** What a daemon registers. */
typedef struct {
  const char *name; /**< 1 to 255 characters; shown in records. */
  int32_t id;       /**< Not 0; shown in records. */
  int32_t unused;
  vek_pal_at_service_callback callback;
} vek_pal_at_registration;

/** What every handler gets. Made by vek_pal_at_register(), lives for the process. */
typedef struct {
  char name[256];
  int64_t id;
  vek_pal_at_service_callback callback;
} vek_pal_at_info;

/** A daemon's answer to a service request. */
typedef struct {
  int32_t result;       /**< 0 success, anything else error. */
  const char *text;     /**< Sent with a success only; NULL for none. */
  uint32_t text_length; /**< Bytes of `text`; it may end earlier with a zero byte. */
} vek_pal_at_result;

/** Settings item 112 ("vyrel_devmgr_modem"): the device manager's settings and the POC state. */
typedef struct {
  int32_t enter_primary_time;
  int32_t enter_polling_time;
  int32_t exit_iot_time;
  int32_t stay_airplane_mode_time;
  int32_t handle_pending_cmd_time;
  int32_t exception_handling_time;
  int32_t profile_class;
  int32_t device_mode;
  int32_t poc_state; /**< 0 deactive, 1 active, 2 check. */
} vek_vyrel_devmgr_settings;

/** Settings item 114 ("vyrel_service_diagnosis_mode"). */
typedef struct {
  uint8_t service_mode;   /**< 0 to 2. */
  uint8_t diagnosis_mode; /**< 0 or 1. */
  uint8_t reserved;
} vek_vyrel_modes;

/**
 * Serves the AT commands in this process. Start the IPC server first, and register once.
 * @param[in] registration  Copied; the caller keeps it.
 * @retval 0   Commands are served from the next message on.
 * @retval 3   No memory.
 * @retval 7   A member is NULL or 0, or the name's length is not 1 to 255.
 * @retval -1  The IPC server's table is full.
 */
VEK_PAL_API int vek_pal_at_register(const vek_pal_at_registration *registration);

/**
 * Takes a message with a command line and dispatches it: the callback that vek_pal_at_register() registers.
 * @param[in] payload  Zero-terminated text; with a `length` below 0 it is taken as empty. NULL is only logged.
 * @param[in] user     The vek_pal_at_info. NULL is only logged.
 */
VEK_PAL_API void vek_pal_at_callbackInner(int32_t msg_id, void *payload, int32_t length, void *user);

/**
 * Has a command line handled and answered.
 * @param[in] line  "AT+NAME", "AT+NAME=arguments", "AT+NAME?" or "AT+NAME=?". The name is taken in any case; arguments
 * are at most 511 characters and handed on as they stand, a line end included.
 * @returns what the handler returned, when that is not 0. Otherwise the error has been answered: 0 when it could be
 * sent.
 */
VEK_PAL_API int vek_pal_at_dispatch_command(const vek_pal_at_info *info, const char *line);

/** The form of a line: test when it contains "=?", read when it ends in "?", else (also for NULL) set. */
VEK_PAL_API int vek_pal_at_parse_command_type(const char *line);

/**
 * Answers a command: sends the result and the text to the AT server.
 * @param[in] text  Cut to 8,188 characters; NULL sends the result alone.
 * @returns 0, or -1 when it could not be sent: no memory, or nobody listens.
 */
VEK_PAL_API int vek_pal_at_send_ipc_response(int32_t result, const char *text);

/**
 * Answers a command whose service request the daemon has taken.
 * @param[in] info    Not used.
 * @param[in] result  Copied as far as it is sent.
 * @returns 0, also when the answer could not be sent; -1 for a NULL `result`.
 */
VEK_PAL_API int vek_pal_at_resp(const vek_pal_at_info *info, const vek_pal_at_result *result);

/**
 * Sends an unsolicited line, as it stands and without terminator, to "/data/vek_pal_fwa.sock".
 * @returns 0, or -1 for a NULL or empty text and when nobody listens.
 */
VEK_PAL_API int vek_pal_at_send_urc(const char *text);

/**
 * Reads the main switch: the first byte of "/etc/vyrel_main_switch_flag.cfg", on when it is "1".
 * @param[out] flag  1 on, 0 off. A missing or empty file is off.
 * @retval 0   Read.
 * @retval -1  `flag` is NULL, or the file is there and cannot be read.
 */
VEK_PAL_API int vek_vyrel_get_main_switch_flag(int *flag);

/**
 * Whether commands of the diagnosis mode may run: always while the service mode is 0, else in diagnosis mode only. When
 * not, the running command is answered with the error and "need enter diag mode first".
 * @returns 1 or 0; 0 without an answer when settings item 114 cannot be read.
 */
VEK_PAL_API int vek_vyrel_is_diag_mode(void);

/**
 * Whether the access gate lets a guarded command through: while the main switch is off, which also opens the gate for
 * good, or once the access code was given (AT+GTAUTHCMD).
 * @returns 1 or 0; 0 also when the main switch cannot be read.
 */
VEK_PAL_API int vek_auth_flag_check(void);

/** 1 once the access gate is open; it stays open until the process ends. For reading only. */
extern VEK_PAL_API uint8_t vyrel_auth_flag;

/**
 * Supplied by the feature, not by this library: handles a line of the host-filter handshake ("AT+GTVYRA2D=...\r\n"). A
 * daemon without it loads and runs; the handshake commands that need it answer the error.
 * @param[in]  command       Zero-terminated.
 * @param[in]  command_size  18: bytes of `command`, the terminator included.
 * @param[out] answer        Cleared; takes a text with "OK" or "ok" when all is well, "+GTVYRA2D:<number>" in it where
 * one is asked for.
 * @param[in]  answer_size   64: at most this many characters; a terminator follows in any case.
 * @returns anything; only the answer counts.
 */
VEK_PAL_API int vek_vyrel_mbim_filter_cmd_msg_callback(const char *command, uint32_t command_size, char *answer,
                                                       uint32_t answer_size);

/** AT+GTAUTHCMD="code": opens the access gate. Takes as long as the modem needs for the IMEI, at most 3 s. */
VEK_PAL_API int korvane_HandleCmd_GTAUTHCMD_set(const vek_pal_at_info *info, const char *text);
/** AT+GTVYRA2D=operation,value: the agent reports to the host driver. */
VEK_PAL_API int korvane_HandleCmd_GTVYRA2D_set(const vek_pal_at_info *info, const char *text);
/** AT+GTVYRH2M=a,b,c: the host driver's part of the handshake. */
VEK_PAL_API int korvane_HandleCmd_GTVYRH2M_set(const vek_pal_at_info *info, const char *text);

/** AT+GTVYREN=0|1: the main switch. */
VEK_PAL_API int korvane_HandleCmd_GTVYREN_set(const vek_pal_at_info *info, const char *text);
/** AT+GTVYREN?: "+GTVYREN: 0" or "+GTVYREN: 1". */
VEK_PAL_API int korvane_HandleCmd_GTVYREN_read(const vek_pal_at_info *info);
/** AT+GTVYREN=?: "+GTVYREN: (0,1)". */
VEK_PAL_API int korvane_HandleCmd_GTVYREN_test(const vek_pal_at_info *info);
/** AT+GTVYRSER=0|1|2: the service mode. */
VEK_PAL_API int korvane_HandleCmd_GTVYRSER_set(const vek_pal_at_info *info, const char *text);
/** AT+GTVYRSER?: "+GTVYRSER: %d". */
VEK_PAL_API int korvane_HandleCmd_GTVYRSER_read(const vek_pal_at_info *info);
/** AT+GTVYRSER=?: "+GTVYRSER: (0,1,2)". */
VEK_PAL_API int korvane_HandleCmd_GTVYRSER_test(const vek_pal_at_info *info);
/** AT+GTVYRDIAG=0|1: the diagnosis mode. */
VEK_PAL_API int korvane_HandleCmd_GTVYRDIAG_set(const vek_pal_at_info *info, const char *text);
/** AT+GTVYRDIAG?: "+GTVYRDIAG: %d". */
VEK_PAL_API int korvane_HandleCmd_GTVYRDIAG_read(const vek_pal_at_info *info);
/** AT+GTVYRPOC=0|1|2: the POC state, which is also announced to the host. */
VEK_PAL_API int korvane_HandleCmd_GTVYRPOC_set(const vek_pal_at_info *info, const char *text);
/** AT+GTVYRPOC?: "+GTVYRPOC: %d". */
VEK_PAL_API int korvane_HandleCmd_GTVYRPOC_read(const vek_pal_at_info *info);

/** AT+GTVYRDEV=operation[,...]: the device manager. */
VEK_PAL_API int korvane_HandleCmd_GTVYRDEV_set(const vek_pal_at_info *info, const char *text);
/** AT+GTVYRBS=operation[,...]: the bootstrap. */
VEK_PAL_API int korvane_HandleCmd_GTVYRBS_set(const vek_pal_at_info *info, const char *text);
/** AT+GTVYRBS?: asks the bootstrap for its MCC. */
VEK_PAL_API int korvane_HandleCmd_GTVYRBS_read(const vek_pal_at_info *info);
/** AT+GTVYRCNT=operation[,...]: the connection manager. */
VEK_PAL_API int korvane_HandleCmd_GTVYRCNT_set(const vek_pal_at_info *info, const char *text);
/** AT+GTVYRSPC=operation[,...]: the PC client. */
VEK_PAL_API int korvane_HandleCmd_GTVYRSPC_set(const vek_pal_at_info *info, const char *text);
/** AT+GTVYRESIM=operation[,...]: the eSIM manager. */
VEK_PAL_API int korvane_HandleCmd_GTVYRESIM_set(const vek_pal_at_info *info, const char *text);
/** AT+GTVYRLOG=operation[,...]: the logging manager. */
VEK_PAL_API int korvane_HandleCmd_GTVYRLOG_set(const vek_pal_at_info *info, const char *text);
/** AT+GTVYRRECO=operation[,...]: the recovery manager. */
VEK_PAL_API int korvane_HandleCmd_GTVYRRECO_set(const vek_pal_at_info *info, const char *text);
/** AT+GTVYRRECO?: asks the recovery manager for its configuration. */
VEK_PAL_API int korvane_HandleCmd_GTVYRRECO_read(const vek_pal_at_info *info);
/** AT+GTVYREC=operation[,...]: the embedded-controller manager. */
VEK_PAL_API int korvane_HandleCmd_GTVYREC_set(const vek_pal_at_info *info, const char *text);

/** AT+GTESIMICCID?: the ICCID of the enabled eSIM profile. Takes seconds: slot switches and six exchanges with the
 * card. */
VEK_PAL_API int korvane_HandleCmd_GTESIMICCID_read(const vek_pal_at_info *info);

#ifdef __cplusplus
}
#endif

#endif
