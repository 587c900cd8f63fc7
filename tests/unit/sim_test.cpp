// The SIM's status, identities and PIN, from the modem's bytes to what a daemon gets.
#include "vek_pal/sim.h"

#include <gtest/gtest.h>

#include "at_server.h"
#include "records.h"
#include "uim_modem.h"
#include "vek_pal/net.h"

namespace {

TEST(SimStatus, EveryStateOfCardAndSlotHasItsNumber) {
  constexpr uint8_t kAbsent = 0, kPresent = 1, kError = 2;
  const std::vector<SlotView> sim = {kSim, kIdleBareEsim}, esim = {kIdleSim, kEsim}, bare = {kIdleEmpty, kBareEsim},
                              neither = {kIdleSim, kIdleEsim};
  const struct {
    std::vector<SlotView> slots;
    uint8_t card;
    std::vector<AppView> apps;
    int status;
  } rows[] = {
      {sim, kPresent, {{2, 7}}, 7},
      {sim, kPresent, {{2, 2}}, 2},
      {sim, kPresent, {{2, 3}}, 3},
      {sim, kPresent, {{2, 1}}, 0},
      {sim, kPresent, {{2, 5}}, 0},
      {sim, kPresent, {}, 0},
      {sim, kAbsent, {}, 0},
      {sim, kError, {{2, 7}}, 0},
      {sim, kPresent, {{5, 2}, {2, 7}}, 7},  // the USIM is not the first
      {sim, kPresent, {{1, 2}, {5, 7}}, 2},  // no USIM: the first
      {esim, kPresent, {{2, 7}}, 7},
      {esim, kPresent, {{2, 2}}, 2},
      {esim, kPresent, {{2, 1}}, 0},
      {esim, kError, {{2, 7}}, 7},
      {bare, kPresent, {}, 6},
      {bare, kPresent, {{2, 7}}, 6},
      {bare, kPresent, {{2, 3}}, 3},
      {bare, kAbsent, {}, 6},
      {neither, kAbsent, {}, 0},
      {neither, kPresent, {{2, 7}}, 7},
  };
  for (size_t i = 0; i < std::size(rows); i++) {
    SCOPED_TRACE(i);
    answer_slots(rows[i].slots);
    answer_card(rows[i].card, rows[i].apps);
    const auto seen = records_of([&] { EXPECT_EQ(vek_pal_get_sim_status(), rows[i].status); });
    EXPECT_TRUE(seen.has("NET", "sim status: " + std::to_string(rows[i].status))) << seen;
    EXPECT_EQ(seen.has("NET", "usim app index 1"), rows[i].apps.size() == 2 && rows[i].apps[1].type == 2);
  }
}

TEST(SimStatus, AFailureSaysWhichQuestionFailed) {
  const Bytes cards_too_many = kSuccess + tlv(0x10, hex("0000 ffff ffff ffff 06"));
  const struct {
    Bytes slots, card;
    int status;
    const char* record;
  } rows[] = {
      {failure(3), {}, 255, " qmi_client_send_msg_sync QMI_UIM_GET_SLOTS_STATUS_REQ_V01 fail"},
      {kSuccess, {}, 8, "physical_slot_status invalid"},
      {kSuccess + slots({kSim}), failure(3), -1, " qmi_client_send_msg_sync QMI_UIM_GET_CARD_STATUS_REQ_V01 fail"},
      {kSuccess + slots({kSim}), kSuccess, 8, "card_status_valid invalid"},
      {kSuccess + slots({kSim}), cards_too_many, 8, "card_status_valid invalid"},
  };
  for (const auto& row : rows) {
    answer(0x47, row.slots);
    answer(0x2F, row.card);
    const auto seen = records_of([&] { EXPECT_EQ(vek_pal_get_sim_status(), row.status); });
    EXPECT_TRUE(seen.has("NET", row.record)) << seen;
  }
}

TEST(SimSlot, IsTheActiveOneOfTheFirstTwo) {
  const struct {
    std::vector<SlotView> slots;
    int slot;
  } rows[] = {
      {{kSim, kIdleEsim}, 0},
      {{kIdleSim, kEsim}, 1},
      {{kIdleSim, kIdleEsim}, -1},
      {{kIdleSim, kIdleEsim, kSim}, -1},
      {{}, -1},
  };
  for (const auto& row : rows) {
    answer_slots(row.slots);
    const auto seen = records_of([&] { EXPECT_EQ(vek_pal_get_current_sim_slot(), row.slot); });
    EXPECT_EQ(seen.has("NET", "physical_slot id " + std::to_string(row.slot + 1)), row.slot >= 0) << seen;
    EXPECT_EQ(seen.has("NET", "logical_slot id 1"), row.slot >= 0) << seen;
  }
}

Bytes file(const std::string& content) {
  const Bytes bytes = hex(content);
  return kSuccess + tlv(0x11, Bytes{static_cast<uint8_t>(bytes.size()), 0} + bytes);
}

TEST(Imsi, IsDecodedOrRefusedAsAWhole) {
  const struct {
    std::string content;
    const char* imsi;  // nullptr: refused
  } rows[] = {
      {"080910101032547698", "001010123456789"},
      {"082926201122334455", "262021122334455"},
      {"0801101021436587F9", "00101123456789"},
      {"0709101021436587FF", "0010112345678"},
      {"0409214365", "0123456"},
      {"04012143F5FFFFFFFF", "012345"},
      {"03092143FFFFFFFFFF", nullptr},  // five digits
      {"04012143FFFFFFFFFF", nullptr},
      {"080910101032547", nullptr},  // the file ends early
      {"0809101010325476", nullptr},
      {"08", nullptr},
      {"", nullptr},
      {"FFFFFFFFFFFFFFFFFF", nullptr},  // never written
      {"000910101032547698", nullptr},
      {"090910101032547698", nullptr},
      {"0809101A1032547698", nullptr},  // no digit
      {"08091010F032547698", nullptr},  // filler in the middle
      {"0809101010325476F9", nullptr},  // odd, but with filler
      {"080110101032547698", nullptr},  // even, but without
      {"080210101032547698", nullptr},  // a temporary identity
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.content);
    answer(0x20, file(row.content));
    char imsi[16] = "untouched";
    const auto seen = records_of([&] { EXPECT_EQ(vek_pal_get_imsi(imsi), row.imsi != nullptr ? 0 : -1); });
    EXPECT_STREQ(imsi, row.imsi != nullptr ? row.imsi : "untouched");
    EXPECT_EQ(seen.has("NET", "imsi info is invaild"), row.imsi == nullptr) << seen;
  }
}

TEST(Imsi, IsReadFromTheGsmApplicationWhenThereIsNoUsim) {
  std::vector<Bytes> asked;
  modem().on(kUim, 0x20, [&](const FakeModem::Request& request) {
    asked.push_back(request.tlvs);
    return asked.size() == 1 ? failure(80) : file("080910101032547698");
  });
  char imsi[16];
  EXPECT_EQ(vek_pal_get_imsi(imsi), 0);
  const Bytes session = hex("01 0200 00 00"), range = hex("03 0400 0000 0900");
  EXPECT_EQ(asked, (std::vector{session + hex("02 0700 076F 04 003FFF7F") + range,
                                session + hex("02 0700 076F 04 003F207F") + range}));
  char mcc[3];
  EXPECT_EQ(vek_pal_get_mcc_info(mcc), 0);
  EXPECT_EQ(std::string(mcc, 3), "001");
  EXPECT_EQ(vek_pal_get_mcc_info(nullptr), 7);

  answer(0x20, failure(82));
  EXPECT_EQ(vek_pal_get_imsi(imsi), -1);
  const auto seen = records_of([&] { EXPECT_EQ(vek_pal_get_mcc_info(mcc), -1); });
  EXPECT_TRUE(seen.has("NET", "get mcc failed")) << seen;
  EXPECT_EQ(vek_pal_get_imsi(nullptr), 7);
}

TEST(Iccid, IsDecodedOrRefusedAsAWhole) {
  const struct {
    const char* stored;
    const char* iccid;
  } rows[] = {
      {"98880010000010325436 ", "89880001000001234563"},
      {"984400000000214365F7", "8944000000001234567"},
      {"984400000000214365FF", "894400000000123456"},
      {"98440000000021FF65F7", nullptr},
      {"98440000000021436A57", nullptr},
      {"9844F0000000214365F7", nullptr},
      {"984400000000214365", nullptr},
      {"FFFFFFFFFFFFFFFFFFFF", nullptr},
      {"", nullptr},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.stored);
    answer_slots({kIdleEmpty, {.active = true, .iccid = row.stored, .apps = 1, .euicc = true}});
    char iccid[21] = "untouched";
    const auto seen = records_of([&] { EXPECT_EQ(vek_pal_get_iccid(iccid), row.iccid != nullptr ? 0 : -1); });
    EXPECT_STREQ(iccid, row.iccid != nullptr ? row.iccid : "untouched");
    EXPECT_EQ(seen.has_part("NET", "get_iccid "), row.iccid != nullptr) << seen;
  }
  char iccid[21];
  answer_slots({kIdleSim, kIdleEsim});
  EXPECT_EQ(vek_pal_get_iccid(iccid), -1);
  EXPECT_EQ(vek_pal_get_iccid(nullptr), 7);
}

TEST(Eid, IsTheNumberInTheAnswersLine) {
  const std::string eid = "89001012000000000000000000123437";
  const struct {
    std::string answer;
    bool good;
    const char* record;
  } rows[] = {
      {"\r\n+GTESIMID: \"" + eid + "\"\r\n\r\nOK\r\n", true, "operater success, eid: 89001012000000000000000000123437"},
      {"+GTESIMID:" + eid + "\r\nOK\r\n", true, "operater success, eid: 89001012000000000000000000123437"},
      {"+GTESIMID: \"" + eid.substr(1) + "\"\r\nOK\r\n", false, "EID parse ERROR"},
      {"+GTESIMID: \"" + eid + "0\"\r\nOK\r\n", false, "EID parse ERROR"},
      {"+GTESIMID: \"\"\r\n" + eid + "\r\nOK\r\n", false, "EID parse ERROR"},
      {"+GTOTHER: \"" + eid + "\"\r\nOK\r\n", false, "EID parse ERROR"},
      {"\r\nERROR\r\n", false, "AT cmd response ERROR"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.answer);
    AtServer server({[&](int connection) {
      EXPECT_EQ(read_line(connection), "AT+GTESIMID=1\r\n");
      write_all(connection, row.answer);
    }});
    char got[33] = "untouched";
    const auto seen = records_of([&] { EXPECT_EQ(vek_pal_get_eid(got), row.good ? 0 : -1); });
    EXPECT_EQ(got, row.good ? eid : "untouched");
    EXPECT_TRUE(seen.has("NET", row.record)) << seen;
  }
  EXPECT_EQ(vek_pal_get_eid(nullptr), 7);
}

TEST(Pin, IsCheckedBeforeItCostsAnAttempt) {
  int attempts = 0;
  Bytes asked, answered = kSuccess;
  modem().on(kUim, 0x26, [&](const FakeModem::Request& request) {
    attempts++;
    asked = request.tlvs;
    return answered;
  });
  for (const char* none : {"", "123", "123456789", "12a4", "1234\n", " 1234"})
    EXPECT_EQ(vek_pal_sim_verify_pin(none), -1);
  const auto null = records_of([] { EXPECT_EQ(vek_pal_sim_verify_pin(nullptr), -1); });
  EXPECT_TRUE(null.has("NET", "pin_code_ptr pointer is NULL\r\n"));
  EXPECT_EQ(attempts, 0);

  const auto good = records_of([] { EXPECT_EQ(vek_pal_sim_verify_pin("1234"), 0); });
  EXPECT_TRUE(good.has("NET", "verify PIN successfully"));
  EXPECT_EQ(asked, hex("01 0200 00 00  02 0600 01 04 31323334"));
  answered = failure(12) + hex("10 0200 02 0a");
  const auto wrong = records_of([] { EXPECT_EQ(vek_pal_sim_verify_pin("87654321"), -1); });
  EXPECT_TRUE(wrong.has("NET", "verify PIN failed, 2 tries left")) << wrong;
}

TEST(SimReset, SwitchesTheSlotOffAndOn) {
  std::vector<std::pair<int, int>> asked;
  Bytes down = kSuccess, up = kSuccess;
  modem().on(kUim, 0x30,
             [&](const FakeModem::Request& request) { return asked.emplace_back(0x30, request.tlvs.at(3)), down; });
  modem().on(kUim, 0x31,
             [&](const FakeModem::Request& request) { return asked.emplace_back(0x31, request.tlvs.at(3)), up; });
  using Asked = decltype(asked);
  const auto good = records_of([] { EXPECT_EQ(vek_pal_resetSIM(1), 0); });
  EXPECT_TRUE(good.has("SYS", "reset sim 1 success")) << good;
  EXPECT_EQ(asked, (Asked{{0x30, 2}, {0x31, 2}}));
  up = failure(26);
  const auto no_up = records_of([] { EXPECT_EQ(vek_pal_resetSIM(0), -1); });
  EXPECT_TRUE(no_up.has("SYS", "power up slot0 failed! rc=0, result=1")) << no_up;
  EXPECT_TRUE(no_up.has("SYS", "power up sim0 failed")) << no_up;
  down = failure(26);
  asked.clear();
  const auto no_down = records_of([] { EXPECT_EQ(vek_pal_resetSIM(0), -1); });
  EXPECT_TRUE(no_down.has("SYS", "power down sim0 failed")) << no_down;
  EXPECT_EQ(asked, (Asked{{0x30, 1}}));
  const auto none = records_of([] {
    EXPECT_EQ(vek_pal_resetSIM(2), 7);
    EXPECT_EQ(vek_pal_resetSIM(-1), 7);
  });
  EXPECT_TRUE(none.has("SYS", "get simId failed for param"));
}

}  // namespace
