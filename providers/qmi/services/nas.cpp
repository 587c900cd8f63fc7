#include "providers/qmi/services/nas.h"

namespace vek::qmi {
namespace {

constexpr Message kMessages[] = {
    RESULT_RESPONSE(0x03, "NAS_INDICATION_REGISTER"),
};

constexpr qmi_idl_service_object kService = service(0x03, "NAS", 1, kMessages);

}  // namespace
}  // namespace vek::qmi

qmi_idl_service_object_type nas_get_service_object_internal_v01(int32_t major, int32_t, int32_t) {
  return major == vek::qmi::kService.major ? &vek::qmi::kService : nullptr;
}
