// Who the SIM is: the subscriber's, the card's and the eSIM's number.
#include <string.h>

#include "common/base/heap_block.h"
#include "common/misc/hex.h"
#include "log/log.h"
#include "modem/net/uim.h"
#include "vek_pal/at_client.h"
#include "vek_pal/sim.h"

namespace {

using namespace vek::sim;

constexpr char kLogTag[] = "NET";
constexpr vek::qmi::Question kReadTransparent = {QMI_UIM_READ_TRANSPARENT_REQ_V01, "QMI_UIM_READ_TRANSPARENT_REQ_V01",
                                                 kTimeoutMs};

constexpr uint16_t kEfImsi = 0x6F07;
constexpr uint8_t kEfImsiSize = 9;
constexpr size_t kImsiMin = 6, kImsiMax = 15;
constexpr uint8_t kOdd = 9, kEven = 1;  // EF IMSI's first half-byte: 3GPP TS 24.008, 10.5.1.4
constexpr size_t kIccidBytes = 10;      // EF ICCID: ETSI TS 102 221, 13.2
constexpr size_t kEidDigits = 32;
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

// Half-bytes from number `first` on, the low one of a byte first, up to the filler: how many digits they are, or 0 when
// they are not digits and then nothing but filler.
size_t put_digits(const uint8_t* bytes, size_t first, size_t end, char* digits) {
  size_t count = 0;
  bool filler = false;
  for (size_t i = first; i < end; i++) {
    const unsigned half = i % 2 == 0 ? bytes[i / 2] & 0xFu : bytes[i / 2] >> 4;
    if (half == 0xF) {
      filler = true;
    } else if (half > 9 || filler) {
      return 0;
    } else {
      digits[count++] = static_cast<char>('0' + half);
    }
  }
  digits[count] = '\0';
  return count;
}

// A length byte, then half-bytes: the parity, the digits, and a filler when their number is even.
bool decode_imsi(const uim_read_result& file, char (&imsi)[kImsiMax + 1]) {
  const size_t length = file.content[0];
  if (file.content_len == 0 || length >= file.content_len || length >= kEfImsiSize) return false;
  const uint8_t parity = file.content[1] & 0xF;
  if (parity != kOdd && parity != kEven) return false;
  const size_t count = put_digits(file.content + 1, 1, 2 * length, imsi);
  return count >= kImsiMin && count == (parity == kOdd ? 2 * length - 1 : 2 * length - 2);
}

// The 32 digits in the line that begins with "+GTESIMID:"; nullptr when it has no such number.
const char* find_eid(const char* response) {
  const char* at = strstr(response, "+GTESIMID:");
  if (at == nullptr) return nullptr;
  at += strlen("+GTESIMID:");
  while (*at != '\0' && *at != '\r' && *at != '\n') {
    size_t digits = 0;
    while (vek::hex::value(at[digits]) >= 0) digits++;
    if (digits == kEidDigits) return at;
    at += digits != 0 ? digits : 1;
  }
  return nullptr;
}

}  // namespace

int vek_pal_get_imsi(char* imsi) {
  if (imsi == nullptr) return FAIL(VEK_PAL_SIM_BAD_ARGUMENT, "get imsi failed for param");
  const qmi_client_type client = uim_client();
  if (client == nullptr) return -1;
  uim_read_transparent_resp answer;
  if (!read_ef_imsi(client, kUsimPath, answer) && !read_ef_imsi(client, kGsmPath, answer))
    return FAIL(-1, " qmi_client_send_msg_sync QMI_UIM_READ_TRANSPARENT_REQ_V01 fail");
  char digits[kImsiMax + 1];
  if (answer.read_result_valid == 0 || !decode_imsi(answer.read_result, digits))
    return FAIL(-1, "imsi info is invaild");
  strcpy(imsi, digits);
  return 0;
}

int vek_pal_get_iccid(char* iccid) {
  if (iccid == nullptr) return FAIL(VEK_PAL_SIM_BAD_ARGUMENT, "get iccid failed for param");
  const qmi_client_type client = uim_client();
  if (client == nullptr) return -1;
  uim_get_slots_status_resp answer;
  if (!get_slots_status(client, answer)) return -1;
  const uim_physical_slot_status* const slots = physical_slots(answer);
  if (slots == nullptr) return -1;
  const int active = active_slot(slots);
  if (active < 0) return FAIL(-1, "no active slot");
  char digits[2 * kIccidBytes + 1];
  if (slots[active].iccid_len != kIccidBytes || put_digits(slots[active].iccid, 0, 2 * kIccidBytes, digits) == 0)
    return FAIL(-1, "iccid info is invaild");
  strcpy(iccid, digits);
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
