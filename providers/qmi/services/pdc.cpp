#include "providers/qmi/services/pdc.h"

namespace vek::qmi {
namespace {

constexpr Tlv kIndicationRegisterReq[] = {
    OPTIONAL_TLV(0x10, u8, pdc_indication_register_req, enable_reporting),
    OPTIONAL_TLV(0x11, u8, pdc_indication_register_req, enable_refresh),
};

constexpr Tlv kRefreshInd[] = {
    MANDATORY_TLV(0x01, u32, pdc_refresh_ind, refresh_event),
    OPTIONAL_TLV(0x10, u32, pdc_refresh_ind, subscription_id),
    OPTIONAL_TLV(0x11, u32, pdc_refresh_ind, slot_id),
};

constexpr Message kMessages[] = {
    MESSAGE(request, 0x20, "PDC_INDICATION_REGISTER", pdc_indication_register_req, kIndicationRegisterReq),
    RESULT_RESPONSE(0x20, "PDC_INDICATION_REGISTER"),
    MESSAGE(indication, 0x2F, "PDC_REFRESH", pdc_refresh_ind, kRefreshInd),
};

constexpr qmi_idl_service_object kService = service(0x24, "PDC", 1, kMessages);

}  // namespace
}  // namespace vek::qmi

qmi_idl_service_object_type pdc_get_service_object_internal_v01(int32_t major, int32_t, int32_t) {
  return major == vek::qmi::kService.major ? &vek::qmi::kService : nullptr;
}
