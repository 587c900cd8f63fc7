// One request to the modem and its answer, judged and recorded.
#pragma once

#include "providers/qmi/services/common.h"

namespace vek::qmi {

// What is asked, and how long the answer may take.
struct Question {
  unsigned id;
  const char* name;  // for the record
  unsigned timeout_ms;
};

// True when the modem did as it was told. `response` begins with its qmi_response_type; it is cleared before, so that
// it can be looked at (an error, an end reason) after a refusal too.
bool ask(qmi_client_type client, const Question& question, void* request, unsigned request_size, void* response,
         unsigned response_size);

template <typename Response>
bool ask(qmi_client_type client, const Question& question, Response& response) {
  return ask(client, question, nullptr, 0, &response, sizeof response);
}

template <typename Request, typename Response>
bool ask(qmi_client_type client, const Question& question, Request& request, Response& response) {
  return ask(client, question, &request, sizeof request, &response, sizeof response);
}

}  // namespace vek::qmi
