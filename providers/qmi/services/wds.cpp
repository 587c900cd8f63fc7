#include "providers/qmi/services/wds.h"

namespace vek::qmi {
namespace {

constexpr Field kVerboseEndReason[] = {
    FIELD(u16, wds_verbose_end_reason, type),
    FIELD(i16, wds_verbose_end_reason, reason),
};

constexpr Tlv kStartNetworkInterfaceReq[] = {
    OPTIONAL_TLV(0x14, text, wds_start_network_interface_req, apn_name),
    OPTIONAL_TLV(0x16, u8, wds_start_network_interface_req, authentication_preference),
    OPTIONAL_TLV(0x17, text, wds_start_network_interface_req, username),
    OPTIONAL_TLV(0x18, text, wds_start_network_interface_req, password),
    OPTIONAL_TLV(0x19, u8, wds_start_network_interface_req, ip_family),
    OPTIONAL_TLV(0x31, u8, wds_start_network_interface_req, profile_index),
};

constexpr Tlv kStartNetworkInterfaceResp[] = {
    RESULT_TLV(wds_start_network_interface_resp),
    MANDATORY_TLV(0x01, u32, wds_start_network_interface_resp, pkt_data_handle),
    OPTIONAL_TLV(0x10, u16, wds_start_network_interface_resp, call_end_reason),
    OPTIONAL_TLV(0x11, record(kVerboseEndReason), wds_start_network_interface_resp, verbose_call_end_reason),
};

constexpr Tlv kStopNetworkInterfaceReq[] = {
    MANDATORY_TLV(0x01, u32, wds_stop_network_interface_req, pkt_data_handle),
};

constexpr Tlv kGetPktSrvcStatusResp[] = {
    RESULT_TLV(wds_get_pkt_srvc_status_resp),
    MANDATORY_TLV(0x01, u8, wds_get_pkt_srvc_status_resp, connection_status),
};

constexpr Field kPktSrvcStatus[] = {
    FIELD(u8, wds_pkt_srvc_status, connection_status),
    FIELD(u8, wds_pkt_srvc_status, reconfiguration_required),
};

constexpr Tlv kPktSrvcStatusInd[] = {
    MANDATORY_TLV(0x01, record(kPktSrvcStatus), wds_pkt_srvc_status_ind, status),
    OPTIONAL_TLV(0x10, u16, wds_pkt_srvc_status_ind, call_end_reason),
    OPTIONAL_TLV(0x11, record(kVerboseEndReason), wds_pkt_srvc_status_ind, verbose_call_end_reason),
    OPTIONAL_TLV(0x12, u8, wds_pkt_srvc_status_ind, ip_family),
};

constexpr Field kProfileId[] = {
    FIELD(u8, wds_profile_id, profile_type),
    FIELD(u8, wds_profile_id, profile_index),
};

#define PROFILE_TLVS(type)                                                                                           \
  OPTIONAL_TLV(0x10, text, type, profile.profile_name), OPTIONAL_TLV(0x11, u8, type, profile.pdp_type),              \
      OPTIONAL_TLV(0x14, text, type, profile.apn_name), OPTIONAL_TLV(0x1B, text, type, profile.username),            \
      OPTIONAL_TLV(0x1C, text, type, profile.password),                                                              \
      OPTIONAL_TLV(0x1D, u8, type, profile.authentication_preference),                                               \
      OPTIONAL_TLV(0x25, u8, type, profile.context_number), OPTIONAL_TLV(0x2F, u8, type, profile.apn_disabled_flag), \
      OPTIONAL_TLV(0x3E, u8, type, profile.roaming_disallowed_flag),                                                 \
      OPTIONAL_TLV(0xDD, u64, type, profile.apn_type_mask)

constexpr Tlv kCreateProfileReq[] = {
    MANDATORY_TLV(0x01, u8, wds_create_profile_req, profile_type),
    PROFILE_TLVS(wds_create_profile_req),
};
constexpr Tlv kCreateProfileResp[] = {
    RESULT_TLV(wds_create_profile_resp),
    MANDATORY_TLV(0x01, record(kProfileId), wds_create_profile_resp, profile),
    OPTIONAL_TLV(0xE0, u16, wds_create_profile_resp, extended_error_code),
};

constexpr Tlv kModifyProfileSettingsReq[] = {
    MANDATORY_TLV(0x01, record(kProfileId), wds_modify_profile_settings_req, id),
    PROFILE_TLVS(wds_modify_profile_settings_req),
};
constexpr Tlv kModifyProfileSettingsResp[] = {
    RESULT_TLV(wds_modify_profile_settings_resp),
    OPTIONAL_TLV(0xE0, u16, wds_modify_profile_settings_resp, extended_error_code),
};

constexpr Tlv kDeleteProfileReq[] = {MANDATORY_TLV(0x01, record(kProfileId), wds_delete_profile_req, id)};

constexpr Field kProfileEntry[] = {
    FIELD(record(kProfileId), wds_profile_entry, id),
    FIELD(text8, wds_profile_entry, profile_name),
};
constexpr Tlv kGetProfileListReq[] = {OPTIONAL_TLV(0x10, u8, wds_get_profile_list_req, profile_type)};
constexpr Tlv kGetProfileListResp[] = {
    RESULT_TLV(wds_get_profile_list_resp),
    MANDATORY_TLV(0x01, list8(record(kProfileEntry)), wds_get_profile_list_resp, profile_list),
};

constexpr Tlv kGetProfileSettingsReq[] = {
    MANDATORY_TLV(0x01, record(kProfileId), wds_get_profile_settings_req, id),
};
constexpr Tlv kGetProfileSettingsResp[] = {
    RESULT_TLV(wds_get_profile_settings_resp),
    PROFILE_TLVS(wds_get_profile_settings_resp),
    OPTIONAL_TLV(0xE0, u16, wds_get_profile_settings_resp, extended_error_code),
};

#undef PROFILE_TLVS

constexpr Field kIpv6Prefix[] = {
    FIELD(bytes, wds_ipv6_prefix, address),
    FIELD(u8, wds_ipv6_prefix, prefix_length),
};

constexpr Tlv kGetRuntimeSettingsReq[] = {
    OPTIONAL_TLV(0x10, u32, wds_get_runtime_settings_req, requested_settings),
};
constexpr Tlv kGetRuntimeSettingsResp[] = {
    RESULT_TLV(wds_get_runtime_settings_resp),
    OPTIONAL_TLV(0x11, u8, wds_get_runtime_settings_resp, pdp_type),
    OPTIONAL_TLV(0x14, text, wds_get_runtime_settings_resp, apn_name),
    OPTIONAL_TLV(0x15, u32, wds_get_runtime_settings_resp, primary_dns),
    OPTIONAL_TLV(0x16, u32, wds_get_runtime_settings_resp, secondary_dns),
    OPTIONAL_TLV(0x1E, u32, wds_get_runtime_settings_resp, ipv4_address),
    OPTIONAL_TLV(0x1F, record(kProfileId), wds_get_runtime_settings_resp, profile_id),
    OPTIONAL_TLV(0x20, u32, wds_get_runtime_settings_resp, ipv4_gateway),
    OPTIONAL_TLV(0x21, u32, wds_get_runtime_settings_resp, ipv4_subnet_mask),
    OPTIONAL_TLV(0x25, record(kIpv6Prefix), wds_get_runtime_settings_resp, ipv6_address),
    OPTIONAL_TLV(0x26, record(kIpv6Prefix), wds_get_runtime_settings_resp, ipv6_gateway),
    OPTIONAL_TLV(0x27, bytes, wds_get_runtime_settings_resp, ipv6_primary_dns),
    OPTIONAL_TLV(0x28, bytes, wds_get_runtime_settings_resp, ipv6_secondary_dns),
    OPTIONAL_TLV(0x29, u32, wds_get_runtime_settings_resp, mtu),
    OPTIONAL_TLV(0x2B, u8, wds_get_runtime_settings_resp, ip_family),
};

constexpr Tlv kSetClientIpFamilyPrefReq[] = {
    MANDATORY_TLV(0x01, u8, wds_set_client_ip_family_pref_req, ip_preference),
};

constexpr Tlv kSetLteAttachPdnListReq[] = {
    MANDATORY_TLV(0x01, list8(u16), wds_set_lte_attach_pdn_list_req, attach_pdn_list),
    OPTIONAL_TLV(0x10, u32, wds_set_lte_attach_pdn_list_req, action),
};
constexpr Tlv kSetLteAttachPdnListInd[] = {
    RESULT_TLV(wds_set_lte_attach_pdn_list_ind),
    MANDATORY_TLV(0x01, u8, wds_set_lte_attach_pdn_list_ind, success),
};
constexpr Tlv kGetLteAttachPdnListResp[] = {
    RESULT_TLV(wds_get_lte_attach_pdn_list_resp),
    OPTIONAL_TLV(0x10, list8(u16), wds_get_lte_attach_pdn_list_resp, attach_pdn_list),
    OPTIONAL_TLV(0x11, list8(u16), wds_get_lte_attach_pdn_list_resp, pending_attach_pdn_list),
};

constexpr Field kEndpoint[] = {FIELD(u32, wds_endpoint, ep_type), FIELD(u32, wds_endpoint, iface_id)};
constexpr Tlv kBindMuxDataPortReq[] = {
    OPTIONAL_TLV(0x10, record(kEndpoint), wds_bind_mux_data_port_req, ep_id),
    OPTIONAL_TLV(0x11, u8, wds_bind_mux_data_port_req, mux_id),
};

constexpr Message kMessages[] = {
    MESSAGE(request, 0x20, "WDS_START_NETWORK_INTERFACE", wds_start_network_interface_req, kStartNetworkInterfaceReq),
    MESSAGE(response, 0x20, "WDS_START_NETWORK_INTERFACE", wds_start_network_interface_resp,
            kStartNetworkInterfaceResp),
    MESSAGE(request, 0x21, "WDS_STOP_NETWORK_INTERFACE", wds_stop_network_interface_req, kStopNetworkInterfaceReq),
    RESULT_RESPONSE(0x21, "WDS_STOP_NETWORK_INTERFACE"),
    EMPTY_REQUEST(0x22, "WDS_GET_PKT_SRVC_STATUS"),
    MESSAGE(response, 0x22, "WDS_GET_PKT_SRVC_STATUS", wds_get_pkt_srvc_status_resp, kGetPktSrvcStatusResp),
    MESSAGE(indication, 0x22, "WDS_PKT_SRVC_STATUS", wds_pkt_srvc_status_ind, kPktSrvcStatusInd),
    MESSAGE(request, 0x27, "WDS_CREATE_PROFILE", wds_create_profile_req, kCreateProfileReq),
    MESSAGE(response, 0x27, "WDS_CREATE_PROFILE", wds_create_profile_resp, kCreateProfileResp),
    MESSAGE(request, 0x28, "WDS_MODIFY_PROFILE_SETTINGS", wds_modify_profile_settings_req, kModifyProfileSettingsReq),
    MESSAGE(response, 0x28, "WDS_MODIFY_PROFILE_SETTINGS", wds_modify_profile_settings_resp,
            kModifyProfileSettingsResp),
    MESSAGE(request, 0x29, "WDS_DELETE_PROFILE", wds_delete_profile_req, kDeleteProfileReq),
    RESULT_RESPONSE(0x29, "WDS_DELETE_PROFILE"),
    MESSAGE(request, 0x2A, "WDS_GET_PROFILE_LIST", wds_get_profile_list_req, kGetProfileListReq),
    MESSAGE(response, 0x2A, "WDS_GET_PROFILE_LIST", wds_get_profile_list_resp, kGetProfileListResp),
    MESSAGE(request, 0x2B, "WDS_GET_PROFILE_SETTINGS", wds_get_profile_settings_req, kGetProfileSettingsReq),
    MESSAGE(response, 0x2B, "WDS_GET_PROFILE_SETTINGS", wds_get_profile_settings_resp, kGetProfileSettingsResp),
    MESSAGE(request, 0x2D, "WDS_GET_RUNTIME_SETTINGS", wds_get_runtime_settings_req, kGetRuntimeSettingsReq),
    MESSAGE(response, 0x2D, "WDS_GET_RUNTIME_SETTINGS", wds_get_runtime_settings_resp, kGetRuntimeSettingsResp),
    MESSAGE(request, 0x4D, "WDS_SET_CLIENT_IP_FAMILY_PREF", wds_set_client_ip_family_pref_req,
            kSetClientIpFamilyPrefReq),
    RESULT_RESPONSE(0x4D, "WDS_SET_CLIENT_IP_FAMILY_PREF"),
    MESSAGE(request, 0x93, "WDS_SET_LTE_ATTACH_PDN_LIST", wds_set_lte_attach_pdn_list_req, kSetLteAttachPdnListReq),
    RESULT_RESPONSE(0x93, "WDS_SET_LTE_ATTACH_PDN_LIST"),
    MESSAGE(indication, 0x93, "WDS_SET_LTE_ATTACH_PDN_LIST", wds_set_lte_attach_pdn_list_ind, kSetLteAttachPdnListInd),
    EMPTY_REQUEST(0x94, "WDS_GET_LTE_ATTACH_PDN_LIST"),
    MESSAGE(response, 0x94, "WDS_GET_LTE_ATTACH_PDN_LIST", wds_get_lte_attach_pdn_list_resp, kGetLteAttachPdnListResp),
    MESSAGE(request, 0xA2, "WDS_BIND_MUX_DATA_PORT", wds_bind_mux_data_port_req, kBindMuxDataPortReq),
    RESULT_RESPONSE(0xA2, "WDS_BIND_MUX_DATA_PORT"),
};

constexpr qmi_idl_service_object kService = service(0x01, "WDS", 1, kMessages);

}  // namespace
}  // namespace vek::qmi

qmi_idl_service_object_type wds_get_service_object_internal_v01(int32_t major, int32_t, int32_t) {
  return major == vek::qmi::kService.major ? &vek::qmi::kService : nullptr;
}
