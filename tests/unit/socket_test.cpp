#include "vek_pal/socket.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netdb.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <string>

#include "common/base/unique_fd.h"
#include "records.h"

namespace {

using vek::UniqueFd;

constexpr uint8_t kLoopback4[] = {127, 0, 0, 1};
constexpr uint8_t kLoopback6[] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};

uint16_t port_of(const UniqueFd& fd) {
  sockaddr_storage name{};
  socklen_t length = sizeof name;
  getsockname(fd.get(), reinterpret_cast<sockaddr*>(&name), &length);
  // Both families have the port at the same place.
  return ntohs(reinterpret_cast<const sockaddr_in*>(&name)->sin_port);
}

// The library's bind is for IPv4 only.
UniqueFd bound_to_loopback6(int type) {
  UniqueFd fd(socket(AF_INET6, type, 0));
  sockaddr_in6 name{};
  name.sin6_family = AF_INET6;
  name.sin6_addr = IN6ADDR_LOOPBACK_INIT;
  EXPECT_EQ(bind(fd.get(), reinterpret_cast<sockaddr*>(&name), sizeof name), 0);
  return UniqueFd(fd.release());
}

int resolved(const char* name, vek_pal_sockaddr_t* all, int ip_type, const uint16_t* port = nullptr) {
  memset(all, 0, VEK_PAL_ADDRESSES_MAX * sizeof *all);
  return vek_pal_getaddrinfo(name, port, all, ip_type);
}

bool is(const vek_pal_sockaddr_t& entry, const uint8_t* addr, int family) {
  return entry.family == family && memcmp(entry.addr, addr, family == AF_INET ? 4 : 16) == 0;
}

}  // namespace

TEST(Socket, IsMadeOfTwoNumbers) {
  const struct {
    int ip_type, sock_type, result;
    const char* record;
  } rows[] = {{3, 0, 7, "ip_type is invalid"},
              {-1, 0, 7, "ip_type is invalid"},
              {0, 2, 7, "sock_type is invalid"},
              {1, -1, 7, "sock_type is invalid"},
              {2, 0, -1, "socket create failed Address family not supported by protocol"}};
  for (const auto& row : rows)
    EXPECT_TRUE(records_of([&] {
                  EXPECT_EQ(vek_pal_socket_create(row.ip_type, row.sock_type), row.result);
                }).has("SOCKET", row.record))
        << row.record;
  for (int i = 0; i < 4; i++) {
    const UniqueFd fd(vek_pal_socket_create(i / 2, i % 2));
    int domain = -1, type = -1;
    socklen_t length = sizeof domain;
    getsockopt(fd.get(), SOL_SOCKET, SO_DOMAIN, &domain, &length);
    getsockopt(fd.get(), SOL_SOCKET, SO_TYPE, &type, &length);
    EXPECT_EQ(domain, i / 2 == 0 ? AF_INET : AF_INET6);
    EXPECT_EQ(type, i % 2 == 0 ? SOCK_STREAM : SOCK_DGRAM);
  }
}

TEST(AddressText, GoesBothWays) {
  uint8_t raw[16];
  char text[46];
  EXPECT_EQ(vek_pal_inet_pton(0, "127.0.0.1", raw), 0);
  EXPECT_EQ(memcmp(raw, kLoopback4, 4), 0);
  EXPECT_STREQ(vek_pal_inet_ntop(0, raw, text, 16), "127.0.0.1");
  EXPECT_EQ(vek_pal_inet_pton(1, "2001:db8::1", raw), 0);
  EXPECT_EQ(vek_pal_inet_ntop(1, raw, text, 46), text);
  EXPECT_STREQ(text, "2001:db8::1");

  const struct {
    int ip_type;
    const char* src;
    int result;
    const char* record;
  } to_raw[] = {{3, "1.2.3.4", 7, "ip_type is invalid"},
                {0, nullptr, 7, "src or dst is NULL"},
                {0, "1.2.3", -1, "pton switch failed Invalid argument"},
                {1, "1.2.3.4", -1, "pton switch failed Invalid argument"},
                {2, "1.2.3.4", -1, "pton switch failed Address family not supported by protocol"}};
  for (const auto& row : to_raw)
    EXPECT_TRUE(records_of([&] {
                  EXPECT_EQ(vek_pal_inet_pton(row.ip_type, row.src, raw), row.result);
                }).has("SOCKET", row.record))
        << row.record;
  const struct {
    int ip_type;
    const void* src;
    int size;
    const char* record;
  } to_text[] = {{-1, raw, 46, "ip_type is invalid"},
                 {0, nullptr, 46, "src or dst is NULL"},
                 {0, raw, -1, "size num is invalid"},
                 {0, raw, 3, "ntop switch failed No space left on device"},
                 {2, raw, 46, "ntop switch failed Address family not supported by protocol"}};
  for (const auto& row : to_text)
    EXPECT_TRUE(records_of([&] {
                  EXPECT_EQ(vek_pal_inet_ntop(row.ip_type, row.src, text, row.size), nullptr);
                }).has("SOCKET", row.record))
        << row.record;
}

TEST(Stream, ConnectsOverBothFamilies) {
  const UniqueFd listener4(vek_pal_socket_create(0, 0));
  ASSERT_EQ(vek_pal_socket_bind(listener4.get(), kLoopback4, 0), 0);
  const UniqueFd listener6 = bound_to_loopback6(SOCK_STREAM);
  for (int ip_type : {0, 1}) {
    const UniqueFd& listener = ip_type == 0 ? listener4 : listener6;
    const uint8_t* const address = ip_type == 0 ? kLoopback4 : kLoopback6;
    ASSERT_EQ(listen(listener.get(), 1), 0);
    const UniqueFd client(vek_pal_socket_create(ip_type, 0));
    const auto seen =
        records_of([&] { ASSERT_EQ(vek_pal_socket_connect(client.get(), address, port_of(listener), ip_type), 0); });
    EXPECT_TRUE(seen.has("SOCKET", ip_type == 0 ? "IP_TYPE_IPV4" : "IP_TYPE_IPV6"));

    UniqueFd server(accept(listener.get(), nullptr, nullptr));
    char buf[8];
    EXPECT_EQ(vek_pal_socket_sendto(client.get(), "hello", 5, address, 0, ip_type), 5);
    EXPECT_EQ(vek_pal_socket_recvfrom(server.get(), buf, sizeof buf, address, 0, ip_type), 5);
    // The peer has gone: a failure, not a signal that ends the process.
    const linger at_once = {1, 0};
    setsockopt(server.get(), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    server.reset();
    usleep(10'000);
    EXPECT_EQ(vek_pal_socket_recvfrom(client.get(), buf, sizeof buf, address, 0, ip_type), -1);
    EXPECT_TRUE(records_of([&] {
                  EXPECT_EQ(vek_pal_socket_sendto(client.get(), "x", 1, address, 0, ip_type), -1);
                }).has("SOCKET", "send failed Broken pipe"));
  }
}

TEST(Datagram, GoesOverBothFamilies) {
  const UniqueFd bound4(vek_pal_socket_create(0, 1));
  ASSERT_EQ(vek_pal_socket_bind(bound4.get(), kLoopback6 + 12, 0), -1) << "0.0.0.1 is nobody's here";
  ASSERT_EQ(vek_pal_socket_bind(bound4.get(), kLoopback4, 0), 0);
  const UniqueFd bound6 = bound_to_loopback6(SOCK_DGRAM);
  for (int ip_type : {0, 1}) {
    const UniqueFd& receiver = ip_type == 0 ? bound4 : bound6;
    const uint8_t* const address = ip_type == 0 ? kLoopback4 : kLoopback6;
    const UniqueFd sender(vek_pal_socket_create(ip_type, 1));
    EXPECT_EQ(vek_pal_socket_sendto(sender.get(), "hello", 5, address, port_of(receiver), ip_type), 5);
    char buf[8];
    EXPECT_EQ(vek_pal_socket_recvfrom(receiver.get(), buf, sizeof buf, address, 0, ip_type), 5);
    EXPECT_EQ(memcmp(buf, "hello", 5), 0);
  }
}

TEST(Bind, TakesFourBytesOfALongerAddress) {
  constexpr uint8_t kMapped[16] = {127, 0, 0, 1, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9};
  const UniqueFd fd(vek_pal_socket_create(0, 1));
  ASSERT_EQ(vek_pal_socket_bind(fd.get(), kMapped, 0), 0);
  sockaddr_in name{};
  socklen_t length = sizeof name;
  ASSERT_EQ(getsockname(fd.get(), reinterpret_cast<sockaddr*>(&name), &length), 0);
  EXPECT_EQ(ntohl(name.sin_addr.s_addr), INADDR_LOOPBACK);
  const UniqueFd six(vek_pal_socket_create(1, 1));
  EXPECT_TRUE(records_of([&] {
                EXPECT_EQ(vek_pal_socket_bind(six.get(), kLoopback6, 0), -1);
              }).has("SOCKET", "bind failed Invalid argument"));
}

TEST(SocketCalls, CheckTheirArguments) {
  const UniqueFd fd(vek_pal_socket_create(0, 1));
  char buf[4];
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_socket_connect(-1, kLoopback4, 1, 0), 7);
    EXPECT_EQ(vek_pal_socket_connect(fd.get(), nullptr, 1, 0), 8);
    EXPECT_EQ(vek_pal_socket_connect(fd.get(), kLoopback4, 1, 2), -1);
    EXPECT_EQ(vek_pal_socket_bind(fd.get(), nullptr, 1), 8);
    EXPECT_EQ(vek_pal_socket_sendto(fd.get(), nullptr, 4, kLoopback4, 1, 0), 8);
    EXPECT_EQ(vek_pal_socket_sendto(fd.get(), buf, 4, kLoopback4, 1, 2), -1);
    EXPECT_EQ(vek_pal_socket_sendto(fd.get(), buf, -1, kLoopback4, 1, 0), -1);
    EXPECT_EQ(vek_pal_socket_recvfrom(fd.get(), buf, 4, nullptr, 1, 0), 8);
    EXPECT_EQ(vek_pal_socket_recvfrom(fd.get(), buf, 4, kLoopback4, 1, -1), -1);
    EXPECT_EQ(vek_pal_socket_recvfrom(fd.get(), buf, -1, kLoopback4, 1, 0), -1);
  });
  const char* const texts[] = {"fd is invalid param",
                               "ip_addr is NULL",
                               "ip is not IPV4 or IPV6",
                               "ip_addr is NULL",
                               "ip_addr is NULL or data is NULL",
                               "ip is not IPV4 or IPV6",
                               "send failed Invalid argument",
                               "ip_addr is NULL or data is NULL",
                               "ip is not IPV4 or IPV6",
                               "recive failed Invalid argument"};
  ASSERT_EQ(seen.all.size(), std::size(texts));
  for (size_t i = 0; i < std::size(texts); i++) EXPECT_EQ(seen.all[i].text, texts[i]);
  EXPECT_TRUE(records_of([&] {
                EXPECT_EQ(vek_pal_socket_connect(fd.get() + 100, kLoopback4, 1, 0), -1);
              }).has("SOCKET", "connect failed Bad file descriptor"));
}

TEST(Resolver, FillsAtMostFiveEntries) {
  std::ofstream("/etc/host.conf") << "multi on\n";
  std::ofstream hosts("/etc/hosts", std::ios::app);
  for (int i = 1; i <= 7; i++) hosts << "192.0.2." << i << " many.test\n";
  hosts << "192.0.2.9 four.test\n2001:db8::9 six.test\n" << std::flush;

  vek_pal_sockaddr_t all[VEK_PAL_ADDRESSES_MAX + 1] = {};
  all[VEK_PAL_ADDRESSES_MAX].family = 99;
  ASSERT_EQ(resolved("many.test", all, 0), 0);
  for (int i = 0; i < VEK_PAL_ADDRESSES_MAX; i++) {
    EXPECT_EQ(all[i].family, AF_INET);
    EXPECT_EQ(all[i].port, 0);
  }
  EXPECT_EQ(all[VEK_PAL_ADDRESSES_MAX].family, 99);

  const uint16_t port = 65535;
  constexpr uint8_t kFour[] = {192, 0, 2, 9};
  constexpr uint8_t kSix[] = {0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9};
  ASSERT_EQ(resolved("four.test", all, 2, &port), 0);
  EXPECT_TRUE(is(all[0], kFour, AF_INET));
  EXPECT_EQ(all[0].port, 65535);
  ASSERT_EQ(resolved("six.test", all, 1, &port), 0);
  EXPECT_TRUE(is(all[0], kSix, AF_INET6));
  EXPECT_EQ(all[0].port, 65535);
  ASSERT_EQ(resolved("::1", all, 2), 0);
  EXPECT_TRUE(is(all[0], kLoopback6, AF_INET6));
}

TEST(Resolver, TellsWhatItCannotResolve) {
  vek_pal_sockaddr_t all[VEK_PAL_ADDRESSES_MAX];
  for (const int ip_type : {3, -1}) {
    const auto seen = records_of([&] { EXPECT_EQ(resolved("127.0.0.1", all, ip_type), 1502); });
    EXPECT_TRUE(seen.has("SOCKET", "ip_type: " + std::to_string(ip_type)));
    EXPECT_TRUE(seen.has_part("SOCKET", "DNS resolution failure "));
  }
  EXPECT_EQ(resolved("no host has this name", all, 2), 1502);
  EXPECT_TRUE(
      records_of([&] { EXPECT_EQ(resolved(nullptr, all, 0), 8); }).has("SOCKET", "hostname or addrinfo is NULL"));
  EXPECT_EQ(vek_pal_getaddrinfo("localhost", nullptr, nullptr, 0), 8);
}
