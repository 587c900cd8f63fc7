#include "providers/qmi/services/dms.h"

namespace vek::qmi {
namespace {

constexpr Tlv kGetDeviceSerialNumbersResp[] = {
    RESULT_TLV(dms_get_device_serial_numbers_resp),
    OPTIONAL_TLV(0x10, text, dms_get_device_serial_numbers_resp, esn),
    OPTIONAL_TLV(0x11, text, dms_get_device_serial_numbers_resp, imei),
    OPTIONAL_TLV(0x12, text, dms_get_device_serial_numbers_resp, meid),
    OPTIONAL_TLV(0x13, text, dms_get_device_serial_numbers_resp, imeisv_svn),
};

constexpr Tlv kGetOperatingModeResp[] = {
    RESULT_TLV(dms_get_operating_mode_resp),
    OPTIONAL_TLV(0x01, u8, dms_get_operating_mode_resp, operating_mode),
    OPTIONAL_TLV(0x10, u16, dms_get_operating_mode_resp, offline_reason),
    OPTIONAL_TLV(0x11, u8, dms_get_operating_mode_resp, hardware_controlled_mode),
};

constexpr Tlv kSetOperatingModeReq[] = {
    MANDATORY_TLV(0x01, u8, dms_set_operating_mode_req, operating_mode),
};

constexpr Tlv kGetModelResp[] = {
    RESULT_TLV(dms_get_model_resp),
    MANDATORY_TLV(0x01, tolerant(list32(u8), Tolerance::missing_count), dms_get_model_resp, model),
};

constexpr Tlv kGetFirmwareVersionResp[] = {
    RESULT_TLV(dms_get_firmware_version_resp),
    MANDATORY_TLV(0x01, text, dms_get_firmware_version_resp, version),
};

constexpr Message kMessages[] = {
    EMPTY_REQUEST(0x25, "DMS_GET_DEVICE_SERIAL_NUMBERS"),
    MESSAGE(response, 0x25, "DMS_GET_DEVICE_SERIAL_NUMBERS", dms_get_device_serial_numbers_resp,
            kGetDeviceSerialNumbersResp),
    EMPTY_REQUEST(0x2D, "DMS_GET_OPERATING_MODE"),
    MESSAGE(response, 0x2D, "DMS_GET_OPERATING_MODE", dms_get_operating_mode_resp, kGetOperatingModeResp),
    MESSAGE(request, 0x2E, "DMS_SET_OPERATING_MODE", dms_set_operating_mode_req, kSetOperatingModeReq),
    RESULT_RESPONSE(0x2E, "DMS_SET_OPERATING_MODE"),
    EMPTY_REQUEST(0x79, "DMS_GET_MODEL"),
    MESSAGE(response, 0x79, "DMS_GET_MODEL", dms_get_model_resp, kGetModelResp),
    EMPTY_REQUEST(0x7C, "DMS_GET_FIRMWARE_VERSION"),
    MESSAGE(response, 0x7C, "DMS_GET_FIRMWARE_VERSION", dms_get_firmware_version_resp, kGetFirmwareVersionResp),
};

constexpr qmi_idl_service_object kService = service(0x02, "DMS", 1, kMessages);

}  // namespace
}  // namespace vek::qmi

qmi_idl_service_object_type dms_get_service_object_internal_v01(int32_t major, int32_t, int32_t) {
  return major == vek::qmi::kService.major ? &vek::qmi::kService : nullptr;
}
