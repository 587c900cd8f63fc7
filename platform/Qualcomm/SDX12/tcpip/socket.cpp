#include "vek_pal/socket.h"

#include <arpa/inet.h>
#include <errno.h>
#include <netinet/in.h>
#include <string.h>
#include <sys/socket.h>

#include <iterator>

#include "log/log.h"
#include "tcpip/family.h"

namespace {

using vek::tcpip::is_ip_type;
using vek::tcpip::kFamilies;

constexpr char kLogTag[] = "SOCKET";
constexpr int kStream = 0;
constexpr int kDatagram = 1;
constexpr int kAddressTextSize = 50;

// The system's form of an address, with its length; 0 when the family is none.
struct Address {
  union {
    sockaddr any;
    sockaddr_in v4;
    sockaddr_in6 v6;
  };
  socklen_t length = 0;

  Address(const void* ip_addr, uint16_t port, int ip_type) : v6{} {
    if (ip_type == VEK_PAL_IP_TYPE_IPV4) {
      v4.sin_family = AF_INET;
      v4.sin_port = htons(port);
      memcpy(&v4.sin_addr, ip_addr, sizeof v4.sin_addr);
      length = sizeof v4;
    } else if (ip_type == VEK_PAL_IP_TYPE_IPV6) {
      v6.sin6_family = AF_INET6;
      v6.sin6_port = htons(port);
      memcpy(&v6.sin6_addr, ip_addr, sizeof v6.sin6_addr);
      length = sizeof v6;
    }
  }
};

}  // namespace

int vek_pal_socket_create(int ip_type, int sock_type) {
  if (!is_ip_type(ip_type)) return FAIL(VEK_PAL_SOCKET_BAD_ARGUMENT, "ip_type is invalid");
  if (sock_type != kStream && sock_type != kDatagram) return FAIL(VEK_PAL_SOCKET_BAD_ARGUMENT, "sock_type is invalid");
  const int fd = socket(kFamilies[ip_type], sock_type == kStream ? SOCK_STREAM : SOCK_DGRAM, 0);
  if (fd < 0) return FAIL(-1, "socket create failed %s", strerror(errno));
  LOG_I("socket create success");
  return fd;
}

int vek_pal_inet_pton(int ip_type, const char* src, void* dst) {
  if (!is_ip_type(ip_type)) return FAIL(VEK_PAL_SOCKET_BAD_ARGUMENT, "ip_type is invalid");
  if (src == nullptr || dst == nullptr) return FAIL(VEK_PAL_SOCKET_BAD_ARGUMENT, "src or dst is NULL");
  const int result = inet_pton(kFamilies[ip_type], src, dst);
  if (result == 0) errno = EINVAL;  // text that is no address leaves errno as it was
  if (result != 1) return FAIL(-1, "pton switch failed %s", strerror(errno));
  LOG_I("pton switch success");
  return 0;
}

const char* vek_pal_inet_ntop(int ip_type, const void* src, char* dst, int size) {
  if (!is_ip_type(ip_type)) return FAIL(nullptr, "ip_type is invalid");
  if (src == nullptr || dst == nullptr) return FAIL(nullptr, "src or dst is NULL");
  if (size < 0) return FAIL(nullptr, "size num is invalid");
  if (inet_ntop(kFamilies[ip_type], src, dst, static_cast<socklen_t>(size)) == nullptr)
    return FAIL(nullptr, "ntop switch failed %s", strerror(errno));
  LOG_I("ntop switch success");
  return dst;
}

int vek_pal_socket_connect(int sockfd, const void* ip_addr, uint16_t port, int ip_type) {
  if (sockfd < 0) return FAIL(VEK_PAL_SOCKET_BAD_ARGUMENT, "fd is invalid param");
  if (ip_addr == nullptr) return FAIL(VEK_PAL_SOCKET_NULL_POINTER, "ip_addr is NULL");
  const Address address(ip_addr, port, ip_type);
  if (address.length == 0) return FAIL(-1, "ip is not IPV4 or IPV6");
  LOG_I("%s", ip_type == VEK_PAL_IP_TYPE_IPV4 ? "IP_TYPE_IPV4" : "IP_TYPE_IPV6");
  if (connect(sockfd, &address.any, address.length) != 0) return FAIL(-1, "connect failed %s", strerror(errno));
  return 0;
}

int vek_pal_socket_bind(int sockfd, const void* ip_addr, uint16_t port) {
  if (ip_addr == nullptr) return FAIL(VEK_PAL_SOCKET_NULL_POINTER, "ip_addr is NULL");
  // No family is given, and any four bytes are an IPv4 address: the others of a longer one are never looked at.
  char text[kAddressTextSize];
  if (vek_pal_inet_ntop(VEK_PAL_IP_TYPE_IPV4, ip_addr, text, sizeof text) == nullptr)
    return FAIL(-1, "ip is not IPV4 or IPV6");
  const Address address(ip_addr, port, VEK_PAL_IP_TYPE_IPV4);
  if (bind(sockfd, &address.any, address.length) != 0) return FAIL(-1, "bind failed %s", strerror(errno));
  return 0;
}

int vek_pal_socket_sendto(int sockfd, const void* data, int len, const void* ip_addr, uint16_t port, int ip_type) {
  if (ip_addr == nullptr || data == nullptr)
    return FAIL(VEK_PAL_SOCKET_NULL_POINTER, "ip_addr is NULL or data is NULL");
  const Address address(ip_addr, port, ip_type);
  if (address.length == 0) return FAIL(-1, "ip is not IPV4 or IPV6");
  if (len < 0) return FAIL(-1, "send failed %s", strerror(EINVAL));
  const ssize_t sent = sendto(sockfd, data, static_cast<size_t>(len), MSG_NOSIGNAL, &address.any, address.length);
  if (sent < 0) return FAIL(-1, "send failed %s", strerror(errno));
  return static_cast<int>(sent);
}

int vek_pal_socket_recvfrom(int sockfd, void* buf, int len, const void* ip_addr, uint16_t port, int ip_type) {
  if (ip_addr == nullptr || buf == nullptr) return FAIL(VEK_PAL_SOCKET_NULL_POINTER, "ip_addr is NULL or data is NULL");
  Address sender(ip_addr, port, ip_type);
  if (sender.length == 0) return FAIL(-1, "ip is not IPV4 or IPV6");
  if (len < 0) return FAIL(-1, "recive failed %s", strerror(EINVAL));
  const ssize_t received = recvfrom(sockfd, buf, static_cast<size_t>(len), 0, &sender.any, &sender.length);
  if (received < 0) return FAIL(-1, "recive failed %s", strerror(errno));
  return static_cast<int>(received);
}
