// The profile of the LTE attach.
#include <stdio.h>
#include <string.h>

#include "common/base/heap_block.h"
#include "log/log.h"
#include "modem/pdp/profile.h"
#include "sys/qmi_request.h"
#include "vek_pal/net.h"
#include "vek_pal/qmi.h"

namespace {

constexpr char kLogTag[] = "NET";
constexpr vek::qmi::Question kGetAttachList = {QMI_WDS_GET_LTE_ATTACH_PDN_LIST_REQ_V01,
                                               "QMI_WDS_GET_LTE_ATTACH_PDN_LIST_REQ_V01", 10000};
constexpr vek::qmi::Question kSetAttachList = {QMI_WDS_SET_LTE_ATTACH_PDN_LIST_REQ_V01,
                                               "QMI_WDS_SET_LTE_ATTACH_PDN_LIST_REQ_V01", 10000};
constexpr int32_t kProfileIndexMax = 255;

template <size_t n>
void copy_text(char (&to)[n], const char (&from)[n]) {
  snprintf(to, n, "%.*s", static_cast<int>(n - 1), from);
}

void fill(vek_pal_attach_apn_info& info, uint8_t index, const wds_profile_settings& profile) {
  info = {};
  info.profile_index = index;
  copy_text(info.apn_name, profile.apn_name);
  info.pdp_type = vek::pdp::pdp_type_from_modem(profile.pdp_type);
  info.roaming_pdp_type = profile.roaming_disallowed_flag != 0 ? 0 : info.pdp_type;
  info.auth_type = static_cast<int32_t>(profile.authentication_preference);
  copy_text(info.user_name, profile.username);
  copy_text(info.password, profile.password);
}

// The profile that `info` means; 0 when there is none and none can be made.
uint8_t profile_of(const vek_pal_attach_apn_info& info) {
  if (info.profile_index > kProfileIndexMax) return FAIL(uint8_t{0}, "no profile has index %d", info.profile_index);
  if (info.profile_index > 0) return static_cast<uint8_t>(info.profile_index);
  vek_pal_attach_apn_info texts;
  copy_text(texts.apn_name, info.apn_name);
  copy_text(texts.user_name, info.user_name);
  copy_text(texts.password, info.password);
  LOG_I("attach apn:%s, usrname:%s, password:%s", texts.apn_name, texts.user_name, texts.password);
  vek::HeapBlock<vek::pdp::ProfileList> list;
  if (!list || vek::pdp::vek_pal_qmi_wds_get_profile_list(*list) != 0) return 0;
  return vek::pdp::find_or_create_profile(*list, {.apn_name = texts.apn_name,
                                                  .user_name = texts.user_name,
                                                  .password = texts.password,
                                                  .auth_type = info.auth_type,
                                                  .pdp_type = info.pdp_type});
}

}  // namespace

int vek_pal_get_attach_apn(vek_pal_attach_apn_info* info) {
  if (info == nullptr) return FAIL(-1, "invaild attach_apn_info ptr!");
  const qmi_client_type client = vek_pal_qmi_get_wds_client(0);
  if (client == nullptr) return FAIL(-1, "Fail to get wds client");
  wds_get_lte_attach_pdn_list_resp list;
  if (!vek::qmi::ask(client, kGetAttachList, list)) return FAIL(-1, "get attach pdn list fail");
  if (list.attach_pdn_list_valid == 0 || list.attach_pdn_list_len == 0 || list.attach_pdn_list[0] > kProfileIndexMax)
    return FAIL(-1, "attach_pdn_list invalid");

  const auto index = static_cast<uint8_t>(list.attach_pdn_list[0]);
  vek::HeapBlock<wds_get_profile_settings_resp> settings;
  if (!settings || !vek::pdp::get_profile_settings(index, *settings)) return -1;
  fill(*info, index, settings->profile);
  LOG_I(
      "attach APN profile: index %d, apn_name %s, pdp_type %d, roaming_pdp %d, auth_type %d, userName %s, password %s",
      info->profile_index, info->apn_name, info->pdp_type, info->roaming_pdp_type, info->auth_type, info->user_name,
      info->password);
  return 0;
}

int vek_pal_set_attach_apn(const vek_pal_attach_apn_info* info) {
  if (info == nullptr) return FAIL(-1, "invaild attach_apn_info ptr!");
  const qmi_client_type client = vek_pal_qmi_get_wds_client(0);
  if (client == nullptr) return FAIL(-1, "Fail to get wds client");
  const uint8_t index = profile_of(*info);
  if (index == 0) return FAIL(-1, "set attach params fail");

  wds_set_lte_attach_pdn_list_req request = {};
  request.attach_pdn_list_len = 1;
  request.attach_pdn_list[0] = index;
  request.action_valid = 1;
  request.action = WDS_ATTACH_PDN_LIST_ACTION_DETACH_OR_PDN_DISCONNECT_V01;
  qmi_result_resp response;
  if (!vek::qmi::ask(client, kSetAttachList, request, response)) return FAIL(-1, "set attach params fail");
  return 0;
}

int vek_pal_get_pdp_ip_type(void) { return 0; }
