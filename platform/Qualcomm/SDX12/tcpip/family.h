#pragma once

#include <sys/socket.h>

#include <iterator>

namespace vek::tcpip {

constexpr int kFamilies[] = {AF_INET, AF_INET6, AF_UNSPEC};  // by ip_type

constexpr bool is_ip_type(int ip_type) { return ip_type >= 0 && ip_type < static_cast<int>(std::size(kFamilies)); }

}  // namespace vek::tcpip
