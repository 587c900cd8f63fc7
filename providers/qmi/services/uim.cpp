#include "providers/qmi/services/uim.h"

namespace vek::qmi {
namespace {

constexpr Field kSession[] = {
    FIELD(u8, uim_session_information, session_type),
    FIELD(list8(u8), uim_session_information, aid),
};
constexpr Field kCardResult[] = {FIELD(u8, uim_card_result, sw1), FIELD(u8, uim_card_result, sw2)};

constexpr Field kFileId[] = {FIELD(u16, uim_file_id, file_id), FIELD(list8(u8), uim_file_id, path)};
constexpr Field kReadRange[] = {FIELD(u16, uim_read_range, offset), FIELD(u16, uim_read_range, length)};
constexpr Tlv kReadTransparentReq[] = {
    MANDATORY_TLV(0x01, record(kSession), uim_read_transparent_req, session_information),
    MANDATORY_TLV(0x02, record(kFileId), uim_read_transparent_req, file_id),
    MANDATORY_TLV(0x03, record(kReadRange), uim_read_transparent_req, read_transparent),
};
constexpr Field kReadResult[] = {FIELD(list16(u8), uim_read_result, content)};
constexpr Tlv kReadTransparentResp[] = {
    RESULT_TLV(uim_read_transparent_resp),
    OPTIONAL_TLV(0x10, record(kCardResult), uim_read_transparent_resp, card_result),
    OPTIONAL_TLV(0x11, record(kReadResult), uim_read_transparent_resp, read_result),
};

constexpr Field kVerifyPin[] = {FIELD(u8, uim_verify_pin, pin_id), FIELD(text8, uim_verify_pin, pin_value)};
constexpr Tlv kVerifyPinReq[] = {
    MANDATORY_TLV(0x01, record(kSession), uim_verify_pin_req, session_information),
    MANDATORY_TLV(0x02, record(kVerifyPin), uim_verify_pin_req, verify_pin),
};
constexpr Field kRetriesLeft[] = {
    FIELD(u8, uim_retries_left, verify_left),
    FIELD(u8, uim_retries_left, unblock_left),
};
constexpr Tlv kVerifyPinResp[] = {
    RESULT_TLV(uim_verify_pin_resp),
    OPTIONAL_TLV(0x10, record(kRetriesLeft), uim_verify_pin_resp, retries_left),
    OPTIONAL_TLV(0x13, record(kCardResult), uim_verify_pin_resp, card_result),
};

constexpr Tlv kEventRegReq[] = {MANDATORY_TLV(0x01, u32, uim_event_reg_req, event_mask)};
constexpr Tlv kEventRegResp[] = {
    RESULT_TLV(uim_event_reg_resp),
    OPTIONAL_TLV(0x10, u32, uim_event_reg_resp, event_mask),
};

constexpr Field kPin[] = {
    FIELD(u8, uim_pin_info, pin_state),
    FIELD(u8, uim_pin_info, pin_retries),
    FIELD(u8, uim_pin_info, puk_retries),
};
constexpr Field kApp[] = {
    FIELD(u8, uim_app_info, app_type),       FIELD(u8, uim_app_info, app_state),
    FIELD(u8, uim_app_info, perso_state),    FIELD(u8, uim_app_info, perso_feature),
    FIELD(u8, uim_app_info, perso_retries),  FIELD(u8, uim_app_info, perso_unblock_retries),
    FIELD(list8(u8), uim_app_info, aid),     FIELD(u8, uim_app_info, univ_pin),
    FIELD(record(kPin), uim_app_info, pin1), FIELD(record(kPin), uim_app_info, pin2),
};
constexpr Field kCard[] = {
    FIELD(u8, uim_card_info, card_state),
    FIELD(record(kPin), uim_card_info, upin),
    FIELD(u8, uim_card_info, error_code),
    FIELD(list8(record(kApp)), uim_card_info, app_info),
};
constexpr Field kCardStatus[] = {
    FIELD(u16, uim_card_status, index_gw_pri),
    FIELD(u16, uim_card_status, index_1x_pri),
    FIELD(u16, uim_card_status, index_gw_sec),
    FIELD(u16, uim_card_status, index_1x_sec),
    FIELD(list8(record(kCard)), uim_card_status, card_info),
};
constexpr Tlv kGetCardStatusResp[] = {
    RESULT_TLV(uim_get_card_status_resp),
    OPTIONAL_TLV(0x10, record(kCardStatus), uim_get_card_status_resp, card_status),
    OPTIONAL_TLV(0x11, tolerant(list8(u8), Tolerance::wide_elements), uim_get_card_status_resp, hot_swap),
};
constexpr Tlv kStatusChangeInd[] = {
    OPTIONAL_TLV(0x10, record(kCardStatus), uim_status_change_ind, card_status),
};

constexpr Tlv kSlotReq[] = {MANDATORY_TLV(0x01, u8, uim_slot_req, slot)};
constexpr Tlv kSwitchSlotReq[] = {
    MANDATORY_TLV(0x01, u8, uim_switch_slot_req, logical_slot),
    MANDATORY_TLV(0x02, u32, uim_switch_slot_req, physical_slot),
};

constexpr Field kSlotStatus[] = {
    FIELD(u32, uim_physical_slot_status, physical_card_status),
    FIELD(u32, uim_physical_slot_status, physical_slot_state),
    FIELD(u8, uim_physical_slot_status, logical_slot),
    FIELD(list8(u8), uim_physical_slot_status, iccid),
};
constexpr Field kSlotInformation[] = {
    FIELD(u32, uim_physical_slot_information, card_protocol),
    FIELD(u8, uim_physical_slot_information, num_app),
    FIELD(list8(u8), uim_physical_slot_information, atr),
    FIELD(u8, uim_physical_slot_information, is_euicc),
};
constexpr Field kSlotEid[] = {FIELD(list8(u8), uim_slot_eid, eid)};

#define SLOTS_TLVS(type)                                                                          \
  OPTIONAL_TLV(0x10, list8(record(kSlotStatus)), type, slots.physical_slot_status),               \
      OPTIONAL_TLV(0x11, list8(record(kSlotInformation)), type, slots.physical_slot_information), \
      OPTIONAL_TLV(0x12, list8(record(kSlotEid)), type, slots.slot_eid)

constexpr Tlv kGetSlotsStatusResp[] = {RESULT_TLV(uim_get_slots_status_resp), SLOTS_TLVS(uim_get_slots_status_resp)};
constexpr Tlv kSlotStatusChangeInd[] = {SLOTS_TLVS(uim_slot_status_change_ind)};

#undef SLOTS_TLVS

constexpr Message kMessages[] = {
    MESSAGE(request, 0x20, "UIM_READ_TRANSPARENT", uim_read_transparent_req, kReadTransparentReq),
    MESSAGE(response, 0x20, "UIM_READ_TRANSPARENT", uim_read_transparent_resp, kReadTransparentResp),
    MESSAGE(request, 0x26, "UIM_VERIFY_PIN", uim_verify_pin_req, kVerifyPinReq),
    MESSAGE(response, 0x26, "UIM_VERIFY_PIN", uim_verify_pin_resp, kVerifyPinResp),
    MESSAGE(request, 0x2E, "UIM_EVENT_REG", uim_event_reg_req, kEventRegReq),
    MESSAGE(response, 0x2E, "UIM_EVENT_REG", uim_event_reg_resp, kEventRegResp),
    EMPTY_REQUEST(0x2F, "UIM_GET_CARD_STATUS"),
    MESSAGE(response, 0x2F, "UIM_GET_CARD_STATUS", uim_get_card_status_resp, kGetCardStatusResp),
    MESSAGE(request, 0x30, "UIM_POWER_DOWN", uim_slot_req, kSlotReq),
    RESULT_RESPONSE(0x30, "UIM_POWER_DOWN"),
    MESSAGE(request, 0x31, "UIM_POWER_UP", uim_slot_req, kSlotReq),
    RESULT_RESPONSE(0x31, "UIM_POWER_UP"),
    MESSAGE(indication, 0x32, "UIM_STATUS_CHANGE", uim_status_change_ind, kStatusChangeInd),
    MESSAGE(request, 0x46, "UIM_SWITCH_SLOT", uim_switch_slot_req, kSwitchSlotReq),
    RESULT_RESPONSE(0x46, "UIM_SWITCH_SLOT"),
    EMPTY_REQUEST(0x47, "UIM_GET_SLOTS_STATUS"),
    MESSAGE(response, 0x47, "UIM_GET_SLOTS_STATUS", uim_get_slots_status_resp, kGetSlotsStatusResp),
    MESSAGE(indication, 0x48, "UIM_SLOT_STATUS_CHANGE", uim_slot_status_change_ind, kSlotStatusChangeInd),
};

constexpr qmi_idl_service_object kService = service(0x0B, "UIM", 1, kMessages);

}  // namespace
}  // namespace vek::qmi

qmi_idl_service_object_type uim_get_service_object_internal_v01(int32_t major, int32_t, int32_t) {
  return major == vek::qmi::kService.major ? &vek::qmi::kService : nullptr;
}
