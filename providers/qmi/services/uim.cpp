#include "providers/qmi/services/uim.h"

namespace vek::qmi {
namespace {

constexpr Message kMessages[] = {
    EMPTY_REQUEST(0x2F, "UIM_GET_CARD_STATUS"),
};

constexpr qmi_idl_service_object kService = service(0x0B, "UIM", 1, kMessages);

}  // namespace
}  // namespace vek::qmi

qmi_idl_service_object_type uim_get_service_object_internal_v01(int32_t major, int32_t, int32_t) {
  return major == vek::qmi::kService.major ? &vek::qmi::kService : nullptr;
}
