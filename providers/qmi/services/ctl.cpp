#include "providers/qmi/services/ctl.h"

namespace vek::qmi {
namespace {

constexpr Field kServiceVersion[] = {
    FIELD(u8, ctl_service_version, service),
    FIELD(u16, ctl_service_version, major),
    FIELD(u16, ctl_service_version, minor),
};

constexpr Tlv kGetVersionInfoResp[] = {
    RESULT_TLV(ctl_get_version_info_resp),
    MANDATORY_TLV(0x01, list8(record(kServiceVersion)), ctl_get_version_info_resp, services),
};

constexpr Field kClientId[] = {FIELD(u8, ctl_client_id, service), FIELD(u8, ctl_client_id, cid)};

constexpr Tlv kAllocateCidReq[] = {MANDATORY_TLV(0x01, u8, ctl_allocate_cid_req, service)};
constexpr Tlv kAllocateCidResp[] = {
    RESULT_TLV(ctl_allocate_cid_resp),
    MANDATORY_TLV(0x01, record(kClientId), ctl_allocate_cid_resp, allocation),
};

constexpr Tlv kReleaseCidReq[] = {MANDATORY_TLV(0x01, record(kClientId), ctl_release_cid_req, release)};
constexpr Tlv kReleaseCidResp[] = {
    RESULT_TLV(ctl_release_cid_resp),
    MANDATORY_TLV(0x01, record(kClientId), ctl_release_cid_resp, release),
};

constexpr Tlv kSetDataFormatReq[] = {
    MANDATORY_TLV(0x01, u8, ctl_set_data_format_req, format),
    OPTIONAL_TLV(0x10, u16, ctl_set_data_format_req, protocol),
};
constexpr Tlv kSetDataFormatResp[] = {
    RESULT_TLV(ctl_set_data_format_resp),
    OPTIONAL_TLV(0x10, u16, ctl_set_data_format_resp, protocol),
};

constexpr Tlv kInternalProxyOpenReq[] = {MANDATORY_TLV(0x01, text, ctl_internal_proxy_open_req, device_path)};

constexpr Message kMessages[] = {
    EMPTY_REQUEST(0x21, "CTL_GET_VERSION_INFO"),
    MESSAGE(response, 0x21, "CTL_GET_VERSION_INFO", ctl_get_version_info_resp, kGetVersionInfoResp),
    MESSAGE(request, 0x22, "CTL_ALLOCATE_CID", ctl_allocate_cid_req, kAllocateCidReq),
    MESSAGE(response, 0x22, "CTL_ALLOCATE_CID", ctl_allocate_cid_resp, kAllocateCidResp),
    MESSAGE(request, 0x23, "CTL_RELEASE_CID", ctl_release_cid_req, kReleaseCidReq),
    MESSAGE(response, 0x23, "CTL_RELEASE_CID", ctl_release_cid_resp, kReleaseCidResp),
    MESSAGE(request, 0x26, "CTL_SET_DATA_FORMAT", ctl_set_data_format_req, kSetDataFormatReq),
    MESSAGE(response, 0x26, "CTL_SET_DATA_FORMAT", ctl_set_data_format_resp, kSetDataFormatResp),
    EMPTY_REQUEST(0x27, "CTL_SYNC"),
    RESULT_RESPONSE(0x27, "CTL_SYNC"),
    ::vek::qmi::message(MessageType::indication, 0x27, "CTL_SYNC", 0, {}),
    MESSAGE(request, 0xFF00, "CTL_INTERNAL_PROXY_OPEN", ctl_internal_proxy_open_req, kInternalProxyOpenReq),
    RESULT_RESPONSE(0xFF00, "CTL_INTERNAL_PROXY_OPEN"),
};

constexpr qmi_idl_service_object kService = service(0x00, "CTL", 1, kMessages);

}  // namespace
}  // namespace vek::qmi

qmi_idl_service_object_type ctl_get_service_object() { return &vek::qmi::kService; }
