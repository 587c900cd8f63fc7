#include "sys/qmi_clients.h"

#include "common/base/mutex_lock.h"
#include "log/log.h"
#include "vek_pal/sim.h"

namespace vek::qmi {
namespace {

constexpr char kLogTag[] = "MODEM";

// The interface versions that the library speaks. Only the first number decides whether a service object exists.
constexpr int32_t kMajor = 1, kMinor = 0, kTool = 6;

int as_number(qmi_client_type handle) { return static_cast<int>(reinterpret_cast<intptr_t>(handle)); }

// With `opening` held, so that two threads that need a client at once open one.
qmi_client_type open_client(ClientSlot& slot) {
  const ClientKind& kind = *slot.kind;
  const qmi_idl_service_object_type object = kind.object(kMajor, kMinor, kTool);
  if (object == nullptr) {
    LOG_E_AS(kind.source, "%s not available.%s", kind.service_name, kind.end);
    return nullptr;
  }

  qmi_client_type handle = nullptr;
  const int rc = qmi_client_init_instance(object, kAnyQmiInstance, kind.indication, nullptr, &slot.os_params,
                                          kind.timeout_ms, &handle);
  if (rc != QMI_NO_ERR) {
    LOG_E_AS(kind.source, "Failed to init %s qmi client, error code: %d%s", kind.failed_name, rc, kind.failed_end);
    if (handle != nullptr) qmi_client_release(handle);
    return nullptr;
  }
  slot.handle = handle;
  LOG_I_AS(kind.source, "%s client inited success, handle %d%s", kind.name, as_number(handle), kind.end);
  return handle;
}

void ignore_indication(qmi_client_type, unsigned, void*, unsigned, void*) {}

constexpr ClientKind kDms = {.source = log::kSourceOf<kLogTag>.data(),
                             .name = "DMS",
                             .lower_name = "dms",
                             .service_name = "DMS",
                             .failed_name = "DMS",
                             .failed_end = " ",
                             .getter_name = "DMS",
                             .end = "",
                             .object = dms_get_service_object_internal_v01,
                             .indication = nullptr,
                             .timeout_ms = 3000};
constexpr ClientKind kWds = {.source = log::kSourceOf<kLogTag>.data(),
                             .name = "WDS",
                             .lower_name = "WDS",
                             .service_name = "WDS service",
                             .failed_name = "WDS",
                             .failed_end = ".",
                             .getter_name = "wds",
                             .end = "",
                             .object = wds_get_service_object_internal_v01,
                             .indication = vek_pal_wds_qmi_ind_cb,
                             .timeout_ms = 10000};
constexpr ClientKind kNas = {.source = log::kSourceOf<kLogTag>.data(),
                             .name = "NAS",
                             .lower_name = "NAS",
                             .service_name = "NAS service",
                             .failed_name = "NAS",
                             .failed_end = ".",
                             .getter_name = "nas",
                             .end = "",
                             .object = nas_get_service_object_internal_v01,
                             .indication = vek_pal_nas_qmi_ind_cb,
                             .timeout_ms = 10000};
constexpr ClientKind kUim = {.source = log::kSourceOf<kLogTag>.data(),
                             .name = "UIM",
                             .lower_name = "UIM",
                             .service_name = "UIM service",
                             .failed_name = "UIM",
                             .failed_end = ".",
                             .getter_name = "uim",
                             .end = "",
                             .object = uim_get_service_object_internal_v01,
                             .indication = vek_pal_uim_qmi_ind_cb,
                             .timeout_ms = 3000};
constexpr ClientKind kSimReset = {.source = log::kSourceOf<kLogTag>.data(),
                                  .name = "UIM",
                                  .lower_name = "UIM",
                                  .service_name = "UIM service",
                                  .failed_name = "UIM",
                                  .failed_end = ".",
                                  .getter_name = "uim",
                                  .end = "",
                                  .object = uim_get_service_object_internal_v01,
                                  .indication = ignore_indication,
                                  .timeout_ms = 3000};

constinit ClientSlot g_dms = {&kDms};
constinit ClientSlot g_wds[] = {{&kWds}, {&kWds}};
constinit ClientSlot g_nas = {&kNas};
constinit ClientSlot g_uim = {&kUim};
constinit ClientSlot g_sim_reset = {&kSimReset};

}  // namespace

int init_client(ClientSlot& slot) {
  const MutexLock lock(slot.opening);
  if (slot.handle != nullptr) {
    LOG_E_AS(slot.kind->source, "%s client already initialized. Handle %d.%s", slot.kind->lower_name,
             as_number(slot.handle), slot.kind->end);
    return 0;
  }
  return open_client(slot) != nullptr ? 0 : -1;
}

qmi_client_type get_client(ClientSlot& slot) {
  if (const qmi_client_type open = slot.handle) return open;
  const MutexLock lock(slot.opening);
  if (const qmi_client_type open = slot.handle) return open;
  const qmi_client_type opened = open_client(slot);
  if (opened == nullptr) LOG_E_AS(slot.kind->source, "Fail to init %s client", slot.kind->getter_name);
  return opened;
}

}  // namespace vek::qmi

using namespace vek::qmi;

namespace {

ClientSlot* wds_slot(unsigned index) {
  return index < std::size(g_wds) ? &g_wds[index] : FAIL(nullptr, "no wds client has the index %u", index);
}

}  // namespace

int vek_pal_qmi_device_client_init(void) { return init_client(g_dms); }

qmi_client_type vek_pal_qmi_get_dms_client(void) { return get_client(g_dms); }

int vek_pal_qmi_wds_client_init(unsigned index) {
  ClientSlot* const slot = wds_slot(index);
  return slot != nullptr ? init_client(*slot) : -1;
}

qmi_client_type vek_pal_qmi_get_wds_client(unsigned index) {
  ClientSlot* const slot = wds_slot(index);
  return slot != nullptr ? get_client(*slot) : nullptr;
}

qmi_client_type vek_pal_qmi_get_nas_client(void) { return get_client(g_nas); }

qmi_client_type vek_pal_qmi_get_uim_client(void) { return get_client(g_uim); }

int vek_pal_qmi_wds_convert_connect_state(int status) {
  switch (status) {
    case 2:
      return 2;  // connected
    case 3:
      return 3;  // suspended
    case 4:
      return 1;  // authenticating
    default:
      return 0;
  }
}

namespace vek::sim_reset {

int vek_pal_qmi_uim_client_init() { return init_client(g_sim_reset); }

qmi_client_type uim_client() { return g_sim_reset.handle; }

}  // namespace vek::sim_reset
