// The modem's 3GPP profiles.
#pragma once

#include <stdint.h>

#include "providers/qmi/services/wds.h"

namespace vek::pdp {

// What a profile is made from. Texts end with a zero byte.
struct ProfileContents {
  const char* apn_name;
  const char* user_name;
  const char* password;
  int32_t auth_type;  // as in the interface
  int32_t pdp_type;
};

struct ProfileEntry {
  uint8_t index;
  char apn_name[128];
};

struct ProfileList {
  uint32_t count;
  ProfileEntry entries[255];
};

// Between the interface's `pdp_type` and the modem's. What is neither IPv4, IPv6 nor both is 0 there and IPv4 here.
int32_t pdp_type_from_modem(uint32_t type);
uint32_t pdp_type_to_modem(int32_t type);

// All profiles with their APNs, in the modem's order. 0 or -1.
int vek_pal_qmi_wds_get_profile_list(ProfileList& list);

// 0 and the new profile's index, or -1.
int vek_pal_qmi_wds_create_profile(const ProfileContents& contents, uint8_t& index);

bool get_profile_settings(uint8_t index, wds_get_profile_settings_resp& settings);

// The index of the first profile of an APN, case ignored; a profile is made when the list has none. 0 on a failure,
// which is in the records.
uint8_t find_or_create_profile(const ProfileList& list, const ProfileContents& contents);

}  // namespace vek::pdp
