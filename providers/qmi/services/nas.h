// NAS, network access: registration, signal, the serving cell.
#pragma once

#include "providers/qmi/services/common.h"

enum : unsigned {
  QMI_NAS_INDICATION_REGISTER_REQ_MSG_V01 = 0x03,
  QMI_NAS_INITIATE_ATTACH_REQ_MSG_V01 = 0x23,
  QMI_NAS_GET_SERVING_SYSTEM_REQ_MSG_V01 = 0x24,
  QMI_NAS_SERVING_SYSTEM_IND_MSG_V01 = 0x24,
  QMI_NAS_GET_SYS_INFO_REQ_MSG_V01 = 0x4D,
  QMI_NAS_SYS_INFO_IND_MSG_V01 = 0x4E,
  QMI_NAS_GET_SIG_INFO_REQ_MSG_V01 = 0x4F,
  QMI_NAS_SIG_INFO_IND_MSG_V01 = 0x51,
};

enum : uint32_t {
  NAS_NOT_REGISTERED_V01 = 0,
  NAS_REGISTERED_V01 = 1,
  NAS_NOT_REGISTERED_SEARCHING_V01 = 2,
  NAS_REGISTRATION_DENIED_V01 = 3,
  NAS_REGISTRATION_UNKNOWN_V01 = 4,

  NAS_ATTACH_UNKNOWN_V01 = 0,
  NAS_ATTACHED_V01 = 1,
  NAS_DETACHED_V01 = 2,

  NAS_ROAMING_IND_ON_V01 = 0,  // here; the system information has it the other way round
  NAS_ROAMING_IND_OFF_V01 = 1,

  NAS_PS_ATTACH_V01 = 1,
  NAS_PS_DETACH_V01 = 2,

  NAS_NETWORK_3GPP_V01 = 2,

  NAS_SERVICE_NONE_V01 = 0,
  NAS_SERVICE_AVAILABLE_V01 = 2,
  NAS_DOMAIN_CS_PS_V01 = 3,
};

enum : int8_t {
  NAS_RADIO_IF_GSM_V01 = 4,
  NAS_RADIO_IF_UMTS_V01 = 5,
  NAS_RADIO_IF_LTE_V01 = 8,
  NAS_RADIO_IF_NR5G_V01 = 12,
};

struct nas_indication_register_req {
  uint8_t reg_serving_system_valid;
  uint8_t reg_serving_system;
  uint8_t reg_sys_info_valid;
  uint8_t reg_sys_info;
  uint8_t reg_sig_info_valid;
  uint8_t reg_sig_info;
};

struct nas_initiate_attach_req {
  uint8_t ps_attach_action_valid;
  uint32_t ps_attach_action;
};

struct nas_serving_system {
  uint32_t registration_state;
  uint32_t cs_attach_state;
  uint32_t ps_attach_state;
  uint32_t selected_network;
  uint32_t radio_if_len;
  int8_t radio_if[32];
};

struct nas_plmn {
  uint16_t mobile_country_code;
  uint16_t mobile_network_code;
  char network_description[128];
};

struct nas_roaming_entry {
  int8_t radio_if;
  uint8_t roaming_indicator;
};

struct nas_detailed_service_info {
  uint8_t srv_status;
  uint8_t srv_capability;
  uint8_t hdr_srv_status;
  uint8_t hdr_hybrid;
  uint8_t is_sys_forbidden;
};

struct nas_mnc_pcs_digit {
  uint16_t mcc;
  uint16_t mnc;
  uint8_t mnc_includes_pcs_digit;  // the MNC has three digits
};

struct nas_get_serving_system_resp {
  qmi_response_type resp;
  nas_serving_system serving_system;
  uint8_t roaming_indicator_valid;
  uint8_t roaming_indicator;
  uint8_t data_capabilities_valid;
  uint32_t data_capabilities_len;
  uint8_t data_capabilities[10];
  uint8_t current_plmn_valid;
  nas_plmn current_plmn;
  uint8_t roaming_indicator_list_valid;
  uint32_t roaming_indicator_list_len;
  nas_roaming_entry roaming_indicator_list[10];
  uint8_t lac_valid;
  uint16_t lac;
  uint8_t cell_id_valid;
  uint32_t cell_id;
  uint8_t detailed_service_info_valid;
  nas_detailed_service_info detailed_service_info;
  uint8_t tac_valid;
  uint16_t tac;
  uint8_t mnc_includes_pcs_digit_valid;
  nas_mnc_pcs_digit mnc_includes_pcs_digit;
};

// Numbered otherwise than the response from the area code on.
struct nas_serving_system_ind {
  nas_serving_system serving_system;
  uint8_t roaming_indicator_valid;
  uint8_t roaming_indicator;
  uint8_t current_plmn_valid;
  nas_plmn current_plmn;
  uint8_t lac_valid;
  uint16_t lac;
  uint8_t cell_id_valid;
  uint32_t cell_id;
  uint8_t tac_valid;
  uint16_t tac;
  uint8_t mnc_includes_pcs_digit_valid;
  nas_mnc_pcs_digit mnc_includes_pcs_digit;
};

struct nas_service_status {
  uint8_t srv_status;
  uint8_t true_srv_status;
  uint8_t is_pref_data_path;
};

// What the information of every technology begins with. Absent members are there, as 0.
struct nas_common_sys_info {
  uint8_t srv_domain_valid;
  uint8_t srv_domain;
  uint8_t srv_capability_valid;
  uint8_t srv_capability;
  uint8_t roam_status_valid;
  uint8_t roam_status;  // 0 off, 1 on
  uint8_t is_sys_forbidden_valid;
  uint8_t is_sys_forbidden;
  uint8_t lac_valid;
  uint16_t lac;
  uint8_t cell_id_valid;
  uint32_t cell_id;
  uint8_t reg_reject_info_valid;
  uint8_t reject_srv_domain;
  uint8_t rej_cause;
  uint8_t network_id_valid;
  uint8_t mcc[3];
  uint8_t mnc[3];  // digits; a two-digit code ends with 0xFF
};

struct nas_gsm_sys_info {
  nas_common_sys_info common;
  uint8_t egprs_supp_valid;
  uint8_t egprs_supp;
  uint8_t dtm_supp_valid;
  uint8_t dtm_supp;
};

struct nas_wcdma_sys_info {
  nas_common_sys_info common;
  uint8_t hs_call_status_valid;
  uint8_t hs_call_status;
  uint8_t hs_ind_valid;
  uint8_t hs_ind;
  uint8_t psc_valid;
  uint16_t psc;
};

struct nas_lte_sys_info {  // NR5G too
  nas_common_sys_info common;
  uint8_t tac_valid;
  uint16_t tac;
};

struct nas_sys_info {
  uint8_t gsm_srv_status_info_valid;
  nas_service_status gsm_srv_status_info;
  uint8_t wcdma_srv_status_info_valid;
  nas_service_status wcdma_srv_status_info;
  uint8_t lte_srv_status_info_valid;
  nas_service_status lte_srv_status_info;
  uint8_t nr5g_srv_status_info_valid;
  nas_service_status nr5g_srv_status_info;
  uint8_t gsm_sys_info_valid;
  nas_gsm_sys_info gsm_sys_info;
  uint8_t wcdma_sys_info_valid;
  nas_wcdma_sys_info wcdma_sys_info;
  uint8_t lte_sys_info_valid;
  nas_lte_sys_info lte_sys_info;
  uint8_t nr5g_sys_info_valid;
  nas_lte_sys_info nr5g_sys_info;
};

struct nas_get_sys_info_resp {
  qmi_response_type resp;
  nas_sys_info info;
};

struct nas_sys_info_ind {
  nas_sys_info info;
};

struct nas_cdma_signal {
  int8_t rssi;
  int16_t ecio;
};

struct nas_lte_signal {
  int8_t rssi;
  int8_t rsrq;
  int16_t rsrp;
  int16_t snr;  // in 0.1 dB
};

struct nas_tdscdma_signal {
  float rssi;
  float rscp;
  float ecio;
  float sinr;
};

struct nas_nr5g_signal {
  int16_t rsrp;
  int16_t snr;
};

struct nas_signal {
  uint8_t cdma_sig_info_valid;
  nas_cdma_signal cdma_sig_info;
  uint8_t gsm_sig_info_valid;
  int8_t gsm_sig_info;
  uint8_t wcdma_sig_info_valid;
  nas_cdma_signal wcdma_sig_info;
  uint8_t lte_sig_info_valid;
  nas_lte_signal lte_sig_info;
  uint8_t tdscdma_sig_info_valid;
  nas_tdscdma_signal tdscdma_sig_info;
  uint8_t nr5g_sig_info_valid;
  nas_nr5g_signal nr5g_sig_info;
};

struct nas_get_sig_info_resp {
  qmi_response_type resp;
  nas_signal signal;
};

struct nas_sig_info_ind {
  nas_signal signal;
};
