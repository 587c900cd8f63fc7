// Every exported function that asks the modem and needs memory for it, with each of its allocations failing in turn.
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <stdarg.h>
#include <string.h>

#include <atomic>
#include <fstream>
#include <string>
#include <thread>

#include "failing_heap.h"
#include "providers/qmi/qmi_client.h"
#include "providers/qmi/services/dms.h"
#include "uim_modem.h"
#include "vek_pal.h"

using failing_heap::fail_each_allocation;

// The system around a data call: the interface is there at once, and no pause takes its time.
extern "C" int system(const char*) { return 0; }
extern "C" int usleep(useconds_t) { return nanosleep(&failing_heap::kMillisecond, nullptr); }
extern "C" int ioctl(int, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  va_arg(arguments, ifreq*)->ifr_flags = IFF_UP;
  va_end(arguments);
  return 0;
}
extern "C" int getifaddrs(ifaddrs** list) noexcept {
  static char name[] = "rmnet_data0";
  static sockaddr_in address = {};
  static ifaddrs entry = {};
  address.sin_family = AF_INET;
  entry.ifa_name = name;
  entry.ifa_addr = reinterpret_cast<sockaddr*>(&address);
  *list = &entry;
  return 0;
}
extern "C" void freeifaddrs(ifaddrs*) noexcept {}

namespace {

constexpr uint8_t kWds = 0x01, kDms = 0x02, kWms = 0x05;

void on_wds(uint16_t message, FakeModem::Handler handler) { modem().on(kWds, message, std::move(handler)); }

// The answer first, then the report.
void report_session(const FakeModem::Request& request, uint8_t state) {
  std::thread([id = request.header.client_id, state] {
    nanosleep(&failing_heap::kMillisecond, nullptr);
    modem().send(FakeModem::indication(kWds, id, 0x22, Bytes{1, 2, 0, state, 0, 0x12, 1, 0, 4}));
  }).detach();
}

void play_a_data_call() {
  on_wds(0x2A, [](const auto&) { return kSuccess + hex("01 0400 01 00 03 00"); });
  on_wds(0x2B, [](const auto&) { return kSuccess + hex("14 0300 696d73"); });
  on_wds(0x27, [](const auto&) { return kSuccess + hex("01 0200 00 05"); });
  for (const uint16_t taken : std::initializer_list<uint16_t>{0x28, 0x4D, 0x93, 0xA2})
    on_wds(taken, [](const auto&) { return kSuccess; });
  on_wds(0x94, [](const auto&) { return kSuccess + hex("10 0300 01 0300"); });
  on_wds(0x20, [](const auto& request) {
    report_session(request, 2);
    return kSuccess + hex("01 0400 c8f1a0b4");
  });
  on_wds(0x21, [](const auto& request) {
    report_session(request, 1);
    return kSuccess;
  });
  on_wds(0x2D, [](const auto&) { return kSuccess + hex("15 0400 010c0b0a 1e 0400 0517400a 2b 0100 04"); });
}

std::atomic<int> g_heard;
std::atomic<int> g_allowed;
std::atomic<int> g_switched;

// On the library's own thread: what follows there gets g_allowed allocations before one fails; the next time, all
// again.
void switch_heap(qmi_client_type, unsigned, void*, unsigned, void*) {
  using failing_heap::g_heap;
  g_heap = {.under_test = !g_heap.under_test, .left = g_allowed};
  g_switched++;
}

void switch_heap_of_receive_thread() {
  const int before = g_switched;
  modem().send(FakeModem::indication(kDms, *modem().ids(kDms).rbegin(), 0x01, {}));
  ASSERT_TRUE(eventually([&] { return g_switched != before; }));
}

}  // namespace

// The first to need the modem makes the thread that reads, the connection and the client, and keeps them.
TEST(AllocationModem, TheFirstClient) {
  const failing_heap::Call open = {.name = "vek_pal_qmi_device_client_init",
                                   .success = 0,
                                   .failures = {-1},
                                   .call = [] { return vek_pal_qmi_device_client_init(); },
                                   .keeps = true};
  const size_t descriptors = failing_heap::open_descriptors();
  EXPECT_EQ(failing_heap::run(open, 0, true).code, -1) << "no thread";
  EXPECT_EQ(failing_heap::open_descriptors(), descriptors);
  EXPECT_EQ(open.call(), -1) << "a thread, but no modem yet";
  modem();
  fail_each_allocation({open});
  EXPECT_EQ(modem().ids(kDms).size(), 1u) << "the attempts that failed have kept no id";
}

TEST(AllocationModem, TheSim) {
  answer_slots({kSim, kIdleEsim});
  answer_card(1, {{2, 7}});
  answer(0x2E, kSuccess);
  const int ready = vek_pal_get_sim_status();
  fail_each_allocation({
      {"vek_pal_get_sim_status", ready, {-1}, [] { return vek_pal_get_sim_status(); }},
      {"vek_pal_check_sim_protect_event", 0, {255}, [] { return vek_pal_check_sim_protect_event(); }},
  });
  // Without memory for the wait, there is none.
  answer_card(1, {{2, 2}});
  const std::jthread reports([](const std::stop_token& stop) {
    while (!stop.stop_requested()) {
      report_card(1, {{2, 7}});
      nanosleep(&failing_heap::kMillisecond, nullptr);
    }
  });
  fail_each_allocation({{"vek_pal_wait_sim_ready_sem", 0, {0}, [] {
                           vek_pal_wait_sim_ready_sem();
                           return 0;
                         }}});
}

TEST(AllocationModem, ProfilesAndDataCalls) {
  play_a_data_call();
  static vek_pal_attach_apn_info attach;
  static vek_pal_data_conn_request request = {};
  strcpy(request.apn_name, "IMS");
  request.pdp_type = 1;
  const auto call = [] {
    vek_pal_data_conn_info info;
    const int code = vek_pal_data_conn_sync(&request, &info);
    failing_heap::g_heap.under_test = false;
    vek_pal_data_conn_release(&info);
    return code;
  };
  std::ofstream("/etc/resolv.conf") << "search before\n";
  fail_each_allocation({
      {"vek_pal_get_attach_apn", 0, {-1}, [] { return vek_pal_get_attach_apn(&attach); }},
      {"vek_pal_set_attach_apn",
       0,
       {-1},
       [] {
         vek_pal_attach_apn_info info = {};
         strcpy(info.apn_name, "new.example");
         return vek_pal_set_attach_apn(&info);
       }},
      {"vek_pal_data_conn_sync", 0, {-1}, call, [] {}, true},
  });
}

TEST(AllocationModem, Messages) {
  modem().on(kWms, 0x01, [](const auto&) { return kSuccess; });
  fail_each_allocation({{.name = "vek_pal_sms_store_state_indication_register",
                         .success = 0,
                         .failures = {-1},
                         .call =
                             [] {
                               return vek_pal_sms_store_state_indication_register(
                                   [](vek_pal_sms_event_t, void* heard) { ++*static_cast<std::atomic<int>*>(heard); },
                                   &g_heard);
                             },
                         .keeps = true}});

  // A report that there is no memory for is lost, and the next one is heard.
  qmi_client_os_params os_params;
  qmi_client_type client = nullptr;
  ASSERT_EQ(qmi_client_init_instance(dms_get_service_object_internal_v01(1, 0, 6), kAnyQmiInstance, switch_heap,
                                     nullptr, &os_params, 3000, &client),
            0);
  ASSERT_EQ(vek_pal_sim_status_indication_register([](int, int, int, void*) { g_heard++; }, nullptr), 0);
  const std::function<void()> reports[] = {
      [] { modem().send(FakeModem::indication(kWms, *modem().ids(kWms).begin(), 0x01, hex("10 0500 00 03000000"))); },
      [] {
        report_card(1, {{2, 7}});
      },
  };
  for (const auto& report : reports) {
    for (g_allowed = 0; g_allowed < 2; g_allowed++) {
      SCOPED_TRACE(g_allowed);
      switch_heap_of_receive_thread();
      g_heard = 0;
      report();
      report();
      switch_heap_of_receive_thread();
      EXPECT_EQ(g_heard, 1);
    }
  }
  qmi_client_release(client);
}
