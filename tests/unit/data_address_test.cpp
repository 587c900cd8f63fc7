// Addresses as text, and the counters of an interface.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <string.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "records.h"
#include "vek_pal/data.h"

namespace {

TEST(AddressText, Ipv4IsReadInNetworkOrder) {
  char text[32] = "";
  EXPECT_EQ(vek_pal_covert_ip_to_str(htonl(0x0A401705), text, sizeof text), 0);
  EXPECT_STREQ(text, "10.64.23.5");
  EXPECT_EQ(vek_pal_covert_ip_to_str(0xFFFFFFFF, text, 16), 0) << "the longest text fits the least size";
  EXPECT_STREQ(text, "255.255.255.255");
}

TEST(AddressText, Ipv6IsWrittenInItsShortForm) {
  char text[64] = "";
  const uint8_t address[16] = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
  EXPECT_EQ(vek_pal_covert_ipv6_to_str(address, text, sizeof text), 0);
  EXPECT_STREQ(text, "2001:db8::1");
}

TEST(AddressText, TurnsDownWhatItCannotWriteTo) {
  const uint8_t address[16] = {};
  char text[64] = "before";
  const struct {
    const char* text;
    std::function<int()> call;
  } rows[] = {
      {"ipStr size is 15; must be at least 16", [&] { return vek_pal_covert_ip_to_str(1, text, 15); }},
      {"ipStr size is -1; must be at least 16", [&] { return vek_pal_covert_ip_to_str(1, text, -1); }},
      {"Error converting ABCDEF to IP string", [] { return vek_pal_covert_ip_to_str(0xABCDEF, nullptr, 32); }},
      {"ipStr size is 45; must be at least 46", [&] { return vek_pal_covert_ipv6_to_str(address, text, 45); }},
      {"Error converting NULL to IP string", [&] { return vek_pal_covert_ipv6_to_str(nullptr, text, 64); }},
  };
  for (const auto& row : rows) {
    const auto seen = records_of([&] { EXPECT_EQ(row.call(), -1); });
    EXPECT_TRUE(seen.has("PDP", row.text)) << seen;
  }
  EXPECT_STREQ(text, "before");
}

class Traffic : public testing::Test {
 protected:
  void SetUp() override { std::filesystem::create_directories(dir_); }
  void TearDown() override { std::filesystem::remove_all("/sys/devices"); }
  void counter(const char* name, const char* text) { std::ofstream(dir_ + name) << text; }
  std::string read(const char* name) {
    std::string text;
    const auto seen = records_of([&] { result_ = vek_pal_get_traffic_by_interface_name(name, &tx_, &rx_); });
    for (const Record& record : seen.all) text += record.text;
    return text;
  }

  const std::string dir_ = "/sys/devices/virtual/net/rmnet_data0/statistics/";
  int result_ = 7;
  uint64_t tx_ = 1, rx_ = 2;
};

TEST_F(Traffic, CountersGoPastFourGigabytes) {
  counter("rx_bytes", "18446744073709551615\n");
  counter("tx_bytes", "4294967296\n");
  EXPECT_EQ(read("rmnet_data0"), "[TRAFFIC]: get success, get tx:4294967296, rx:18446744073709551615");
  EXPECT_EQ(result_, 0);
  EXPECT_EQ(rx_, 18446744073709551615u);
  EXPECT_EQ(tx_, 4294967296u);
}

TEST_F(Traffic, NothingIsWrittenUnlessBothCountersAreRead) {
  EXPECT_EQ(read("rmnet_data0"), "[TRAFFIC]:open fd failed");
  counter("rx_bytes", "");
  EXPECT_EQ(read("rmnet_data0"), "[TRAFFIC]:read fd failed");
  counter("rx_bytes", "12\n");
  EXPECT_EQ(read("rmnet_data0"), "[TRAFFIC]:open fd2 failed");
  EXPECT_EQ(result_, -1);
  EXPECT_EQ(tx_, 1u);
  EXPECT_EQ(rx_, 2u);
}

TEST_F(Traffic, ANameThatLeadsElsewhereIsTurnedDown) {
  for (const char* name : {"", "..", "a/b", "../net/rmnet_data0", "sixteen-letters-"}) {
    EXPECT_EQ(read(name), "[TRAFFIC]: invalid param!") << name;
    EXPECT_EQ(result_, -1);
  }
  EXPECT_EQ(vek_pal_get_traffic_by_interface_name(nullptr, &tx_, &rx_), -1);
  EXPECT_EQ(vek_pal_get_traffic_by_interface_name("lo", nullptr, &rx_), -1);
  EXPECT_EQ(vek_pal_get_traffic_by_interface_name("lo", &tx_, nullptr), -1);
}

}  // namespace
