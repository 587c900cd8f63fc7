// WDS, wireless data: profiles, sessions and their addresses. IPv4 addresses are numbers whose highest byte is the
// first octet; IPv6 addresses are 16 bytes in network order.
#pragma once

#include "providers/qmi/services/common.h"

enum : unsigned {
  QMI_WDS_START_NETWORK_INTERFACE_REQ_V01 = 0x20,
  QMI_WDS_STOP_NETWORK_INTERFACE_REQ_V01 = 0x21,
  QMI_WDS_GET_PKT_SRVC_STATUS_REQ_V01 = 0x22,
  QMI_WDS_PKT_SRVC_STATUS_IND_V01 = 0x22,
  QMI_WDS_CREATE_PROFILE_REQ_V01 = 0x27,
  QMI_WDS_MODIFY_PROFILE_SETTINGS_REQ_V01 = 0x28,
  QMI_WDS_DELETE_PROFILE_REQ_V01 = 0x29,
  QMI_WDS_GET_PROFILE_LIST_REQ_V01 = 0x2A,
  QMI_WDS_GET_PROFILE_SETTINGS_REQ_V01 = 0x2B,
  QMI_WDS_GET_RUNTIME_SETTINGS_REQ_V01 = 0x2D,
  QMI_WDS_SET_CLIENT_IP_FAMILY_PREF_REQ_V01 = 0x4D,
  QMI_WDS_SET_LTE_ATTACH_PDN_LIST_REQ_V01 = 0x93,
  QMI_WDS_GET_LTE_ATTACH_PDN_LIST_REQ_V01 = 0x94,
  QMI_WDS_BIND_MUX_DATA_PORT_REQ_V01 = 0xA2,
};

enum : uint32_t {
  WDS_PROFILE_TYPE_3GPP_V01 = 0,

  WDS_PDP_TYPE_IPV4_V01 = 0,
  WDS_PDP_TYPE_PPP_V01 = 1,
  WDS_PDP_TYPE_IPV6_V01 = 2,
  WDS_PDP_TYPE_IPV4V6_V01 = 3,

  WDS_CONNECTION_STATUS_DISCONNECTED_V01 = 1,
  WDS_CONNECTION_STATUS_CONNECTED_V01 = 2,

  WDS_IP_FAMILY_IPV4_V01 = 4,
  WDS_IP_FAMILY_IPV6_V01 = 6,
  WDS_IP_FAMILY_UNSPECIFIED_V01 = 8,

  // Which runtime settings are wanted.
  WDS_SETTING_PROFILE_ID_V01 = 1u << 0,
  WDS_SETTING_PDP_TYPE_V01 = 1u << 2,
  WDS_SETTING_APN_V01 = 1u << 3,
  WDS_SETTING_DNS_V01 = 1u << 4,
  WDS_SETTING_IP_ADDRESS_V01 = 1u << 8,
  WDS_SETTING_GATEWAY_V01 = 1u << 9,
  WDS_SETTING_MTU_V01 = 1u << 13,
  WDS_SETTING_IP_FAMILY_V01 = 1u << 15,

  WDS_ATTACH_PDN_LIST_ACTION_DETACH_OR_PDN_DISCONNECT_V01 = 2,
};

struct wds_verbose_end_reason {
  uint16_t type;
  int16_t reason;
};

struct wds_start_network_interface_req {
  uint8_t apn_name_valid;
  char apn_name[128];
  uint8_t authentication_preference_valid;
  uint8_t authentication_preference;
  uint8_t username_valid;
  char username[128];
  uint8_t password_valid;
  char password[128];
  uint8_t ip_family_valid;
  uint8_t ip_family;
  uint8_t profile_index_valid;
  uint8_t profile_index;  // of a 3GPP profile
};

struct wds_start_network_interface_resp {
  qmi_response_type resp;
  uint32_t pkt_data_handle;
  uint8_t call_end_reason_valid;
  uint16_t call_end_reason;
  uint8_t verbose_call_end_reason_valid;
  wds_verbose_end_reason verbose_call_end_reason;
};

struct wds_stop_network_interface_req {
  uint32_t pkt_data_handle;
};

struct wds_get_pkt_srvc_status_resp {
  qmi_response_type resp;
  uint32_t connection_status;
};

struct wds_pkt_srvc_status {
  uint32_t connection_status;
  uint8_t reconfiguration_required;
};

struct wds_pkt_srvc_status_ind {
  wds_pkt_srvc_status status;
  uint8_t call_end_reason_valid;
  uint16_t call_end_reason;
  uint8_t verbose_call_end_reason_valid;
  wds_verbose_end_reason verbose_call_end_reason;
  uint8_t ip_family_valid;
  uint8_t ip_family;
};

struct wds_profile_id {
  uint8_t profile_type;
  uint8_t profile_index;
};

struct wds_profile_settings {
  uint8_t profile_name_valid;
  char profile_name[64];
  uint8_t pdp_type_valid;
  uint32_t pdp_type;
  uint8_t apn_name_valid;
  char apn_name[128];
  uint8_t username_valid;
  char username[128];
  uint8_t password_valid;
  char password[128];
  uint8_t authentication_preference_valid;
  uint32_t authentication_preference;  // bits: 1 PAP, 2 CHAP
  uint8_t context_number_valid;
  uint8_t context_number;
  uint8_t apn_disabled_flag_valid;
  uint8_t apn_disabled_flag;
  uint8_t roaming_disallowed_flag_valid;
  uint8_t roaming_disallowed_flag;
  uint8_t apn_type_mask_valid;
  uint64_t apn_type_mask;  // bits: 0 default, 1 IMS, 2 MMS
};

struct wds_create_profile_req {
  uint32_t profile_type;
  wds_profile_settings profile;
};

struct wds_create_profile_resp {
  qmi_response_type resp;
  wds_profile_id profile;
  uint8_t extended_error_code_valid;
  uint16_t extended_error_code;
};

struct wds_modify_profile_settings_req {
  wds_profile_id id;
  wds_profile_settings profile;
};

struct wds_modify_profile_settings_resp {
  qmi_response_type resp;
  uint8_t extended_error_code_valid;
  uint16_t extended_error_code;
};

struct wds_delete_profile_req {
  wds_profile_id id;
};

struct wds_get_profile_list_req {
  uint8_t profile_type_valid;
  uint32_t profile_type;
};

struct wds_profile_entry {
  wds_profile_id id;
  char profile_name[34];
};

struct wds_get_profile_list_resp {
  qmi_response_type resp;
  uint32_t profile_list_len;
  wds_profile_entry profile_list[255];
};

struct wds_get_profile_settings_req {
  wds_profile_id id;
};

struct wds_get_profile_settings_resp {
  qmi_response_type resp;
  wds_profile_settings profile;
  uint8_t extended_error_code_valid;
  uint16_t extended_error_code;
};

struct wds_get_runtime_settings_req {
  uint8_t requested_settings_valid;
  uint32_t requested_settings;
};

struct wds_ipv6_prefix {
  uint8_t address[16];
  uint8_t prefix_length;
};

struct wds_get_runtime_settings_resp {
  qmi_response_type resp;
  uint8_t pdp_type_valid;
  uint32_t pdp_type;
  uint8_t apn_name_valid;
  char apn_name[128];
  uint8_t primary_dns_valid;
  uint32_t primary_dns;
  uint8_t secondary_dns_valid;
  uint32_t secondary_dns;
  uint8_t ipv4_address_valid;
  uint32_t ipv4_address;
  uint8_t profile_id_valid;
  wds_profile_id profile_id;
  uint8_t ipv4_gateway_valid;
  uint32_t ipv4_gateway;
  uint8_t ipv4_subnet_mask_valid;
  uint32_t ipv4_subnet_mask;
  uint8_t ipv6_address_valid;
  wds_ipv6_prefix ipv6_address;
  uint8_t ipv6_gateway_valid;
  wds_ipv6_prefix ipv6_gateway;
  uint8_t ipv6_primary_dns_valid;
  uint8_t ipv6_primary_dns[16];
  uint8_t ipv6_secondary_dns_valid;
  uint8_t ipv6_secondary_dns[16];
  uint8_t mtu_valid;
  uint32_t mtu;
  uint8_t ip_family_valid;
  uint8_t ip_family;
};

struct wds_set_client_ip_family_pref_req {
  uint32_t ip_preference;
};

struct wds_set_lte_attach_pdn_list_req {
  uint32_t attach_pdn_list_len;
  uint16_t attach_pdn_list[24];
  uint8_t action_valid;
  uint32_t action;
};

struct wds_set_lte_attach_pdn_list_ind {
  qmi_response_type resp;  // wanted by older clients
  uint8_t success;
};

struct wds_get_lte_attach_pdn_list_resp {
  qmi_response_type resp;
  uint8_t attach_pdn_list_valid;
  uint32_t attach_pdn_list_len;
  uint16_t attach_pdn_list[24];
  uint8_t pending_attach_pdn_list_valid;
  uint32_t pending_attach_pdn_list_len;
  uint16_t pending_attach_pdn_list[24];
};

struct wds_endpoint {
  uint32_t ep_type;
  uint32_t iface_id;
};

struct wds_bind_mux_data_port_req {
  uint8_t ep_id_valid;
  wds_endpoint ep_id;
  uint8_t mux_id_valid;
  uint8_t mux_id;
};
