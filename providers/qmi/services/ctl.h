// CTL, the control service: client ids, and the message that a proxy answers itself. Its header is shorter than the
// others' (codec/frame.h), its client id is always 0, and it is nobody's service object but the transport's and the
// modem's.
#pragma once

#include "providers/qmi/services/common.h"

enum : unsigned {
  QMI_CTL_GET_VERSION_INFO = 0x21,
  QMI_CTL_ALLOCATE_CID = 0x22,
  QMI_CTL_RELEASE_CID = 0x23,
  QMI_CTL_SET_DATA_FORMAT = 0x26,
  QMI_CTL_SYNC = 0x27,  // as an indication: the modem has restarted, every client id is void
  QMI_CTL_INTERNAL_PROXY_OPEN = 0xFF00,
};

struct ctl_service_version {
  uint8_t service;
  uint16_t major;
  uint16_t minor;
};

struct ctl_get_version_info_resp {
  qmi_response_type resp;
  uint32_t services_len;
  ctl_service_version services[32];
};

struct ctl_allocate_cid_req {
  uint8_t service;
};

struct ctl_client_id {
  uint8_t service;
  uint8_t cid;
};

struct ctl_allocate_cid_resp {
  qmi_response_type resp;
  ctl_client_id allocation;
};

struct ctl_release_cid_req {
  ctl_client_id release;
};

struct ctl_release_cid_resp {
  qmi_response_type resp;
  ctl_client_id release;
};

struct ctl_set_data_format_req {
  uint8_t format;  // 0: no quality-of-service header
  uint8_t protocol_valid;
  uint16_t protocol;  // 1 802.3, 2 raw IP
};

struct ctl_set_data_format_resp {
  qmi_response_type resp;
  uint8_t protocol_valid;
  uint16_t protocol;
};

struct ctl_internal_proxy_open_req {
  char device_path[108];
};

qmi_idl_service_object_type ctl_get_service_object();
