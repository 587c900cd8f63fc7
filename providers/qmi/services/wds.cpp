#include "providers/qmi/services/wds.h"

namespace vek::qmi {
namespace {

constexpr Message kMessages[] = {
    RESULT_RESPONSE(0x4D, "WDS_SET_CLIENT_IP_FAMILY_PREF"),
};

constexpr qmi_idl_service_object kService = service(0x01, "WDS", 1, kMessages);

}  // namespace
}  // namespace vek::qmi

qmi_idl_service_object_type wds_get_service_object_internal_v01(int32_t major, int32_t, int32_t) {
  return major == vek::qmi::kService.major ? &vek::qmi::kService : nullptr;
}
