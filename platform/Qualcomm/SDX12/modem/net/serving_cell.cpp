// Signal, cell and operator of the serving network.
#include <stdio.h>
#include <string.h>

#include "log/log.h"
#include "providers/qmi/services/nas.h"
#include "sys/qmi_request.h"
#include "vek_pal/net.h"
#include "vek_pal/qmi.h"

namespace {

constexpr char kLogTag[] = "NET";
constexpr vek::qmi::Question kGetServingSystem = {QMI_NAS_GET_SERVING_SYSTEM_REQ_MSG_V01,
                                                  "QMI_NAS_GET_SERVING_SYSTEM_REQ_MSG_V01", 10000};
constexpr vek::qmi::Question kGetSigInfo = {QMI_NAS_GET_SIG_INFO_REQ_MSG_V01, "QMI_NAS_GET_SIG_INFO_REQ_MSG_V01",
                                            10000};
constexpr vek::qmi::Question kGetSysInfo = {QMI_NAS_GET_SYS_INFO_REQ_MSG_V01, "QMI_NAS_GET_SYS_INFO_REQ_MSG_V01",
                                            10000};
constexpr size_t kCodeSize = 6;  // five digits, which no number of 16 bits exceeds

template <typename Response>
bool ask_nas(const vek::qmi::Question& question, Response& response) {
  const qmi_client_type client = vek_pal_qmi_get_nas_client();
  return client != nullptr ? vek::qmi::ask(client, question, response) : FAIL(false, "Fail to get nas client");
}

void print_mnc(char (&text)[kCodeSize], unsigned mnc, bool three_digits) {
  snprintf(text, sizeof text, three_digits ? "%03u" : "%02u", mnc & 0xFFFF);
}

}  // namespace

int vek_pal_get_rssi(int* rssi) {
  if (rssi == nullptr) return FAIL(VEK_PAL_NET_BAD_ARGUMENT, "rssi_state pointer is NULL");
  nas_get_sig_info_resp response;
  if (!ask_nas(kGetSigInfo, response)) return -1;

  const nas_signal& signal = response.signal;
  bool found = false;
  const auto take = [&](uint8_t valid, int value) {
    if (valid == 0) return;
    *rssi = value;
    found = true;
  };
  take(signal.cdma_sig_info_valid, signal.cdma_sig_info.rssi);
  take(signal.gsm_sig_info_valid, signal.gsm_sig_info);
  take(signal.wcdma_sig_info_valid, signal.wcdma_sig_info.rssi);
  take(signal.lte_sig_info_valid, signal.lte_sig_info.rssi);
  // Any 32 bits can arrive in the number's place; only what can be a level is converted.
  const float real_rssi = signal.tdscdma_sig_info.rssi;
  if (real_rssi > -1000 && real_rssi < 1000) take(signal.tdscdma_sig_info_valid, static_cast<int>(real_rssi));
  if (!found) return FAIL(-1, "no signal info");
  LOG_I("Get rssi:%d", *rssi);
  return 0;
}

int vek_pal_get_cellid(unsigned* cell_id) {
  if (cell_id == nullptr) return FAIL(VEK_PAL_NET_BAD_ARGUMENT, "get_cellid pointer is NULL");
  nas_get_serving_system_resp response;
  if (!ask_nas(kGetServingSystem, response)) return -1;
  if (response.cell_id_valid == 0) return FAIL(-1, "cell_id  invalid");
  *cell_id = response.cell_id;
  LOG_I("current cell id %d", static_cast<int>(*cell_id));
  return 0;
}

int vek_pal_get_lac(int* lac) {
  if (lac == nullptr) return FAIL(-1, "lac pointer is NULL");
  nas_get_sys_info_resp response;
  if (!ask_nas(kGetSysInfo, response)) return -1;

  const nas_sys_info& info = response.info;
  if (info.lte_sys_info_valid != 0 && info.lte_sys_info.tac_valid != 0)
    *lac = info.lte_sys_info.tac;
  else if (info.wcdma_sys_info_valid != 0 && info.wcdma_sys_info.common.lac_valid != 0)
    *lac = info.wcdma_sys_info.common.lac;
  else if (info.gsm_sys_info_valid != 0 && info.gsm_sys_info.common.lac_valid != 0)
    *lac = info.gsm_sys_info.common.lac;
  else
    return FAIL(-1, "network lac invalid");
  LOG_I("network lac is %d", *lac);
  LOG_I("cueernt lac: %d", *lac);
  return 0;
}

int vek_pal_get_current_dataclass(int* bearer) {
  if (bearer == nullptr) return FAIL(-1, "bearer pointer is NULL");
  nas_get_sys_info_resp response;
  if (!ask_nas(kGetSysInfo, response)) return -1;

  const nas_sys_info& info = response.info;
  LOG_I("gsm_sys_info_valid %d!", info.gsm_sys_info_valid);
  LOG_I("wcdma_sys_info_valid %d!", info.wcdma_sys_info_valid);
  LOG_I("lte_sys_info_valid %d!", info.lte_sys_info_valid);
  LOG_I("nr5g_sys_info_valid %d!", info.nr5g_sys_info_valid);
  int generation = 0;
  if (info.lte_sys_info_valid != 0 || info.nr5g_sys_info_valid != 0)
    generation = 4;
  else if (info.wcdma_sys_info_valid != 0)
    generation = 3;
  else if (info.gsm_sys_info_valid != 0)
    generation = 2;
  if (generation == 0)
    LOG_I("nw_bearer:unknown");
  else
    LOG_I("nw_bearer:%dG", generation);
  LOG_I("nw_bearer: %d", generation);
  *bearer = generation;
  return 0;
}

int vek_pal_get_mnc_info(char* mnc) {
  if (mnc == nullptr) return FAIL(VEK_PAL_NET_BAD_ARGUMENT, "mnc pointer is NULL");
  nas_get_serving_system_resp response;
  if (!ask_nas(kGetServingSystem, response))
    return FAIL(-1, "qmi send message fail error:%d", static_cast<int>(response.resp.error));

  char text[kCodeSize] = "";
  const nas_mnc_pcs_digit& network = response.mnc_includes_pcs_digit;
  unsigned code = network.mnc;
  if (response.mnc_includes_pcs_digit_valid == 0) {
    if (response.current_plmn_valid == 0) return FAIL(-1, "mnc info is invaild");
    code = response.current_plmn.mobile_network_code;
  }
  print_mnc(text, code, network.mnc_includes_pcs_digit != 0);
  strcpy(mnc, text);
  LOG_I("resp.mnc_includes_pcs_digit.mnc: %d, get mnc : %s", static_cast<int>(code), text);
  return 0;
}

int vek_pal_get_register_info_str(char* mcc, char* mnc) {
  if (mcc == nullptr || mnc == nullptr) return FAIL(-1, "mcc/mnc pointer is NULL");
  nas_get_serving_system_resp response;
  if (!ask_nas(kGetServingSystem, response)) return -1;
  if (response.current_plmn_valid == 0) return FAIL(-1, "current_plmn  invalid");

  const nas_plmn& plmn = response.current_plmn;
  char country[kCodeSize], network[kCodeSize];
  snprintf(country, sizeof country, "%03u", unsigned{plmn.mobile_country_code});
  print_mnc(network, plmn.mobile_network_code, response.mnc_includes_pcs_digit.mnc_includes_pcs_digit != 0);
  strcpy(mcc, country);
  strcpy(mnc, network);
  LOG_I("current mcc,mnc:%s,%s", country, network);
  return 0;
}
