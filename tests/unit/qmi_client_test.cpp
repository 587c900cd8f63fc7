// The client against a modem on its bad days.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <chrono>
#include <thread>

#include "fake_modem.h"
#include "providers/qmi/qmi_client.h"
#include "providers/qmi/services/dms.h"
#include "providers/qmi/services/pdc.h"

namespace {

bool g_is_fork = false;

}  // namespace

// LeakSanitizer asks at a process's end: a fork has the blocks of its parent's threads, but not their stacks.
extern "C" int __lsan_is_turned_off() { return g_is_fork; }

namespace {

constexpr uint8_t kDms = 0x02, kPdc = 0x24;

int elapsed_ms(const std::function<void()>& body) {
  const auto start = std::chrono::steady_clock::now();
  body();
  return static_cast<int>(
      std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count());
}

class QmiClient : public testing::Test {
 public:
  void SetUp() override {
    modem.on(kDms, 0x25, [](const auto&) { return kSuccess + hex("11 0300 313233"); });
    ASSERT_EQ(open(dms_get_service_object_internal_v01(1, 0, 6), nullptr, nullptr, dms), 0);
  }
  void TearDown() override {
    for (const qmi_client_type client : clients) qmi_client_release(client);
    // A client that is released while it asks for its id gives that back as soon as it comes.
    EXPECT_TRUE(eventually([&] { return modem.ids(kDms).empty() && modem.ids(kPdc).empty(); }));
  }

  int open(qmi_idl_service_object_type object, qmi_client_ind_cb callback, void* data, qmi_client_type& client) {
    const int rc = qmi_client_init_instance(object, kAnyQmiInstance, callback, data, nullptr, 3000, &client);
    if (rc == 0) clients.push_back(client);
    return rc;
  }
  int open_pdc(qmi_client_ind_cb callback, void* data, qmi_client_type& client) {
    return open(pdc_get_service_object_internal_v01(1, 0, 6), callback, data, client);
  }

  int serial_numbers(unsigned timeout_ms = 3000) {
    return qmi_client_send_msg_sync(dms, QMI_DMS_GET_DEVICE_SERIAL_NUMBERS_REQ_V01, nullptr, 0, &response,
                                    sizeof response, timeout_ms);
  }

  FakeModem modem;
  qmi_client_type dms = nullptr;
  std::vector<qmi_client_type> clients;
  dms_get_device_serial_numbers_resp response;
};

}  // namespace

TEST_F(QmiClient, GetsAnAnswer) {
  ASSERT_EQ(serial_numbers(), 0);
  EXPECT_EQ(response.resp.result, 0u);
  EXPECT_TRUE(response.imei_valid);
  EXPECT_FALSE(response.meid_valid);
  EXPECT_STREQ(response.imei, "123");
}

TEST_F(QmiClient, TellsHowAnExchangeWentFromWhatTheModemSaid) {
  modem.on(kDms, 0x25, [](const auto&) { return failure(48); });
  EXPECT_EQ(serial_numbers(), 0);
  EXPECT_EQ(response.resp.result, 1u);
  EXPECT_EQ(response.resp.error, 48u);
  modem.on(kDms, 0x25, [](const auto&) { return hex("11 0300 313233"); });
  EXPECT_EQ(serial_numbers(), -48) << "no result TLV";
  EXPECT_FALSE(response.imei_valid);
  EXPECT_EQ(qmi_client_send_msg_sync(dms, 0x1234, nullptr, 0, &response, sizeof response, 100), -43);
  EXPECT_EQ(qmi_client_send_msg_sync(dms, 0x25, nullptr, 0, &response, 8, 100), -50);
  EXPECT_EQ(qmi_client_send_msg_sync(dms, 0x25, nullptr, 0, nullptr, 0, 100), -1);
  EXPECT_EQ(qmi_client_send_msg_sync(nullptr, 0x25, nullptr, 0, &response, sizeof response, 100), -1);
}

TEST_F(QmiClient, EndsAtItsTimeoutAndDropsTheLateAnswer) {
  FakeModem::Request unanswered;
  std::atomic<bool> asked = false;
  modem.on(kDms, 0x25, [&](const auto& request) -> std::optional<Bytes> {
    unanswered = request;
    asked = true;
    return std::nullopt;
  });
  EXPECT_NEAR(elapsed_ms([&] { EXPECT_EQ(serial_numbers(200), -3); }), 200, 100);

  ASSERT_TRUE(asked);
  modem.send(FakeModem::response(unanswered, kSuccess + hex("11 0400 6c617465")));
  modem.on(kDms, 0x25, [&](const auto&) { return kSuccess + hex("11 0300 6e6577"); });
  ASSERT_EQ(serial_numbers(), 0);
  EXPECT_STREQ(response.imei, "new");
}

TEST_F(QmiClient, AssemblesFramesFromAnyPieces) {
  modem.on(kDms, 0x25, [&](const FakeModem::Request& request) -> std::optional<Bytes> {
    FakeModem::Request other = request;
    other.header.transaction = 9999;
    const Bytes answer = FakeModem::response(request, kSuccess + hex("11 0300 343536"));
    // A stranger's answer, a frame whose lengths contradict each other and half of the answer in one piece, then byte
    // by byte.
    modem.send(FakeModem::response(other, kSuccess) + hex("01 0e00 80 02 01 02 0100 2500 4400 0000") +
               Bytes(answer.begin(), answer.begin() + 20));
    for (size_t i = 20; i < answer.size(); i++) modem.send({answer[i]});
    return std::nullopt;
  });
  ASSERT_EQ(serial_numbers(), 0);
  EXPECT_STREQ(response.imei, "456");
}

TEST_F(QmiClient, TakesAFrameOfTheLargestSize) {
  modem.on(kDms, 0x25, [&](const auto&) {
    Bytes filler(65536 - 13 - 7 - 6 - 3, 0);
    filler.insert(filler.begin(),
                  {0x77, static_cast<uint8_t>(filler.size()), static_cast<uint8_t>(filler.size() >> 8)});
    return kSuccess + filler + hex("11 0300 343536");
  });
  ASSERT_EQ(serial_numbers(), 0);
  EXPECT_STREQ(response.imei, "456");
}

TEST_F(QmiClient, ComesBackAfterGarbageOnTheWire) {
  modem.on(kDms, 0x25, [&](const auto&) -> std::optional<Bytes> {
    modem.send(hex("7e 7e 41 54 0d 0a"));
    return std::nullopt;
  });
  EXPECT_LT(elapsed_ms([&] { EXPECT_EQ(serial_numbers(), -2); }), 1000);
  modem.on(kDms, 0x25, [](const auto&) { return kSuccess; });
  EXPECT_EQ(serial_numbers(), 0);
}

TEST_F(QmiClient, WaitsNoLongerThanASecondForTheRestOfAFrame) {
  modem.on(kDms, 0x25, [&](const auto&) -> std::optional<Bytes> {
    modem.send(hex("01 ffff 80 02"));  // a length of 64 KiB, which would swallow whatever comes after it
    return kSuccess;
  });
  const int took = elapsed_ms([&] { EXPECT_EQ(serial_numbers(), -2); });
  EXPECT_GE(took, 900);
  EXPECT_LT(took, 2000);
  modem.on(kDms, 0x25, [](const auto&) { return kSuccess; });
  EXPECT_EQ(serial_numbers(), 0);
}

TEST_F(QmiClient, EndsARequestAtOnceWhenTheModemGoesAwayAndFindsItAgain) {
  modem.on(kDms, 0x25, [&](const auto&) -> std::optional<Bytes> {
    modem.stop();
    return std::nullopt;
  });
  EXPECT_LT(elapsed_ms([&] { EXPECT_EQ(serial_numbers(), -2); }), 1000);
  EXPECT_LT(elapsed_ms([&] { EXPECT_EQ(serial_numbers(), -2); }), 1000) << "nobody there";
  modem.on(kDms, 0x25, [](const auto&) { return kSuccess; });
  modem.start();
  EXPECT_TRUE(eventually([&] { return modem.ids(kDms).size() == 1; })) << "without a call from the daemon";
  EXPECT_EQ(serial_numbers(), 0);
}

TEST_F(QmiClient, SendsRegistrationsAgainAfterARestart) {
  std::atomic<int> registrations = 0, refused = 2;
  std::atomic<bool> indicated = false;
  modem.on(kPdc, 0x20, [&](const auto&) {
    registrations++;
    return kSuccess;
  });
  qmi_client_type pdc;
  ASSERT_EQ(open_pdc([](qmi_client_type, unsigned, void*, unsigned,
                        void* data) { *static_cast<std::atomic<bool>*>(data) = true; },
                     &indicated, pdc),
            0);
  struct Owner {
    std::atomic<int>& refused;
  } owner{refused};
  qmi_client_on_recovery(
      pdc,
      [](qmi_client_type client, void* data) {
        if (static_cast<Owner*>(data)->refused-- > 0) return -1;  // is asked again
        pdc_indication_register_req request = {1, 1, 1, 1};
        qmi_result_resp result;
        return qmi_client_send_msg_sync(client, 0x20, &request, sizeof request, &result, sizeof result, 1000);
      },
      &owner);
  modem.restart();
  EXPECT_TRUE(eventually([&] { return registrations == 1; }));
  ASSERT_EQ(modem.ids(kPdc).size(), 1u);
  modem.send(FakeModem::indication(kPdc, *modem.ids(kPdc).begin(), 0x2F, hex("01 0400 01000000")));
  EXPECT_TRUE(eventually([&] { return indicated.load(); }));
}

TEST_F(QmiClient, GetsANewIdWhenSomebodyGaveItsIdBack) {
  std::atomic<bool> forgotten = true;
  modem.on(kDms, 0x25, [&](const auto&) { return forgotten.exchange(false) ? failure(7) : kSuccess; });
  EXPECT_EQ(serial_numbers(), 0);
  EXPECT_EQ(response.resp.error, 7u);
  EXPECT_TRUE(eventually([&] { return modem.ids(kDms).size() == 2; }));
  EXPECT_EQ(serial_numbers(), 0);
  EXPECT_EQ(response.resp.error, 0u);
  EXPECT_EQ(modem.opened(), 1u);
  modem.restart();
  EXPECT_TRUE(eventually([&] { return modem.ids(kDms).size() == 1; }));
}

TEST_F(QmiClient, LetsAnIndicationCallbackMakeRequests) {
  struct Seen {
    QmiClient* test;
    std::atomic<int> rc = 1;
  } seen{this};
  qmi_client_type pdc;
  ASSERT_EQ(open_pdc(
                [](qmi_client_type client, unsigned message, void* bytes, unsigned size, void* data) {
                  pdc_refresh_ind indication;
                  EXPECT_EQ(
                      qmi_client_message_decode(client, QMI_IDL_INDICATION, message, bytes, size, &indication, 20), 0);
                  EXPECT_EQ(indication.refresh_event, 1u);
                  static_cast<Seen*>(data)->rc = static_cast<Seen*>(data)->test->serial_numbers();
                },
                &seen, pdc),
            0);
  // While a request is under way, and to nobody's id, and as an answer that asks for no decoding.
  modem.on(kDms, 0x25, [&](const auto&) {
    modem.send(FakeModem::indication(kPdc, 77, 0x2F, hex("01 0400 00000000")));
    return kSuccess;
  });
  modem.on(kDms, 0x2D, [&](const auto&) {
    modem.send(FakeModem::indication(kPdc, *modem.ids(kPdc).begin(), 0x2F, hex("01 0400 01000000")));
    return kSuccess;
  });
  dms_get_operating_mode_resp mode;
  EXPECT_EQ(qmi_client_send_msg_sync(dms, 0x2D, nullptr, 0, &mode, sizeof mode, 3000), 0);
  EXPECT_TRUE(eventually([&] { return seen.rc == 0; }));
}

TEST_F(QmiClient, LosesAndCrossesNothingWithEightThreads) {
  // Each answer names the request that it belongs to.
  std::atomic<int> wrong = 0;
  modem.on(kDms, 0x25, [&](const FakeModem::Request& request) -> std::optional<Bytes> {
    const std::string text = std::to_string(request.header.transaction);
    return kSuccess + Bytes{0x11, static_cast<uint8_t>(text.size()), 0} + Bytes(text.begin(), text.end()) +
           Bytes{0x12, 1, 0, static_cast<uint8_t>('0' + request.header.client_id)};
  });
  qmi_client_type second;
  ASSERT_EQ(open(dms_get_service_object_internal_v01(1, 0, 6), nullptr, nullptr, second), 0);
  std::atomic<int> answered = 0;
  std::mutex numbers_mutex;
  std::map<std::string, std::set<std::string>> numbers;
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; t++)
    threads.emplace_back([&, t] {
      for (int i = 0; i < 1250; i++) {
        dms_get_device_serial_numbers_resp mine;
        if (qmi_client_send_msg_sync(t % 2 == 0 ? dms : second, 0x25, nullptr, 0, &mine, sizeof mine, 10000) != 0)
          continue;
        answered++;
        const std::scoped_lock lock(numbers_mutex);
        if (!numbers[mine.meid].insert(mine.imei).second) wrong++;
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(answered, 10000);
  EXPECT_EQ(wrong, 0) << "an answer that two requests got";
  EXPECT_EQ(numbers["1"].size() + numbers["2"].size(), 10000u);
}

TEST_F(QmiClient, SurvivesRestartsUnderLoad) {
  std::atomic<bool> done = false;
  std::atomic<int> answered = 0, failed = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; t++)
    threads.emplace_back([&] {
      while (!done) {
        dms_get_device_serial_numbers_resp mine;
        const int rc = qmi_client_send_msg_sync(dms, 0x25, nullptr, 0, &mine, sizeof mine, 2000);
        EXPECT_TRUE(rc == 0 || rc == -2) << rc;
        (rc == 0 ? answered : failed)++;
      }
    });
  for (int i = 0; i < 20; i++) {
    const int before = answered;
    EXPECT_TRUE(eventually([&] { return answered > before + 10; }));
    modem.restart();
  }
  done = true;
  for (std::thread& thread : threads) thread.join();
  EXPECT_TRUE(eventually([&] { return serial_numbers() == 0; })) << "the last restart may hit this one too";
}

TEST_F(QmiClient, GivesItsIdsBackWhenTheProcessExitsAndAForkedChildDoesNot) {
  // The process is a child that opened its own session, for this one's lives on.
  const pid_t child = fork();
  if (child == 0) {
    g_is_fork = true;
    exit(0);
  }
  int status;
  waitpid(child, &status, 0);
  EXPECT_EQ(serial_numbers(), 0);
  EXPECT_EQ(modem.ids(kDms).size(), 1u) << "the child gave its parent's id back";
}
