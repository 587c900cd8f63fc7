// The clients that the library's areas share, and the judgement of a response.
#define GTEST_DONT_DEFINE_FAIL 1  // FAIL is the log's here, which comes with the clients
#include <gtest/gtest.h>
#include <string.h>

#include <thread>

#include "fake_modem.h"
#include "records.h"
#include "sys/qmi_clients.h"
#include "vek_pal/qmi.h"

namespace {

constexpr uint8_t kWds = 0x01, kDms = 0x02, kNas = 0x03, kUim = 0x0B, kPdc = 0x24;

// One for all tests, for clients are never closed.
FakeModem& modem() {
  static FakeModem modem;
  return modem;
}

std::string event(uint8_t value) { return {1, 4, 0, static_cast<char>(value), 0, 0, 0}; }

Records indicate(unsigned message, std::string tlvs) {
  // Any client of the service will do for decoding.
  static qmi_client_type client = nullptr;
  if (client == nullptr)
    qmi_client_init_instance(pdc_get_service_object_internal_v01(1, 0, 6), kAnyQmiInstance, nullptr, nullptr, nullptr,
                             3000, &client);
  return records_of(
      [&] { vek_pal_pdc_qmi_ind_cb(client, message, tlvs.data(), static_cast<unsigned>(tlvs.size()), nullptr); });
}

int elapsed_ms(const std::function<void()>& body) {
  const auto start = std::chrono::steady_clock::now();
  body();
  return static_cast<int>(
      std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count());
}

}  // namespace

TEST(QmiSharedClients, TryAnewAsLongAsNobodyIsThere) {
  const struct {
    std::function<void*()> get;
    const char* failed;
    const char* text;
  } rows[] = {
      {vek_pal_qmi_get_dms_client, "Failed to init DMS qmi client, error code: -2 ", "Fail to init DMS client"},
      {[] { return vek_pal_qmi_get_wds_client(0); }, "Failed to init WDS qmi client, error code: -2.",
       "Fail to init wds client"},
      {[] { return vek_pal_qmi_get_wds_client(1); }, "Failed to init WDS qmi client, error code: -2.",
       "Fail to init wds client"},
      {vek_pal_qmi_get_nas_client, "Failed to init NAS qmi client, error code: -2.", "Fail to init nas client"},
      {vek_pal_qmi_get_uim_client, "Failed to init UIM qmi client, error code: -2.", "Fail to init uim client"},
  };
  for (const auto& row : rows)
    for (int attempt = 0; attempt < 2; attempt++) {
      const auto seen = records_of([&] { EXPECT_EQ(row.get(), nullptr); });
      EXPECT_TRUE(seen.has("MODEM", row.failed)) << seen;
      EXPECT_TRUE(seen.has("MODEM", row.text)) << seen;
    }
  EXPECT_EQ(vek_pal_qmi_get_wds_client(2), nullptr);
  EXPECT_EQ(vek_pal_qmi_wds_client_init(2), -1);
}

TEST(QmiSharedClients, AreOpenedOnceByAnyNumberOfThreads) {
  modem();
  std::vector<std::thread> threads;
  std::atomic<void*> first = nullptr;
  for (int i = 0; i < 8; i++)
    threads.emplace_back([&] {
      void* const client = vek_pal_qmi_get_nas_client();
      void* expected = nullptr;
      EXPECT_NE(client, nullptr);
      first.compare_exchange_strong(expected, client);
      EXPECT_EQ(client, first);
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(modem().ids(kNas).size(), 1u) << "a client id leaked";
}

TEST(QmiSharedClients, SayThatTheyAreOpen) {
  modem();
  auto seen = records_of([] { EXPECT_EQ(vek_pal_qmi_device_client_init(), 0); });
  EXPECT_TRUE(seen.has_part("MODEM", "DMS client inited success, handle "));
  seen = records_of([] { EXPECT_EQ(vek_pal_qmi_device_client_init(), 0); });
  EXPECT_TRUE(seen.has_part("MODEM", "dms client already initialized. Handle "));
  EXPECT_EQ(seen.all.size(), 1u);
  EXPECT_EQ(modem().ids(kDms).size(), 1u);

  EXPECT_EQ(vek_pal_qmi_wds_client_init(0), 0);
  EXPECT_NE(vek_pal_qmi_get_wds_client(1), vek_pal_qmi_get_wds_client(0));
  EXPECT_EQ(modem().ids(kWds).size(), 2u);
  seen = records_of([] { EXPECT_EQ(vek_pal_qmi_wds_client_init(1), 0); });
  EXPECT_TRUE(seen.has_part("MODEM", "WDS client already initialized. Handle "));

  EXPECT_NE(vek_pal_qmi_get_uim_client(), nullptr);
  EXPECT_EQ(vek::sim_reset::vek_pal_qmi_uim_client_init(), 0);
  EXPECT_NE(vek::sim_reset::uim_client(), vek_pal_qmi_get_uim_client());
  EXPECT_EQ(modem().ids(kUim).size(), 2u);
}

TEST(QmiCheckResponse, JudgesAndLogsInOneForm) {
  const struct {
    int rc, result, error, judged;
    const char* text;
    bool incompatible;
  } rows[] = {
      {0, 0, 0, 0, "M sent to Modem successfully", false},
      {0, 1, 26, -1, "Sending M failed: rc=0 (), resp.result=1.[0x01], resp.error=26.[0x1a]", false},
      {-1, 0, 0, -1, "Sending M failed: rc=-1 (Internal), resp.result=0.[0x00], resp.error=0.[0x00]", false},
      {-2, 0, 0, -1, "Sending M failed: rc=-2 (Service), resp.result=0.[0x00], resp.error=0.[0x00]", false},
      {-3, 0, 0, -1, "Sending M failed: rc=-3 (Timeout), resp.result=0.[0x00], resp.error=0.[0x00]", false},
      {-17, 0, 0, -1, "Sending M failed: rc=-17 (x), resp.result=0.[0x00], resp.error=0.[0x00]", false},
      {-43, 0, 0, -1, "Sending M failed: rc=-43 (x), resp.result=0.[0x00], resp.error=0.[0x00]", true},
      {-48, 0, 0, -1, "Sending M failed: rc=-48 (x), resp.result=0.[0x00], resp.error=0.[0x00]", true},
      {-50, 0, 0, -1, "Sending M failed: rc=-50 (x), resp.result=0.[0x00], resp.error=0.[0x00]", true},
  };
  for (const auto& row : rows) {
    const auto seen =
        records_of([&] { EXPECT_EQ(vek_pal_qmi_check_response("M", row.rc, row.result, row.error), row.judged); });
    EXPECT_TRUE(seen.has("QMI", row.text)) << seen;
    EXPECT_EQ(seen.has("QMI", "Modem is running an incompatible version of client library!"), row.incompatible);
  }
}

TEST(QmiConnectState, CountsAsTheLibraryDoes) {
  const int expected[] = {0, 0, 2, 3, 1, 0};
  for (int status = 0; status < 6; status++) EXPECT_EQ(vek_pal_qmi_wds_convert_connect_state(status), expected[status]);
  EXPECT_EQ(vek_pal_qmi_wds_convert_connect_state(-1), 0);
}

TEST(MbnRefresh, FollowsTheModemsEvents) {
  modem();
  auto seen = indicate(0x2F, event(1));
  EXPECT_TRUE(seen.has("SYS", " PDC indcation coming, ind msg id :0x2f"));
  EXPECT_TRUE(seen.has("SYS", "pdc refresh event: 1.(0:start,1:complete)"));
  EXPECT_FALSE(seen.has("SYS", "post mbn refresh sem ")) << "nobody waits";
  seen = records_of(vek_pal_wait_mbn_refresh_sem);
  EXPECT_TRUE(seen.has("SYS", "current pdc refresh state 2\n")) << seen;
  EXPECT_FALSE(seen.has_part("SYS", "mbn refresh sem init"));

  indicate(0x2F, event(2));
  seen = records_of(vek_pal_wait_mbn_refresh_sem);
  EXPECT_TRUE(seen.has("SYS", "current pdc refresh state 2\n")) << "a client refresh changes nothing";

  seen = indicate(0x2F, "\x01");
  EXPECT_TRUE(seen.has("SYS", "QMI NAS status change ind decode failed err :-48")) << seen;
  seen = indicate(0x30, event(0));
  EXPECT_TRUE(seen.has("SYS", "unknown indication msg_id: 48."));
}

TEST(MbnRefresh, WaitsForTheModemToFinish) {
  std::atomic<int> registrations = 0;
  modem().on(kPdc, 0x20, [&](const FakeModem::Request& request) {
    EXPECT_EQ(request.tlvs, hex("10 0100 01 11 0100 01"));
    registrations++;
    return kSuccess;
  });
  auto seen = records_of([] { EXPECT_EQ(vek_pal_qmi_pdc_event_register(), 0); });
  EXPECT_TRUE(seen.has_part("SYS", "PDC client inited success, handle "));
  seen = records_of([] { EXPECT_EQ(vek_pal_qmi_pdc_event_register(), 0); });
  EXPECT_TRUE(seen.has_part("SYS", "PDC client already initialized. Handle "));
  EXPECT_EQ(registrations, 2);

  vek_pal_clear_mbn_refresh_status();
  seen = records_of([] {
    std::thread second(vek_pal_wait_mbn_refresh_sem);
    EXPECT_LT(elapsed_ms([] {
                std::thread later([] {
                  std::this_thread::sleep_for(std::chrono::milliseconds(100));
                  const uint8_t id = *modem().ids(kPdc).rbegin();
                  modem().send(FakeModem::indication(kPdc, id, 0x2F, hex("01 0400 00000000")) +
                               FakeModem::indication(kPdc, id, 0x2F, hex("01 0400 01000000")));
                });
                vek_pal_wait_mbn_refresh_sem();
                later.join();
              }),
              2000);
    second.join();
  });
  EXPECT_TRUE(seen.has("SYS", "current pdc refresh state 0\n"));
  EXPECT_TRUE(seen.has("SYS", "mbn refresh sem init, ret=0."));
  EXPECT_TRUE(seen.has("SYS", "post mbn refresh sem "));
  EXPECT_TRUE(seen.has("SYS", "wait mbn refresh done."));

  modem().restart();
  EXPECT_TRUE(eventually([&] { return registrations == 3; })) << "the library registers again by itself";
  modem().on(kPdc, 0x20, [&](const auto&) { return failure(3); });
  seen = records_of([] { EXPECT_EQ(vek_pal_qmi_pdc_event_register(), -1); });
  EXPECT_TRUE(seen.has("SYS", "qmi_client_send_msg_sync QMI_PDC_INDICATION_REGISTER_REQ_MSG_V01 fail"));
}
