// The data call against a modem that answers as it is told, with an interface and a shell of the test's own.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <stdarg.h>
#include <string.h>
#include <sys/ioctl.h>

#include <atomic>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fake_modem.h"
#include "records.h"
#include "vek_pal/data.h"

namespace {

// --- The system around the library ---

std::vector<std::string> g_commands;
int g_pauses = 0;
int g_up_after_pauses = 0;  // the interface carries an address from then on
bool g_interface_exists = true;

bool interface_has_address() { return g_interface_exists && g_pauses >= g_up_after_pauses; }

}  // namespace

extern "C" int system(const char* command) {
  g_commands.emplace_back(command);
  return 0;
}

extern "C" int usleep(useconds_t microseconds) {
  EXPECT_EQ(microseconds, 5'000'000u);
  g_pauses++;
  return 0;
}

extern "C" int ioctl(int, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  auto* const asked = va_arg(arguments, ifreq*);
  va_end(arguments);
  EXPECT_EQ(request, static_cast<unsigned long>(SIOCGIFFLAGS));
  EXPECT_STREQ(asked->ifr_name, "rmnet_data0");
  asked->ifr_flags = IFF_UP;
  return g_interface_exists ? 0 : -1;
}

extern "C" int getifaddrs(ifaddrs** list) noexcept {
  static char other_name[] = "eth0", name[] = "rmnet_data0";
  static sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(0x0A401705);
  static ifaddrs entry = {}, no_address = {}, other = {};
  other = {.ifa_next = &no_address,
           .ifa_name = other_name,
           .ifa_flags = 0,
           .ifa_addr = reinterpret_cast<sockaddr*>(&address),
           .ifa_netmask = nullptr,
           .ifa_ifu = {},
           .ifa_data = nullptr};
  no_address = {.ifa_next = interface_has_address() ? &entry : nullptr,
                .ifa_name = name,
                .ifa_flags = 0,
                .ifa_addr = nullptr,
                .ifa_netmask = nullptr,
                .ifa_ifu = {},
                .ifa_data = nullptr};
  entry = {.ifa_next = nullptr,
           .ifa_name = name,
           .ifa_flags = 0,
           .ifa_addr = reinterpret_cast<sockaddr*>(&address),
           .ifa_netmask = nullptr,
           .ifa_ifu = {},
           .ifa_data = nullptr};
  *list = &other;
  return 0;
}

extern "C" void freeifaddrs(ifaddrs*) noexcept {}

namespace {

constexpr uint8_t kWds = 0x01;
const Bytes kIpv4Settings = kSuccess + hex("15 0400 010c0b0a 16 0400 020c0b0a 1e 0400 0517400a 20 0400 0617400a"
                                           "21 0400 fcffffff 29 0400 dc050000 2b 0100 04");
const Bytes kIpv6Settings =
    kSuccess + hex("25 1100 20010db8000000000000000000000005 40 26 1100 20010db8000000000000000000000001 40"
                   "27 1000 20010db8005300000000000000000001 29 0400 78050000 2b 0100 06");

FakeModem& modem() {
  static FakeModem modem;
  return modem;
}

std::string contents(const char* path) {
  std::ifstream in(path);
  return {std::istreambuf_iterator<char>(in), {}};
}

Bytes connected(uint8_t family) { return hex("01 0200 02 00 12 0100") + Bytes{family}; }
Bytes disconnected(uint8_t family) { return hex("01 0200 01 00 12 0100") + Bytes{family}; }

class DataConn : public testing::Test {
 protected:
  using Request = FakeModem::Request;

  void SetUp() override {
    g_commands.clear();
    g_pauses = g_up_after_pauses = 0;
    g_interface_exists = true;
    std::ofstream("/etc/resolv.conf") << "search before\n";
    deactivated_ = 0;
    vek_pal_data_connection_deactivated_regisetr([](void* user) { ++*static_cast<std::atomic<int>*>(user); },
                                                 &deactivated_);
    // Profiles 3 "Internet.Example" and 7 "ims"; sessions come up; everything else is taken.
    on(0x2A, [](const Request&) { return kSuccess + hex("01 0700 02 00 03 00 00 07 00"); });
    on(0x2B, [](const Request& request) {
      return kSuccess +
             (request.tlvs.at(4) == 3 ? hex("14 1000 496e7465726e65742e4578616d706c65") : hex("14 0300 696d73"));
    });
    for (const uint16_t taken : std::initializer_list<uint16_t>{0xA2, 0x4D})
      on(taken, [](const Request&) { return kSuccess; });
    on(0x20, [this](const Request& request) { return start(request); });
    on(0x21, [this](const Request& request) {
      later(request, disconnected(family_of(request)));
      return kSuccess;
    });
    on(0x2D, [this](const Request& request) { return family_of(request) == 4 ? kIpv4Settings : kIpv6Settings; });
  }
  void TearDown() override {
    vek_pal_data_conn_info any = {};
    vek_pal_data_conn_release(&any);
    EXPECT_FALSE(std::ifstream("/dev/shm/sem.KORV_Openwrt_sem_data_call.sem"));
    EXPECT_FALSE(std::ifstream("/dev/shm/sem.KORV_Openwrt_sem_data_rls.sem"));
  }

  static void on(uint16_t message, FakeModem::Handler handler) { modem().on(kWds, message, std::move(handler)); }

  // The library opens the client of IPv4 first.
  uint8_t family_of(const Request& request) const { return request.header.client_id == ipv4_client_ ? 4 : 6; }

  std::optional<Bytes> start(const Request& request) {
    requests_.push_back(request.tlvs);
    const uint8_t family = family_of(request);
    if (refused_.contains(family)) return failure(14) + hex("10 0200 0100 11 0400 0600 2100");
    later(request, connected(family));
    return kSuccess + hex("01 0400 c8f1a0") + Bytes{family};
  }

  // The indication follows the answer.
  static void later(const Request& request, Bytes indication) {
    std::thread([id = request.header.client_id, indication] {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      modem().send(FakeModem::indication(kWds, id, 0x22, indication));
    }).detach();
  }

  int call(int pdp_type, const char* apn = "internet.example") {
    vek_pal_data_conn_request request = {};
    snprintf(request.apn_name, sizeof request.apn_name, "%s", apn);
    request.pdp_type = pdp_type;
    memset(&info_, 0x5A, sizeof info_);
    int result = 1;
    seen_ = records_of([&] { result = vek_pal_data_conn_sync(&request, &info_); });
    return result;
  }
  bool info_is_clear() const {
    const vek_pal_data_conn_info none = {};
    return memcmp(&info_, &none, sizeof none) == 0;
  }

  vek_pal_data_conn_info info_ = {};
  Records seen_;
  std::vector<Bytes> requests_;
  std::set<uint8_t> refused_;
  uint8_t ipv4_client_ = 1;
  std::atomic<int> deactivated_ = 0;
};

TEST_F(DataConn, BothFamiliesFromAnApnThatDiffersInCase) {
  ASSERT_EQ(call(3), 0) << seen_;
  EXPECT_EQ(info_.profile_index, 3u);
  EXPECT_EQ(requests_, std::vector<Bytes>(2, hex("31 0100 03")));
  EXPECT_EQ(ntohl(info_.ipv4_address), 0x0A401705u);
  EXPECT_EQ(ntohl(info_.ipv4_primary_dns), 0x0A0B0C01u);
  EXPECT_EQ(ntohl(info_.ipv4_secondary_dns), 0x0A0B0C02u);
  EXPECT_EQ(ntohl(info_.ipv4_gateway), 0x0A401706u);
  EXPECT_EQ(ntohl(info_.ipv4_subnet_mask), 0xFFFFFFFCu);
  EXPECT_EQ(info_.ipv6_address[15], 5);
  EXPECT_EQ(info_.ipv6_gateway[15], 1);
  EXPECT_EQ(info_.ipv6_prefix_length, 64u);
  EXPECT_EQ(info_.mtu, 1400u);
  EXPECT_STREQ(info_.interface_name, "rmnet_data0");
  EXPECT_EQ(g_commands,
            (std::vector<std::string>{"route add default dev rmnet_data0", "ip -6 route add default dev rmnet_data0",
                                      "ip link set rmnet_data0 mtu 1340"}));
  EXPECT_EQ(contents("/etc/resolv.conf"),
            "nameserver 10.11.12.1\nnameserver 10.11.12.2\nnameserver 2001:db8:53::1\nsearch before\n");
  for (const char* text : {"found exit apn name", "start data call in profile index: 3", "rmnetString: rmnet_data0",
                           "Start data session successfully.", "wds connected event,post sem",
                           "newState:2, ip_family:ipv4", "receive new connect state: 2", "interface rmnet_data0 exist",
                           "Interface rmnet_data0 has IP address: 10.64.23.5", "v4 addr= 10.64.23.5",
                           "v6 addr= 2001:db8::5", "v6 p dns=2001:db8:53::1", "v6 s dns= ",
                           "act data_call success! apn:internet.example, pdp_type 3,interface_name: rmnet_data0"})
    EXPECT_TRUE(seen_.has("PDP", text)) << text << "\n" << seen_;
}

TEST_F(DataConn, AFamilyMoreOrLess) {
  const struct {
    int pdp_type;
    std::set<uint8_t> refused;
    int result;
    std::vector<std::string> texts;
  } rows[] = {
      {1, {}, 0, {"act data_call success! apn:internet.example, pdp_type 1,interface_name: rmnet_data0"}},
      {2, {}, 0, {"act data_call success! apn:internet.example, pdp_type 2,interface_name: rmnet_data0"}},
      {3, {4}, 0, {"start ipv4 data call fail", "Data call fail end reason: 1,", "v6 addr= 2001:db8::5"}},
      {3, {6}, 0, {"start ipv6 data call fail", "v4 addr= 10.64.23.5"}},
      {1, {4}, -1, {"start network interface fail", "Data call fail end reason type: 6,verbose :33,"}},
      {2, {6}, -1, {"start ipv6 data call fail"}},
      {3, {4, 6}, -1, {"ipv4 & ipv6 data call fail"}},
      {0, {}, -1, {"fail to add route"}},
      {4, {}, -1, {"fail to add route"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::to_string(row.pdp_type) + " without " + std::to_string(row.refused.size()));
    refused_ = row.refused;
    EXPECT_EQ(call(row.pdp_type), row.result) << seen_;
    for (const std::string& text : row.texts) EXPECT_TRUE(seen_.has("PDP", text)) << text << "\n" << seen_;
    EXPECT_EQ(info_is_clear(), row.result != 0);
    EXPECT_EQ(vek_pal_data_conn_release(&info_), row.result == 0 || row.pdp_type == 0 ? 0 : -1)
        << "only what is up can be released";
  }
}

TEST_F(DataConn, IndicationsThatAreNoNewsOnlyLeaveRecords) {
  ASSERT_EQ(call(1), 0);
  const struct {
    uint16_t message;
    const char* tlvs;
    const char* text;
  } rows[] = {
      {0x22, "01 0200 03 00 12 0100 04", "wds other event"},
      {0x22, "01 0200 04 00", "newState:4, ip_family:ipv0"},
      {0x22, "01 0100 02", "Error in decoding QMI_WDS_PKT_SRVC_STATUS_IND_V01, rc=-48"},
      {0x23, "01 0200 01 00", "It is not QMI_WDS_PKT_SRVC_STATUS_IND_V01 indication"},
  };
  for (const auto& row : rows) {
    Records seen;
    EXPECT_TRUE(eventually([&] {
      seen = records_of([&] {
        modem().send(FakeModem::indication(kWds, ipv4_client_, row.message, hex(row.tlvs)));
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
      });
      return seen.has("PDP", row.text);
    })) << row.text
        << seen;
  }
  EXPECT_EQ(deactivated_, 0);
}

TEST_F(DataConn, AnUnknownApnGetsAProfile) {
  Bytes created, modified;
  on(0x27, [&](const Request& request) {
    created = request.tlvs;
    return kSuccess + hex("01 0200 00 09");
  });
  on(0x28, [&](const Request& request) {
    modified = request.tlvs;
    return kSuccess;
  });
  EXPECT_EQ(call(2, "new.apn"), 0) << seen_;
  EXPECT_EQ(info_.profile_index, 9u);
  EXPECT_EQ(created, hex("01 0100 00"));
  EXPECT_EQ(modified, hex("01 0200 00 09 11 0100 02 14 0700 6e65772e61706e 1b 0000 1c 0000 1d 0100 00"));
}

TEST_F(DataConn, AnInterfaceThatIsLateIsWaitedFor) {
  g_up_after_pauses = 3;
  EXPECT_EQ(call(1), 0);
  EXPECT_EQ(g_pauses, 3);
  EXPECT_TRUE(seen_.has("PDP", "Interface rmnet_data0 has no valid IPv4/IPv6 address"));
  EXPECT_TRUE(seen_.has("PDP", "wait rmnet_data0 setup"));
}

TEST_F(DataConn, AnInterfaceThatNeverComesIsLookedForFourteenTimes) {
  g_interface_exists = false;
  EXPECT_EQ(call(1), -1);
  EXPECT_EQ(g_pauses, 14);
  EXPECT_TRUE(seen_.has("PDP", "Unable to obtain the interface flag"));
  EXPECT_TRUE(seen_.has("PDP", "interface rmnet_data0 not exist"));
  EXPECT_TRUE(seen_.has("PDP", "fail to setup interface"));
  EXPECT_TRUE(g_commands.empty());
}

TEST_F(DataConn, OnlyTheNetworkCallsBack) {
  const auto drop = [this](uint8_t family) {
    const auto id = static_cast<uint8_t>(family == 4 ? ipv4_client_ : ipv4_client_ + 1);
    modem().send(FakeModem::indication(kWds, id, 0x22, disconnected(family)));
  };
  ASSERT_EQ(call(3), 0);
  EXPECT_EQ(vek_pal_data_conn_release(&info_), 0);
  EXPECT_EQ(deactivated_, 0) << "a release is no news";

  ASSERT_EQ(call(3), 0);
  const auto seen = records_of([&] {
    drop(4);
    EXPECT_TRUE(eventually([this] { return deactivated_ == 1; }));
  });
  EXPECT_TRUE(seen.has("PDP", "wds abnormal disconnected event")) << seen;
  EXPECT_EQ(vek_pal_data_conn_release(&info_), 0) << "the other family is still up";
  EXPECT_EQ(deactivated_, 1);
  const auto nothing = records_of([&] { EXPECT_EQ(vek_pal_data_conn_release(&info_), -1); });
  EXPECT_TRUE(nothing.has("PDP", "[platform] data connection_release failed for param"));
}

TEST_F(DataConn, ASessionThatIsUpAlreadyIsUsedAtOnce) {
  ASSERT_EQ(call(1), 0);
  const vek_pal_data_conn_info first = info_;
  on(0x20, [](const Request&) { return failure(26); });
  EXPECT_EQ(call(1), 0) << seen_;
  EXPECT_TRUE(seen_.has("PDP", "the data session is already started"));
  EXPECT_EQ(memcmp(&first, &info_, sizeof first), 0);
  Bytes stopped;
  on(0x21, [&](const Request& request) {
    stopped = request.tlvs;
    later(request, disconnected(4));
    return kSuccess;
  });
  EXPECT_EQ(vek_pal_data_conn_release(&info_), 0);
  EXPECT_EQ(stopped, hex("01 0400 c8f1a004")) << "with the handle of the first start";
}

TEST_F(DataConn, AModemThatRestartsEndsTheCall) {
  ASSERT_EQ(call(1), 0);
  modem().restart();
  EXPECT_TRUE(eventually([this] { return deactivated_ == 1; }));
  EXPECT_EQ(vek_pal_data_conn_release(&info_), -1);
}

TEST_F(DataConn, AModemThatRestartsDuringTheWaitEndsIt) {
  on(0x20, [](const Request&) { return kSuccess + hex("01 0400 c8f1a004"); });  // and never "connected"
  on(0x2D, [](const Request&) { return failure(15); });
  std::thread restart([] {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    modem().restart();
  });
  EXPECT_EQ(call(1), -1);
  restart.join();
  EXPECT_TRUE(seen_.has("PDP", "fail to get PDN runtime setting")) << seen_;
  EXPECT_TRUE(info_is_clear());
}

TEST_F(DataConn, ReleaseThatTheModemRefuses) {
  ASSERT_EQ(call(1), 0);
  on(0x21, [](const Request&) { return failure(70); });
  const auto seen = records_of([&] { EXPECT_EQ(vek_pal_data_conn_release(&info_), -1); });
  EXPECT_TRUE(seen.has("PDP", "data connection_release failed for QMI"));
  on(0x21, [](const Request&) { return failure(26); });
  EXPECT_EQ(vek_pal_data_conn_release(&info_), -1) << "the modem has no such session any more";
  const auto then = records_of([&] { EXPECT_EQ(vek_pal_data_conn_release(&info_), -1); });
  EXPECT_TRUE(then.has("PDP", "[platform] data connection_release failed for param"));
}

TEST_F(DataConn, StopsBeforeTheModemIsAskedOrWhenItDoesNotKnow) {
  vek_pal_data_conn_request request = {};
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_data_conn_sync(nullptr, &info_), -1);
    EXPECT_EQ(vek_pal_data_conn_sync(&request, nullptr), -1);
    EXPECT_EQ(vek_pal_data_conn_release(nullptr), -1);
    EXPECT_EQ(vek_pal_data_connection_deactivated_regisetr(nullptr, nullptr), -1);
  });
  EXPECT_TRUE(seen.has("PDP", "act data_call failed for param"));
  EXPECT_TRUE(seen.has("PDP", "data_connection_deact_ind_cb is invalid"));
  on(0x2A, [](const Request&) { return failure(52); });
  EXPECT_EQ(call(1), -1);
  EXPECT_TRUE(seen_.has("PDP", "Fail to get profile list"));
  EXPECT_TRUE(info_is_clear());
}

}  // namespace
