// UIM, the SIM: cards, slots, PINs and files.
#pragma once

#include "providers/qmi/services/common.h"

enum : unsigned {
  QMI_UIM_READ_TRANSPARENT_REQ_V01 = 0x20,
  QMI_UIM_VERIFY_PIN_REQ_V01 = 0x26,
  QMI_UIM_EVENT_REG_REQ_V01 = 0x2E,
  QMI_UIM_GET_CARD_STATUS_REQ_V01 = 0x2F,
  QMI_UIM_POWER_DOWN_REQ_V01 = 0x30,
  QMI_UIM_POWER_UP_REQ_V01 = 0x31,
  QMI_UIM_STATUS_CHANGE_IND_V01 = 0x32,
  QMI_UIM_SWITCH_SLOT_REQ_V01 = 0x46,
  QMI_UIM_GET_SLOTS_STATUS_REQ_V01 = 0x47,
  QMI_UIM_SLOT_STATUS_CHANGE_IND_V01 = 0x48,
};

enum : uint32_t { UIM_SESSION_TYPE_PRIMARY_GW_V01 = 0 };
enum : uint32_t { UIM_PIN_ID_PIN_1_V01 = 1, UIM_PIN_ID_PIN_2_V01 = 2, UIM_PIN_ID_UPIN_V01 = 3 };
enum : uint32_t { UIM_EVENT_CARD_STATUS_V01 = 1 << 0, UIM_EVENT_PHYSICAL_SLOT_STATUS_V01 = 1 << 4 };
enum : uint32_t { UIM_CARD_STATE_ABSENT_V01 = 0, UIM_CARD_STATE_PRESENT_V01 = 1, UIM_CARD_STATE_ERROR_V01 = 2 };
enum : uint32_t { UIM_APP_TYPE_SIM_V01 = 1, UIM_APP_TYPE_USIM_V01 = 2, UIM_APP_TYPE_ISIM_V01 = 5 };
enum : uint32_t {
  UIM_APP_STATE_UNKNOWN_V01 = 0,
  UIM_APP_STATE_DETECTED_V01 = 1,
  UIM_APP_STATE_PIN1_OR_UPIN_REQ_V01 = 2,
  UIM_APP_STATE_PUK1_OR_PUK_REQ_V01 = 3,
  UIM_APP_STATE_READY_V01 = 7,
};
enum : uint32_t { UIM_HOT_SWAP_CARD_PRESENT_V01 = 2, UIM_HOT_SWAP_NO_CARD_V01 = 3 };
enum : uint32_t {
  UIM_PHYSICAL_CARD_STATE_UNKNOWN_V01 = 0,
  UIM_PHYSICAL_CARD_STATE_ABSENT_V01 = 1,
  UIM_PHYSICAL_CARD_STATE_PRESENT_V01 = 2,
};
enum : uint32_t { UIM_PHYSICAL_SLOT_STATE_INACTIVE_V01 = 0, UIM_PHYSICAL_SLOT_STATE_ACTIVE_V01 = 1 };
enum : uint32_t { UIM_CARD_PROTOCOL_UICC_V01 = 2 };

// Whose files and PINs a request is about: a session, and an application where the session leaves it open.
struct uim_session_information {
  uint32_t session_type;
  uint32_t aid_len;
  uint8_t aid[32];
};

// The status words that the card answered with.
struct uim_card_result {
  uint8_t sw1;
  uint8_t sw2;
};

struct uim_file_id {
  uint16_t file_id;
  uint32_t path_len;
  uint8_t path[10];  // file ids, low byte first
};

struct uim_read_range {
  uint16_t offset;
  uint16_t length;  // 0: to the end of the file
};

struct uim_read_transparent_req {
  uim_session_information session_information;
  uim_file_id file_id;
  uim_read_range read_transparent;
};

// Longer contents do not fit: they count as absent.
struct uim_read_result {
  uint32_t content_len;
  uint8_t content[255];
};

struct uim_read_transparent_resp {
  qmi_response_type resp;
  uint8_t card_result_valid;
  uim_card_result card_result;
  uint8_t read_result_valid;
  uim_read_result read_result;
};

struct uim_verify_pin {
  uint32_t pin_id;
  char pin_value[9];
};

struct uim_verify_pin_req {
  uim_session_information session_information;
  uim_verify_pin verify_pin;
};

struct uim_retries_left {
  uint8_t verify_left;
  uint8_t unblock_left;
};

struct uim_verify_pin_resp {
  qmi_response_type resp;
  uint8_t retries_left_valid;
  uim_retries_left retries_left;
  uint8_t card_result_valid;
  uim_card_result card_result;
};

struct uim_event_reg_req {
  uint32_t event_mask;
};

struct uim_event_reg_resp {
  qmi_response_type resp;
  uint8_t event_mask_valid;
  uint32_t event_mask;
};

struct uim_pin_info {
  uint32_t pin_state;
  uint8_t pin_retries;
  uint8_t puk_retries;
};

struct uim_app_info {
  uint32_t app_type;
  uint32_t app_state;
  uint32_t perso_state;
  uint32_t perso_feature;
  uint8_t perso_retries;
  uint8_t perso_unblock_retries;
  uint32_t aid_len;
  uint8_t aid[32];
  uint8_t univ_pin;  // the universal PIN stands in for PIN1
  uim_pin_info pin1;
  uim_pin_info pin2;
};

struct uim_card_info {
  uint32_t card_state;
  uim_pin_info upin;
  uint32_t error_code;
  uint32_t app_info_len;
  uim_app_info app_info[8];
};

// A card for each logical slot, and which of their applications each session uses: the slot's index above the
// application's, each a byte, or 0xFFFF.
struct uim_card_status {
  uint16_t index_gw_pri;
  uint16_t index_1x_pri;
  uint16_t index_gw_sec;
  uint16_t index_1x_sec;
  uint32_t card_info_len;
  uim_card_info card_info[5];
};

struct uim_get_card_status_resp {
  qmi_response_type resp;
  uint8_t card_status_valid;
  uim_card_status card_status;
  uint8_t hot_swap_valid;
  uint32_t hot_swap_len;  // a value for each slot: what its card-detect line says
  uint32_t hot_swap[5];
};

struct uim_status_change_ind {
  uint8_t card_status_valid;
  uim_card_status card_status;
};

struct uim_slot_req {
  uint8_t slot;  // from 1
};

struct uim_switch_slot_req {
  uint8_t logical_slot;
  uint32_t physical_slot;
};

struct uim_physical_slot_status {
  uint32_t physical_card_status;
  uint32_t physical_slot_state;
  uint8_t logical_slot;
  uint32_t iccid_len;
  uint8_t iccid[10];
};

struct uim_physical_slot_information {
  uint32_t card_protocol;
  uint8_t num_app;
  uint32_t atr_len;
  uint8_t atr[33];
  uint8_t is_euicc;
};

struct uim_slot_eid {
  uint32_t eid_len;
  uint8_t eid[16];
};

// The three lists run in the order of the physical slots.
struct uim_slots {
  uint8_t physical_slot_status_valid;
  uint32_t physical_slot_status_len;
  uim_physical_slot_status physical_slot_status[5];
  uint8_t physical_slot_information_valid;
  uint32_t physical_slot_information_len;
  uim_physical_slot_information physical_slot_information[5];
  uint8_t slot_eid_valid;
  uint32_t slot_eid_len;
  uim_slot_eid slot_eid[5];
};

struct uim_get_slots_status_resp {
  qmi_response_type resp;
  uim_slots slots;
};

struct uim_slot_status_change_ind {
  uim_slots slots;
};
