#include <arpa/inet.h>
#include <stddef.h>

#include "log/log.h"
#include "vek_pal/data.h"

namespace {

constexpr char kLogTag[] = "PDP";

}  // namespace

int vek_pal_covert_ip_to_str(uint32_t ipv4, char* buf, int size) {
  if (size < INET_ADDRSTRLEN) return FAIL(-1, "ipStr size is %d; must be at least %i", size, INET_ADDRSTRLEN);
  if (buf == nullptr || inet_ntop(AF_INET, &ipv4, buf, static_cast<socklen_t>(size)) == nullptr)
    return FAIL(-1, "Error converting %X to IP string", ipv4);
  return 0;
}

int vek_pal_covert_ipv6_to_str(const uint8_t* ipv6, char* buf, int size) {
  if (size < INET6_ADDRSTRLEN) return FAIL(-1, "ipStr size is %d; must be at least %i", size, INET6_ADDRSTRLEN);
  // The address is 16 raw bytes, not a text that a record could show.
  if (ipv6 == nullptr || buf == nullptr || inet_ntop(AF_INET6, ipv6, buf, static_cast<socklen_t>(size)) == nullptr)
    return FAIL(-1, "Error converting %s to IP string", ipv6 == nullptr ? "NULL" : "IPv6 address");
  return 0;
}
