#include "providers/qmi/services/wms.h"

namespace vek::qmi {
namespace {

constexpr Message kMessages[] = {
    RESULT_RESPONSE(0x01, "WMS_SET_EVENT_REPORT"),
};

constexpr qmi_idl_service_object kService = service(0x05, "WMS", 1, kMessages);

}  // namespace
}  // namespace vek::qmi

qmi_idl_service_object_type wms_get_service_object_internal_v01(int32_t major, int32_t, int32_t) {
  return major == vek::qmi::kService.major ? &vek::qmi::kService : nullptr;
}
