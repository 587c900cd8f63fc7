#include "log/log.h"
#include "providers/qmi/qmi_client.h"
#include "vek_pal/qmi.h"

namespace {

constexpr char kLogTag[] = "QMI";

const char* outcome_word(int rc) {
  switch (rc) {
    case QMI_NO_ERR:
      return "";
    case QMI_INTERNAL_ERR:
      return "Internal";
    case QMI_SERVICE_ERR:
      return "Service";
    case QMI_TIMEOUT_ERR:
      return "Timeout";
    default:
      return "x";
  }
}

}  // namespace

int vek_pal_qmi_check_response(const char* message, int rc, int result, int error) {
  if (message == nullptr) message = "";
  if (rc == QMI_NO_ERR && result == 0) {
    LOG_I("%s sent to Modem successfully", message);
    return 0;
  }
  LOG_E("Sending %s failed: rc=%i (%s), resp.result=%i.[0x%02x], resp.error=%i.[0x%02x]", message, rc, outcome_word(rc),
        result, static_cast<unsigned>(result), error, static_cast<unsigned>(error));
  if (rc == QMI_ENCODE_MISMATCH || rc == QMI_DECODE_MISMATCH || rc == QMI_RECORD_MISMATCH)
    LOG_E("Modem is running an incompatible version of client library!");
  return -1;
}
