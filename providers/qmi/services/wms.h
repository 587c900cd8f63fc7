// WMS, short messages: their store and its events.
#pragma once

#include "providers/qmi/services/common.h"

enum : unsigned {
  QMI_WMS_SET_EVENT_REPORT_REQ_V01 = 0x01,
  QMI_WMS_EVENT_REPORT_IND_V01 = 0x01,
  QMI_WMS_RAW_READ_REQ_V01 = 0x22,
  QMI_WMS_DELETE_REQ_V01 = 0x24,
  QMI_WMS_LIST_MESSAGES_REQ_V01 = 0x31,
  QMI_WMS_SET_ROUTES_REQ_V01 = 0x32,
  QMI_WMS_GET_ROUTES_REQ_V01 = 0x33,
  QMI_WMS_MEMORY_FULL_IND_V01 = 0x3F,  // of this module's modem
};

enum : uint32_t { WMS_STORAGE_TYPE_UIM_V01 = 0, WMS_STORAGE_TYPE_NV_V01 = 1 };
enum : uint32_t { WMS_MESSAGE_MODE_CDMA_V01 = 0, WMS_MESSAGE_MODE_GW_V01 = 1 };
enum : uint32_t {
  WMS_TAG_TYPE_MT_READ_V01 = 0,
  WMS_TAG_TYPE_MT_NOT_READ_V01 = 1,
  WMS_TAG_TYPE_MO_SENT_V01 = 2,
  WMS_TAG_TYPE_MO_NOT_SENT_V01 = 3,
};
enum : uint32_t { WMS_FORMAT_CDMA_V01 = 0, WMS_FORMAT_GW_PP_V01 = 6 };
enum : uint32_t {
  WMS_RECEIPT_ACTION_DISCARD_V01 = 0,
  WMS_RECEIPT_ACTION_STORE_AND_NOTIFY_V01 = 1,
  WMS_RECEIPT_ACTION_TRANSFER_ONLY_V01 = 2,
  WMS_RECEIPT_ACTION_TRANSFER_AND_ACK_V01 = 3,
};

struct wms_set_event_report_req {
  uint8_t report_mt_message_valid;
  uint8_t report_mt_message;
};

struct wms_message_identification {
  uint32_t storage_type;
  uint32_t storage_index;
};

struct wms_transfer_route_mt_message {
  uint32_t ack_indicator;
  uint32_t transaction_id;
  uint32_t format;
  uint32_t data_len;
  uint8_t data[255];
};

struct wms_etws_message {
  uint32_t notification_type;
  uint32_t data_len;
  uint8_t data[1254];
};

struct wms_etws_plmn_info {
  uint16_t mobile_country_code;
  uint16_t mobile_network_code;
};

struct wms_event_report_ind {
  uint8_t mt_message_valid;
  wms_message_identification mt_message;
  uint8_t transfer_route_mt_message_valid;
  wms_transfer_route_mt_message transfer_route_mt_message;
  uint8_t message_mode_valid;
  uint32_t message_mode;
  uint8_t etws_message_valid;
  wms_etws_message etws_message;
  uint8_t etws_plmn_info_valid;
  wms_etws_plmn_info etws_plmn_info;
  uint8_t mt_message_smsc_address_valid;
  char mt_message_smsc_address[23];
  uint8_t sms_on_ims_valid;
  uint8_t sms_on_ims;
  uint8_t later_members[1680];  // of interface 1.35.6; nothing here reads them
};
static_assert(sizeof(wms_event_report_ind) == 3276);

struct wms_raw_read_req {
  wms_message_identification message;
  uint8_t message_mode_valid;
  uint32_t message_mode;
  uint8_t sms_on_ims_valid;
  uint8_t sms_on_ims;
};
static_assert(sizeof(wms_raw_read_req) == 20);

struct wms_raw_message_data {
  uint32_t tag_type;
  uint32_t format;
  uint32_t data_len;
  uint8_t data[255];
};

struct wms_raw_read_resp {
  qmi_response_type resp;
  wms_raw_message_data raw_message_data;
};
static_assert(sizeof(wms_raw_read_resp) == 276);

struct wms_delete_req {
  uint32_t storage_type;
  uint8_t index_valid;
  uint32_t index;
  uint8_t tag_type_valid;
  uint32_t tag_type;
  uint8_t message_mode_valid;
  uint32_t message_mode;
};
static_assert(sizeof(wms_delete_req) == 28);

struct wms_list_messages_req {
  uint32_t storage_type;
  uint8_t tag_type_valid;
  uint32_t tag_type;
  uint8_t message_mode_valid;
  uint32_t message_mode;
};

struct wms_message_tuple {
  uint32_t message_index;
  uint32_t tag_type;
};

struct wms_list_messages_resp {
  qmi_response_type resp;
  uint32_t message_tuple_len;
  wms_message_tuple message_tuple[255];
};

struct wms_route {
  uint32_t message_type;
  uint32_t message_class;
  uint32_t route_storage;
  uint32_t receipt_action;
};

struct wms_set_routes_req {
  uint32_t route_list_len;
  wms_route route_list[10];
  uint8_t transfer_ind_valid;
  uint32_t transfer_ind;
};

struct wms_get_routes_resp {
  qmi_response_type resp;
  uint32_t route_list_len;
  wms_route route_list[10];
  uint8_t transfer_ind_valid;
  uint32_t transfer_ind;
};

struct wms_memory_full_info {
  uint32_t storage_type;
  uint32_t message_mode;
};

struct wms_memory_full_ind {
  wms_memory_full_info memory_full_info;
};
static_assert(sizeof(wms_memory_full_ind) == 8);
