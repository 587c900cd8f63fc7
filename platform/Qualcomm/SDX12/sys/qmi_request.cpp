#include "sys/qmi_request.h"

#include <string.h>

#include "vek_pal/qmi.h"

namespace vek::qmi {

bool ask(qmi_client_type client, const Question& question, void* request, unsigned request_size, void* response,
         unsigned response_size) {
  memset(response, 0, response_size);
  const int rc = qmi_client_send_msg_sync(client, question.id, request, request_size, response, response_size,
                                          question.timeout_ms);
  const auto outcome = static_cast<const qmi_response_type*>(response);
  return vek_pal_qmi_check_response(question.name, rc, static_cast<int>(outcome->result),
                                    static_cast<int>(outcome->error)) == 0;
}

}  // namespace vek::qmi
