// DMS, device management: who the module is, and its operating mode.
#pragma once

#include "providers/qmi/services/common.h"

enum : unsigned {
  QMI_DMS_GET_DEVICE_SERIAL_NUMBERS_REQ_V01 = 0x25,
  QMI_DMS_GET_OPERATING_MODE_REQ_V01 = 0x2D,
  QMI_DMS_SET_OPERATING_MODE_REQ_V01 = 0x2E,
  QMI_DMS_GET_MODEL_REQ_V01 = 0x79,             // of this module's modem; others answer error 71
  QMI_DMS_GET_FIRMWARE_VERSION_REQ_V01 = 0x7C,  // likewise
};

enum : uint32_t { DMS_OP_MODE_ONLINE_V01 = 0, DMS_OP_MODE_LOW_POWER_V01 = 1 };

struct dms_get_device_serial_numbers_resp {
  qmi_response_type resp;
  uint8_t esn_valid;
  char esn[17];
  uint8_t imei_valid;
  char imei[33];
  uint8_t meid_valid;
  char meid[33];
  uint8_t imeisv_svn_valid;
  char imeisv_svn[256];
};

struct dms_get_operating_mode_resp {
  qmi_response_type resp;
  uint8_t operating_mode_valid;
  uint32_t operating_mode;  // 0 online, 1 low power, 2 factory test, 3 offline, 4 reset, 5 shutting down, 6 persistent
                            // low power
  uint8_t offline_reason_valid;
  uint16_t offline_reason;
  uint8_t hardware_controlled_mode_valid;
  uint8_t hardware_controlled_mode;
};

struct dms_set_operating_mode_req {
  uint32_t operating_mode;
};

struct dms_get_model_resp {
  qmi_response_type resp;
  uint32_t model_len;
  char model[32];  // not terminated
};

struct dms_get_firmware_version_resp {
  qmi_response_type resp;
  char version[256];
};
