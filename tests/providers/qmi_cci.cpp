// Stands in for the platform's QMI client library. It knows one message, and no recovery callbacks.
#include <string.h>

#include "providers/qmi/services/dms.h"

struct qmi_client_struct {};

namespace {
qmi_client_struct g_client;
}

qmi_client_error_type qmi_client_init_instance(qmi_idl_service_object_type service_obj, int, qmi_client_ind_cb, void*,
                                               qmi_client_os_params* os_params, uint32_t,
                                               qmi_client_type* user_handle) {
  if (service_obj == nullptr || os_params == nullptr) return QMI_INTERNAL_ERR;
  *user_handle = &g_client;
  return QMI_NO_ERR;
}

qmi_client_error_type qmi_client_send_msg_sync(qmi_client_type, unsigned msg_id, void*, unsigned, void* resp_c_struct,
                                               unsigned resp_c_struct_len, unsigned) {
  if (msg_id == QMI_DMS_GET_DEVICE_SERIAL_NUMBERS_REQ_V01) {
    const auto response = static_cast<dms_get_device_serial_numbers_resp*>(resp_c_struct);
    if (resp_c_struct_len != sizeof *response) return QMI_RECORD_MISMATCH;
    *response = {};
    response->imei_valid = 1;
    strcpy(response->imei, "359072061234567");
  } else {
    memset(resp_c_struct, 0, resp_c_struct_len);
  }
  return QMI_NO_ERR;
}

qmi_client_error_type qmi_client_message_decode(qmi_client_type, qmi_idl_type_of_message_type, unsigned, const void*,
                                                unsigned, void*, unsigned) {
  return QMI_DECODE_MISMATCH;
}

qmi_client_error_type qmi_client_release(qmi_client_type) { return QMI_NO_ERR; }
