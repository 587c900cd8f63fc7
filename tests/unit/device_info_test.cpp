#include "vek_pal/device_info.h"

#include <gtest/gtest.h>
#include <string.h>

#include "fake_modem.h"
#include "records.h"
#include "vek_pal/at_client.h"

namespace {

// The AT server's next answer; the command as it was sent.
std::optional<std::string> g_at_answer;
std::string g_at_command;

class DeviceInfo : public testing::Test {
 protected:
  static constexpr uint8_t kDms = 0x02;

  void answer(uint16_t message, const Bytes& tlvs) {
    modem().on(kDms, message, [tlvs](const auto&) { return tlvs; });
  }
  static Bytes text(uint8_t id, std::string_view value) {
    return Bytes{id, static_cast<uint8_t>(value.size()), 0} + Bytes(value.begin(), value.end());
  }
  // One for all tests, for clients are never closed.
  static FakeModem& modem() {
    static FakeModem modem;
    return modem;
  }
  void SetUp() override { modem(); }

  char out[256] = "untouched";
};

}  // namespace

int vek_pal_at_send(const char* command, uint32_t command_size, char* response, uint32_t response_size,
                    uint32_t* length) {
  g_at_command.assign(command, command_size);
  if (!g_at_answer) return -1;
  memset(response, 0, response_size);
  *length = static_cast<uint32_t>(g_at_answer->copy(response, response_size));
  return 0;
}

TEST_F(DeviceInfo, TurnsDownBadBuffers) {
  const struct {
    int (*function)(char*);
    int code;
    const char* text;
  } rows[] = {
      {vek_pal_get_imei, 7, "get imei failed for param"},
      {vek_pal_get_manufacture_date, 7, "get manufacture date failed for param"},
      {vek_pal_get_pidvid, 7, "get pidvid failed for param"},
      {vek_pal_get_model, -1, "get model failed for param"},
      {vek_pal_get_firmware_version, -1, "get firmware version failed for param"},
      {vek_pal_get_chip_type, -1, "get chip type failed for param"},
  };
  for (const auto& row : rows) {
    const auto seen = records_of([&] { EXPECT_EQ(row.function(nullptr), row.code); });
    EXPECT_TRUE(seen.has("MODEM", row.text)) << seen;
  }
}

TEST_F(DeviceInfo, ReadsTheImei) {
  answer(0x25, kSuccess + text(0x11, "359072061234567"));
  const auto seen = records_of([&] { ASSERT_EQ(vek_pal_get_imei(out), 0); });
  EXPECT_STREQ(out, "359072061234567");
  EXPECT_TRUE(seen.has("QMI", "QMI_DMS_GET_DEVICE_SERIAL_NUMBERS_REQ_V01 sent to Modem successfully"));
  EXPECT_TRUE(seen.has("MODEM", "operater success, get imei: 359072061234567"));
  answer(0x25, kSuccess + text(0x11, "3590720612345678901234"));
  ASSERT_EQ(vek_pal_get_imei(out), 0);
  EXPECT_STREQ(out, "359072061234567") << "what has room in 16 bytes";
}

TEST_F(DeviceInfo, LeavesTheBufferAloneWithoutAnImei) {
  answer(0x25, kSuccess + text(0x12, "35907206123456"));
  auto seen = records_of([&] { EXPECT_EQ(vek_pal_get_imei(out), -1); });
  EXPECT_TRUE(seen.has("MODEM", "imei info not valid"));
  answer(0x25, failure(3));
  seen = records_of([&] { EXPECT_EQ(vek_pal_get_imei(out), -1); });
  EXPECT_TRUE(seen.has("QMI",
                       "Sending QMI_DMS_GET_DEVICE_SERIAL_NUMBERS_REQ_V01 failed: rc=0 (), resp.result=1.[0x01], "
                       "resp.error=3.[0x03]"))
      << seen;
  EXPECT_TRUE(seen.has("MODEM", " qmi_client_send_msg_sync QMI_DMS_GET_DEVICE_SERIAL_NUMBERS_REQ_V01 fail"));
  EXPECT_STREQ(out, "untouched");
}

TEST_F(DeviceInfo, ReadsTheModelWithoutEndingIt) {
  answer(0x79, kSuccess + hex("01 0900 05000000 5344583132"));
  const auto seen = records_of([&] { ASSERT_EQ(vek_pal_get_model(out), 0); });
  EXPECT_STREQ(out, "SDX12ched");
  EXPECT_TRUE(seen.has("MODEM", "get model : SDX12"));
}

TEST_F(DeviceInfo, CutsTheFirmwareVersionAtItsUnderscore) {
  for (const auto& [version, kept] :
       {std::pair("ABC_123", "ABC"), {"ABC_1_2", "ABC"}, {"89.123", "89.123"}, {"_", ""}}) {
    answer(0x7C, kSuccess + text(0x01, version));
    const auto seen = records_of([&] { ASSERT_EQ(vek_pal_get_firmware_version(out), 0); });
    EXPECT_STREQ(out, kept);
    EXPECT_TRUE(seen.has("MODEM", std::string("get get_firmver : ") + kept));
  }
}

TEST_F(DeviceInfo, SaysWhatTheModemDoesNotKnow) {
  answer(0x79, failure(71));
  answer(0x7C, failure(71));
  auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_get_model(out), -1);
    EXPECT_EQ(vek_pal_get_firmware_version(out), -1);
  });
  EXPECT_TRUE(seen.has("MODEM", "modelid info is invaild"));
  EXPECT_TRUE(seen.has("MODEM", "version info is invaild"));
  answer(0x79, hex("01 0900 05000000 5344583132"));
  seen = records_of([&] { EXPECT_EQ(vek_pal_get_model(out), -1); });
  EXPECT_TRUE(seen.has("MODEM", "qmi send message fail error:0"));
  EXPECT_STREQ(out, "untouched");
}

TEST_F(DeviceInfo, ReadsTheMonthOfManufactureFromTheSerialNumber) {
  const struct {
    const char* answer;
    const char* date;
  } rows[] = {
      {"\r\n+CFSN: \"ABCDEFGHIJ\"\r\n\r\nOK\r\n", "20140301"},
      {"\"ABCDAAGHIJ\"", "20100101"},
      {"\"ABCDZZGHIJ\"", "20331201"},
      {"\"ABCDIYGHIJ\"", "20101201"},  // no such year
      {"\"ABCDeOGHIJ\"", "20100101"},  // lower case, no such month
      {"\"ABCDEFGHI\"", "20100101"},   // nine characters
      {"\"ABCDEFGHIJK\"", "20100101"},
      {"\"ABCDEFGHIJ", "20100101"},
      {"OK", "20100101"},
  };
  for (const auto& row : rows) {
    g_at_answer = row.answer;
    ASSERT_EQ(vek_pal_get_manufacture_date(out), 0);
    EXPECT_STREQ(out, row.date) << row.answer;
    EXPECT_EQ(g_at_command, "AT+CFSN\r\n");
  }
  g_at_answer = std::nullopt;
  const auto seen = records_of([&] { EXPECT_EQ(vek_pal_get_manufacture_date(out), -1); });
  EXPECT_TRUE(seen.has("MODEM", "get manufacture date for at excute failed"));
}

TEST_F(DeviceInfo, ReadsTheUsbIds) {
  const struct {
    const char* answer;
    int code;
    const char* ids;
    const char* text;
  } rows[] = {
      {"+GTOEMUSBID:2CB7,0A06\r\nOK\r\n", 0, "2CB70A06", "get pidvid: 2CB70A06"},
      {"+GTOEMUSBID: 2CB7,0A06\r\nok", 0, " 2CB70A0", "get pidvid:  2CB70A0"},
      {"OK:12", 0, "12", "get pidvid: 12"},
      {"+GTOEMUSBID:2CB7,0A06 ERROR", -1, "untouched", "AT cmd response ERROR"},
      {"OK", -1, "untouched", "PID VID parse ERROR"},
      {"OK:", -1, "untouched", "PID VID parse ERROR"},
  };
  for (const auto& row : rows) {
    strcpy(out, "untouched");
    g_at_answer = row.answer;
    const auto seen = records_of([&] { EXPECT_EQ(vek_pal_get_pidvid(out), row.code) << row.answer; });
    EXPECT_STREQ(out, row.ids);
    EXPECT_TRUE(seen.has("MODEM", row.text)) << seen;
  }
  EXPECT_EQ(g_at_command, std::string("AT+GTOEMUSBID?\r\n\0", 17)) << "the terminator is sent too";
  g_at_answer = std::nullopt;
  EXPECT_EQ(vek_pal_get_pidvid(out), -1);
}

TEST_F(DeviceInfo, KnowsTheRestByHeart) {
  EXPECT_EQ(vek_pal_get_chip_type(out), 0);
  EXPECT_STREQ(out, "SDX12");
  EXPECT_EQ(vek_pal_get_sim_cd_state(), 2);
  EXPECT_EQ(vek_pal_get_current_oem(), 1);
}
