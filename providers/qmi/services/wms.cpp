#include "providers/qmi/services/wms.h"

namespace vek::qmi {
namespace {

constexpr Tlv kSetEventReportReq[] = {OPTIONAL_TLV(0x10, u8, wms_set_event_report_req, report_mt_message)};

constexpr Field kMessageIdentification[] = {
    FIELD(u8, wms_message_identification, storage_type),
    FIELD(u32, wms_message_identification, storage_index),
};
constexpr Field kTransferRouteMtMessage[] = {
    FIELD(u8, wms_transfer_route_mt_message, ack_indicator),
    FIELD(u32, wms_transfer_route_mt_message, transaction_id),
    FIELD(u8, wms_transfer_route_mt_message, format),
    FIELD(list16(u8), wms_transfer_route_mt_message, data),
};
constexpr Field kEtwsMessage[] = {
    FIELD(u8, wms_etws_message, notification_type),
    FIELD(list16(u8), wms_etws_message, data),
};
constexpr Field kEtwsPlmnInfo[] = {
    FIELD(u16, wms_etws_plmn_info, mobile_country_code),
    FIELD(u16, wms_etws_plmn_info, mobile_network_code),
};
constexpr Tlv kEventReportInd[] = {
    OPTIONAL_TLV(0x10, record(kMessageIdentification), wms_event_report_ind, mt_message),
    OPTIONAL_TLV(0x11, record(kTransferRouteMtMessage), wms_event_report_ind, transfer_route_mt_message),
    OPTIONAL_TLV(0x12, u8, wms_event_report_ind, message_mode),
    OPTIONAL_TLV(0x13, record(kEtwsMessage), wms_event_report_ind, etws_message),
    OPTIONAL_TLV(0x14, record(kEtwsPlmnInfo), wms_event_report_ind, etws_plmn_info),
    OPTIONAL_TLV(0x15, text, wms_event_report_ind, mt_message_smsc_address),
    OPTIONAL_TLV(0x16, u8, wms_event_report_ind, sms_on_ims),
};

constexpr Tlv kRawReadReq[] = {
    MANDATORY_TLV(0x01, record(kMessageIdentification), wms_raw_read_req, message),
    OPTIONAL_TLV(0x10, u8, wms_raw_read_req, message_mode),
    OPTIONAL_TLV(0x11, u8, wms_raw_read_req, sms_on_ims),
};
constexpr Field kRawMessageData[] = {
    FIELD(u8, wms_raw_message_data, tag_type),
    FIELD(u8, wms_raw_message_data, format),
    FIELD(list16(u8), wms_raw_message_data, data),
};
constexpr Tlv kRawReadResp[] = {
    RESULT_TLV(wms_raw_read_resp),
    MANDATORY_TLV(0x01, record(kRawMessageData), wms_raw_read_resp, raw_message_data),
};

constexpr Tlv kDeleteReq[] = {
    MANDATORY_TLV(0x01, u8, wms_delete_req, storage_type),
    OPTIONAL_TLV(0x10, u32, wms_delete_req, index),
    OPTIONAL_TLV(0x11, u8, wms_delete_req, tag_type),
    OPTIONAL_TLV(0x12, u8, wms_delete_req, message_mode),
};

constexpr Tlv kListMessagesReq[] = {
    MANDATORY_TLV(0x01, u8, wms_list_messages_req, storage_type),
    OPTIONAL_TLV(0x11, u8, wms_list_messages_req, tag_type),
    OPTIONAL_TLV(0x12, u8, wms_list_messages_req, message_mode),
};
constexpr Field kMessageTuple[] = {
    FIELD(u32, wms_message_tuple, message_index),
    FIELD(u8, wms_message_tuple, tag_type),
};
constexpr Tlv kListMessagesResp[] = {
    RESULT_TLV(wms_list_messages_resp),
    MANDATORY_TLV(0x01, list32(record(kMessageTuple)), wms_list_messages_resp, message_tuple),
};

constexpr Field kRoute[] = {
    FIELD(u8, wms_route, message_type),
    FIELD(u8, wms_route, message_class),
    FIELD(u8, wms_route, route_storage),
    FIELD(u8, wms_route, receipt_action),
};
constexpr Tlv kSetRoutesReq[] = {
    MANDATORY_TLV(0x01, list16(record(kRoute)), wms_set_routes_req, route_list),
    OPTIONAL_TLV(0x10, u8, wms_set_routes_req, transfer_ind),
};
constexpr Tlv kGetRoutesResp[] = {
    RESULT_TLV(wms_get_routes_resp),
    MANDATORY_TLV(0x01, list16(record(kRoute)), wms_get_routes_resp, route_list),
    OPTIONAL_TLV(0x10, u8, wms_get_routes_resp, transfer_ind),
};

constexpr Field kMemoryFullInfo[] = {
    FIELD(u8, wms_memory_full_info, storage_type),
    FIELD(u8, wms_memory_full_info, message_mode),
};
constexpr Tlv kMemoryFullInd[] = {
    MANDATORY_TLV(0x01, record(kMemoryFullInfo), wms_memory_full_ind, memory_full_info),
};

constexpr Message kMessages[] = {
    MESSAGE(request, 0x01, "WMS_SET_EVENT_REPORT", wms_set_event_report_req, kSetEventReportReq),
    RESULT_RESPONSE(0x01, "WMS_SET_EVENT_REPORT"),
    MESSAGE(indication, 0x01, "WMS_EVENT_REPORT", wms_event_report_ind, kEventReportInd),
    MESSAGE(request, 0x22, "WMS_RAW_READ", wms_raw_read_req, kRawReadReq),
    MESSAGE(response, 0x22, "WMS_RAW_READ", wms_raw_read_resp, kRawReadResp),
    MESSAGE(request, 0x24, "WMS_DELETE", wms_delete_req, kDeleteReq),
    RESULT_RESPONSE(0x24, "WMS_DELETE"),
    MESSAGE(request, 0x31, "WMS_LIST_MESSAGES", wms_list_messages_req, kListMessagesReq),
    MESSAGE(response, 0x31, "WMS_LIST_MESSAGES", wms_list_messages_resp, kListMessagesResp),
    MESSAGE(request, 0x32, "WMS_SET_ROUTES", wms_set_routes_req, kSetRoutesReq),
    RESULT_RESPONSE(0x32, "WMS_SET_ROUTES"),
    EMPTY_REQUEST(0x33, "WMS_GET_ROUTES"),
    MESSAGE(response, 0x33, "WMS_GET_ROUTES", wms_get_routes_resp, kGetRoutesResp),
    MESSAGE(indication, 0x3F, "WMS_MEMORY_FULL", wms_memory_full_ind, kMemoryFullInd),
};

constexpr qmi_idl_service_object kService = service(0x05, "WMS", 1, kMessages);

}  // namespace
}  // namespace vek::qmi

qmi_idl_service_object_type wms_get_service_object_internal_v01(int32_t major, int32_t, int32_t) {
  return major == vek::qmi::kService.major ? &vek::qmi::kService : nullptr;
}
