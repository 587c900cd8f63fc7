// Registration, signal, cell and operator, from the modem's bytes to the numbers of the interface.
#include "vek_pal/net.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "fake_modem.h"
#include "records.h"

namespace {

constexpr uint8_t kDms = 0x02, kNas = 0x03;

// A modem for the process: the library's clients are never closed.
FakeModem& modem() {
  static FakeModem modem;
  return modem;
}

void answer(uint8_t service, uint16_t message, Bytes tlvs) {
  modem().on(service, message, [=](const auto&) { return tlvs; });
}
void answer_nas(uint16_t message, const char* tlvs) { answer(kNas, message, kSuccess + hex(tlvs)); }

// Registration, circuit and packet attach, and what follows.
std::string serving(const char* states, const std::string& more = "") {
  return std::string("01 0600") + states + "02 01 08" + more;
}

TEST(Registration, EveryStateHasItsNumber) {
  constexpr int kUntouched = 77;
  const struct {
    const char *states, *roaming;
    int state;
    const char* record;
  } rows[] = {
      {"01 01 02", "", 0, "reg state:0"},
      {"01 01 02", "10 0100 00", 0, "reg state:0"},
      {"01 01 01", "", 1, "reg state:1"},
      {"01 01 01", "10 0100 01", 1, "reg state:1"},
      {"01 01 01", "10 0100 00", 4, "reg state:4"},
      {"01 01 01", "10 0100 02", 1, "reg state:1"},
      {"01 01 00", "10 0100 00", 4, "unknow ps statue:0"},
      {"01 01 00", "", kUntouched, "unknow ps statue:0"},
      {"00 02 02", "", 2, "reg state:2"},
      {"02 02 02", "10 0100 00", 2, " registration state: NAS_NOT_REGISTERED_SEARCHING"},
      {"03 02 02", "", 3, "reg state:3"},
      {"04 02 02", "", kUntouched, " registration state: NAS_REGISTRATION_UNKNOWN"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.states) + " " + row.roaming);
    answer_nas(0x24, serving(row.states, row.roaming).c_str());
    int state = kUntouched;
    const auto seen = records_of([&] { EXPECT_EQ(vek_pal_get_register_state(&state), 0); });
    EXPECT_EQ(state, row.state);
    EXPECT_TRUE(seen.has("NET", row.record)) << seen;
  }
}

TEST(Registration, ChangesReachTheCallbackAlsoAfterTheModemWasGone) {
  static std::atomic<int> last{-1}, calls{0};
  std::atomic<int> subscriptions{0};
  modem().on(kNas, 0x03, [&](const FakeModem::Request& request) {
    EXPECT_EQ(request.tlvs, hex("13 0100 01"));
    subscriptions++;
    return kSuccess;
  });
  const auto heard = [](int state, void* user) {
    EXPECT_EQ(user, &last);
    last = state;
    calls++;
  };
  ASSERT_EQ(vek_pal_register_state_indication_register(heard, &last), 0);
  EXPECT_EQ(subscriptions, 1);
  const auto indicate = [](const char* states, const char* more) {
    modem().send(FakeModem::indication(kNas, *modem().ids(kNas).begin(), 0x24, hex(serving(states, more))));
  };
  indicate("01 01 01", "10 0100 00");
  EXPECT_TRUE(eventually([] { return last == 4; }));

  modem().restart();
  ASSERT_TRUE(eventually([&] { return subscriptions == 2; })) << "nobody asked again for registration events";
  const auto seen = records_of([&] {
    indicate("04 00 00", "");  // no state of the interface: not reported
    indicate("03 02 02", "");
    EXPECT_TRUE(eventually([] { return last == 3; }));
  });
  EXPECT_EQ(calls, 2);
  EXPECT_TRUE(seen.has("NET", " NAS indcation coming, ind msg id :0x24")) << seen;
  EXPECT_TRUE(seen.has("NET", " nas_reg_state: 3")) << seen;
  EXPECT_TRUE(seen.has("NET", " ps_attach_state: 2")) << seen;
  modem().on(kNas, 0x03, nullptr);
}

TEST(Signal, TheLastTechnologyPresentCounts) {
  const std::string cdma = "10 0300 9c 0a00", gsm = "12 0100 b9", wcdma = "13 0300 b5 0a00",
                    lte = "14 0600 c3 f5 a4ff 8600", tds = "16 1000 00009bc2 00000000 00000000 00000000",
                    nan = "16 1000 0000c07f 00000000 00000000 00000000", nr5g = "17 0400 9bff 3700";
  const struct {
    std::string tlvs;
    int rssi;
  } rows[] = {
      {cdma, -100}, {cdma + gsm, -71}, {gsm + wcdma, -75}, {lte + gsm, -61}, {tds + lte, -77}, {gsm + nan, -71},
  };
  for (const auto& row : rows) {
    answer_nas(0x4F, row.tlvs.c_str());
    int rssi = 0;
    const auto seen = records_of([&] { EXPECT_EQ(vek_pal_get_rssi(&rssi), 0); });
    EXPECT_EQ(rssi, row.rssi) << row.tlvs;
    EXPECT_TRUE(seen.has("NET", "Get rssi:" + std::to_string(row.rssi)));
  }
  answer_nas(0x4F, nr5g.c_str());
  int rssi = 5;
  EXPECT_EQ(vek_pal_get_rssi(&rssi), -1);
  EXPECT_EQ(rssi, 5);
}

TEST(Operator, CodesHaveTwoOrThreeDigits) {
  const std::string plmn = "12 0600 0601 0500 01 56", small_mcc = "12 0500 0100 0100 00";
  const struct {
    std::string tlvs;
    const char *mcc, *mnc;
  } rows[] = {
      {plmn, "262", "05"},
      {plmn + "27 0500 0601 0500 00", "262", "05"},
      {plmn + "27 0500 0601 0500 01", "262", "005"},
      {small_mcc, "001", "01"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.tlvs);
    answer_nas(0x24, serving("01 01 01", row.tlvs).c_str());
    char mcc[6] = "", mnc[6] = "", alone[6] = "";
    const auto seen = records_of([&] {
      EXPECT_EQ(vek_pal_get_register_info_str(mcc, mnc), 0);
      EXPECT_EQ(vek_pal_get_mnc_info(alone), 0);
    });
    EXPECT_STREQ(mcc, row.mcc);
    EXPECT_STREQ(mnc, row.mnc);
    EXPECT_STREQ(alone, row.mnc);
    EXPECT_TRUE(seen.has("NET", std::string("current mcc,mnc:") + row.mcc + "," + row.mnc)) << seen;
  }
  answer_nas(0x24, serving("02 02 02").c_str());
  char mcc[6] = "mcc", mnc[6] = "mnc";
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_get_register_info_str(mcc, mnc), -1);
    EXPECT_EQ(vek_pal_get_mnc_info(mnc), -1);
  });
  EXPECT_TRUE(seen.has("NET", "current_plmn  invalid"));
  EXPECT_TRUE(seen.has("NET", "mnc info is invaild"));
  EXPECT_STREQ(mnc, "mnc");
}

TEST(Operator, TheHomeCountryIsTheImsis) {
  constexpr uint8_t kUim = 0x0B;
  answer(kUim, 0x20, kSuccess + hex("10 0200 9000 11 0b00 0900 082926201122334455"));
  char mcc[4] = "...";
  const auto seen = records_of([&] { EXPECT_EQ(vek_pal_get_mcc_info(mcc), 0); });
  EXPECT_STREQ(mcc, "262");
  EXPECT_TRUE(seen.has("NET", "operate success, imsi:262021122334455, mcc:262")) << seen;

  answer(kUim, 0x20, failure(80));
  mcc[0] = '?';
  const auto none = records_of([&] { EXPECT_EQ(vek_pal_get_mcc_info(mcc), -1); });
  EXPECT_TRUE(none.has("NET", "get mcc failed")) << none;
  EXPECT_STREQ(mcc, "?62");
}

TEST(Cell, AreaAndGenerationComeFromTheBestTechnology) {
  // Common part with the area code only, then what each technology adds.
  const std::string common = "00 00 00 00 00 00 00 00 01 3412 00 00000000 00 00 00 00 000000 000000";
  const std::string gsm = "17 1e00" + common + "00 00 00 00", wcdma = "18 2100" + common + "00 00 00 00 00 0000",
                    lte = "19 1d00" + common + "01 7856", lte_no_tac = "19 1d00" + common + "00 0000",
                    nr5g = "4b 1d00" + common + "01 9999";
  const struct {
    std::string tlvs;
    int lac, generation;
    const char* record;
  } rows[] = {
      {gsm, 0x1234, 2, "nw_bearer:2G"},         {gsm + wcdma, 0x1234, 3, "nw_bearer:3G"},
      {wcdma + lte, 0x5678, 4, "nw_bearer:4G"}, {gsm + lte_no_tac, 0x1234, 4, "nw_bearer:4G"},
      {gsm + nr5g, 0x1234, 4, "nw_bearer:4G"},  {nr5g, -1, 4, "nw_bearer: 4"},
      {"", -1, 0, "nw_bearer:unknown"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.tlvs);
    answer_nas(0x4D, row.tlvs.c_str());
    int lac = -1, generation = -1;
    const auto seen = records_of([&] {
      EXPECT_EQ(vek_pal_get_lac(&lac), row.lac == -1 ? -1 : 0);
      EXPECT_EQ(vek_pal_get_current_dataclass(&generation), 0);
    });
    EXPECT_EQ(lac, row.lac);
    EXPECT_EQ(generation, row.generation);
    EXPECT_TRUE(seen.has("NET", row.record)) << seen;
  }
}

TEST(Cell, ItsIdentityIsThereOrNot) {
  unsigned cell = 5;
  answer_nas(0x24, serving("02 02 02").c_str());
  const auto seen = records_of([&] { EXPECT_EQ(vek_pal_get_cellid(&cell), -1); });
  EXPECT_TRUE(seen.has("NET", "cell_id  invalid"));
  EXPECT_EQ(cell, 5u);
  answer_nas(0x24, serving("01 01 01", "1d 0400 03d0a201").c_str());
  EXPECT_EQ(vek_pal_get_cellid(&cell), 0);
  EXPECT_EQ(cell, 0x01A2D003u);
}

TEST(Radio, OnIsOnlineAndEverythingElseIsOff) {
  Bytes asked;
  modem().on(kDms, 0x2E, [&](const FakeModem::Request& request) {
    asked = request.tlvs;
    return kSuccess;
  });
  for (const auto& [state, mode] : {std::pair{1, 0}, {0, 1}, {2, 1}, {-1, 1}}) {
    EXPECT_EQ(vek_pal_set_radio_state(state), 0);
    EXPECT_EQ(asked, hex("01 0100") + Bytes{static_cast<uint8_t>(mode)}) << state;
  }
  for (const auto& [mode, state] : {std::pair{0, 1}, {1, 0}, {3, 0}, {6, 0}}) {
    answer(kDms, 0x2D, kSuccess + hex("01 0100") + Bytes{static_cast<uint8_t>(mode)});
    int now = -1;
    EXPECT_EQ(vek_pal_get_radio_state(&now), 0);
    EXPECT_EQ(now, state) << mode;
  }
  answer(kDms, 0x2D, kSuccess);
  int now = 9;
  const auto seen = records_of([&] { EXPECT_EQ(vek_pal_get_radio_state(&now), -1); });
  EXPECT_TRUE(seen.has("NET", "operating mode info is invaild"));
  EXPECT_EQ(now, 9);
}

TEST(Radio, AttachingIsAskedFor) {
  modem().on(kNas, 0x23, [](const FakeModem::Request& request) {
    return request.tlvs == hex("10 0100 01") ? kSuccess : failure(33);
  });
  EXPECT_EQ(vek_pal_ps_attach(), 0);
  answer(kNas, 0x23, failure(70));
  const auto seen = records_of([] { EXPECT_EQ(vek_pal_ps_attach(), -1); });
  EXPECT_TRUE(seen.has("NET", "send attach QMI fail"));
}

TEST(Net, NowhereToWriteToIsTurnedDown) {
  char text[6];
  const struct {
    int code;
    const char* record;
    std::function<int()> call;
  } rows[] = {
      {-1, "reg_state pointer is NULL", [] { return vek_pal_get_register_state(nullptr); }},
      {-1, "Wrong cb param", [] { return vek_pal_register_state_indication_register(nullptr, nullptr); }},
      {7, "rssi_state pointer is NULL", [] { return vek_pal_get_rssi(nullptr); }},
      {7, "get_cellid pointer is NULL", [] { return vek_pal_get_cellid(nullptr); }},
      {-1, "lac pointer is NULL", [] { return vek_pal_get_lac(nullptr); }},
      {-1, "bearer pointer is NULL", [] { return vek_pal_get_current_dataclass(nullptr); }},
      {7, "get imsi failed for param", [] { return vek_pal_get_mcc_info(nullptr); }},
      {7, "mnc pointer is NULL", [] { return vek_pal_get_mnc_info(nullptr); }},
      {-1, "mcc/mnc pointer is NULL", [&] { return vek_pal_get_register_info_str(nullptr, text); }},
      {-1, "mcc/mnc pointer is NULL", [&] { return vek_pal_get_register_info_str(text, nullptr); }},
      {-1, "radio_state pointer is NULL\r\n", [] { return vek_pal_get_radio_state(nullptr); }},
      {-1, "invaild attach_apn_info ptr!", [] { return vek_pal_get_attach_apn(nullptr); }},
      {-1, "invaild attach_apn_info ptr!", [] { return vek_pal_set_attach_apn(nullptr); }},
  };
  for (const auto& row : rows) {
    const auto seen = records_of([&] { EXPECT_EQ(row.call(), row.code); });
    EXPECT_TRUE(seen.has("NET", row.record)) << row.record << seen;
  }
}

TEST(Net, ARefusalIsRecordedOnceAndLeavesTheOutputAlone) {
  answer(kNas, 0x24, failure(52));
  int state = 8;
  const auto seen = records_of([&] { EXPECT_EQ(vek_pal_get_register_state(&state), -1); });
  EXPECT_EQ(seen.all.size(), 1u) << seen;
  EXPECT_TRUE(seen.has_part("QMI", "Sending QMI_NAS_GET_SERVING_SYSTEM_REQ_MSG_V01 failed: rc=0 ()"));
  EXPECT_EQ(state, 8);
}

}  // namespace
