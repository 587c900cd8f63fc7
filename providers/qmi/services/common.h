// What every service's responses begin with, and the numbers in it that the library or the simulated modem name.
#pragma once

#include <stdint.h>

#include "providers/qmi/codec/table.h"
#include "providers/qmi/qmi_client.h"

struct qmi_response_type {
  uint32_t result;  // 0 success, 1 failure
  uint32_t error;
};

enum : uint32_t {
  QMI_RESULT_SUCCESS_V01 = 0,
  QMI_RESULT_FAILURE_V01 = 1,

  QMI_ERR_NONE_V01 = 0,
  QMI_ERR_MALFORMED_MSG_V01 = 1,
  QMI_ERR_INTERNAL_V01 = 3,
  QMI_ERR_CLIENT_IDS_EXHAUSTED_V01 = 5,
  QMI_ERR_INVALID_CLIENT_ID_V01 = 7,
  QMI_ERR_INVALID_HANDLE_V01 = 9,
  QMI_ERR_INVALID_PROFILE_V01 = 10,
  QMI_ERR_INVALID_PINID_V01 = 11,
  QMI_ERR_INCORRECT_PIN_V01 = 12,
  QMI_ERR_CALL_FAILED_V01 = 14,
  QMI_ERR_OUT_OF_CALL_V01 = 15,
  QMI_ERR_MISSING_ARG_V01 = 17,
  QMI_ERR_NO_EFFECT_V01 = 26,
  QMI_ERR_NO_FREE_PROFILE_V01 = 27,
  QMI_ERR_INVALID_PROFILE_TYPE_V01 = 30,
  QMI_ERR_INVALID_SERVICE_TYPE_V01 = 31,
  QMI_ERR_INVALID_PS_ATTACH_ACTION_V01 = 33,
  QMI_ERR_PIN_BLOCKED_V01 = 35,
  QMI_ERR_INVALID_ARG_V01 = 48,
  QMI_ERR_NO_ENTRY_V01 = 50,
  QMI_ERR_INVALID_TRANSITION_V01 = 60,
  QMI_ERR_INVALID_IP_FAMILY_PREF_V01 = 64,
  QMI_ERR_INVALID_QMI_CMD_V01 = 71,
  QMI_ERR_SIM_FILE_NOT_FOUND_V01 = 80,
  QMI_ERR_ACCESS_DENIED_V01 = 82,
};

// A response that says no more than how it went.
struct qmi_result_resp {
  qmi_response_type resp;
};

namespace vek::qmi {

inline constexpr Field kResult[] = {FIELD(u16, qmi_response_type, result), FIELD(u16, qmi_response_type, error)};
inline constexpr Tlv kResultResp[] = {RESULT_TLV(qmi_result_resp)};

}  // namespace vek::qmi

#define RESULT_RESPONSE(id, name) MESSAGE(response, id, name, qmi_result_resp, ::vek::qmi::kResultResp)
