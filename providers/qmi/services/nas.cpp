#include "providers/qmi/services/nas.h"

namespace vek::qmi {
namespace {

constexpr Tlv kIndicationRegisterReq[] = {
    OPTIONAL_TLV(0x13, u8, nas_indication_register_req, reg_serving_system),
    OPTIONAL_TLV(0x18, u8, nas_indication_register_req, reg_sys_info),
    OPTIONAL_TLV(0x19, u8, nas_indication_register_req, reg_sig_info),
};

constexpr Tlv kInitiateAttachReq[] = {OPTIONAL_TLV(0x10, u8, nas_initiate_attach_req, ps_attach_action)};

constexpr Field kServingSystem[] = {
    FIELD(u8, nas_serving_system, registration_state), FIELD(u8, nas_serving_system, cs_attach_state),
    FIELD(u8, nas_serving_system, ps_attach_state),    FIELD(u8, nas_serving_system, selected_network),
    FIELD(list8(i8), nas_serving_system, radio_if),
};

constexpr Field kPlmn[] = {
    FIELD(u16, nas_plmn, mobile_country_code),
    FIELD(u16, nas_plmn, mobile_network_code),
    FIELD(text8, nas_plmn, network_description),
};

constexpr Field kRoamingEntry[] = {
    FIELD(i8, nas_roaming_entry, radio_if),
    FIELD(u8, nas_roaming_entry, roaming_indicator),
};

constexpr Field kDetailedServiceInfo[] = {
    FIELD(u8, nas_detailed_service_info, srv_status),       FIELD(u8, nas_detailed_service_info, srv_capability),
    FIELD(u8, nas_detailed_service_info, hdr_srv_status),   FIELD(u8, nas_detailed_service_info, hdr_hybrid),
    FIELD(u8, nas_detailed_service_info, is_sys_forbidden),
};

constexpr Field kMncPcsDigit[] = {
    FIELD(u16, nas_mnc_pcs_digit, mcc),
    FIELD(u16, nas_mnc_pcs_digit, mnc),
    FIELD(u8, nas_mnc_pcs_digit, mnc_includes_pcs_digit),
};

constexpr Tlv kGetServingSystemResp[] = {
    RESULT_TLV(nas_get_serving_system_resp),
    MANDATORY_TLV(0x01, record(kServingSystem), nas_get_serving_system_resp, serving_system),
    OPTIONAL_TLV(0x10, u8, nas_get_serving_system_resp, roaming_indicator),
    OPTIONAL_TLV(0x11, list8(u8), nas_get_serving_system_resp, data_capabilities),
    OPTIONAL_TLV(0x12, record(kPlmn), nas_get_serving_system_resp, current_plmn),
    OPTIONAL_TLV(0x15, list8(record(kRoamingEntry)), nas_get_serving_system_resp, roaming_indicator_list),
    OPTIONAL_TLV(0x1C, u16, nas_get_serving_system_resp, lac),
    OPTIONAL_TLV(0x1D, u32, nas_get_serving_system_resp, cell_id),
    OPTIONAL_TLV(0x21, record(kDetailedServiceInfo), nas_get_serving_system_resp, detailed_service_info),
    OPTIONAL_TLV(0x24, u16, nas_get_serving_system_resp, tac),
    OPTIONAL_TLV(0x27, record(kMncPcsDigit), nas_get_serving_system_resp, mnc_includes_pcs_digit),
};

constexpr Tlv kServingSystemInd[] = {
    MANDATORY_TLV(0x01, record(kServingSystem), nas_serving_system_ind, serving_system),
    OPTIONAL_TLV(0x10, u8, nas_serving_system_ind, roaming_indicator),
    OPTIONAL_TLV(0x12, record(kPlmn), nas_serving_system_ind, current_plmn),
    OPTIONAL_TLV(0x1D, u16, nas_serving_system_ind, lac),
    OPTIONAL_TLV(0x1E, u32, nas_serving_system_ind, cell_id),
    OPTIONAL_TLV(0x25, u16, nas_serving_system_ind, tac),
    OPTIONAL_TLV(0x29, record(kMncPcsDigit), nas_serving_system_ind, mnc_includes_pcs_digit),
};

constexpr Field kServiceStatus[] = {
    FIELD(u8, nas_service_status, srv_status),
    FIELD(u8, nas_service_status, true_srv_status),
    FIELD(u8, nas_service_status, is_pref_data_path),
};

constexpr Field kCommonSysInfo[] = {
    FIELD(u8, nas_common_sys_info, srv_domain_valid),
    FIELD(u8, nas_common_sys_info, srv_domain),
    FIELD(u8, nas_common_sys_info, srv_capability_valid),
    FIELD(u8, nas_common_sys_info, srv_capability),
    FIELD(u8, nas_common_sys_info, roam_status_valid),
    FIELD(u8, nas_common_sys_info, roam_status),
    FIELD(u8, nas_common_sys_info, is_sys_forbidden_valid),
    FIELD(u8, nas_common_sys_info, is_sys_forbidden),
    FIELD(u8, nas_common_sys_info, lac_valid),
    FIELD(u16, nas_common_sys_info, lac),
    FIELD(u8, nas_common_sys_info, cell_id_valid),
    FIELD(u32, nas_common_sys_info, cell_id),
    FIELD(u8, nas_common_sys_info, reg_reject_info_valid),
    FIELD(u8, nas_common_sys_info, reject_srv_domain),
    FIELD(u8, nas_common_sys_info, rej_cause),
    FIELD(u8, nas_common_sys_info, network_id_valid),
    FIELD(bytes, nas_common_sys_info, mcc),
    FIELD(bytes, nas_common_sys_info, mnc),
};

constexpr Field kGsmSysInfo[] = {
    FIELD(record(kCommonSysInfo), nas_gsm_sys_info, common),
    FIELD(u8, nas_gsm_sys_info, egprs_supp_valid),
    FIELD(u8, nas_gsm_sys_info, egprs_supp),
    FIELD(u8, nas_gsm_sys_info, dtm_supp_valid),
    FIELD(u8, nas_gsm_sys_info, dtm_supp),
};

constexpr Field kWcdmaSysInfo[] = {
    FIELD(record(kCommonSysInfo), nas_wcdma_sys_info, common),
    FIELD(u8, nas_wcdma_sys_info, hs_call_status_valid),
    FIELD(u8, nas_wcdma_sys_info, hs_call_status),
    FIELD(u8, nas_wcdma_sys_info, hs_ind_valid),
    FIELD(u8, nas_wcdma_sys_info, hs_ind),
    FIELD(u8, nas_wcdma_sys_info, psc_valid),
    FIELD(u16, nas_wcdma_sys_info, psc),
};

constexpr Field kLteSysInfo[] = {
    FIELD(record(kCommonSysInfo), nas_lte_sys_info, common),
    FIELD(u8, nas_lte_sys_info, tac_valid),
    FIELD(u16, nas_lte_sys_info, tac),
};

// The newest technology came after the indication's own members had taken its numbers.
#define SYS_INFO_TLVS(type, nr5g_status, nr5g_info)                                       \
  OPTIONAL_TLV(0x12, record(kServiceStatus), type, info.gsm_srv_status_info),             \
      OPTIONAL_TLV(0x13, record(kServiceStatus), type, info.wcdma_srv_status_info),       \
      OPTIONAL_TLV(0x14, record(kServiceStatus), type, info.lte_srv_status_info),         \
      OPTIONAL_TLV(0x17, record(kGsmSysInfo), type, info.gsm_sys_info),                   \
      OPTIONAL_TLV(0x18, record(kWcdmaSysInfo), type, info.wcdma_sys_info),               \
      OPTIONAL_TLV(0x19, record(kLteSysInfo), type, info.lte_sys_info),                   \
      OPTIONAL_TLV(nr5g_status, record(kServiceStatus), type, info.nr5g_srv_status_info), \
      OPTIONAL_TLV(nr5g_info, record(kLteSysInfo), type, info.nr5g_sys_info)

constexpr Tlv kGetSysInfoResp[] = {
    RESULT_TLV(nas_get_sys_info_resp),
    SYS_INFO_TLVS(nas_get_sys_info_resp, 0x4A, 0x4B),
};
constexpr Tlv kSysInfoInd[] = {SYS_INFO_TLVS(nas_sys_info_ind, 0x4C, 0x4D)};

#undef SYS_INFO_TLVS

constexpr Field kCdmaSignal[] = {FIELD(i8, nas_cdma_signal, rssi), FIELD(i16, nas_cdma_signal, ecio)};

constexpr Field kLteSignal[] = {
    FIELD(i8, nas_lte_signal, rssi),
    FIELD(i8, nas_lte_signal, rsrq),
    FIELD(i16, nas_lte_signal, rsrp),
    FIELD(i16, nas_lte_signal, snr),
};

constexpr Field kTdscdmaSignal[] = {
    FIELD(f32, nas_tdscdma_signal, rssi),
    FIELD(f32, nas_tdscdma_signal, rscp),
    FIELD(f32, nas_tdscdma_signal, ecio),
    FIELD(f32, nas_tdscdma_signal, sinr),
};

constexpr Field kNr5gSignal[] = {FIELD(i16, nas_nr5g_signal, rsrp), FIELD(i16, nas_nr5g_signal, snr)};

#define SIGNAL_TLVS(type)                                                        \
  OPTIONAL_TLV(0x10, record(kCdmaSignal), type, signal.cdma_sig_info),           \
      OPTIONAL_TLV(0x12, i8, type, signal.gsm_sig_info),                         \
      OPTIONAL_TLV(0x13, record(kCdmaSignal), type, signal.wcdma_sig_info),      \
      OPTIONAL_TLV(0x14, record(kLteSignal), type, signal.lte_sig_info),         \
      OPTIONAL_TLV(0x16, record(kTdscdmaSignal), type, signal.tdscdma_sig_info), \
      OPTIONAL_TLV(0x17, record(kNr5gSignal), type, signal.nr5g_sig_info)

constexpr Tlv kGetSigInfoResp[] = {RESULT_TLV(nas_get_sig_info_resp), SIGNAL_TLVS(nas_get_sig_info_resp)};
constexpr Tlv kSigInfoInd[] = {SIGNAL_TLVS(nas_sig_info_ind)};

#undef SIGNAL_TLVS

constexpr Message kMessages[] = {
    MESSAGE(request, 0x03, "NAS_INDICATION_REGISTER", nas_indication_register_req, kIndicationRegisterReq),
    RESULT_RESPONSE(0x03, "NAS_INDICATION_REGISTER"),
    MESSAGE(request, 0x23, "NAS_INITIATE_ATTACH", nas_initiate_attach_req, kInitiateAttachReq),
    RESULT_RESPONSE(0x23, "NAS_INITIATE_ATTACH"),
    EMPTY_REQUEST(0x24, "NAS_GET_SERVING_SYSTEM"),
    MESSAGE(response, 0x24, "NAS_GET_SERVING_SYSTEM", nas_get_serving_system_resp, kGetServingSystemResp),
    MESSAGE(indication, 0x24, "NAS_SERVING_SYSTEM", nas_serving_system_ind, kServingSystemInd),
    EMPTY_REQUEST(0x4D, "NAS_GET_SYS_INFO"),
    MESSAGE(response, 0x4D, "NAS_GET_SYS_INFO", nas_get_sys_info_resp, kGetSysInfoResp),
    MESSAGE(indication, 0x4E, "NAS_SYS_INFO", nas_sys_info_ind, kSysInfoInd),
    EMPTY_REQUEST(0x4F, "NAS_GET_SIG_INFO"),
    MESSAGE(response, 0x4F, "NAS_GET_SIG_INFO", nas_get_sig_info_resp, kGetSigInfoResp),
    MESSAGE(indication, 0x51, "NAS_SIG_INFO", nas_sig_info_ind, kSigInfoInd),
};

constexpr qmi_idl_service_object kService = service(0x03, "NAS", 1, kMessages);

}  // namespace
}  // namespace vek::qmi

qmi_idl_service_object_type nas_get_service_object_internal_v01(int32_t major, int32_t, int32_t) {
  return major == vek::qmi::kService.major ? &vek::qmi::kService : nullptr;
}
