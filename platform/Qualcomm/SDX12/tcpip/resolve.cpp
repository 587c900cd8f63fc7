#include <arpa/inet.h>
#include <errno.h>
#include <netdb.h>
#include <netinet/in.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>

#include "log/log.h"
#include "tcpip/family.h"
#include "vek_pal/socket.h"

static_assert(sizeof(vek_pal_sockaddr_t) == 20);

namespace {

constexpr char kLogTag[] = "SOCKET";

bool fill(vek_pal_sockaddr_t& slot, const sockaddr* address) {
  if (address->sa_family == AF_INET) {
    sockaddr_in v4;
    memcpy(&v4, address, sizeof v4);
    memcpy(slot.addr, &v4.sin_addr, sizeof v4.sin_addr);
    slot.port = ntohs(v4.sin_port);
  } else if (address->sa_family == AF_INET6) {
    sockaddr_in6 v6;
    memcpy(&v6, address, sizeof v6);
    memcpy(slot.addr, &v6.sin6_addr, sizeof v6.sin6_addr);
    slot.port = ntohs(v6.sin6_port);
  } else {
    return false;
  }
  slot.family = static_cast<uint8_t>(address->sa_family);
  return true;
}

int fill_all(vek_pal_sockaddr_t* result, const addrinfo* list) {
  int filled = 0;
  for (; list != nullptr && filled < VEK_PAL_ADDRESSES_MAX; list = list->ai_next)
    if (fill(result[filled], list->ai_addr)) filled++;
  return filled;
}

}  // namespace

int vek_pal_getaddrinfo(const char* hostname, const uint16_t* port, vek_pal_sockaddr_t* result, int ip_type) {
  if (hostname == nullptr || result == nullptr)
    return FAIL(VEK_PAL_SOCKET_NULL_POINTER, "hostname or addrinfo is NULL");
  LOG_I("ip_type: %d", ip_type);
  addrinfo hints{};
  hints.ai_flags = AI_PASSIVE;
  hints.ai_family = vek::tcpip::is_ip_type(ip_type) ? vek::tcpip::kFamilies[ip_type] : -1;  // the resolver refuses -1
  char service[sizeof "65535"];
  if (port != nullptr) snprintf(service, sizeof service, "%d", *port);

  addrinfo* list = nullptr;
  if (getaddrinfo(hostname, port != nullptr ? service : nullptr, &hints, &list) != 0)
    return FAIL(VEK_PAL_SOCKET_NOT_RESOLVED, "DNS resolution failure %s", strerror(errno));
  if (list == nullptr) return FAIL(VEK_PAL_SOCKET_NOT_RESOLVED, "getaddrinfo result is NULL");
  const int filled = fill_all(result, list);
  freeaddrinfo(list);
  if (filled == 0) return FAIL(VEK_PAL_SOCKET_NO_ADDRESS, "IP ontaining failure");
  return 0;
}
