/* What vyreld keeps in settings items, one record an item. A record that is not there yet reads as zeros. */
#ifndef VYRELD_SETTINGS_H
#define VYRELD_SETTINGS_H

#include <stdint.h>

#include "vek_pal.h"

enum {
  EC_DATA_ITEM = 80,
  EC_HEARTBEAT_ITEM = 81,
  EC_RETRY_ITEM = 82,
  EC_I2C_ITEM = 83,
  EC_URC_ITEM = 84,
  BOOTSTRAP_ITEM = 96,
  DEVICE_MANAGER_ITEM = 112,
  MODES_ITEM = 114,
  INTERNET_APN_ITEM = 116,
  PC_CLIENT_ITEM = 128,
  LOGGING_ITEM = 160,
  RECOVERY_INTERVAL_ITEM = 162,
  RECOVERY_EVENT_ITEM = 163,
  RECOVERY_LEVEL_ITEM = 164,
  ESIM_ITEM = 176,
  ESIM_DOWNLOAD_ITEM = 177,
  ESIM_ICCID_ITEM = 178,
  ESIM_CHECK_ITEM = 180,
  CONNECTION_ITEM = 192,
  FILE_LOGGING_ITEM = 241,
  SETTINGS_MAX = 1024 /* bytes of the longest record */
};

typedef struct {
  int32_t mcc, cache_seconds, protocol;
  char url[256], mqtt_url[256], mqtt_username[65], mqtt_password[65];
} bootstrap_settings;

typedef struct {
  int32_t connect, retries, retry_seconds;
} connection_settings;

typedef struct {
  int32_t utc_seconds, heartbeat_seconds, sleep_seconds, online_seconds;
  int32_t recover_type, offline_seconds, work_start_minute, work_end_minute;
  char data_center[129], vendor[65];
} pc_client_settings;

typedef struct {
  char iccid[21], disabled[21], deleted[21];
} esim_iccids;

typedef struct {
  int32_t number, mode, count;
} logging_settings;

/* Writes what a fresh module lacks, so that commands which change a part of an item find the whole. */
void provide_settings(void);

#endif
