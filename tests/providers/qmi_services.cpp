// Stands in for the platform's service objects, which only its own client library looks into.
#include "providers/qmi/qmi_client.h"

namespace {
alignas(8) constexpr char kAnyService[8] = {};
qmi_idl_service_object_type any_service() { return reinterpret_cast<qmi_idl_service_object_type>(kAnyService); }
}  // namespace

qmi_idl_service_object_type dms_get_service_object_internal_v01(int32_t, int32_t, int32_t) { return any_service(); }
qmi_idl_service_object_type nas_get_service_object_internal_v01(int32_t, int32_t, int32_t) { return any_service(); }
qmi_idl_service_object_type pdc_get_service_object_internal_v01(int32_t, int32_t, int32_t) { return any_service(); }
qmi_idl_service_object_type uim_get_service_object_internal_v01(int32_t, int32_t, int32_t) { return any_service(); }
qmi_idl_service_object_type wds_get_service_object_internal_v01(int32_t, int32_t, int32_t) { return any_service(); }
qmi_idl_service_object_type wms_get_service_object_internal_v01(int32_t, int32_t, int32_t) { return any_service(); }

int qmi_linux_get_conn_id_by_name_ex(const char*, int*, uint32_t*, uint32_t*, uint32_t*) { return -1; }
