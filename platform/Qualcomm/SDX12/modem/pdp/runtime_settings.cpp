// What the network gave a session.
#include <arpa/inet.h>
#include <string.h>

#include "common/base/heap_block.h"
#include "log/log.h"
#include "modem/pdp/session.h"
#include "providers/qmi/services/wds.h"
#include "sys/qmi_request.h"
#include "vek_pal/qmi.h"

namespace vek::pdp {

namespace {

constexpr char kLogTag[] = "PDP";
constexpr qmi::Question kGetRuntimeSettings = {QMI_WDS_GET_RUNTIME_SETTINGS_REQ_V01,
                                               "QMI_WDS_GET_RUNTIME_SETTINGS_REQ_V01", 10000};
constexpr uint32_t kWanted = WDS_SETTING_DNS_V01 | WDS_SETTING_IP_ADDRESS_V01 | WDS_SETTING_GATEWAY_V01 |
                             WDS_SETTING_MTU_V01 | WDS_SETTING_IP_FAMILY_V01;

// The modem's numbers have the first octet on top. What it did not send is 0 in the cleared response.
void read_ipv4(const wds_get_runtime_settings_resp& settings, vek_pal_data_conn_info& info) {
  info.ipv4_address = htonl(settings.ipv4_address);
  info.ipv4_primary_dns = htonl(settings.primary_dns);
  info.ipv4_secondary_dns = htonl(settings.secondary_dns);
  info.ipv4_gateway = htonl(settings.ipv4_gateway);
  info.ipv4_subnet_mask = htonl(settings.ipv4_subnet_mask);
}

void read_ipv6(const wds_get_runtime_settings_resp& settings, vek_pal_data_conn_info& info) {
  memcpy(info.ipv6_address, settings.ipv6_address.address, sizeof info.ipv6_address);
  info.ipv6_prefix_length = settings.ipv6_address.prefix_length;
  memcpy(info.ipv6_gateway, settings.ipv6_gateway.address, sizeof info.ipv6_gateway);
  memcpy(info.ipv6_primary_dns, settings.ipv6_primary_dns, sizeof info.ipv6_primary_dns);
  memcpy(info.ipv6_secondary_dns, settings.ipv6_secondary_dns, sizeof info.ipv6_secondary_dns);
}

}  // namespace

bool read_runtime_settings(Family family, vek_pal_data_conn_info& info) {
  const qmi_client_type client = vek_pal_qmi_get_wds_client(family);
  if (client == nullptr) return FAIL(false, "Fail to get wds client");
  HeapBlock<wds_get_runtime_settings_resp> settings;
  if (!settings) return FAIL(false, "malloc runtime settings failed!");
  wds_get_runtime_settings_req request = {.requested_settings_valid = 1, .requested_settings = kWanted};
  if (!qmi::ask(client, kGetRuntimeSettings, request, *settings)) return false;
  if ((family == kIpv4 ? settings->ipv4_address_valid : settings->ipv6_address_valid) == 0)
    return FAIL(false, "no address in PDN runtime setting");
  if (family == kIpv4)
    read_ipv4(*settings, info);
  else
    read_ipv6(*settings, info);
  if (settings->mtu_valid != 0) info.mtu = settings->mtu;
  return true;
}

}  // namespace vek::pdp
