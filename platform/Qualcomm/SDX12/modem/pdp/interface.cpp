#include "modem/pdp/interface.h"

#include <arpa/inet.h>
#include <errno.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include "common/base/unique_fd.h"
#include "log/log.h"
#include "vek_pal/data.h"
#include "vek_pal/thread.h"

namespace vek::pdp {

namespace {

constexpr char kLogTag[] = "PDP";
constexpr int kAttempts = 14;
constexpr unsigned kPauseMs = 5000;

constexpr char kIpv4Route[] = "route add default dev rmnet_data0";
constexpr char kIpv6Route[] = "ip -6 route add default dev rmnet_data0";
constexpr char kSetMtu[] = "ip link set rmnet_data0 mtu 1340";

bool interface_is_up() {
  const UniqueFd device(socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (!device) {
    LOG_E("Unable to open the network device");
    return false;
  }
  ifreq request = {};
  memcpy(request.ifr_name, kInterfaceName, sizeof kInterfaceName);
  if (ioctl(device.get(), SIOCGIFFLAGS, &request) != 0) {
    LOG_E("Unable to obtain the interface flag");
    return false;
  }
  return (request.ifr_flags & IFF_UP) != 0;
}

const void* address_of(const sockaddr* address) {
  const void* const whole = address;
  if (address->sa_family == AF_INET) return &static_cast<const sockaddr_in*>(whole)->sin_addr;
  return &static_cast<const sockaddr_in6*>(whole)->sin6_addr;
}

bool interface_has_address() {
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) {
    LOG_E("getifaddrs() failed: %s", strerror(errno));
    return false;
  }
  const ifaddrs* entry = list;
  for (; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr == nullptr || strcmp(entry->ifa_name, kInterfaceName) != 0) continue;
    if (entry->ifa_addr->sa_family == AF_INET || entry->ifa_addr->sa_family == AF_INET6) break;
  }
  const bool found = entry != nullptr;
  if (found) {
    char text[INET6_ADDRSTRLEN] = "";
    inet_ntop(entry->ifa_addr->sa_family, address_of(entry->ifa_addr), text, sizeof text);
    LOG_I("Interface %s has IP address: %s", kInterfaceName, text);
  } else {
    LOG_E("Interface %s has no valid IPv4/IPv6 address", kInterfaceName);
  }
  freeifaddrs(list);
  return found;
}

bool interface_is_set_up() {
  if (!interface_is_up()) {
    LOG_E("interface %s not exist", kInterfaceName);
    return false;
  }
  LOG_I("interface %s exist", kInterfaceName);
  return interface_has_address();
}

// A route that is there already is refused, and nothing is wrong then: the call goes on.
void run(const char* command) {
  const int status = system(command);
  if (status != 0) LOG_W("%s: status %d", command, status);
}

}  // namespace

bool wait_for_interface() {
  for (int attempt = 0; attempt < kAttempts; attempt++) {
    if (interface_is_set_up()) return true;
    LOG_I("wait %s setup", kInterfaceName);
    vek_pal_thread_msleep(kPauseMs);
  }
  return false;
}

bool set_up_routing(int32_t pdp_type) {
  if (pdp_type < VEK_PAL_PDP_IPV4 || pdp_type > VEK_PAL_PDP_IPV4V6) return false;
  if (pdp_type != VEK_PAL_PDP_IPV6) run(kIpv4Route);
  if (pdp_type != VEK_PAL_PDP_IPV4) run(kIpv6Route);
  run(kSetMtu);
  return true;
}

}  // namespace vek::pdp
