#pragma once

#include "providers/qmi/qmi_client.h"
#include "providers/qmi/services/wms.h"

namespace vek::sms {

// The process's client of the modem's message service: nullptr until a registration opened it, then open for good.
qmi_client_type wms_client();

inline bool succeeded(const qmi_response_type& resp) { return resp.result == QMI_RESULT_SUCCESS_V01; }

}  // namespace vek::sms
