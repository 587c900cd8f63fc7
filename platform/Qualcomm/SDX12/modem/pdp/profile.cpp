#include "modem/pdp/profile.h"

#include <stdio.h>
#include <string.h>
#include <strings.h>

#include "common/base/heap_block.h"
#include "log/log.h"
#include "sys/qmi_request.h"
#include "vek_pal/data.h"
#include "vek_pal/qmi.h"

namespace vek::pdp {

namespace {

constexpr char kLogTag[] = "PDP";
constexpr qmi::Question kGetList = {QMI_WDS_GET_PROFILE_LIST_REQ_V01, "QMI_WDS_GET_PROFILE_LIST_REQ_V01", 10000};
constexpr qmi::Question kGetSettings = {QMI_WDS_GET_PROFILE_SETTINGS_REQ_V01, "QMI_WDS_GET_PROFILE_SETTINGS_REQ_V01",
                                        10000};
constexpr qmi::Question kCreate = {QMI_WDS_CREATE_PROFILE_REQ_V01, "QMI_WDS_CREATE_PROFILE_REQ_V01", 10000};
constexpr qmi::Question kModify = {QMI_WDS_MODIFY_PROFILE_SETTINGS_REQ_V01, "QMI_WDS_MODIFY_PROFILE_SETTINGS_REQ_V01",
                                   10000};
constexpr uint32_t kAuthBits = VEK_PAL_AUTH_PAP_OR_CHAP;  // the interface counts them as the modem does

template <size_t n>
void set_text(char (&to)[n], const char* from, uint8_t& valid) {
  snprintf(to, n, "%s", from);
  valid = 1;
}

bool write_contents(qmi_client_type client, uint8_t index, const ProfileContents& contents) {
  HeapBlock<wds_modify_profile_settings_req> request;
  if (!request) return FAIL(false, "malloc profile failed!");
  request->id = {WDS_PROFILE_TYPE_3GPP_V01, index};
  wds_profile_settings& profile = request->profile;
  set_text(profile.apn_name, contents.apn_name, profile.apn_name_valid);
  set_text(profile.username, contents.user_name, profile.username_valid);
  set_text(profile.password, contents.password, profile.password_valid);
  profile.authentication_preference = static_cast<uint32_t>(contents.auth_type) & kAuthBits;
  profile.authentication_preference_valid = 1;
  profile.pdp_type = pdp_type_to_modem(contents.pdp_type);
  profile.pdp_type_valid = 1;
  wds_modify_profile_settings_resp response;
  return qmi::ask(client, kModify, *request, response);
}

}  // namespace

int32_t pdp_type_from_modem(uint32_t type) {
  switch (type) {
    case WDS_PDP_TYPE_IPV4_V01:
      return VEK_PAL_PDP_IPV4;
    case WDS_PDP_TYPE_IPV6_V01:
      return VEK_PAL_PDP_IPV6;
    case WDS_PDP_TYPE_IPV4V6_V01:
      return VEK_PAL_PDP_IPV4V6;
    default:
      return 0;
  }
}

uint32_t pdp_type_to_modem(int32_t type) {
  switch (type) {
    case VEK_PAL_PDP_IPV6:
      return WDS_PDP_TYPE_IPV6_V01;
    case VEK_PAL_PDP_IPV4V6:
      return WDS_PDP_TYPE_IPV4V6_V01;
    default:
      return WDS_PDP_TYPE_IPV4_V01;
  }
}

bool get_profile_settings(uint8_t index, wds_get_profile_settings_resp& settings) {
  const qmi_client_type client = vek_pal_qmi_get_wds_client(0);
  if (client == nullptr) return FAIL(false, "Fail to get wds client");
  wds_get_profile_settings_req request = {.id = {WDS_PROFILE_TYPE_3GPP_V01, index}};
  return qmi::ask(client, kGetSettings, request, settings);
}

int vek_pal_qmi_wds_get_profile_list(ProfileList& list) {
  const qmi_client_type client = vek_pal_qmi_get_wds_client(0);
  if (client == nullptr) return FAIL(-1, "Fail to get wds client");
  HeapBlock<wds_get_profile_list_resp> answer;
  HeapBlock<wds_get_profile_settings_resp> settings;
  if (!answer || !settings) return FAIL(-1, "malloc profile list failed!");
  wds_get_profile_list_req request = {.profile_type_valid = 1, .profile_type = WDS_PROFILE_TYPE_3GPP_V01};
  if (!qmi::ask(client, kGetList, request, *answer)) return -1;

  list.count = 0;
  for (uint32_t i = 0; i < answer->profile_list_len; i++) {
    ProfileEntry& entry = list.entries[list.count++];
    entry.index = answer->profile_list[i].id.profile_index;
    if (!get_profile_settings(entry.index, *settings)) return -1;
    memcpy(entry.apn_name, settings->profile.apn_name, sizeof entry.apn_name);
  }
  return 0;
}

int vek_pal_qmi_wds_create_profile(const ProfileContents& contents, uint8_t& index) {
  const qmi_client_type client = vek_pal_qmi_get_wds_client(0);
  if (client == nullptr) return FAIL(-1, "Fail to get wds client");
  HeapBlock<wds_create_profile_req> request;
  if (!request) return FAIL(-1, "malloc profile failed!");
  request->profile_type = WDS_PROFILE_TYPE_3GPP_V01;
  wds_create_profile_resp response;
  if (!qmi::ask(client, kCreate, *request, response)) return -1;
  index = response.profile.profile_index;
  return write_contents(client, index, contents) ? 0 : -1;
}

uint8_t find_or_create_profile(const ProfileList& list, const ProfileContents& contents) {
  for (uint32_t i = 0; i < list.count; i++) {
    if (strcasecmp(list.entries[i].apn_name, contents.apn_name) != 0) continue;
    LOG_I("found exit apn name");
    return list.entries[i].index;
  }
  uint8_t index = 0;
  if (vek_pal_qmi_wds_create_profile(contents, index) != 0) return FAIL(uint8_t{0}, "Fail to create profile");
  return index;
}

}  // namespace vek::pdp
