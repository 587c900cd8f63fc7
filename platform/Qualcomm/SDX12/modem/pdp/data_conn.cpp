// From an APN to a routed interface, and back.
#include <arpa/inet.h>
#include <stdio.h>
#include <string.h>

#include "common/base/heap_block.h"
#include "log/log.h"
#include "modem/pdp/indication.h"
#include "modem/pdp/interface.h"
#include "modem/pdp/profile.h"
#include "modem/pdp/session.h"
#include "vek_pal/data.h"

static_assert(sizeof(vek_pal_data_conn_request) == 392);
static_assert(sizeof(vek_pal_data_conn_info) == 180);

namespace vek::pdp {

namespace {

constexpr char kLogTag[] = "PDP";
constexpr unsigned kWaitMs = 60000;
constexpr int kIpv4TextSize = 32;
constexpr int kIpv6TextSize = 64;

// A copy whose texts end with a zero byte, whatever the caller's do.
vek_pal_data_conn_request terminated(const vek_pal_data_conn_request& request) {
  vek_pal_data_conn_request copy = request;
  copy.apn_name[sizeof copy.apn_name - 1] = '\0';
  copy.user_name[sizeof copy.user_name - 1] = '\0';
  copy.password[sizeof copy.password - 1] = '\0';
  return copy;
}

// The profile to call with; 0 when there is none and none can be made.
uint8_t profile_for(const vek_pal_data_conn_request& wanted) {
  HeapBlock<ProfileList> list;
  if (!list || vek_pal_qmi_wds_get_profile_list(*list) != 0) return FAIL(uint8_t{0}, "Fail to get profile list");
  LOG_I("data call apn:%s, usrname:%s, password:%s", wanted.apn_name, wanted.user_name, wanted.password);
  return find_or_create_profile(*list, {.apn_name = wanted.apn_name,
                                        .user_name = wanted.user_name,
                                        .password = wanted.password,
                                        .auth_type = wanted.auth_type,
                                        .pdp_type = wanted.pdp_type});
}

// One family, from the start to its addresses. The records say what failed.
bool bring_up(Family family, vek_pal_data_conn_info& info) {
  const int prepared = prepare(g_connected);
  LOG_I("data call sem init, ret=%d.", prepared);
  const Started started = start_session(family, static_cast<uint8_t>(info.profile_index));
  if (started == Started::yes) {
    const int result = wait_for(g_connected, kWaitMs);
    if (result != 0) LOG_E("Wait data call sem failed, ret=%d.", result);
  }
  destroy(g_connected);
  if (started == Started::no)
    return FAIL(false, family == kIpv4 ? "start ipv4 data call fail" : "start ipv6 data call fail");
  if (!read_runtime_settings(family, info)) return FAIL(false, "fail to get PDN runtime setting");
  return true;
}

struct Families {
  bool ipv4 = false, ipv6 = false;
};

// False when the call has failed for good.
bool bring_up_families(int32_t pdp_type, vek_pal_data_conn_info& info, Families& up) {
  const bool both = pdp_type == VEK_PAL_PDP_IPV4V6;
  if (pdp_type <= VEK_PAL_PDP_IPV4 || both) {
    up.ipv4 = bring_up(kIpv4, info);
    if (!up.ipv4 && pdp_type == VEK_PAL_PDP_IPV4) return false;
  }
  if (pdp_type == VEK_PAL_PDP_IPV6 || both) {
    up.ipv6 = bring_up(kIpv6, info);
    if (!up.ipv6 && !both) return false;
  }
  if (both && !up.ipv4 && !up.ipv6) return FAIL(false, "ipv4 & ipv6 data call fail");
  return true;
}

// What a family gave, as text; a server that the network did not give is empty.
struct Texts {
  char address[kIpv6TextSize];
  char primary_dns[kIpv6TextSize];
  char secondary_dns[kIpv6TextSize];
};

bool ipv4_texts(const vek_pal_data_conn_info& info, Texts& texts) {
  in_addr back;
  if (vek_pal_covert_ip_to_str(info.ipv4_address, texts.address, kIpv4TextSize) != 0 ||
      inet_pton(AF_INET, texts.address, &back) != 1)
    return FAIL(false, "fail to pton addres");
  if (info.ipv4_primary_dns != 0) vek_pal_covert_ip_to_str(info.ipv4_primary_dns, texts.primary_dns, kIpv4TextSize);
  if (info.ipv4_secondary_dns != 0)
    vek_pal_covert_ip_to_str(info.ipv4_secondary_dns, texts.secondary_dns, kIpv4TextSize);
  LOG_I("v4 addr= %s", texts.address);
  LOG_I("v4 p dns addr= %s", texts.primary_dns);
  LOG_I("v4 s dns addr= %s", texts.secondary_dns);
  return true;
}

bool ipv6_texts(const vek_pal_data_conn_info& info, Texts& texts) {
  constexpr uint8_t kNone[16] = {};
  in6_addr back;
  if (vek_pal_covert_ipv6_to_str(info.ipv6_address, texts.address, kIpv6TextSize) != 0 ||
      inet_pton(AF_INET6, texts.address, &back) != 1)
    return FAIL(false, "fail to pton addres");
  if (memcmp(info.ipv6_primary_dns, kNone, sizeof kNone) != 0)
    vek_pal_covert_ipv6_to_str(info.ipv6_primary_dns, texts.primary_dns, kIpv6TextSize);
  if (memcmp(info.ipv6_secondary_dns, kNone, sizeof kNone) != 0)
    vek_pal_covert_ipv6_to_str(info.ipv6_secondary_dns, texts.secondary_dns, kIpv6TextSize);
  LOG_I("v6 addr= %s", texts.address);
  LOG_I("v6 p dns=%s", texts.primary_dns);
  LOG_I("v6 s dns= %s", texts.secondary_dns);
  return true;
}

void insert_dns(const Texts& texts) {
  if (*texts.primary_dns == '\0' && *texts.secondary_dns == '\0') return;
  vek_pal_insert_dns_addr_top(texts.primary_dns, texts.secondary_dns);
}

bool release(Family family) {
  LOG_I(family == kIpv4 ? "start release IPV4" : "start release IPV6");
  const int prepared = prepare(g_released);
  LOG_I(family == kIpv4 ? "data release sem init, ret=%d." : "sim sem init, ret=%d.", prepared);
  g_release_in_process = 1;
  const bool stopped = stop_session(family);
  const int result = stopped ? wait_for(g_released, kWaitMs) : 0;
  destroy(g_released);
  if (!stopped) return FAIL(false, "data connection_release failed for QMI");
  if (result != 0) LOG_E("[platform]: Wait sim sem failed, ret=%d.", result);
  forget_session(family);
  return true;
}

}  // namespace

}  // namespace vek::pdp

using namespace vek::pdp;

int vek_pal_data_conn_sync(const vek_pal_data_conn_request* request, vek_pal_data_conn_info* info) {
  if (request == nullptr || info == nullptr) return FAIL(-1, "act data_call failed for param");
  const vek_pal_data_conn_request wanted = terminated(*request);
  *info = {};
  vek_pal_data_conn_info result = {};
  result.profile_index = profile_for(wanted);
  if (result.profile_index == 0) return -1;
  LOG_I("start data call in profile index: %d", static_cast<int>(result.profile_index));
  memcpy(result.interface_name, kInterfaceName, sizeof kInterfaceName);

  Families up;
  if (!bring_up_families(wanted.pdp_type, result, up)) return -1;
  if (!wait_for_interface()) return FAIL(-1, "fail to setup interface");
  if (!set_up_routing(wanted.pdp_type)) return FAIL(-1, "fail to add route");
  Texts ipv4 = {}, ipv6 = {};
  if (up.ipv4 && !ipv4_texts(result, ipv4)) return -1;
  if (up.ipv6 && !ipv6_texts(result, ipv6)) return -1;
  // The servers that are put in last stand first.
  insert_dns(ipv6);
  insert_dns(ipv4);
  *info = result;
  LOG_I("act data_call success! apn:%s, pdp_type %d,interface_name: %s", wanted.apn_name, wanted.pdp_type,
        result.interface_name);
  return 0;
}

int vek_pal_data_conn_release(const vek_pal_data_conn_info* info) {
  if (info == nullptr || (!is_up(kIpv4) && !is_up(kIpv6)))
    return FAIL(-1, "[platform] data connection_release failed for param");
  bool released = true;
  for (const Family family : {kIpv4, kIpv6})
    if (released && is_up(family)) released = release(family);
  g_release_in_process = 0;
  if (!released) return -1;
  LOG_I("[platform] data connection_release successfully");
  return 0;
}
