// Every exported function that needs memory, with each of its allocations failing in turn; those that need the modem
// are in allocation_modem_test.cpp, and vek_pal_i2c_open() is in i2c_test.cpp.
#include <gtest/gtest.h>
#include <pthread.h>
#include <string.h>
#include <sys/msg.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <vector>

#include "at_host.h"
#include "at_server.h"
#include "failing_heap.h"
#include "vek_pal.h"

using failing_heap::fail_each_allocation;

// Pauses take no time.
extern "C" int usleep(useconds_t) { return nanosleep(&failing_heap::kMillisecond, nullptr); }

namespace {

constexpr char kEidAnswer[] = "\r\n+GTESIMID: \"89049032000001000000000000000001\"\r\n\r\nOK\r\n";
constexpr char kUsualAnswer[] =
    "\r\n+GTGPS: $GPRMC,081836,A,3751.65,S,14507.36,E,000.0,360.0,130998,011.3,E*62\r\n\r\nOK\r\n";
constexpr char kUsbState[] = "/sys/devices/platform/8a00000.ssusb/8a00000.dwc3/udc/8a00000.dwc3/state";
constexpr size_t kUsualStack = 8 << 20;

// What the modules' calls give out.
void* g_block;
vek_pal_thread_t g_thread;
vek_pal_mutex_t g_mutex;
vek_pal_sem_t g_sem;
vek_pal_timer_t g_timer;
vek_pal_mq_t g_mq;
ATCmdParams* g_list;
char g_text[16384];

int made(const void* block) { return block != nullptr ? 0 : -1; }
void free_block() { vek_pal_free(g_block); }

// So that no thread below needs a new stack, which the C library would then keep.
void fill_the_stack_cache(size_t stack_size) {
  constexpr int kThreads = 4;
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  pthread_attr_setstacksize(&attr, stack_size);
  pthread_barrier_t all_run;
  pthread_barrier_init(&all_run, nullptr, kThreads);
  const auto body = [](void* barrier) -> void* {
    pthread_barrier_wait(static_cast<pthread_barrier_t*>(barrier));
    return nullptr;
  };
  pthread_t threads[kThreads];
  for (pthread_t& thread : threads) ASSERT_EQ(pthread_create(&thread, &attr, body, &all_run), 0);
  for (const pthread_t thread : threads) pthread_join(thread, nullptr);
  pthread_barrier_destroy(&all_run);
  pthread_attr_destroy(&attr);
}

// Answers everything on the module's AT port, for as long as the test runs.
void serve_at() {
  std::thread([] {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(40096);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) abort();
    if (listen(listener, 4) != 0) abort();
    for (int connection; (connection = accept(listener, nullptr, nullptr)) >= 0; close(connection)) {
      for (std::string line; !(line = read_line(connection)).empty();)
        write_all(connection, line.find("GTESIMID") != line.npos ? kEidAnswer : kUsualAnswer);
    }
  }).detach();
}

}  // namespace

TEST(Allocation, Memory) {
  fail_each_allocation({
      {"vek_pal_malloc", 0, {-1}, [] { return made(g_block = vek_pal_malloc(24)); }, free_block},
      {"vek_pal_calloc", 0, {-1}, [] { return made(g_block = vek_pal_calloc(3, 8)); }, free_block},
      {"vek_pal_realloc", 0, {-1}, [] { return made(g_block = vek_pal_realloc(nullptr, 8)); }, free_block},
  });
  void* block = vek_pal_malloc(16);
  memcpy(block, "what was there", 15);
  void* grown = nullptr;
  fail_each_allocation(
      {{"vek_pal_realloc, growing",
        0,
        {-1},
        [&] {
          grown = vek_pal_realloc(block, 1 << 20);
          return grown != nullptr ? 0 : strcmp(static_cast<char*>(block), "what was there") == 0 ? -1 : -2;
        },
        [&] { block = vek_pal_realloc(grown, 16); }}});
  vek_pal_free(block);
}

TEST(Allocation, ThreadsAndWhatTheyMeetAt) {
  static const vek_pal_thread_attr attr = {0, 65536};
  fill_the_stack_cache(kUsualStack);
  fill_the_stack_cache(attr.stacksize);
  const auto body = [](void*) -> void* { return nullptr; };
  const auto delete_thread = [] { vek_pal_thread_delete(&g_thread); };
  static const unsigned no_wait = 0;
  static char received[16];
  static unsigned size;
  fail_each_allocation({
      {"vek_pal_thread_create",
       0,
       {5, -1},
       [&] { return vek_pal_thread_create(&g_thread, "t", nullptr, body, nullptr); },
       delete_thread},
      {"vek_pal_thread_create, own stack",
       0,
       {5, -1},
       [&] { return vek_pal_thread_create(&g_thread, "t", &attr, body, nullptr); },
       delete_thread},
      {"vek_pal_mutex_create",
       0,
       {206},
       [] { return vek_pal_mutex_create(&g_mutex); },
       [] { vek_pal_mutex_delete(&g_mutex); }},
      {"vek_pal_sem_init",
       0,
       {-1},
       [] { return vek_pal_sem_init(&g_sem, "alloc", 1, 0); },
       [] { vek_pal_sem_deinit(&g_sem); }},
      {"vek_pal_timer_create",
       0,
       {-1, 403},
       [] { return vek_pal_timer_create([](void*) {}, nullptr, "t", &g_timer); },
       [] { vek_pal_timer_delete(&g_timer); }},
      {"vek_pal_mq_create",
       0,
       {3},
       [] { return vek_pal_mq_create(4, 16, "q", &g_mq); },
       [] { vek_pal_mq_delete(&g_mq); }},
  });
  EXPECT_EQ(access("/dev/shm/sem.KORV_Openwrt_alloc.sem", F_OK), -1) << "a semaphore that nobody holds";

  ASSERT_EQ(vek_pal_mq_create(4, 16, "q", &g_mq), 0);
  fail_each_allocation({{"vek_pal_mq_put",
                         0,
                         {308},
                         [] { return vek_pal_mq_put(g_mq, "four", 4, &no_wait); },
                         [] { vek_pal_mq_get(g_mq, received, &(size = sizeof received), &no_wait); }}});
  ASSERT_EQ(vek_pal_mq_put(g_mq, "four", 4, &no_wait), 0);
  fail_each_allocation({{"vek_pal_mq_get",
                         0,
                         {307},
                         [] { return vek_pal_mq_get(g_mq, received, &(size = sizeof received), &no_wait); },
                         [] { vek_pal_mq_put(g_mq, "four", 4, &no_wait); }}});
  vek_pal_mq_delete(&g_mq);
}

TEST(Allocation, DumpsAndTheLogFile) {
  testing::internal::CaptureStdout();
  fail_each_allocation({{"VEK_PAL_LOG_DEBUG_HEX", 0, {0}, [] {
                           VEK_PAL_LOG_DEBUG_HEX("0123", 4);
                           return 0;
                         }}});
  vek_pal_file_logging_enable = 1;
  fail_each_allocation({{"vek_pal_init_log_file",
                         0,
                         {-1},
                         [] {
                           vek_pal_init_log_file();
                           return made(vek_pal_log_fd);
                         },
                         [] {
                           fclose(vek_pal_log_fd);
                           vek_pal_log_fd = nullptr;
                         },
                         true}});
  vek_pal_file_logging_enable = 0;
  testing::internal::GetCapturedStdout();
}

TEST(Allocation, RegistrationsAreForGood) {
  static const vek_pal_at_registration at = {"vyrel", 7, 0, [](const void*, uint32_t) { return 0; }};
  const auto kept = [](const char* name, std::vector<int> failures, int (*call)()) {
    return failing_heap::Call{.name = name, .success = 0, .failures = failures, .call = call, .keeps = true};
  };
  fail_each_allocation({
      kept("vek_pal_at_register", {3}, [] { return vek_pal_at_register(&at); }),
      kept("vek_pal_mbim_open_status_indication_register", {-1},
           [] { return vek_pal_mbim_open_status_indication_register([](int, void*) {}, nullptr); }),
      kept("vek_pal_mbim_simpin_status_indication_register", {-1},
           [] { return vek_pal_mbim_simpin_status_indication_register([](int, const char*, void*) {}, nullptr); }),
      kept("vek_pal_mbim_sim_slot_mapping_indication_register", {-1},
           [] { return vek_pal_mbim_sim_slot_mapping_indication_register([](int, int, void*) {}, nullptr); }),
      kept("vek_pal_mbim_connect_status_indication_register", {-1},
           [] { return vek_pal_mbim_connect_status_indication_register([](int, const char*, void*) {}, nullptr); }),
      // Last, for its thread takes a descriptor whenever it comes to it, and its start empties the table.
      kept("vek_pal_ipc_server_init", {-1}, [] { return vek_pal_ipc_server_init(); }),
  });
}

TEST(Allocation, AtParameters) {
  const auto destroy = [] { ATCmdParams_Destroy(g_list); };
  fail_each_allocation({
      {"ATCmdParams_Create", 0, {-1}, [] { return made(g_list = ATCmdParams_Create(3)); }, destroy},
      {"ATCmdParams_CreateFromStr",
       1,
       {0},
       [] { return ATCmdParams_CreateFromStr("1,\"two\",\"+49123\"", 3, &g_list, nullptr); },
       destroy},
      {"ATCmdParams_CreateFromStrWFeatures",
       1,
       {0},
       [] { return ATCmdParams_CreateFromStrWFeatures("bare,\"two\"", 2, &g_list, nullptr, 1); },
       destroy},
  });
  ASSERT_EQ(ATCmdParams_CreateFromStr("\"text\"", 1, &g_list, nullptr), 1);
  static char* text;
  fail_each_allocation({{"ATCmdParams_GetStringWithAlloc",
                         1,
                         {0},
                         [] { return ATCmdParams_GetStringWithAlloc(g_list, 0, 1, &text); },
                         [] { vek_pal_free(text); }}});
  destroy();
}

class AllocationAt : public AtHost {
 protected:
  AllocationAt() {
    set_devmgr({60, 120, 180, 240, 300, 6, 2, 1, 0});
    write_file(kFileLoggingPath, std::string(1, '\1'));
    callback_ = [](const void*, uint32_t) { return 0; };
    info_.callback = callback_;
  }
};

TEST_F(AllocationAt, ACommandWithoutMemoryIsNotAnsweredWithSuccess) {
  using Set = int (*)(const vek_pal_at_info*, const char*);
  using Read = int (*)(const vek_pal_at_info*);
  const struct {
    const char* name;
    Set set;
    const char* text;
  } sets[] = {
      {"GTVYRSPC", korvane_HandleCmd_GTVYRSPC_set, "4,30,600"},
      {"GTVYREN", korvane_HandleCmd_GTVYREN_set, "0"},
      {"GTVYREC", korvane_HandleCmd_GTVYREC_set, "4,\"00ffA0\""},
      {"GTVYRSER", korvane_HandleCmd_GTVYRSER_set, "0"},
      {"GTVYRBS", korvane_HandleCmd_GTVYRBS_set, "0,\"https://bs.example/a,b\""},
      {"GTVYRPOC", korvane_HandleCmd_GTVYRPOC_set, "0"},
      {"GTVYRDEV", korvane_HandleCmd_GTVYRDEV_set, "1,90"},
      {"GTVYRESIM", korvane_HandleCmd_GTVYRESIM_set, "3,\"89490200001234567890\""},
      {"GTVYRLOG", korvane_HandleCmd_GTVYRLOG_set, "3,1000"},
      {"GTVYRRECO", korvane_HandleCmd_GTVYRRECO_set, "1,600,3"},
      {"GTVYRDIAG", korvane_HandleCmd_GTVYRDIAG_set, "0"},
      {"GTVYRCNT", korvane_HandleCmd_GTVYRCNT_set, "0,1"},
  };
  for (const auto& row : sets)
    fail_each_allocation({{row.name, 1, {0}, [&] { return row.set(&info_, row.text); }, [&] { answer(); }, true}});

  const struct {
    const char* name;
    Read read;
  } reads[] = {
      {"GTVYREN?", korvane_HandleCmd_GTVYREN_read},     {"GTVYREN=?", korvane_HandleCmd_GTVYREN_test},
      {"GTVYRSER?", korvane_HandleCmd_GTVYRSER_read},   {"GTVYRSER=?", korvane_HandleCmd_GTVYRSER_test},
      {"GTVYRBS?", korvane_HandleCmd_GTVYRBS_read},     {"GTVYRPOC?", korvane_HandleCmd_GTVYRPOC_read},
      {"GTVYRRECO?", korvane_HandleCmd_GTVYRRECO_read}, {"GTVYRDIAG?", korvane_HandleCmd_GTVYRDIAG_read},
  };
  for (const auto& row : reads)
    fail_each_allocation({{row.name, 1, {0}, [&] { return row.read(&info_); }, [&] { answer(); }, true}});
  EXPECT_EQ(run("AT+GTVYRSER?").find("nothing"), std::string::npos) << "and with memory again, it is answered";

  fail_each_allocation({
      {"vek_pal_at_dispatch_command",
       0,
       {-1},
       [] { return vek_pal_at_dispatch_command(nullptr, "AT+NONE"); },
       [&] { answer(); }},
      {"vek_pal_at_send_ipc_response",
       0,
       {-1},
       [] { return vek_pal_at_send_ipc_response(0, "text"); },
       [&] { answer(); }},
      {"vek_pal_at_resp",
       0,
       {0},
       [] {
         const vek_pal_at_result result = {0, "text", 4};
         return vek_pal_at_resp(nullptr, &result);
       },
       [&] { answer(); }},
  });
}

TEST(Allocation, WhatTheAtServerIsAsked) {
  fill_the_stack_cache(kUsualStack);
  serve_at();
  const auto send = [] {
    uint32_t length;
    return vek_pal_at_send("AT\r\n", 4, g_text, sizeof g_text, &length);
  };
  const auto close_client = [] { vek_pal_at_client_close(); };
  static vek_pal_gnss_location_t location;
  fail_each_allocation({
      {"vek_pal_ipc_at_clinet_init", 0, {-1}, [] { return vek_pal_ipc_at_clinet_init(); }, close_client},
      {"vek_pal_at_send, the first",
       0,
       {-1, -1, 3, -1},
       [&] {
         const int code = send();
         vek_pal_at_client_close();
         return code;
       }},
  });
  vek_pal_ipc_at_clinet_init();
  write_file(kUsbState, "configured");
  fail_each_allocation({
      {"vek_pal_at_send", 0, {3, -1}, send},
      {"vek_pal_get_pidvid", 0, {-1}, [] { return vek_pal_get_pidvid(g_text); }},
      {"vek_pal_get_eid", 0, {-1}, [] { return vek_pal_get_eid(g_text); }},
      {"vek_pal_sar_index_switch", 0, {-1}, [] { return vek_pal_sar_index_switch(1); }},
      {"vek_pal_get_manufacture_date", 0, {-1}, [] { return vek_pal_get_manufacture_date(g_text); }},
      {"vek_pal_gnss_info_acquire",
       0,
       {-1},
       [] { return vek_pal_gnss_info_acquire(20, &location); },
       [] { vek_pal_queue_deinit(); },
       true},
  });
}

TEST(Allocation, QueueAndNames) {
  static char* text;
  static int length;
  static vek_pal_sockaddr_t addresses[VEK_PAL_ADDRESSES_MAX];
  ASSERT_EQ(vek_pal_queue_init(), 0);
  const auto pop = [] { return vek_pal_queue_pop(&text, 100, &length); };
  const auto push = [] { return vek_pal_queue_push("$GPRMC", 6); };
  fail_each_allocation({{"vek_pal_queue_push", 0, {-1}, push, [&] {
                           pop();
                           vek_pal_free(text);
                         }}});
  push();
  fail_each_allocation({{"vek_pal_queue_pop", 0, {-1}, pop, [&] {
                           vek_pal_free(text);
                           push();
                         }}});
  vek_pal_queue_deinit();

  fail_each_allocation({
      {"vek_pal_getaddrinfo", 0, {1502}, [] { return vek_pal_getaddrinfo("127.0.0.1", nullptr, addresses, 0); }},
      {"vek_pal_insert_dns_addr_top", 0, {-1}, [] { return vek_pal_insert_dns_addr_top("9.9.9.9", nullptr); }},
  });
}
