// Who the SIM is: the subscriber's, the card's and the eSIM's number.
#include <string.h>

#include "common/base/heap_block.h"
#include "log/log.h"
#include "modem/net/sim_digits.h"
#include "modem/net/uim.h"
#include "vek_pal/at_client.h"
#include "vek_pal/sim.h"

namespace {

using namespace vek::sim;

constexpr char kLogTag[] = "NET";
constexpr vek::qmi::Question kReadTransparent = {QMI_UIM_READ_TRANSPARENT_REQ_V01, "QMI_UIM_READ_TRANSPARENT_REQ_V01",
                                                 kTimeoutMs};

constexpr uint16_t kEfImsi = 0x6F07;
constexpr uint16_t kEfImsiSize = 9;
constexpr uint32_t kResponseSize = 1024;

constexpr uint8_t kUsimPath[] = {0x00, 0x3F, 0xFF, 0x7F}, kGsmPath[] = {0x00, 0x3F, 0x20, 0x7F};

bool read_ef_imsi(qmi_client_type client, const uint8_t (&path)[4], uim_read_transparent_resp& answer) {
  uim_read_transparent_req request = {};
  request.session_information.session_type = UIM_SESSION_TYPE_PRIMARY_GW_V01;
  request.file_id.file_id = kEfImsi;
  request.file_id.path_len = sizeof path;
  memcpy(request.file_id.path, path, sizeof path);
  request.read_transparent.length = kEfImsiSize;
  return vek::qmi::ask(client, kReadTransparent, request, answer);
}

}  // namespace

int vek_pal_get_imsi(char* imsi) {
  if (imsi == nullptr) return FAIL(VEK_PAL_SIM_BAD_ARGUMENT, "get imsi failed for param");
  const qmi_client_type client = uim_client();
  if (client == nullptr) return -1;
  uim_read_transparent_resp answer;
  if (!read_ef_imsi(client, kUsimPath, answer) && !read_ef_imsi(client, kGsmPath, answer))
    return FAIL(-1, " qmi_client_send_msg_sync QMI_UIM_READ_TRANSPARENT_REQ_V01 fail");
  if (answer.read_result_valid == 0 || !decode_imsi({answer.read_result.content, answer.read_result.content_len}, imsi))
    return FAIL(-1, "imsi info is invaild");
  return 0;
}

int vek_pal_get_iccid(char* iccid) {
  if (iccid == nullptr) return FAIL(VEK_PAL_SIM_BAD_ARGUMENT, "get iccid failed for param");
  uim_get_slots_status_resp answer;
  const int active = ask_active_slot(answer);
  if (active < 0) return -1;
  const uim_physical_slot_status& slot = answer.slots.physical_slot_status[active];
  if (!decode_iccid({slot.iccid, slot.iccid_len}, iccid)) return FAIL(-1, "iccid info is invaild");
  LOG_I("get_iccid %s", iccid);
  return 0;
}

int vek_pal_get_eid(char* eid) {
  if (eid == nullptr) return FAIL(VEK_PAL_SIM_BAD_ARGUMENT, "get EID failed for param");
  constexpr char kCommand[] = "AT+GTESIMID=1\r\n";
  const vek::HeapBlock<char> response(kResponseSize + 1);
  if (!response) return FAIL(-1, "malloc response failed");
  uint32_t length = 0;
  if (vek_pal_at_send(kCommand, sizeof kCommand, response.get(), kResponseSize, &length) != 0)
    return FAIL(-1, "AT cmd send failed");
  if (strstr(response.get(), "OK") == nullptr && strstr(response.get(), "ok") == nullptr)
    return FAIL(-1, "AT cmd response ERROR");
  const char* const digits = find_eid(response.get());
  if (digits == nullptr) return FAIL(-1, "EID parse ERROR");
  memcpy(eid, digits, kEidDigits);
  eid[kEidDigits] = '\0';
  LOG_I("operater success, eid: %s", eid);
  return 0;
}
