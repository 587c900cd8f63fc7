// The modem's QMI services, through the operations of the platform's QMI client library. The build links exactly one
// provider: `qmux` (ours: QMUX frames through qmi-proxy or on the modem's device) or `external` (the platform's
// libraries).
//
// Records and messages are those of services/*.h. Every wait is bounded by the time-out that the caller gives.
// Threads: any number may send on one handle at once. Indication callbacks run on the provider's own receive thread,
// with no lock held: they may send requests, also on the handle they were called for, and open further clients.
#pragma once

#include <stdint.h>

using qmi_client_type = struct qmi_client_struct*;  // nullptr: not open
using qmi_client_error_type = int;
using qmi_idl_service_object_type = const struct qmi_idl_service_object*;

// What an operation returns. Whether the modem did as it was told is another matter: that says the response's own
// result.
enum : qmi_client_error_type {
  QMI_NO_ERR = 0,
  QMI_INTERNAL_ERR = -1,      // a handle or pointer that is none, no room for another client
  QMI_SERVICE_ERR = -2,       // no modem, it went away during the request, or it gave no client id
  QMI_TIMEOUT_ERR = -3,       // no answer in time; one that comes later is dropped
  QMI_ENCODE_MISMATCH = -43,  // this message is not in the service's tables, or the request's record does not fit it
  QMI_DECODE_MISMATCH = -48,  // the modem's bytes do not make the record: a mandatory TLV is missing or too short
  QMI_RECORD_MISMATCH = -50,  // the caller's record is smaller than the message's
};

enum qmi_idl_type_of_message_type { QMI_IDL_REQUEST = 0, QMI_IDL_RESPONSE = 1, QMI_IDL_INDICATION = 2 };

constexpr int kAnyQmiInstance = 0xFFFF;

// Room that a provider may use for as long as the handle opened with it lives; zeroed before.
struct qmi_client_os_params {
  uint64_t room[20];
};

// `ind_buf` is the indication's TLVs, for qmi_client_message_decode(), and is gone after the callback.
using qmi_client_ind_cb = void (*)(qmi_client_type user_handle, unsigned msg_id, void* ind_buf, unsigned ind_buf_len,
                                   void* ind_cb_data);

// Called on the receive thread when `user_handle` works again after the modem or its connection went away: what the
// modem was told to report (event registrations) is to be sent again. Returns 0 when that is done; anything else has it
// called again a few seconds later.
using qmi_client_recovery_cb = int (*)(qmi_client_type user_handle, void* recovery_cb_data);

extern "C" {

// Opens a client of a service: `*user_handle` is set on success, and may be set on a failure too (then release it).
// `ind_cb` may be nullptr. The handle stays the same through every restart of the modem.
qmi_client_error_type qmi_client_init_instance(qmi_idl_service_object_type service_obj, int instance,
                                               qmi_client_ind_cb ind_cb, void* ind_cb_data,
                                               qmi_client_os_params* os_params, uint32_t timeout_ms,
                                               qmi_client_type* user_handle);

// One request and its answer. `resp_c_struct` is cleared and then filled; on any other result than QMI_NO_ERR it holds
// nothing of use. A request without members is (nullptr, 0). A time-out of 0 stands for a minute.
qmi_client_error_type qmi_client_send_msg_sync(qmi_client_type user_handle, unsigned msg_id, void* req_c_struct,
                                               unsigned req_c_struct_len, void* resp_c_struct,
                                               unsigned resp_c_struct_len, unsigned timeout_ms);

qmi_client_error_type qmi_client_message_decode(qmi_client_type user_handle, qmi_idl_type_of_message_type message_type,
                                                unsigned message_id, const void* p_src, unsigned src_len, void* p_dst,
                                                unsigned dst_len);

// Ends a client: requests under way on it end with QMI_SERVICE_ERR, its callbacks are not called again (one that runs
// at this moment ends by itself).
qmi_client_error_type qmi_client_release(qmi_client_type user_handle);

// Gives a handle its recovery callback; a later call replaces it, nullptr takes it away. Weak: a provider whose
// connection outlives the modem has no need of it and leaves it out, so callers go through qmi_client_on_recovery().
__attribute__((weak)) qmi_client_error_type qmi_client_register_recovery_cb(qmi_client_type user_handle,
                                                                            qmi_client_recovery_cb recovery_cb,
                                                                            void* recovery_cb_data);

// The data port behind a network interface ("rmnet_data0"): 0 and all four numbers, or -1 for a name that is none.
int qmi_linux_get_conn_id_by_name_ex(const char* name, int* conn_id, uint32_t* ep_type, uint32_t* ep_id,
                                     uint32_t* mux_id);

// The services, each as a version of its interface; nullptr when the provider has none of that major version.
qmi_idl_service_object_type dms_get_service_object_internal_v01(int32_t major, int32_t minor, int32_t tool);
qmi_idl_service_object_type nas_get_service_object_internal_v01(int32_t major, int32_t minor, int32_t tool);
qmi_idl_service_object_type pdc_get_service_object_internal_v01(int32_t major, int32_t minor, int32_t tool);
qmi_idl_service_object_type uim_get_service_object_internal_v01(int32_t major, int32_t minor, int32_t tool);
qmi_idl_service_object_type wds_get_service_object_internal_v01(int32_t major, int32_t minor, int32_t tool);
qmi_idl_service_object_type wms_get_service_object_internal_v01(int32_t major, int32_t minor, int32_t tool);

}  // extern "C"

// As qmi_client_register_recovery_cb(), with every provider.
inline void qmi_client_on_recovery(qmi_client_type user_handle, qmi_client_recovery_cb recovery_cb,
                                   void* data = nullptr) {
  if (qmi_client_register_recovery_cb != nullptr) qmi_client_register_recovery_cb(user_handle, recovery_cb, data);
}
